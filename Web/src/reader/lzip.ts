import { checksum } from './checksum.js';

// lzip files: a header of 6 bytes, a stream of LZMA with the settings that lzip has (lc 3, lp 0, pb 2) and an end marker, and a
// trailer with checksum and sizes. The names are those of the description of LZMA.

const headerBytes = 6;
const trailerBytes = 20;
const positions = 4; // places modulo this many have probabilities of their own
const states = 12;
const shortestMatch = 2;

/** A table of probabilities that a bit is 0, in 1/2048. */
const makeBits = (count: number) => new Uint16Array(count).fill(1024);

interface LengthCode {
  choice: Uint16Array;
  low: Uint16Array;
  middle: Uint16Array;
  high: Uint16Array;
}
const makeLengthCode = (): LengthCode => ({
  choice: makeBits(2),
  low: makeBits(8 * positions),
  middle: makeBits(8 * positions),
  high: makeBits(256),
});

/** What the trailer of an lzip file says of its content's size; undefined when the file is none. */
export function getLzipSize(bytes: Uint8Array): number | undefined {
  if (bytes.length < headerBytes + trailerBytes) return undefined;
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const [power, fraction] = [bytes[5] & 31, bytes[5] >> 5];
  const isMember =
    view.getUint32(0) === 0x4c5a4950 && // "LZIP"
    bytes[4] === 1 &&
    power >= 12 &&
    power <= 29 &&
    (power > 12 || fraction === 0) &&
    view.getBigUint64(bytes.length - 8, true) === BigInt(bytes.length);
  return isMember ? Number(view.getBigUint64(bytes.length - 16, true)) : undefined;
}

/** The content of an lzip file of one member, whose size `getLzipSize` has told; undefined when the file is damaged. */
export function unpackLzip(bytes: Uint8Array, size: number): Uint8Array | undefined {
  const out = new Uint8Array(size);
  const power = bytes[5] & 31;
  const dictionary = 2 ** power - (bytes[5] >> 5) * 2 ** (power - 4);
  const end = bytes.length - trailerBytes;
  const stored = new DataView(bytes.buffer, bytes.byteOffset).getUint32(end, true);
  return decode(bytes.subarray(headerBytes, end), out, dictionary) && checksum(out) === stored
    ? out
    : undefined;
}

