/** Undoes the mapping of signed differences to unsigned numbers; the result is a signed 32-bit number. */
export function unZigZag(code: number): number {
  return (code >>> 1) ^ -(code & 1);
}

/** Reads inside its bytes; what lies beyond them reads as 0 and sets `failed`. */
export class ByteReader {
  failed = false;
  private at = 0;
  private readonly view: DataView;

  constructor(private readonly bytes: Uint8Array) {
    this.view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  }

  get remaining(): number {
    return this.bytes.length - this.at;
  }

  u32(): number {
    const at = this.advance(4);
    return at < 0 ? 0 : this.view.getUint32(at, true);
  }

  real(): number {
    const at = this.advance(8);
    return at < 0 ? 0 : this.view.getFloat64(at, true);
  }

  /** The next bytes where they stand, not copied; none when there are fewer. */
  take(count: number): Uint8Array {
    const at = this.advance(count);
    return at < 0 ? this.bytes.subarray(0, 0) : this.bytes.subarray(at, at + count);
  }

  /** An unsigned LEB128 of at most 32 bits and five bytes. */
  number(): number {
    const first = this.bytes[this.at] ?? 255;
    if (first < 128) {
      this.at++;
      return first;
    }
    const second = this.bytes[this.at + 1] ?? 255;
    if (second < 128) {
      this.at += 2;
      return (first & 127) | (second << 7);
    }
    return this.longNumber();
  }

  signed(): number {
    return unZigZag(this.number());
  }

  private longNumber(): number {
    let value = 0;
    for (let i = 0, factor = 1; i < 5; ++i, factor *= 128) {
      const byte = this.bytes[this.at + i];
      if (byte === undefined) break;
      value += (byte & 127) * factor;
      if (byte >= 128) continue;
      if (value > 0xffffffff) break;
      this.at += i + 1;
      return value;
    }
    return this.fail();
  }

  private advance(count: number): number {
    if (this.remaining < count) {
      this.fail();
      return -1;
    }
    this.at += count;
    return this.at - count;
  }

  private fail(): number {
    this.failed = true;
    this.at = this.bytes.length;
    return 0;
  }
}
