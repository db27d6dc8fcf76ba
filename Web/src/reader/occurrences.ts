import type { Item, ModelIndex, ShapeItem } from './items.js';
import { maxNesting, maxWalkItems } from './limits.js';

/**
 * Everything that the model shows, instances unfolded: one row for each item wherever it is shown, parents before their
 * children. An instance has its type as a child.
 *
 * What lies below row i are the rows from i + 1 to before `ends[i]`.
 */
export interface Occurrences {
  items: Item[];
  /** The row of the parent; -1 at the top. */
  parents: Int32Array;
  ends: Int32Array;
  /** Rows of all shapes, ascending, and 16 numbers for each: from its own space to that of the model, column by column. */
  shapeRows: Int32Array;
  placements: Float64Array;
}

/**
 * Unfolds the instances of a model. Left out are types inside themselves, what is nested too deep, and everything beyond ten
 * million items; `onMessage` is told.
 */
export function unfold(index: ModelIndex, onMessage: (message: string) => void = () => {}): Occurrences {
  return new Unfolding(index, onMessage).run();
}

class Unfolding {
  private readonly items: Item[] = [];
  private readonly parents: number[] = [];
  private readonly ends: number[] = [];
  private readonly shapeRows: number[] = [];
  private readonly placements: (readonly number[])[] = [];
  private readonly insideTypes = new Set<Item>();
  private weight = 0;

  constructor(
    private readonly index: ModelIndex,
    private readonly onMessage: (message: string) => void,
  ) {}

  run(): Occurrences {
    for (const item of this.index.items) this.add(item, -1, 1, identity);
    const placements = new Float64Array(16 * this.placements.length);
    this.placements.forEach((placement, shape) => placements.set(placement, 16 * shape));
    return {
      items: this.items,
      parents: Int32Array.from(this.parents),
      ends: Int32Array.from(this.ends),
      shapeRows: Int32Array.from(this.shapeRows),
      placements,
    };
  }

  private add(item: Item, parent: number, level: number, outer: readonly number[]): void {
    const type = item.type === 'Instance' ? this.index.types.get(item.typeId) : undefined;
    if (item.type === 'Instance' && !this.mayEnter(item.id, type)) return;
    if (!this.count(item)) return;
    const row = this.items.push(item) - 1;
    this.parents.push(parent);
    this.ends.push(row + 1);
    const placement = item.transform ? multiply(outer, item.transform) : outer;
    if (item.type === 'Shape') {
      this.shapeRows.push(row);
      this.placements.push(placement);
    } else if (level < maxNesting) {
      if (type) this.insideTypes.add(type);
      const children = item.type === 'Group' ? item.children : [type!];
      for (const child of children) this.add(child, row, level + 1, placement);
      if (type) this.insideTypes.delete(type);
    } else {
      this.onMessage(`item ${item.id} is nested deeper than ${maxNesting} levels: its content is left out`);
    }
    this.ends[row] = this.items.length;
  }

  private mayEnter(id: string, type: Item | undefined): boolean {
    if (!type) this.onMessage(`instance ${id} is left out: the model does not have its type`);
    else if (this.insideTypes.has(type))
      this.onMessage(`instance ${id} is left out: its type contains itself`);
    else return true;
    return false;
  }

  /** Long names and many face colours count as several items: they are gone through for each use of a type. */
  private count(item: Item): boolean {
    if (this.weight > maxWalkItems) return false;
    const colors = (item as Partial<ShapeItem>).faceColors?.size ?? 0;
    this.weight += 1 + (item.name.length >> 10) + (colors >> 4);
    if (this.weight <= maxWalkItems) return true;
    this.onMessage(`the model unfolds into more than ${maxWalkItems} items: the rest is left out`);
    return false;
  }
}

const identity: readonly number[] = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];

/** The product of two matrices of 16 numbers, column by column. */
export function multiply(a: ArrayLike<number>, b: ArrayLike<number>): number[] {
  const product: number[] = [];
  for (let column = 0; column < 16; column += 4) {
    const [x, y, z, w] = [b[column], b[column + 1], b[column + 2], b[column + 3]];
    for (let row = 0; row < 4; ++row)
      product.push(a[row] * x + a[4 + row] * y + a[8 + row] * z + a[12 + row] * w);
  }
  return product;
}
