import { ReadError } from '../reader/failure.js';
import { ModelFolder } from '../reader/folder.js';
import { unfold } from '../reader/occurrences.js';
import { readOverview, type Overview } from '../reader/overview.js';
import { httpSource, type FolderSource } from '../reader/source.js';
import type { SectionPlane } from '../three/caps.js';
import { ModelObject, type Pick } from '../three/model.js';
import type { Bounds } from '../three/placements.js';
import { views, type ViewName, type ViewPoint } from './camera.js';
import { Comparison, type Difference } from './comparison.js';
import { embeddedSource } from './embedded.js';
import { keyHelp, pressKey } from './keyboard.js';
import { inOrderOfSize } from './order.js';
import { findRows } from './paths.js';
import { Stage } from './stage.js';
import { makeStyleSheet, style } from './style.js';
import { Visibility } from './visibility.js';

/** Milliseconds after which loading lets the browser see to other things. */
const patience = 20;
/**
 * Milliseconds until a first picture of bodies is drawn while others are still to come, unless these take less than that; each further
 * one takes twice as long.
 */
const firstPicture = 250;
/** Pixels that a pointer may move between down and up, and is still a click. */
const clickDistance = 5;

/**
 * `<mirel-viewer src="trolley/">`: shows a model folder. docs/web.md describes attributes, events, methods and parts.
 *
 * Rows are numbers of the model's tree, see `Occurrences`; they hold until another model is opened.
 */
export class MirelViewer extends HTMLElement {
  static readonly observedAttributes = ['src', 'edges', 'projection', 'view'];

  readonly stage: Stage;
  /** Undefined until a folder has been opened. */
  model?: ModelObject;
  folder?: ModelFolder;
  /** What is different from the folder that the attribute `compare` names; undefined without one. */
  differences?: Difference[];
  private overview?: Overview;
  /** What is fetched for measuring, by the numbers of packages. */
  private readonly features = new Map<number, Promise<void>>();
  visibility?: Visibility;
  private selected: number[] = [];
  private hovered = -1;
  /** Shapes with a mark. */
  private marked: number[] = [];
  private loading?: AbortController;
  private sections: SectionPlane[] = [];
  private readonly message = document.createElement('p');
  private readonly spoken = document.createElement('p');
  private readonly progress = document.createElement('progress');
  private readonly sizes = new ResizeObserver(() => this.stage.resize(this.clientWidth, this.clientHeight));
  private pressedAt?: { x: number; y: number };

  constructor() {
    super();
    this.stage = new Stage({
      onView: () => this.tell('view'),
      onFailure: message => this.say(message),
    });
    const root = this.attachShadow({ mode: 'open' });
    root.adoptedStyleSheets = [makeStyleSheet(style)];
    const { canvas } = this.stage;
    canvas.part.add('canvas');
    canvas.setAttribute('role', 'application');
    canvas.setAttribute('aria-label', 'Model');
    canvas.setAttribute('aria-description', keyHelp);
    Object.assign(this.message, { className: 'message', role: 'alert' }).part.add('message');
    Object.assign(this.progress, { hidden: true }).part.add('progress');
    this.progress.setAttribute('aria-label', 'Loading');
    this.spoken.className = 'spoken';
    this.spoken.setAttribute('aria-live', 'polite');
    root.append(canvas, document.createElement('slot'), this.progress, this.message, this.spoken);
    this.listen(canvas);
  }

  // Attributes

  get src(): string | null {
    return this.getAttribute('src');
  }
  set src(value: string | null) {
    if (value === null) this.removeAttribute('src');
    else this.setAttribute('src', value);
  }

  /** Whether edges are drawn; they are unless the attribute is "none". */
  get edges(): boolean {
    return this.getAttribute('edges') !== 'none';
  }
  set edges(value: boolean) {
    if (value) this.removeAttribute('edges');
    else this.setAttribute('edges', 'none');
  }

  get projection(): 'perspective' | 'parallel' {
    return this.getAttribute('projection') === 'parallel' ? 'parallel' : 'perspective';
  }
  set projection(value: 'perspective' | 'parallel') {
    this.setAttribute('projection', value);
  }

