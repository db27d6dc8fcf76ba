import type { MirelViewer } from '../viewer/element.js';
import type { ViewName } from '../viewer/camera.js';
import { download, make, makeButton, toFileName } from './dom.js';

/** The buttons above the picture. */
export function makeToolbar(viewer: MirelViewer, title: () => string, ...more: HTMLElement[]): HTMLElement {
  const view = make(
    'select',
    { 'aria-label': 'View', change: () => chooseView() },
    make('option', { value: '' }, 'View'),
    ...['iso', 'front', 'back', 'left', 'right', 'top', 'bottom'].map(name =>
      make('option', { value: name }, name),
    ),
  );
  const chooseView = () => {
    if (view.value) viewer.setView(view.value as ViewName);
    view.value = '';
  };
  const parallel = makeToggle('Parallel', 'Parallel instead of perspective projection', isOn => {
    viewer.projection = isOn ? 'parallel' : 'perspective';
  });
  const edges = makeToggle('Edges', 'Draw edges', isOn => (viewer.edges = isOn));
  const explode = make('input', {
    type: 'range',
    max: '100',
    value: '0',
    'aria-label': 'Explode',
    title: 'Explode',
  });
  explode.addEventListener('input', () => viewer.explode(explode.valueAsNumber / 50));
  viewer.addEventListener('open', () => (explode.value = '0'));
  viewer.addEventListener('view', () => {
    parallel.setAttribute('aria-pressed', String(viewer.projection === 'parallel'));
    edges.setAttribute('aria-pressed', String(viewer.edges));
  });
  edges.setAttribute('aria-pressed', String(viewer.edges));
  return make(
    'div',
    { class: 'toolbar', role: 'toolbar', 'aria-label': 'View' },
    makeButton('Fit', 'Show all that is visible', () => viewer.fit()),
    view,
    parallel,
    edges,
    makeButton('Show all', 'Show all that is hidden', () => viewer.showAll()),
    make('label', {}, 'Explode', explode),
    ...more,
    makeButton('Picture', 'Download the picture', () => void savePicture(viewer, title())),
  );
}

function makeToggle(sign: string, title: string, onChange: (isOn: boolean) => void): HTMLButtonElement {
  const button = makeButton(sign, title, () => onChange(button.getAttribute('aria-pressed') !== 'true'));
  button.setAttribute('aria-pressed', 'false');
  return button;
}

async function savePicture(viewer: MirelViewer, title: string): Promise<void> {
  download(await viewer.toBlob(), `${toFileName(title)}.png`);
}
