import type { Occurrences } from '../reader/occurrences.js';

/** Characters of a name that are shown in rows. */
const longestName = 200;

/**
 * The row with the content of a row: instances have none of their own, but one child, their type. People see both as one.
 */
export function getContent({ items, ends }: Occurrences, row: number): number {
  while (items[row].type === 'Instance' && ends[row] > row + 1) ++row;
  return row;
}

/** The row that stands for a row in the tree: the outermost of the instances around it that have nothing else. */
export function getShownRow({ items, parents }: Occurrences, row: number): number {
  while (parents[row] >= 0 && items[parents[row]].type === 'Instance') row = parents[row];
  return row;
}

/** What a row is called: by its own name, else by that of its type. */
export function getLabel(occurrences: Occurrences, row: number): string {
  const { items } = occurrences;
  const name = items[row].name || items[getContent(occurrences, row)].name;
  if (!name)
    return items[getContent(occurrences, row)].type === 'Shape'
      ? 'part without a name'
      : 'group without a name';
  return name.length > longestName ? `${name.slice(0, longestName)}…` : name;
}
