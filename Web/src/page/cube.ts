import { Matrix4 } from 'three';
import type { MirelViewer } from '../viewer/element.js';
import { views, type ViewName } from '../viewer/camera.js';
import { make } from './dom.js';

/** Pixels. */
const half = 28;

/** How each side of the cube is turned: where it lies, and where its text runs to. z is up. */
const sides: { name: ViewName; right: number[]; up: number[] }[] = [
  { name: 'front', right: [1, 0, 0], up: [0, 0, 1] },
  { name: 'back', right: [-1, 0, 0], up: [0, 0, 1] },
  { name: 'left', right: [0, -1, 0], up: [0, 0, 1] },
  { name: 'right', right: [0, 1, 0], up: [0, 0, 1] },
  { name: 'top', right: [1, 0, 0], up: [0, 1, 0] },
  { name: 'bottom', right: [1, 0, 0], up: [0, -1, 0] },
];

/** A cube that turns with the model; its sides are buttons for the views. */
export class ViewCube {
  readonly element: HTMLElement;
  private readonly cube: HTMLElement;

  constructor(private readonly viewer: MirelViewer) {
    this.cube = make('div', { class: 'cube' }, ...sides.map(side => this.makeSide(side)));
    this.element = make('div', { class: 'cube-room', role: 'group', 'aria-label': 'Views' }, this.cube);
    viewer.addEventListener('view', () => this.turn());
    this.turn();
  }

  private makeSide({ name, right, up }: (typeof sides)[number]): HTMLElement {
    const normal = views[name];
    const button = make(
      'button',
      { type: 'button', 'aria-label': `View from ${name}`, click: () => this.viewer.setView(name) },
      name,
    );
    // From the plane of the button, where y is down, into the space of the model, where its middle is at the origin.
    const place = [...right, 0, ...up.map(x => -x), 0, ...normal, 0, ...normal.map(x => x * half), 1];
    button.style.transform = `translate(-50%, -50%) matrix3d(${place.join(',')})`;
    return button;
  }

  private turn(): void {
    const { active } = this.viewer.stage.camera;
    active.updateMatrixWorld();
    const turned = new Matrix4().extractRotation(active.matrixWorldInverse);
    const flipped = new Matrix4().makeScale(1, -1, 1).multiply(turned); // y is down on pages
    this.cube.style.transform = `matrix3d(${flipped.elements.map(x => x.toFixed(5)).join(',')})`;
  }
}
