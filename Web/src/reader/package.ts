/** An item of a package: its bytes where they stand, as many as are there. */
export interface PackageItem {
  id: string;
  /** What the table says; `bytes` are fewer when the package is cut short. */
  size: number;
  bytes: Uint8Array;
}

const countBytes = 4;
const entryBytes = 16;

/** The items of a package, in the order of its table; none when the content is no package or its table is cut short. */
export function readPackage(content: Uint8Array): PackageItem[] {
  if (content.length < countBytes) return [];
  const view = new DataView(content.buffer, content.byteOffset, content.byteLength);
  const count = view.getUint32(0, true);
  if (count > (content.length - countBytes) / entryBytes) return [];
  const items: PackageItem[] = [];
  let at = countBytes + entryBytes * count;
  for (let entry = countBytes; items.length < count; entry += entryBytes) {
    const size = view.getUint32(entry + 12, true);
    const bytes = content.subarray(at, at + size);
    items.push({ id: view.getBigUint64(entry, true).toString(), size, bytes });
    at += bytes.length;
  }
  return items;
}
