import type { Difference } from '../viewer/comparison.js';
import type { MirelViewer } from '../viewer/element.js';
import { make, makeButton } from './dom.js';

/** What is different from an older version, tied with the picture both ways, to be gone through one after the other. */
export class DifferencesPanel {
  readonly element = make('section', { class: 'differences', 'aria-label': 'Differences', hidden: true });
  private readonly list = make('ol');
  private entries: HTMLButtonElement[] = [];
  private current = -1;

  constructor(private readonly viewer: MirelViewer) {
    this.element.append(
      make(
        'div',
        { class: 'actions' },
        makeButton('‹', 'Previous difference', () => this.step(-1)),
        makeButton('›', 'Next difference', () => this.step(1)),
        makeButton('All', 'Show all differences', () => this.showAll()),
      ),
      this.list,
    );
    viewer.addEventListener('open', () => this.fill());
    viewer.addEventListener('select', () => this.follow());
  }

  private get differences(): Difference[] {
    return this.viewer.differences ?? [];
  }

  private fill(): void {
    this.current = -1;
    this.element.hidden = this.viewer.differences === undefined;
    this.entries = this.differences.map(({ text, tint }, i) =>
      make(
        'button',
        { type: 'button', class: `difference ${tint}`, click: () => this.show(i) },
        make('bdi', {}, text),
      ),
    );
    this.list.replaceChildren(...this.entries.map(entry => make('li', {}, entry)));
    if (this.entries.length === 0) this.list.append(make('li', {}, 'Nothing is different.'));
  }

  private step(by: number): void {
    const count = this.entries.length;
    if (count > 0)
      this.show(this.current < 0 ? (by > 0 ? 0 : count - 1) : (this.current + by + count) % count);
  }

  private show(index: number): void {
    const { rows } = this.differences[index];
    this.viewer.select(rows);
    this.mark(index);
    if (rows.length > 0) this.viewer.fit(rows);
  }

  private showAll(): void {
    this.viewer.select([]);
    this.viewer.showDifferences();
    this.viewer.fit();
  }

  /** Marks the difference of what was selected elsewhere: the one of the part, else of the smallest assembly around it. */
  private follow(): void {
    const { occurrences } = this.viewer.model ?? {};
    const row = this.viewer.selection.at(-1);
    let best = -1;
    if (occurrences && row !== undefined) {
      const size = (index: number) =>
        Math.min(...this.differences[index].rows.filter(at => isIn(at)).map(at => occurrences.ends[at] - at));
      const isIn = (at: number) => at <= row && row < occurrences.ends[at];
      this.differences.forEach(({ rows }, i) => {
        if (rows.some(isIn) && (best < 0 || size(i) < size(best))) best = i;
      });
    }
    this.mark(best);
  }

  private mark(index: number): void {
    this.current = index;
    this.entries.forEach((entry, i) => entry.setAttribute('aria-current', String(i === index)));
    this.entries[index]?.scrollIntoView({ block: 'nearest' });
  }
}