  connectedCallback(): void {
    this.sizes.observe(this);
    if (this.src !== null && !this.model) void this.open(this.src);
    else this.beginDrawing();
  }

  disconnectedCallback(): void {
    this.sizes.disconnect();
    this.loading?.abort();
    // What is not whole is opened anew when the element is put somewhere else.
    if (!this.progress.hidden) this.close();
  }

  attributeChangedCallback(name: string, before: string | null, value: string | null): void {
    if (before === value) return;
    if (name === 'src' && this.isConnected && value !== null) void this.open(value);
    if (name === 'projection') this.stage.setParallel(this.projection === 'parallel');
    if (name === 'view' && value !== null && value in views) this.setView(value as ViewName);
    if (name === 'edges' && this.model) {
      this.model.edgesVisible = this.edges;
      this.stage.changed();
    }
  }

  /** False, after a message, when the browser cannot draw. */
  private beginDrawing(): boolean {
    if (this.stage.begin(this.clientWidth, this.clientHeight)) return true;
    this.fail('This browser cannot draw in three dimensions: it has no WebGL 2, or it is switched off.');
    return false;
  }

  // Opening

  /**
   * Opens a folder in the place of the one that is shown: an address, `#name` for a folder that lies in the page, or what gives
   * its files. Settles when everything is drawn; what goes wrong is shown, and told by the event `error`.
   */
  async open(source: string | FolderSource): Promise<void> {
    this.loading?.abort();
    const loading = (this.loading = new AbortController());
    this.close();
    this.progress.hidden = false;
    try {
      await this.load(typeof source === 'string' ? this.toSource(source) : source, loading.signal);
    } catch (error) {
      if (loading.signal.aborted) return;
      this.fail(error instanceof ReadError ? `The model cannot be opened. ${error.message}.` : String(error));
    } finally {
      if (this.loading === loading) this.progress.hidden = true;
    }
  }

  private toSource(address: string): FolderSource {
    if (address.startsWith('#')) return embeddedSource(document, address.slice(1));
    return httpSource(new URL(address.replace(/(^|\/)index\.gz$/, '$1') || '.', document.baseURI));
  }

  private async load(source: FolderSource, signal: AbortSignal): Promise<void> {
    const messages: string[] = [];
    const isSite = this.hasAttribute('overview');
    const onMessage = (message: string) => messages.push(message);
    const opening = ModelFolder.open(source, { signal, onMessage, isSite });
    // What is known before packages are there: boxes come first, then packages in the order of what is large in the picture.
    const overview = isSite ? readOverview(source, signal).catch(() => undefined) : undefined;
    const older = this.getAttribute('compare');
    const comparing = older
      ? Comparison.open(this.toSource(older), { signal, onMessage })
      : Promise.resolve(undefined);
    comparing.catch(() => {}); // is told when it is waited for
    const folder = await opening;
    const comparison = await comparing;
    const index = comparison ? comparison.addGone(folder.index) : folder.index;
    const model = new ModelObject(unfold(index, onMessage));
    this.folder = folder;
    this.model = model;
    this.visibility = new Visibility(model);
    model.edgesVisible = this.edges;
    this.differences = comparison?.find(model.occurrences);
    this.showDifferences();
    this.stage.setModel(model);
    this.tell('open');
    this.overview = await overview;
    // The browser takes long to make ready to draw: only when the tree is seen.
    if (!this.stage.hasBegun) await nextFrame();
    signal.throwIfAborted();
    if (!this.beginDrawing()) return;
    if (this.overview) this.showBoxes(model, this.overview);
    for await (const { shapeId, mesh } of comparison?.graphics() ?? []) model.addMesh(shapeId, mesh);
    await this.loadBodies(folder, model, this.overview);
    signal.throwIfAborted();
    this.stage.draw();
    this.tell('load', { messages, shapes: model.shapeCount });
    if (messages.length > 0)
      this.say(`Not all of the model is there: ${messages[0]}${messages.length > 1 ? ' …' : ''}`);
  }

