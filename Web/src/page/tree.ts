import type { MirelViewer } from '../viewer/element.js';
import { make } from './dom.js';
import { getContent, getLabel, getShownRow } from './labels.js';
import { TreeRows } from './treeRows.js';

/** Pixels. */
const rowHeight = 24;

/** The tree of the model, tied to the picture both ways. Only rows that can be seen are elements, so that it may have millions. */
export class TreePanel {
  readonly element: HTMLElement;
  private readonly search: HTMLInputElement;
  private readonly count = make('output', { class: 'count', 'aria-live': 'polite' });
  private readonly scroller: HTMLElement;
  private readonly list = make('div', { class: 'rows', role: 'presentation' });
  private rows?: TreeRows;
  /** Those that can be seen, by their rows. */
  private elements = new Map<number, HTMLElement>();
  private focused = 0;
  private isOwnSelection = false;

  constructor(private readonly viewer: MirelViewer) {
    this.search = make('input', {
      type: 'search',
      placeholder: 'Search parts',
      'aria-label': 'Search parts by name',
      input: () => this.find(),
    });
    this.scroller = make(
      'div',
      {
        class: 'scroller',
        role: 'tree',
        tabIndex: 0,
        'aria-label': 'Parts',
        'aria-multiselectable': 'true',
        scroll: () => this.draw(),
        keydown: (event => this.press(event as KeyboardEvent)) as EventListener,
        pointerleave: () => this.viewer.hover(-1),
      },
      this.list,
    );
    this.element = make(
      'nav',
      { class: 'tree', 'aria-label': 'Model' },
      this.search,
      this.count,
      this.scroller,
    );
    viewer.addEventListener('open', () => this.fill());
    viewer.addEventListener('select', () => this.follow());
    for (const type of ['visibility', 'hover', 'load']) viewer.addEventListener(type, () => this.draw());
    new ResizeObserver(() => this.draw()).observe(this.scroller);
  }

  private fill(): void {
    if (!this.viewer.model) return;
    this.rows = new TreeRows(this.viewer.model.occurrences);
    this.list.replaceChildren();
    this.elements.clear();
    this.focused = 0;
    this.scroller.scrollTop = 0;
    this.find();
  }

  private find(): void {
    const { rows, viewer } = this;
    if (!rows || !viewer.model) return;
    rows.search(this.search.value);
    const parts = viewer.model.shapeCount;
    this.count.textContent = this.search.value
      ? `${rows.matches} found`
      : `${parts} ${parts === 1 ? 'part' : 'parts'}`;
    this.draw();
  }

  /** Shows what was selected in the picture. */
  private follow(): void {
    const row = this.viewer.selection.at(-1);
    if (this.rows && row !== undefined && !this.isOwnSelection) {
      const shown = this.rows.reveal(row);
      this.focused = Math.max(
        0,
        this.rows.shown.findIndex(entry => entry.row === shown),
      );
      this.scrollTo(this.focused);
    }
    this.draw();
  }

  private scrollTo(index: number): void {
    const { scroller } = this;
    const top = index * rowHeight;
    if (top < scroller.scrollTop) scroller.scrollTop = top;
    else if (top + rowHeight > scroller.scrollTop + scroller.clientHeight)
      scroller.scrollTop = top + rowHeight - scroller.clientHeight;
  }

  private draw(): void {
    const { rows, scroller, list } = this;
    if (!rows) return;
    list.style.height = `${rows.shown.length * rowHeight}px`;
    const first = Math.floor(scroller.scrollTop / rowHeight);
    const last = Math.min(rows.shown.length, first + Math.ceil(scroller.clientHeight / rowHeight) + 1);
    // Elements stay what they are while their rows are seen: a second click meets the same as the first.
    const before = this.elements;
    this.elements = new Map();
    for (let index = first; index < last; ++index) {
      const { row } = rows.shown[index];
      const element = before.get(row) ?? this.makeRow(row);
      before.delete(row);
      this.elements.set(row, element);
      this.updateRow(element, index);
      if (!element.parentNode) list.append(element);
    }
    for (const element of before.values()) element.remove();
    scroller.setAttribute('aria-activedescendant', `row-${rows.shown[this.focused]?.row ?? 0}`);
  }