/** Decodes a stream that must fill `out` and end where its bytes do. */
function decode(bytes: Uint8Array, out: Uint8Array, dictionary: number): boolean {
  const isMatch = makeBits(states * positions);
  const isRepeat = makeBits(states);
  const isRepeat0 = makeBits(states);
  const isRepeat0Long = makeBits(states * positions);
  const isRepeat1 = makeBits(states);
  const isRepeat2 = makeBits(states);
  const literals = makeBits(8 * 0x300);
  const slots = makeBits(4 * 64);
  const specials = makeBits(128);
  const aligns = makeBits(16);
  const matchLengths = makeLengthCode();
  const repeatLengths = makeLengthCode();

  // Range and code: numbers of 32 bits, which engines keep as such in arrays only.
  const coder = Uint32Array.of(0xffffffff, 0);
  let next = 5;
  if (bytes[0] !== 0) return false;
  for (let i = 1; i < 5; ++i) coder[1] = (coder[1] << 8) | bytes[i];

  const shift = () => {
    coder[0] <<= 8;
    coder[1] = (coder[1] << 8) | bytes[next++]; // behind the end 0; `next` tells
  };
  const bit = (bits: Uint16Array, i: number): number => {
    if (coder[0] < 0x1000000) shift();
    const probability = bits[i];
    const bound = (coder[0] >>> 11) * probability;
    if (coder[1] < bound) {
      coder[0] = bound;
      bits[i] = probability + ((2048 - probability) >> 5);
      return 0;
    }
    coder[0] -= bound;
    coder[1] -= bound;
    bits[i] = probability - (probability >> 5);
    return 1;
  };
  const evenBits = (count: number): number => {
    let value = 0;
    for (; count > 0; --count) {
      if (coder[0] < 0x1000000) shift();
      coder[0] >>>= 1;
      const isSet = coder[1] >= coder[0] ? 1 : 0;
      if (isSet) coder[1] -= coder[0];
      value = (value << 1) | isSet;
    }
    return value;
  };
  const tree = (bits: Uint16Array, base: number, count: number): number => {
    let node = 1;
    for (let i = 0; i < count; ++i) node = (node << 1) | bit(bits, base + node);
    return node - (1 << count);
  };
  const reverseTree = (bits: Uint16Array, base: number, count: number): number => {
    let value = 0;
    for (let i = 0, node = 1; i < count; ++i) {
      const b = bit(bits, base + node);
      node = (node << 1) | b;
      value |= b << i;
    }
    return value;
  };
  const length = ({ choice, low, middle, high }: LengthCode, position: number): number => {
    if (bit(choice, 0) === 0) return shortestMatch + tree(low, 8 * position, 3);
    if (bit(choice, 1) === 0) return shortestMatch + 8 + tree(middle, 8 * position, 3);
    return shortestMatch + 16 + tree(high, 0, 8);
  };

  let state = 0;
  let [rep0, rep1, rep2, rep3] = [0, 0, 0, 0];
  for (let at = 0; next <= bytes.length;) {
    const position = at & (positions - 1);
    if (bit(isMatch, states * position + state) === 0) {
      if (at === out.length) return false;
      const base = at > 0 ? 0x300 * (out[at - 1] >> 5) : 0;
      let node = 1;
      if (state >= 7) {
        for (let like = out[at - rep0 - 1]; node < 0x100;) {
          const expected = (like >> 7) & 1;
          like <<= 1;
          const b = bit(literals, base + ((1 + expected) << 8) + node);
          node = (node << 1) | b;
          if (b !== expected) break;
        }
      }
      while (node < 0x100) node = (node << 1) | bit(literals, base + node);
      out[at++] = node;
      state = state < 4 ? 0 : state < 10 ? state - 3 : state - 6;
      continue;
    }
    let count: number;
    if (bit(isRepeat, state) === 0) {
      [rep3, rep2, rep1] = [rep2, rep1, rep0];
      count = length(matchLengths, position);
      state = state < 7 ? 7 : 10;
      const slot = tree(slots, 64 * Math.min(count - shortestMatch, 3), 6);
      rep0 = slot;
      if (slot >= 4) {
        const bits = (slot >> 1) - 1;
        rep0 = ((2 | (slot & 1)) << bits) >>> 0;
        if (slot < 14) rep0 += reverseTree(specials, rep0 - slot, bits);
        else rep0 = (rep0 + ((evenBits(bits - 4) << 4) >>> 0) + reverseTree(aligns, 0, 4)) >>> 0;
      }
      if (rep0 === 0xffffffff) {
        // The end: nothing may be left.
        if (coder[0] < 0x1000000) shift();
        return count === shortestMatch && at === out.length && coder[1] === 0 && next === bytes.length;
      }
    } else {
      if (bit(isRepeat0, state) === 0) {
        if (bit(isRepeat0Long, states * position + state) === 0) {
          if (at === out.length || rep0 >= at) return false;
          out[at] = out[at - rep0 - 1];
          ++at;
          state = state < 7 ? 9 : 11;
          continue;
        }
      } else if (bit(isRepeat1, state) === 0) {
        [rep1, rep0] = [rep0, rep1];
      } else if (bit(isRepeat2, state) === 0) {
        [rep2, rep1, rep0] = [rep1, rep0, rep2];
      } else {
        [rep3, rep2, rep1, rep0] = [rep2, rep1, rep0, rep3];
      }
      count = length(repeatLengths, position);
      state = state < 7 ? 8 : 11;
    }
    if (rep0 >= Math.min(at, dictionary) || count > out.length - at) return false;
    for (const stop = at + count; at < stop; ++at) out[at] = out[at - rep0 - 1];
  }
  return false;
}