  /** Colours what is different from the older version, and makes glass of the rest. */
  showDifferences(): void {
    const { model, differences } = this;
    if (!model || !differences) return;
    const seen = differences.filter(({ isSeen }) => isSeen);
    for (const { rows, tint } of seen) {
      for (const row of rows) {
        const [first, end] = model.getShapesBelow(row);
        for (let shape = first; shape < end; ++shape) model.setTint(shape, tint);
      }
    }
    this.isolate(
      seen.flatMap(({ rows }) => rows),
      true,
    );
  }

  private showBoxes(model: ModelObject, { packages }: Overview): void {
    model.addBoxes(new Map(packages.flatMap(entry => entry.bodies.map(body => [body.shapeId, body]))));
    this.fit();
  }

  private async loadBodies(
    folder: ModelFolder,
    model: ModelObject,
    overview: Overview | undefined,
  ): Promise<void> {
    const isKnown = overview?.packages.length === folder.index.graphicsPackages;
    const order = overview && isKnown ? inOrderOfSize(overview.packages, model) : undefined;
    const hasDrawing = (number: number) => isKnown && overview.packages[number - 1].hasDrawing;
    const count = Math.max(1, model.bodyCount);
    let loaded = 0;
    let isFitted = (overview?.packages.length ?? 0) > 0;
    const began = performance.now();
    let since = began;
    let nextPicture = since + firstPicture;
    let interval = firstPicture;
    for await (const { shapeId, mesh } of folder.graphics(order, hasDrawing)) {
      model.addMesh(shapeId, mesh);
      this.progress.value = Math.min(1, ++loaded / count);
      const now = performance.now();
      if (now - since < patience) continue;
      if (now > nextPicture && ((now - began) * (count - loaded)) / loaded > interval) {
        if (!isFitted) this.fit();
        isFitted = true;
        this.refresh();
        await nextFrame();
        interval *= 2;
        nextPicture = performance.now() + interval;
      } else {
        await new Promise(resolve => setTimeout(resolve));
      }
      since = performance.now();
    }
    if (!this.stage.isMoved) this.fit();
    this.refresh();
  }

  /** Whether the exact body with an id can be had, as far as that is known: without an overview, whether there should be any. */
  hasBody(shapeId: string): boolean {
    const { overview, folder } = this;
    return overview ? overview.bodyPackages.has(shapeId) : (folder?.index.shapePackages ?? 0) > 0;
  }

  /** The exact body with an id as BRep text; undefined when it is not there. */
  async getBrepText(shapeId: string): Promise<Uint8Array | undefined> {
    return this.folder?.brepText(shapeId, this.overview?.bodyPackages.get(shapeId));
  }

  /**
   * Fetches what is known of the faces and edges of a shape, when only what is drawn has come so far. Undefined when there is nothing
   * to wait for.
   */
  fetchFeatures(shape: number): Promise<void> | undefined {
    const { model, folder, overview } = this;
    const mesh = model?.getMesh(shape);
    if (!model || !folder || !mesh || mesh.surfaces) return undefined;
    const { shapeId } = model.getItem(shape);
    const number = overview?.packages.find(
      ({ hasDrawing, bodies }) => hasDrawing && bodies.some(body => body.shapeId === shapeId),
    )?.number;
    if (number === undefined) return undefined;
    const known = this.features.get(number);
    if (known) return known;
    const fetch = async () => {
      for await (const { shapeId: id, mesh: whole } of folder.graphics([number]))
        model.addFeatures(id, whole);
    };
    // It fails when another model is opened meanwhile; what is missing in the folder is only not known then.
    const fetching = fetch().catch(() => {});
    this.features.set(number, fetching);
    return fetching;
  }

  /** Makes new bodies look as those that were there. */
  private refresh(): void {
    this.visibility?.apply();
    this.model?.setSections(this.sections);
    this.markRows();
    this.stage.draw();
  }

