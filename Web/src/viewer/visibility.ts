import type { Look } from '../three/batch.js';
import type { ModelObject } from '../three/model.js';

/** What is to be seen of the model, told by rows of its tree. What is said of a row holds for all below it. */
export class Visibility {
  readonly hidden = new Set<number>();
  /** When there are any, only these and what is below them is solid. */
  readonly alone = new Set<number>();
  /** What is not alone is drawn as if made of glass, instead of not at all. */
  ghostsRest = false;

  private shown: Uint8Array;

  constructor(private readonly model: ModelObject) {
    this.shown = new Uint8Array(model.shapeCount).fill(1);
  }

  hide(rows: Iterable<number>): void {
    for (const row of rows) this.hidden.add(row);
    this.apply();
  }

  /** Shows rows again, with what is around and below them. */
  show(rows: Iterable<number>): void {
    for (const row of rows) {
      for (let at = row; at >= 0; at = this.model.occurrences.parents[at]) this.hidden.delete(at);
      for (const other of this.hidden)
        if (other > row && other < this.model.occurrences.ends[row]) this.hidden.delete(other);
    }
    this.apply();
  }

  isolate(rows: Iterable<number>, ghostsRest = false): void {
    this.alone.clear();
    for (const row of rows) this.alone.add(row);
    this.ghostsRest = ghostsRest;
    this.apply();
  }

  showAll(): void {
    this.hidden.clear();
    this.isolate([]);
  }

  /** Whether a row is hidden, by itself or by one around it. */
  isHidden(row: number): boolean {
    for (let at = row; at >= 0; at = this.model.occurrences.parents[at]) if (this.hidden.has(at)) return true;
    return false;
  }

  /** Whether a shape is drawn as it is. */
  isShown(shape: number): boolean {
    return this.shown[shape] !== 0;
  }

  /** Tells the model; also after bodies have been added. */
  apply(): void {
    const isPlain = this.hidden.size === 0 && this.alone.size === 0;
    if (isPlain && !this.shown.includes(0)) return;
    const { shapeRows } = this.model.occurrences;
    const hidden = this.cover(this.hidden);
    const alone = this.alone.size > 0 ? this.cover(this.alone) : undefined;
    shapeRows.forEach((_, shape) => {
      let look: Look = 'solid';
      if (hidden[shape]) look = 'hidden';
      else if (alone && !alone[shape]) look = this.ghostsRest ? 'ghost' : 'hidden';
      this.model.setLook(shape, look);
      this.shown[shape] = look === 'solid' ? 1 : 0;
    });
  }

  /** For each shape whether it lies in one of the rows. */
  private cover(rows: Iterable<number>): Uint8Array {
    const covered = new Uint8Array(this.model.shapeCount);
    for (const row of rows) covered.fill(1, ...this.model.getShapesBelow(row));
    return covered;
  }
}
