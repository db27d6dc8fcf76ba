import type { SectionPlane } from '../three/caps.js';
import type { MirelViewer } from '../viewer/element.js';
import { fromPath, toPath } from '../viewer/paths.js';

/** Milliseconds of rest before the address is written. */
const rest = 300;

/** The part of the address behind `#` that says what is to be seen: camera, selection, what is hidden, sections. */
export function writeState(viewer: MirelViewer): string {
  const { model, visibility } = viewer;
  if (!model || !visibility) return '';
  const toPaths = (rows: Iterable<number>) =>
    Array.from(rows, row => toPath(model.occurrences, row)).join('~');
  const numbers = (values: number[]) => values.map(value => Number(value.toPrecision(7))).join(',');
  const { eye, target, isParallel } = viewer.viewPoint;
  const parts = {
    view: `${numbers([...eye, ...target])}${isParallel ? ',parallel' : ''}`,
    sel: toPaths(viewer.selection),
    hide: toPaths(visibility.hidden),
    [visibility.ghostsRest ? 'glass' : 'only']: toPaths(visibility.alone),
    cut: viewer
      .getSections()
      .map(({ normal, offset }) => numbers([...normal, offset]))
      .join('~'),
    edges: viewer.edges ? '' : 'none',
  };
  return Object.entries(parts)
    .filter(([, value]) => value !== '')
    .map(([name, value]) => `${name}=${encodeURIComponent(value).replace(/%2C/g, ',')}`)
    .join('&');
}

/** Brings about what an address says. What it says wrongly is passed over: addresses are cut and changed on their way. */
export function readState(viewer: MirelViewer, hash: string): void {
  const { model } = viewer;
  if (!model) return;
  const state = new URLSearchParams(hash.replace(/^#/, ''));
  const toRows = (name: string) =>
    (state.get(name)?.split('~') ?? [])
      .map(path => fromPath(model.occurrences, path))
      .filter(row => row >= 0);
  const toNumbers = (text: string, count: number) => {
    const values = text.split(',').slice(0, count).map(Number);
    return values.length === count && values.every(Number.isFinite) ? values : undefined;
  };

  const part = state.get('part');
  const rows = part ? viewer.find(part) : toRows('sel');
  if (rows.length > 0) viewer.select(rows);
  if (part) viewer.fit(rows);
  if (state.get('hide')) viewer.hide(toRows('hide'));
  for (const name of ['only', 'glass']) if (state.get(name)) viewer.isolate(toRows(name), name === 'glass');
  if (state.get('edges') === 'none') viewer.edges = false;
  const planes = (state.get('cut')?.split('~') ?? []).flatMap(text => {
    const plane = toNumbers(text, 4);
    const length = plane ? Math.hypot(plane[0], plane[1], plane[2]) : 0;
    if (!plane || length === 0) return [];
    const normal = plane.slice(0, 3).map(x => x / length) as SectionPlane['normal'];
    return [{ normal, offset: plane[3] / length }];
  });
  if (planes.length > 0) viewer.setSections(planes);
  const view = state.get('view') ?? '';
  const numbers = toNumbers(view, 6);
  if (!numbers) return;
  const [eye, target] = [numbers.slice(0, 3), numbers.slice(3)] as [number, number, number][];
  viewer.viewPoint = { eye, target, isParallel: view.endsWith(',parallel') };
}

/** Keeps the address and the viewer the same: reads it once the model is there, and writes it when something changes. */
export function tieToAddress(viewer: MirelViewer): void {
  let timer: ReturnType<typeof setTimeout> | undefined;
  let isLoaded = false;
  viewer.addEventListener('load', () => {
    readState(viewer, location.hash);
    isLoaded = true;
  });
  for (const type of ['view', 'select', 'visibility']) {
    viewer.addEventListener(type, () => {
      if (!isLoaded) return;
      clearTimeout(timer);
      timer = setTimeout(() => history.replaceState(null, '', `#${writeState(viewer)}`), rest);
    });
  }
  window.addEventListener('hashchange', () => {
    if (isLoaded) readState(viewer, location.hash);
  });
}
