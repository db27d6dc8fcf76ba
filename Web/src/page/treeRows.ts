import type { Occurrences } from '../reader/occurrences.js';
import { getContent, getLabel, getShownRow } from './labels.js';

/** A row as it is shown. */
export interface TreeRow {
  row: number;
  level: number;
}

/** Which rows of the tree are shown: those below rows that are open, or those with a text in their names. */
export class TreeRows {
  /** In the order in which they are shown. */
  shown: TreeRow[] = [];
  /** How many rows have the text that is looked for. */
  matches = 0;
  private readonly opened = new Set<number>();
  private wanted = '';

  constructor(private readonly occurrences: Occurrences) {
    for (let row = 0; row < occurrences.items.length; row = occurrences.ends[row]) {
      if (row === 0 && occurrences.ends[0] === occurrences.items.length) this.opened.add(0);
    }
    this.update();
  }

  hasChildren(row: number): boolean {
    const content = getContent(this.occurrences, row);
    return this.occurrences.ends[content] > content + 1;
  }

  isOpen(row: number): boolean {
    return this.wanted !== '' || this.opened.has(row);
  }

  toggle(row: number, open = !this.opened.has(row)): void {
    if (open) this.opened.add(row);
    else this.opened.delete(row);
    this.update();
  }

  /** Opens what is around a row; the row that stands for it. */
  reveal(row: number): number {
    const { parents } = this.occurrences;
    for (let at = parents[row]; at >= 0; at = parents[at]) this.opened.add(at);
    this.update();
    return getShownRow(this.occurrences, row);
  }

  /** Shows only rows with a text in their names, and those around them; without a text, the tree. */
  search(text: string): void {
    this.wanted = text.trim().toLocaleLowerCase();
    this.update();
  }

  private update(): void {
    this.shown = [];
    this.matches = 0;
    if (this.wanted) this.collectMatches();
    else this.collectOpen();
  }

  private collectOpen(): void {
    const { items, ends } = this.occurrences;
    // Rows still to be shown, with where each list of siblings ends.
    const open: { at: number; end: number }[] = [{ at: 0, end: items.length }];
    while (open.length > 0) {
      const list = open[open.length - 1];
      if (list.at >= list.end) {
        open.pop();
        continue;
      }
      const row = list.at;
      list.at = ends[row];
      this.shown.push({ row, level: open.length });
      const content = getContent(this.occurrences, row);
      if (this.opened.has(row)) open.push({ at: content + 1, end: ends[content] });
    }
  }

  private collectMatches(): void {
    const { items, parents } = this.occurrences;
    const levels = new Map<number, number>();
    const add = (row: number): number => {
      if (row < 0) return 0;
      const shown = getShownRow(this.occurrences, row);
      const known = levels.get(shown);
      if (known !== undefined) return known;
      const level = add(parents[shown]) + 1;
      levels.set(shown, level);
      return level;
    };
    for (let row = 0; row < items.length; ++row) {
      if (getShownRow(this.occurrences, row) !== row) continue;
      if (!getLabel(this.occurrences, row).toLocaleLowerCase().includes(this.wanted)) continue;
      this.matches++;
      add(row);
    }
    this.shown = [...levels].map(([row, level]) => ({ row, level })).sort((a, b) => a.row - b.row);
  }
}