  private makeRow(row: number): HTMLElement {
    const { viewer } = this;
    const occurrences = viewer.model!.occurrences;
    const [begin, end] = viewer.model!.getShapesBelow(row);
    const label = getLabel(occurrences, row);
    const hasChildren = this.rows!.hasChildren(row);
    return make(
      'div',
      {
        id: `row-${row}`,
        class: 'row',
        role: 'treeitem',
        title: label,
        'aria-label': label,
        click: (event => this.click(event as MouseEvent, row)) as EventListener,
        dblclick: () => viewer.fit([row]),
        pointerenter: () => viewer.hover(getContent(occurrences, row)),
      },
      make(
        'span',
        { class: 'twisty', click: (event => this.toggle(event, row)) as EventListener },
        hasChildren ? '▸' : '',
      ),
      make('bdi', { class: 'name' }, label),
      make('span', { class: 'number' }, hasChildren ? String(end - begin) : ''),
      make('button', {
        type: 'button',
        class: 'eye',
        tabIndex: -1,
        click: (event => this.toggleHidden(event, row)) as EventListener,
      }),
    );
  }

  private updateRow(element: HTMLElement, index: number): void {
    const rows = this.rows!;
    const { viewer } = this;
    const { row, level } = rows.shown[index];
    const occurrences = viewer.model!.occurrences;
    const stands = (other: number) => other >= 0 && getShownRow(occurrences, other) === row;
    const isHidden = viewer.visibility?.isHidden(row) ?? false;
    element.style.top = `${index * rowHeight}px`;
    element.style.paddingInlineStart = `${Math.min(level - 1, 20) * 14}px`;
    element.setAttribute('aria-level', String(level));
    element.setAttribute('aria-selected', String(viewer.selection.some(stands)));
    if (rows.hasChildren(row)) element.setAttribute('aria-expanded', String(rows.isOpen(row)));
    element.classList.toggle('focused', index === this.focused);
    element.classList.toggle('hidden', isHidden);
    element.classList.toggle('hovered', stands(viewer.hoveredRow));
    const eye = element.lastElementChild as HTMLButtonElement;
    eye.textContent = isHidden ? '○' : '●';
    eye.title = isHidden ? 'Show' : 'Hide';
    eye.setAttribute('aria-label', `${eye.title} ${element.title}`);
  }

  private toggle(event: Event, row: number): void {
    event.stopPropagation();
    this.rows?.toggle(row);
    this.draw();
  }

  private toggleHidden(event: Event, row: number): void {
    event.stopPropagation();
    if (this.viewer.visibility?.isHidden(row)) this.viewer.show([row]);
    else this.viewer.hide([row]);
  }

  private click(event: MouseEvent, row: number): void {
    this.focused = this.rows!.shown.findIndex(entry => entry.row === row);
    this.selectFocused(event.ctrlKey || event.metaKey || event.shiftKey);
  }

  private selectFocused(adds: boolean): void {
    const row = this.rows?.shown[this.focused]?.row;
    if (row === undefined) return;
    const { selection } = this.viewer;
    this.isOwnSelection = true;
    if (!adds) this.viewer.select([row]);
    else
      this.viewer.select(
        selection.includes(row) ? selection.filter(other => other !== row) : [...selection, row],
      );
    this.isOwnSelection = false;
  }

  private press(event: KeyboardEvent): void {
    const { rows } = this;
    const entry = rows?.shown[this.focused];
    if (!rows || !entry) return;
    const page = Math.max(1, Math.floor(this.scroller.clientHeight / rowHeight) - 1);
    const steps: { [key: string]: number } = {
      ArrowDown: 1,
      ArrowUp: -1,
      PageDown: page,
      PageUp: -page,
      Home: -Infinity,
      End: Infinity,
    };
    if (event.key in steps)
      this.focused = Math.min(rows.shown.length - 1, Math.max(0, this.focused + steps[event.key]));
    else if (event.key === 'ArrowRight' && rows.hasChildren(entry.row)) rows.toggle(entry.row, true);
    else if (event.key === 'ArrowLeft' && rows.hasChildren(entry.row)) rows.toggle(entry.row, false);
    else if (event.key === 'Enter' || event.key === ' ') this.selectFocused(event.ctrlKey);
    else if (event.key === 'h') this.viewer.hide([entry.row]);
    else return;
    event.preventDefault();
    this.scrollTo(this.focused);
    this.draw();
  }
}
