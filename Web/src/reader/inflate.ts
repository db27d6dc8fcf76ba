// Inflates deflate streams (RFC 1951), and tells where each ends: the streams of the platform do not, and refuse what follows.

const lengthBases = [
  3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 15, 17, 19, 23, 27, 31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195,
  227, 258,
];
const lengthBits = [0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0];
const codeLengthOrder = [16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15];
const longestCode = 15;
const windowBytes = 32768;

/** What ends inflating: the content is damaged, or larger than it may be. */
export class InflateError extends Error {
  constructor(readonly isTooLarge: boolean) {
    super();
  }
}

/** A Huffman code: how many codes there are of each length, and the symbols in the order of their codes. */
interface Code {
  counts: Uint16Array;
  symbols: Uint16Array;
}

function makeCode(lengths: Uint8Array | number[]): Code {
  const counts = new Uint16Array(longestCode + 1);
  for (const length of lengths) counts[length]++;
  counts[0] = 0;
  const starts = new Uint16Array(longestCode + 2);
  let room = 1;
  for (let length = 1; length <= longestCode; ++length) {
    starts[length + 1] = starts[length] + counts[length];
    room = 2 * room - counts[length];
    if (room < 0) throw new InflateError(false);
  }
  const used = starts[longestCode + 1];
  // Codes must not be incomplete, but for one of a single symbol or of none.
  if (room > 0 && used > 1) throw new InflateError(false);
  if (used === 1 && counts[1] === 0) throw new InflateError(false);
  const symbols = new Uint16Array(used);
  lengths.forEach((length: number, symbol: number) => {
    if (length > 0) symbols[starts[length]++] = symbol;
  });
  return { counts, symbols };
}

const fixedLengths = makeCode(
  Array.from({ length: 288 }, (_, i) => (i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8)),
);
const fixedDistances = makeCode(new Array<number>(32).fill(5));

/** Inflates one stream after the other into one growing content. */
export class Inflater {
  /** Where the next byte of the input stands. */
  at: number;
  private content = new Uint8Array(windowBytes);
  private size = 0;
  private bitBuffer = 0;
  private bitCount = 0;

  constructor(
    private readonly bytes: Uint8Array,
    begin: number,
    private readonly greatestSize: number,
  ) {
    this.at = begin;
  }

  /** What has been inflated so far, as a view. */
  get inflated(): Uint8Array {
    return this.content.subarray(0, this.size);
  }

  /** Inflates the stream that begins at `at`, and leaves `at` behind it. Throws an `InflateError`. */
  stream(): void {
    this.bitBuffer = this.bitCount = 0;
    const begin = this.size;
    for (let isLast = false; !isLast;) {
      isLast = this.bits(1) === 1;
      const kind = this.bits(2);
      if (kind === 0) this.stored();
      else if (kind === 1) this.block(fixedLengths, fixedDistances, begin);
      else if (kind === 2) this.dynamicBlock(begin);
      else throw new InflateError(false);
    }
    this.at -= this.bitCount >> 3;
  }

  private bits(count: number): number {
    while (this.bitCount < count) {
      if (this.at >= this.bytes.length) throw new InflateError(false);
      this.bitBuffer |= this.bytes[this.at++] << this.bitCount;
      this.bitCount += 8;
    }
    const value = this.bitBuffer & ((1 << count) - 1);
    this.bitBuffer >>>= count;
    this.bitCount -= count;
    return value;
  }

  private symbol({ counts, symbols }: Code): number {
    for (let code = 0, first = 0, index = 0, length = 1; length <= longestCode; ++length) {
      code |= this.bits(1);
      const count = counts[length];
      if (code - count < first) return symbols[index + code - first];
      index += count;
      first = (first + count) << 1;
      code <<= 1;
    }
    throw new InflateError(false);
  }

  private stored(): void {
    this.at -= this.bitCount >> 3;
    this.bitBuffer = this.bitCount = 0;
    const length = this.bits(16);
    if (length !== (this.bits(16) ^ 0xffff) || this.bytes.length - this.at < length)
      throw new InflateError(false);
    this.makeRoom(length);
    this.content.set(this.bytes.subarray(this.at, this.at + length), this.size);
    this.size += length;
    this.at += length;
  }

  private dynamicBlock(begin: number): void {
    const lengthCount = this.bits(5) + 257;
    const distanceCount = this.bits(5) + 1;
    const codeLengths = new Uint8Array(19);
    for (let i = this.bits(4) + 4, k = 0; k < i; ++k) codeLengths[codeLengthOrder[k]] = this.bits(3);
    const code = makeCode(codeLengths);
    const lengths = new Uint8Array(lengthCount + distanceCount);
    for (let i = 0; i < lengths.length;) {
      const symbol = this.symbol(code);
      if (symbol < 16) {
        lengths[i++] = symbol;
        continue;
      }
      if (symbol === 16 && i === 0) throw new InflateError(false);
      const value = symbol === 16 ? lengths[i - 1] : 0;
      const end = i + (symbol === 18 ? 11 + this.bits(7) : 3 + this.bits(symbol === 16 ? 2 : 3));
      if (end > lengths.length) throw new InflateError(false);
      lengths.fill(value, i, end);
      i = end;
    }
    this.block(makeCode(lengths.subarray(0, lengthCount)), makeCode(lengths.subarray(lengthCount)), begin);
  }

  private block(lengths: Code, distances: Code, begin: number): void {
    for (;;) {
      const symbol = this.symbol(lengths);
      if (symbol === 256) return;
      if (symbol < 256) {
        this.makeRoom(1);
        this.content[this.size++] = symbol;
        continue;
      }
      if (symbol > 285) throw new InflateError(false);
      const length = lengthBases[symbol - 257] + this.bits(lengthBits[symbol - 257]);
      const slot = this.symbol(distances);
      if (slot > 29) throw new InflateError(false);
      const extra = slot < 2 ? 0 : (slot >> 1) - 1;
      const distance = (slot < 2 ? slot : (2 + (slot & 1)) << extra) + 1 + this.bits(extra);
      if (distance > this.size - begin) throw new InflateError(false);
      this.makeRoom(length);
      // Byte by byte: a copy may go on into what it has written.
      for (let i = 0; i < length; ++i, ++this.size)
        this.content[this.size] = this.content[this.size - distance];
    }
  }

  private makeRoom(bytes: number): void {
    const needed = this.size + bytes;
    if (needed > this.greatestSize) throw new InflateError(true);
    if (needed <= this.content.length) return;
    const grown = new Uint8Array(Math.min(this.greatestSize, Math.max(needed, 2 * this.content.length)));
    grown.set(this.inflated);
    this.content = grown;
  }
}
