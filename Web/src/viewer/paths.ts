import type { Occurrences } from '../reader/occurrences.js';

/**
 * How links name rows of the tree: by the ids of items from the top down, joined by dots. Ids stay when the model is saved again,
 * numbers of rows do not.
 */
export function toPath(occurrences: Occurrences, row: number): string {
  const ids: string[] = [];
  for (let at = row; at >= 0; at = occurrences.parents[at]) ids.unshift(occurrences.items[at].id);
  return ids.join('.');
}

/** The row with a path; -1 when there is none. */
export function fromPath(occurrences: Occurrences, path: string): number {
  let row = -1;
  let begin = 0;
  let end = occurrences.items.length;
  for (const id of path.split('.')) {
    row = begin;
    while (row < end && occurrences.items[row].id !== id) row = occurrences.ends[row];
    if (row >= end) return -1;
    begin = row + 1;
    end = occurrences.ends[row];
  }
  return row;
}

/** The rows of an item, given its path, its id or its name, in this order; none when there is no such item. */
export function findRows(occurrences: Occurrences, text: string): number[] {
  const row = fromPath(occurrences, text);
  if (row >= 0) return [row];
  for (const key of ['id', 'name'] as const) {
    const rows = occurrences.items.flatMap((item, i) => (item[key] === text ? [i] : []));
    if (rows.length > 0) return rows;
  }
  return [];
}
