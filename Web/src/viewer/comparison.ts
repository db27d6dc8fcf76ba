import { ModelFolder, type Graphics, type OpenOptions } from '../reader/folder.js';
import type { Item, ModelIndex, ShapeItem } from '../reader/items.js';
import { unfold, type Occurrences } from '../reader/occurrences.js';
import type { FolderSource } from '../reader/source.js';
import type { Tint } from '../three/tints.js';

/** One thing that is different between two versions, wherever it shows. */
export interface Difference {
  kind: string;
  /** In a line, for people. */
  text: string;
  tint: Tint;
  /** Rows of the model that is shown, which has what is gone at its end. */
  rows: number[];
  /** An assembly that has only another name shows it nowhere. */
  isSeen: boolean;
}

/** A place of a change, as `mirel diff --json` tells it: ids of items from the top down. */
interface Place {
  old?: { ids: string[] };
  new?: { ids: string[] };
}
interface Change {
  kind: string;
  name: string;
  newName?: string;
  isPart: boolean;
  distance?: number;
  angle?: number;
  places: Place[];
}

const kinds: { [kind: string]: { word: string; tint: Tint } } = {
  added: { word: 'new', tint: 'added' },
  removed: { word: 'gone', tint: 'gone' },
  reshaped: { word: 'shape changed', tint: 'changed' },
  moved: { word: 'moved', tint: 'changed' },
  reparented: { word: 'moved in the tree', tint: 'changed' },
  renamed: { word: 'renamed', tint: 'changed' },
  recolored: { word: 'recoloured', tint: 'changed' },
};

/** In front of the ids of what is gone: versions may use one id for different things. */
const olderPrefix = 'older-';

/**
 * What is different from an older version. Its folder holds `changes.json` besides its own files, as `mirel diff --json` prints it.
 * What is gone is added to the model that is shown.
 */
export class Comparison {
  /** Of each change that has removed something, where that stands among the items that are added. */
  private readonly gone = new Map<Change, Item[]>();
  private readonly neededBodies = new Set<string>();

  private constructor(
    private readonly changes: Change[],
    private readonly older: ModelFolder,
  ) {
    const occurrences = unfold(older.index);
    for (const change of changes) {
      if (change.kind !== 'removed') continue;
      const rows = findPlaces(occurrences, change, 'old');
      this.gone.set(
        change,
        rows.map(row => this.takeOut(occurrences, row)),
      );
    }
  }

  /** Undefined when there is nothing that says what is different. */
  static async open(source: FolderSource, options: OpenOptions): Promise<Comparison | undefined> {
    const bytes = await source('changes.json', options);
    if (!bytes) return undefined;
    const { changes } = JSON.parse(new TextDecoder().decode(bytes)) as { changes: Change[] };
    return new Comparison(
      changes.filter(({ kind }) => kind in kinds),
      await ModelFolder.open(source, options),
    );
  }

  /** The index of a version with what is gone behind it. */
  addGone(index: ModelIndex): ModelIndex {
    const children = [...this.gone.values()].flat();
    if (children.length === 0) return index;
    const group: Item = {
      type: 'Group',
      id: `${olderPrefix}gone`,
      name: 'Gone',
      color: [-1, -1, -1],
      children,
    };
    return { ...index, items: [...index.items, group] };
  }

  /** What is different, by rows of what `addGone` has made. */
  find(occurrences: Occurrences): Difference[] {
    return this.changes.map(change => {
      const { tint } = kinds[change.kind];
      const gone = new Set<Item>(this.gone.get(change));
      const rows =
        change.kind === 'removed'
          ? occurrences.items.flatMap((item, row) => (gone.has(item) ? [row] : []))
          : findPlaces(occurrences, change, 'new');
      const isSeen = change.kind !== 'renamed' || change.isPart;
      return { kind: change.kind, text: describe(change), tint, rows, isSeen };
    });
  }

  /** What is drawn of bodies that are gone. */
  async *graphics(): AsyncGenerator<Graphics, void, undefined> {
    if (this.neededBodies.size === 0) return;
    for await (const { shapeId, mesh } of this.older.graphics())
      if (this.neededBodies.has(shapeId)) yield { shapeId: olderPrefix + shapeId, mesh };
  }

  /** What lies in a row, without the tree around it, where it stands in the model. */
  private takeOut(occurrences: Occurrences, row: number): Item {
    const { items, shapeRows, ends, placements } = occurrences;
    const { id, name, color } = items[row];
    const children: Item[] = [];
    shapeRows.forEach((at, shape) => {
      if (at < row || at >= ends[row]) return;
      const item = items[at] as ShapeItem;
      this.neededBodies.add(item.shapeId);
      children.push({
        ...item,
        id: olderPrefix + item.id,
        shapeId: olderPrefix + item.shapeId,
        transform: Array.from(placements.subarray(16 * shape, 16 * shape + 16)),
      });
    });
    return { type: 'Group', id: olderPrefix + id, name, color, children };
  }
}

function findPlaces(occurrences: Occurrences, change: Change, side: 'old' | 'new'): number[] {
  return change.places.flatMap(place => {
    const row = findRow(occurrences, place[side]?.ids ?? []);
    return row < 0 ? [] : [row];
  });
}

/** The row of an item, given the ids on the way to it, which may pass over the types of instances; -1 when it is not there. */
function findRow({ items, ends }: Occurrences, ids: string[]): number {
  let found = -1;
  let [row, end] = [0, items.length];
  for (const id of ids) {
    while (row < end && items[row].id !== id)
      row = found >= 0 && items[found].type === 'Instance' && row === found + 1 ? row + 1 : ends[row];
    if (row >= end) return -1;
    found = row;
    end = ends[row];
    row++;
  }
  return found;
}

function describe({ kind, name, newName, distance, angle, places }: Change): string {
  const round = (value: number) => String(Number(value.toPrecision(4)));
  const parts = [`${name || 'without a name'}: ${kinds[kind].word}`];
  if (newName !== undefined) parts.push(`to ${newName}`);
  if (distance) parts.push(`by ${round(distance)} mm`);
  if (angle) parts.push(`turned by ${round(angle)}°`);
  if (places.length > 1) parts.push(`${places.length} places`);
  return parts.join(', ');
}
