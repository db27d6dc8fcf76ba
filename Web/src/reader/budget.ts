import {
  freeContentBytes,
  maxContentRatio,
  maxDeflateRatio,
  maxInflatedBytes,
  memoryPerContentByte,
} from './limits.js';

/** How much memory may be taken for what is opened, all in one. What does not fit is refused, what was there stays. */
export class MemoryBudget {
  private used = 0;

  constructor(private readonly limit: number) {}

  /** Takes so many bytes; false, and nothing is taken, when they do not fit. */
  take(bytes: number): boolean {
    if (this.used + bytes > this.limit) return false;
    this.used += bytes;
    return true;
  }

  /** How large the content of a file of `size` bytes may be, and why not larger. */
  ceiling(size: number): { bytes: number; reason: string } {
    const ceilings = [
      { bytes: size * maxDeflateRatio, reason: 'damaged gzip data' },
      { bytes: maxInflatedBytes, reason: 'the content is too large' },
      {
        bytes: freeContentBytes + size * maxContentRatio,
        reason: 'the content is out of proportion to the file',
      },
      {
        bytes: Math.floor((this.limit - this.used) / memoryPerContentByte),
        reason: 'the content would take more memory than the limit allows',
      },
    ];
    return ceilings.reduce((least, next) => (next.bytes < least.bytes ? next : least));
  }
}
