import { Raycaster, Scene, Vector2, Vector3, WebGLRenderer } from 'three';
import { OrbitControls } from 'three/addons/controls/OrbitControls.js';
import type { ModelObject, Pick } from '../three/model.js';
import { getCenter, getSize, isEmpty } from '../three/placements.js';
import type { Ray } from '../three/rays.js';
import { ViewCamera } from './camera.js';

/** What the stage tells. */
export interface StageListener {
  /** The view has changed: by the user, or by a call. */
  onView(): void;
  /** Drawing is not possible, or is again (no message). */
  onFailure(message: string | undefined): void;
}

/** Draws a model on a canvas: camera, light, pointers. Draws only when something has changed. */
export class Stage {
  readonly camera = new ViewCamera();
  readonly canvas = document.createElement('canvas');
  /** Drawn beside the model: marks of measures and the like. */
  readonly scene = new Scene();
  /** Whether the user has moved the camera. */
  isMoved = false;
  private renderer?: WebGLRenderer;
  hasBegun = false;
  private readonly controls: OrbitControls;
  private model?: ModelObject;
  private isWaiting = false;
  /** Whether the canvas shows nothing: then nothing need not be drawn again. */
  private isBlank = true;
  private size: number[] = []; // width, height and pixels for each of theirs

  constructor(private readonly listener: StageListener) {
    this.canvas.tabIndex = 0;
    this.controls = new OrbitControls(this.camera.active, this.canvas);
    this.controls.zoomToCursor = true;
    this.controls.screenSpacePanning = true;
    this.controls.target = this.camera.target;
    this.controls.addEventListener('change', () => {
      this.draw();
      this.listener.onView();
    });
    this.controls.addEventListener('start', () => (this.isMoved = true));
    this.canvas.addEventListener('webglcontextlost', event => {
      event.preventDefault();
      this.listener.onFailure(
        'The graphics card has lost the picture; it comes back as soon as the card is free again.',
      );
    });
    this.canvas.addEventListener('webglcontextrestored', () => {
      this.listener.onFailure(undefined);
      this.draw();
    });
  }

  /**
   * Gets what draws, once, for a canvas of some size: buffers that are made for another one take long to be made anew. False when the
   * browser cannot draw.
   */
  begin(width: number, height: number): boolean {
    if (this.hasBegun) return this.renderer !== undefined;
    this.hasBegun = true;
    const ratio = window.devicePixelRatio;
    if (width > 0 && height > 0 && ratio === 1) {
      this.size = [width, height, ratio];
      Object.assign(this.canvas, { width, height });
    }
    this.renderer = makeRenderer(this.canvas);
    this.renderer?.setClearColor(0, 0);
    this.draw();
    return this.renderer !== undefined;
  }

  setModel(model: ModelObject | undefined): void {
    this.model?.dispose();
    this.model = model;
    if (model) this.scene.add(model);
    this.draw();
  }

  setParallel(isParallel: boolean): void {
    this.update();
    this.camera.isParallel = isParallel;
    if (isParallel) this.camera.parallel.zoom = 1;
    this.controls.object = this.camera.active;
    this.changed();
  }

  /** To be called after the camera was moved by other means than pointers. */
  changed(): void {
    this.draw();
    this.listener.onView();
  }

  /** Draws before the next frame is shown. */
  draw(): void {
    if (this.isWaiting || !this.renderer || (this.isBlank && !this.isAnythingToSee)) return;
    this.isWaiting = true;
    requestAnimationFrame(() => {
      this.isWaiting = false;
      this.render();
    });
  }

  resize(width: number, height: number): void {
    const size = [Math.max(1, width), Math.max(1, height), window.devicePixelRatio];
    if (!this.renderer || size.every((value, i) => value === this.size[i])) return;
    this.size = size;
    this.isBlank = true;
    if (this.renderer.getPixelRatio() !== size[2]) this.renderer.setPixelRatio(size[2]);
    this.renderer.setSize(size[0], size[1], false);
    this.draw();
  }

