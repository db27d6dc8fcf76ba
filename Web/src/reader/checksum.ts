const table = Uint32Array.from({ length: 256 }, (_, value) => {
  for (let bit = 0; bit < 8; ++bit) value = value & 1 ? (value >>> 1) ^ 0xedb88320 : value >>> 1;
  return value;
});

/** The checksum of gzip and lzip files, CRC-32. */
export function checksum(bytes: Uint8Array): number {
  let sum = 0xffffffff;
  for (let i = 0; i < bytes.length; ++i) sum = table[(sum ^ bytes[i]) & 0xff] ^ (sum >>> 8);
  return ~sum >>> 0;
}