  private close(): void {
    this.stage.setModel(undefined);
    this.model = this.folder = this.visibility = this.overview = this.differences = undefined;
    this.features.clear();
    this.selected = [];
    this.sections = [];
    this.hovered = -1;
    this.stage.isMoved = false;
    this.say(undefined);
    this.progress.removeAttribute('value');
  }

  // The view

  /** Shows rows, or what is visible of the model, as large as they can be. */
  fit(rows: readonly number[] = []): void {
    const { model } = this;
    if (!model) return;
    this.stage.resize(this.clientWidth, this.clientHeight);
    this.stage.camera.fit(this.getBoxes(model, rows));
    this.stage.changed();
  }

  private *getBoxes(model: ModelObject, rows: readonly number[]): Generator<Bounds> {
    const ranges =
      rows.length > 0 ? rows.map(row => model.getShapesBelow(row)) : [[0, model.shapeCount] as const];
    for (const [first, end] of ranges) {
      for (let shape = first; shape < end; ++shape) {
        const bounds = model.bounds[shape];
        const isSeen = rows.length > 0 || this.visibility?.isShown(shape);
        if (!bounds || !isSeen) continue;
        const shift = model.getShift(shape);
        yield bounds.map((value, i) => value - model.origin[i % 3] + shift[i % 3]);
      }
    }
  }

  /** Looks from one side, at all that is visible. */
  setView(name: ViewName): void {
    this.lookFrom(views[name]);
    this.fit();
  }

  /** Looks from a direction, and keeps what is in the middle. */
  lookFrom(direction: readonly number[]): void {
    this.stage.camera.lookFrom(direction);
    this.stage.changed();
  }

  /** From where the model is seen, in its own coordinates. */
  get viewPoint(): ViewPoint {
    const point = this.stage.camera.getViewPoint();
    const move = (p: number[]) =>
      p.map((x, i) => x + (this.model?.origin[i] ?? 0)) as [number, number, number];
    return { ...point, eye: move(point.eye), target: move(point.target) };
  }
  set viewPoint({ eye, target, isParallel }: ViewPoint) {
    const { camera } = this.stage;
    const move = (p: number[], to: typeof camera.target) =>
      to
        .set(p[0], p[1], p[2])
        .sub({ x: this.model?.origin[0] ?? 0, y: this.model?.origin[1] ?? 0, z: this.model?.origin[2] ?? 0 });
    camera.moveTo(move(eye, camera.target.clone()), move(target, camera.target.clone()));
    this.stage.isMoved = true;
    this.projection = isParallel ? 'parallel' : 'perspective';
    this.stage.changed();
  }

  /** Cuts away what lies in front of up to three planes, in coordinates of the model. */
  setSections(planes: SectionPlane[]): void {
    this.sections = planes;
    this.model?.setSections(planes);
    this.stage.changed();
  }
  getSections(): SectionPlane[] {
    return this.sections;
  }

  /** Moves parts away from each other, 0 not at all. */
  explode(amount: number): void {
    this.model?.setExplode(amount);
    this.stage.changed();
  }

  /** The picture as a file of some size in pixels. */
  toBlob(width = this.stage.canvas.width, height = this.stage.canvas.height): Promise<Blob> {
    return this.stage.toBlob(width, height);
  }

  // What is seen and selected

  get selection(): readonly number[] {
    return this.selected;
  }

  /** Selects rows; `pick` says where, when that was by a click. */
  select(rows: readonly number[], pick?: Pick): void {
    this.selected = [...rows];
    this.markRows();
    this.model?.lightFace(pick?.shape, pick?.face);
    const names = rows.map(row => this.model?.occurrences.items[row].name).join(', ');
    this.spoken.textContent =
      rows.length > 0 ? `${names || 'A part without a name'} is selected` : 'Nothing is selected';
    this.stage.draw();
    this.tell('select', { rows: this.selected, pick });
  }

  /** Rows by path, id or name. */
  find(text: string): number[] {
    return this.model ? findRows(this.model.occurrences, text) : [];
  }

  /** The row that the user points at, or -1. */
  get hoveredRow(): number {
    return this.hovered;
  }

