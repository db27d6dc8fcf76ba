import { countEdges, countFaces, getSurface } from '../reader/mesh.js';
import { isEmpty } from '../three/placements.js';
import type { Pick } from '../three/model.js';
import type { MirelViewer } from '../viewer/element.js';
import { download, make, makeButton, toFileName } from './dom.js';
import { getContent, getLabel, getShownRow } from './labels.js';
import { formatExact, formatApproximate } from './numbers.js';

/** What is known of the part that is selected. */
export class PropertiesPanel {
  readonly element = make('section', { class: 'properties', 'aria-label': 'Properties', hidden: true });

  constructor(private readonly viewer: MirelViewer) {
    viewer.addEventListener('select', event => {
      const { pick } = (event as CustomEvent<{ pick?: Pick }>).detail;
      const rows = viewer.selection;
      this.fill(pick);
      // What the face lies on may come later.
      void (pick && viewer.fetchFeatures(pick.shape))?.then(() => {
        if (viewer.selection === rows) this.fill(pick);
      });
    });
    viewer.addEventListener('open', () => this.fill());
  }

  private fill(pick?: Pick): void {
    const { viewer, element } = this;
    const rows = viewer.selection;
    element.hidden = rows.length === 0 || !viewer.model;
    if (element.hidden || !viewer.model) return;
    const { occurrences } = viewer.model;
    const title =
      rows.length === 1 ? getLabel(occurrences, getShownRow(occurrences, rows[0])) : `${rows.length} parts`;
    const list = make('dl');
    for (const [name, value] of rows.length === 1 ? this.describe(rows[0], pick) : [])
      list.append(make('dt', {}, name), make('dd', {}, make('bdi', {}, value)));
    element.replaceChildren(make('h2', {}, make('bdi', {}, title)), list, ...this.makeActions(rows));
  }

  private *describe(row: number, pick?: Pick): Generator<[string, string]> {
    const model = this.viewer.model!;
    const item = model.occurrences.items[getContent(model.occurrences, row)];
    const [first, end] = model.getShapesBelow(row);
    if (item.name) yield ['Name', item.name];
    yield ['Id', model.occurrences.items[row].id];
    if (item.type !== 'Shape') yield ['Parts', String(end - first)];
    const bounds = model.getBounds(Array.from({ length: end - first }, (_, i) => first + i));
    if (!isEmpty(bounds)) {
      const size = [0, 1, 2].map(axis => formatApproximate(bounds[axis + 3] - bounds[axis]));
      yield ['Size', `${size.join(' × ')} mm`];
    }
    if (item.type !== 'Shape') return;
    yield ['Body', item.shapeId];
    const equal = model.countShapes(item.shapeId);
    if (equal > 1) yield ['Equal parts', String(equal)];
    const mesh = model.getMesh(first);
    if (!mesh) return;
    yield ['Faces, edges', `${countFaces(mesh)}, ${countEdges(mesh)}`];
    yield [
      'Triangles',
      `${mesh.triangles.length / 3}, within ${formatApproximate(mesh.linearDeflection)} mm`,
    ];
    if (!pick || pick.face < 0) return;
    const surface = getSurface(mesh, pick.face);
    yield ['Face', `${pick.face}${surface && surface.kind !== 'other' ? `, ${surface.kind}` : ''}`];
    if (surface && surface.radius > 0) yield ['Radius', `${formatExact(surface.radius)} mm, exact`];
  }

  private makeActions(rows: readonly number[]): HTMLElement[] {
    const { viewer } = this;
    const actions = [
      makeButton('Hide', 'Hide what is selected', () => viewer.hide(rows)),
      makeButton('Only this', 'Show only what is selected', () => viewer.isolate(rows)),
      makeButton('Ghost the rest', 'Make glass of all else', () => viewer.isolate(rows, true)),
      makeButton('Fit', 'Show what is selected as large as it can be', () => viewer.fit(rows)),
    ];
    const model = viewer.model!;
    const item =
      rows.length === 1 ? model.occurrences.items[getContent(model.occurrences, rows[0])] : undefined;
    if (item?.type === 'Shape' && viewer.hasBody(item.shapeId)) {
      const name = `${toFileName(getLabel(model.occurrences, rows[0]))}.brep`;
      actions.push(
        makeButton('BRep', 'Download the exact body', () => void this.downloadBody(item.shapeId, name)),
      );
    }
    return [make('div', { class: 'actions' }, ...actions)];
  }

  private async downloadBody(shapeId: string, name: string): Promise<void> {
    const text = await this.viewer.getBrepText(shapeId);
    if (text) download(new Blob([text as BlobPart], { type: 'text/plain' }), name);
    else this.viewer.say('The exact bodies are not here: the page was made without them.');
  }
}