  /** The line of sight at a point of the window, in coordinates of the model. */
  getRay(clientX: number, clientY: number): Ray {
    const area = this.canvas.getBoundingClientRect();
    const at = new Vector2(
      ((clientX - area.left) / area.width) * 2 - 1,
      1 - ((clientY - area.top) / area.height) * 2,
    );
    this.update();
    this.camera.active.updateMatrixWorld();
    const caster = new Raycaster();
    caster.setFromCamera(at, this.camera.active);
    const { origin, direction } = caster.ray;
    return { origin: origin.add(this.modelOrigin).toArray(), direction: direction.toArray() };
  }

  /** Where a point of the model is seen, in pixels of the canvas. */
  project(point: ArrayLike<number>): [x: number, y: number] {
    this.update();
    this.camera.active.updateMatrixWorld();
    const p = new Vector3(point[0], point[1], point[2]).sub(this.modelOrigin).project(this.camera.active);
    return [((p.x + 1) / 2) * this.canvas.clientWidth, ((1 - p.y) / 2) * this.canvas.clientHeight];
  }

  /** How many mm a pixel of the canvas is wide at a point of the model. */
  getPixelSize(point: ArrayLike<number>): number {
    const { camera } = this;
    const distance = camera.perspective.position.distanceTo(camera.target);
    const p = new Vector3(point[0], point[1], point[2]).sub(this.modelOrigin);
    const depth = p.sub(camera.perspective.position).dot(camera.perspective.getWorldDirection(new Vector3()));
    const height = camera.height * (camera.isParallel ? 1 : depth / distance);
    return height / Math.max(1, this.canvas.clientHeight);
  }

  pick(clientX: number, clientY: number): Pick | undefined {
    return this.model?.pick(this.getRay(clientX, clientY));
  }

  /** What is seen as a picture of some size in pixels, on a transparent background. */
  async toBlob(width: number, height: number, type = 'image/png'): Promise<Blob> {
    if (!this.renderer) throw new Error('This browser cannot draw');
    const size = this.renderer.getSize(new Vector2());
    const ratio = this.renderer.getPixelRatio();
    try {
      this.renderer.setPixelRatio(1);
      this.renderer.setSize(width, height, false);
      this.render();
      return await new Promise<Blob>((resolve, reject) =>
        this.canvas.toBlob(
          blob => (blob ? resolve(blob) : reject(new Error('The picture is too large'))),
          type,
        ),
      );
    } finally {
      this.renderer.setPixelRatio(ratio);
      this.renderer.setSize(size.x, size.y, false);
      this.draw();
    }
  }

  dispose(): void {
    this.setModel(undefined);
    this.controls.dispose();
    this.renderer?.dispose();
  }

  private get modelOrigin(): Vector3 {
    return new Vector3(...(this.model?.origin ?? [0, 0, 0]));
  }

  private update(): void {
    const bounds = this.model?.getBounds();
    const isDrawn = bounds && !isEmpty(bounds);
    const explode = this.model?.shared.explode.value ?? 0;
    const center = isDrawn ? new Vector3(...getCenter(bounds)).sub(this.modelOrigin) : new Vector3();
    const radius = (isDrawn ? Math.max(getSize(bounds) * 0.51, 1e-3) : 1) * (1 + 4 * explode);
    const { width, height } = this.canvas;
    this.camera.update(width / Math.max(1, height), center, radius);
    if (!this.model) return;
    this.model.shared.isParallel.value = this.camera.isParallel;
    this.model.shared.nearer.value = radius * 1e-3;
    this.model.shared.pixelRatio.value = this.renderer?.getPixelRatio() ?? 1;
  }

  private get isAnythingToSee(): boolean {
    return this.model !== undefined && !isEmpty(this.model.getBounds());
  }

  /** Draws at once. */
  render(): void {
    this.isBlank = !this.isAnythingToSee;
    this.update();
    this.renderer?.render(this.scene, this.camera.active);
  }
}

function makeRenderer(canvas: HTMLCanvasElement): WebGLRenderer | undefined {
  try {
    return new WebGLRenderer({
      canvas,
      antialias: true,
      alpha: true,
      stencil: true,
      preserveDrawingBuffer: false,
    });
  } catch {
    return undefined;
  }
}