  /** Lights up a row that the user points at; -1, none. */
  hover(row: number): void {
    if (row === this.hovered) return;
    this.hovered = row;
    this.markRows();
    this.stage.draw();
    this.tell('hover', { row });
  }

  hide(rows: readonly number[]): void {
    this.changeVisibility(visibility => visibility.hide(rows));
  }
  show(rows: readonly number[]): void {
    this.changeVisibility(visibility => visibility.show(rows));
  }
  /** Shows only these rows; the rest not at all, or as if made of glass. */
  isolate(rows: readonly number[], ghostsRest = false): void {
    this.changeVisibility(visibility => visibility.isolate(rows, ghostsRest));
  }
  showAll(): void {
    this.changeVisibility(visibility => visibility.showAll());
  }

  private changeVisibility(change: (visibility: Visibility) => void): void {
    if (!this.visibility) return;
    change(this.visibility);
    this.stage.draw();
    this.tell('visibility');
    this.tell('view');
  }

  private markRows(): void {
    const { model } = this;
    if (!model) return;
    const marked = new Map<number, 'selected' | 'hovered'>();
    const mark = (row: number, as: 'selected' | 'hovered') => {
      const [first, end] = model.getShapesBelow(row);
      for (let shape = first; shape < end; ++shape) marked.set(shape, as);
    };
    if (this.hovered >= 0) mark(this.hovered, 'hovered');
    for (const row of this.selected) mark(row, 'selected');
    for (const shape of this.marked) if (!marked.has(shape)) model.setMark(shape, 'none');
    for (const [shape, as] of marked) model.setMark(shape, as);
    this.marked = [...marked.keys()];
  }

  // Events and messages

  /** Shows a sentence below the picture; undefined takes it away. */
  say(message: string | undefined): void {
    this.message.textContent = message ?? '';
  }

  private fail(message: string): void {
    this.say(message);
    this.tell('error', { message });
  }

  private tell(type: string, detail?: unknown): void {
    this.dispatchEvent(new CustomEvent(type, { detail }));
  }

  private listen(canvas: HTMLCanvasElement): void {
    canvas.addEventListener('keydown', event => {
      if (pressKey(this, event)) event.preventDefault();
    });
    canvas.addEventListener('pointerdown', event => {
      this.pressedAt =
        event.isPrimary && event.button === 0 ? { x: event.clientX, y: event.clientY } : undefined;
    });
    canvas.addEventListener('pointerup', event => {
      const at = this.pressedAt;
      this.pressedAt = undefined;
      if (at && Math.hypot(event.clientX - at.x, event.clientY - at.y) <= clickDistance) this.clickAt(event);
    });
    let isWaiting = false;
    canvas.addEventListener('pointermove', event => {
      if (event.buttons !== 0 || event.pointerType !== 'mouse' || isWaiting) return;
      isWaiting = true;
      // Once for each frame: a pointer moves more often than a picture is drawn.
      requestAnimationFrame(() => {
        isWaiting = false;
        this.hover(this.stage.pick(event.clientX, event.clientY)?.path.at(-1) ?? -1);
      });
    });
    canvas.addEventListener('pointerleave', () => this.hover(-1));
    canvas.addEventListener('dblclick', () => this.fit(this.selected));
  }

  private clickAt(event: PointerEvent): void {
    const pick = this.stage.pick(event.clientX, event.clientY);
    const detail = { pick, clientX: event.clientX, clientY: event.clientY };
    if (!this.dispatchEvent(new CustomEvent('pick', { detail, cancelable: true }))) return;
    const row = pick?.path.at(-1);
    if (row === undefined) this.select([]);
    else if (!event.ctrlKey && !event.shiftKey) this.select([row], pick);
    else if (this.selected.includes(row)) this.select(this.selected.filter(other => other !== row));
    else this.select([...this.selected, row], pick);
  }
}

function nextFrame(): Promise<void> {
  return new Promise(resolve => {
    // A page in the background has no frames.
    const timer = setTimeout(resolve, 50);
    requestAnimationFrame(() => {
      clearTimeout(timer);
      setTimeout(resolve);
    });
  });
}
