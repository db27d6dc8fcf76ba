import type { MemoryBudget } from './budget.js';
import { checksum } from './checksum.js';
import { ReadError } from './failure.js';
import { InflateError, Inflater } from './inflate.js';

const headerBytes = 10;
const trailerBytes = 8;
/**
 * The content of a gzip file. One that does not begin as gzip does has been inflated on its way, by a browser whose server
 * said `Content-Encoding: gzip`, and is returned as it is. Several members in a row are one content. Throws a `ReadError`.
 */
export async function inflateFile(
  bytes: Uint8Array,
  file: string,
  budget: MemoryBudget,
): Promise<Uint8Array> {
  if (!isGzip(bytes)) return bytes;
  const ceiling = budget.ceiling(bytes.length);
  return (await inflateByPlatform(bytes, ceiling.bytes)) ?? inflateMembers(bytes, file, ceiling);
}

export function isGzip(bytes: Uint8Array): boolean {
  return bytes.length >= 2 && bytes[0] === 0x1f && bytes[1] === 0x8b;
}

/**
 * Nothing when the platform cannot, or refuses the file: why is for the slow way to say. So is a length that is not that of
 * the trailer, because some platforms take several members, or pass over what follows.
 */
async function inflateByPlatform(bytes: Uint8Array, greatestSize: number): Promise<Uint8Array | undefined> {
  if (typeof DecompressionStream === 'undefined' || bytes.length < headerBytes + trailerBytes)
    return undefined;
  const size = new DataView(bytes.buffer, bytes.byteOffset).getUint32(bytes.length - 4, true);
  if (size > greatestSize) return undefined;
  const content = new Uint8Array(size);
  const stream = new DecompressionStream('gzip');
  const writer = stream.writable.getWriter();
  // What goes wrong on this side comes out on the other.
  writer.write(bytes as BufferSource).catch(() => {});
  writer.close().catch(() => {});
  const reader = stream.readable.getReader();
  try {
    let at = 0;
    for (let part = await reader.read(); !part.done; part = await reader.read()) {
      if (part.value.length > size - at) {
        reader.cancel().catch(() => {});
        return undefined;
      }
      content.set(part.value, at);
      at += part.value.length;
    }
    return at === size ? content : undefined;
  } catch {
    return undefined;
  }
}

function inflateMembers(
  bytes: Uint8Array,
  file: string,
  ceiling: { bytes: number; reason: string },
): Uint8Array {
  const inflater = new Inflater(bytes, 0, ceiling.bytes);
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  try {
    do {
      const begin = inflater.inflated.length;
      inflater.at = findStream(bytes, inflater.at);
      inflater.stream();
      const end = inflater.at + trailerBytes;
      if (end > bytes.length) throw new InflateError(false);
      const member = inflater.inflated.subarray(begin);
      if (
        checksum(member) !== view.getUint32(inflater.at, true) ||
        member.length >>> 0 !== view.getUint32(inflater.at + 4, true)
      )
        throw new InflateError(false);
      inflater.at = end;
    } while (inflater.at < bytes.length);
  } catch (error) {
    if (!(error instanceof InflateError)) throw error;
    throw new ReadError(file, error.isTooLarge ? ceiling.reason : 'not a gzip file, or damaged');
  }
  return inflater.inflated;
}

/** Where the deflate stream of the member at `at` begins. */
function findStream(bytes: Uint8Array, at: number): number {
  const end = at + headerBytes;
  const flags = bytes[at + 3];
  if (end > bytes.length || !isGzip(bytes.subarray(at)) || bytes[at + 2] !== 8 || flags & 0xe0)
    throw new InflateError(false);
  let next = end;
  if (flags & 4) next += 2 + (bytes[next] | (bytes[next + 1] << 8)); // extra field
  for (const text of [8, 16]) {
    if (!(flags & text)) continue; // name, comment
    next = bytes.indexOf(0, next) + 1;
    if (next === 0) throw new InflateError(false);
  }
  if (flags & 2) next += 2; // checksum of the header
  return next;
}
