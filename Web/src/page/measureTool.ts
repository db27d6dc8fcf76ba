import type { Pick } from '../three/model.js';
import type { MirelViewer } from '../viewer/element.js';
import { make } from './dom.js';
import { findFeature, type Feature } from './features.js';
import { describeMeasure, measure, type Measure } from './measure.js';
import type { Vector } from './vectors.js';

/** Pixels from an edge within which the edge is meant, and not the face. */
const reachInPixels = 7;

/** While it is on, clicks choose what is measured: one thing tells what it is, two tell what lies between them. */
export class MeasureTool {
  readonly button: HTMLButtonElement;
  readonly output = make('output', { class: 'measure', 'aria-live': 'polite', hidden: true });
  readonly marks = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  private readonly chosen: Feature[] = [];
  private result?: Measure;

  constructor(private readonly viewer: MirelViewer) {
    this.button = make(
      'button',
      {
        type: 'button',
        'aria-pressed': 'false',
        title: 'Measure: click one or two faces, edges or corners',
        click: () => this.toggle(),
      },
      'Measure',
    );
    this.marks.setAttribute('class', 'marks');
    viewer.addEventListener('pick', event => this.choose(event as CustomEvent<{ pick?: Pick }>));
    viewer.addEventListener('view', () => this.draw());
    viewer.addEventListener('open', () => this.clear());
  }

  get isOn(): boolean {
    return this.button.getAttribute('aria-pressed') === 'true';
  }

  private toggle(): void {
    this.button.setAttribute('aria-pressed', String(!this.isOn));
    this.clear();
    this.output.hidden = !this.isOn;
    this.output.textContent = 'Click a face, an edge or a corner.';
  }

  private clear(): void {
    this.chosen.length = 0;
    this.result = undefined;
    this.output.textContent = '';
    this.draw();
  }

  private choose(event: CustomEvent<{ pick?: Pick }>): void {
    if (!this.isOn) return;
    event.preventDefault();
    const { pick } = event.detail;
    const waiting = pick && this.viewer.fetchFeatures(pick.shape);
    if (!waiting) this.add(pick);
    else {
      this.output.textContent = 'The exact surfaces are on their way.';
      void waiting.finally(() => this.add(pick));
    }
  }

  private add(pick: Pick | undefined): void {
    if (this.chosen.length === 2 || !pick) this.clear();
    if (!pick || !this.viewer.model || !this.isOn) return;
    this.chosen.push(
      findFeature(this.viewer.model, pick, reachInPixels * this.viewer.stage.getPixelSize(pick.point)),
    );
    const lines = this.chosen.map(({ text, isExact, note }) =>
      [text, isExact ? 'exact' : 'approximate', ...(note ? [note] : [])].join(', '),
    );
    if (this.chosen.length === 2) {
      this.result = measure(this.chosen[0], this.chosen[1]);
      lines.push(describeMeasure(this.result));
    }
    this.output.replaceChildren(...lines.map(line => make('div', {}, line)));
    this.draw();
  }

  private draw(): void {
    const points = this.chosen.map(feature => feature.picked);
    const shapes = points.map(point =>
      this.makeShape('circle', { ...this.project(point, 'cx', 'cy'), r: 4 }),
    );
    if (this.result?.distance !== undefined) {
      const { from, to } = this.result;
      shapes.push(
        this.makeShape('line', { ...this.project(from, 'x1', 'y1'), ...this.project(to, 'x2', 'y2') }),
      );
    }
    this.marks.replaceChildren(...shapes);
  }

  private project(point: Vector, x: string, y: string): { [name: string]: number } {
    const at = this.viewer.stage.project(point);
    return { [x]: at[0], [y]: at[1] };
  }

  private makeShape(tag: 'circle' | 'line', attributes: { [name: string]: number }): SVGElement {
    const shape = document.createElementNS('http://www.w3.org/2000/svg', tag);
    for (const [name, value] of Object.entries(attributes)) shape.setAttribute(name, value.toFixed(1));
    return shape;
  }
}
