import type { MemoryBudget } from './budget.js';
import { ReadError } from './failure.js';
import { inflateFile } from './gzip.js';
import { getLzipSize, unpackLzip } from './lzip.js';

/** The content of a file of a folder, by its name: lzip or gzip. Throws a `ReadError`. */
export async function unpackFile(bytes: Uint8Array, file: string, budget: MemoryBudget): Promise<Uint8Array> {
  if (!file.endsWith('.lz')) return inflateFile(bytes, file, budget);
  const size = getLzipSize(bytes);
  const ceiling = budget.ceiling(bytes.length);
  if (size !== undefined && size > ceiling.bytes) throw new ReadError(file, ceiling.reason);
  const content = size !== undefined && unpackLzip(bytes, size);
  if (!content) throw new ReadError(file, 'not an lzip file, or damaged');
  return content;
}
