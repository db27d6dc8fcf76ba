import { Group, Mesh as ThreeMesh, Vector3 } from 'three';
import type { ShapeItem } from '../reader/items.js';
import { addFeatures, type Mesh } from '../reader/mesh.js';
import type { Occurrences } from '../reader/occurrences.js';
import { Batch, type Look, type Mark } from './batch.js';
import { Body } from './body.js';
import { Boxes, type BoxCorners } from './boxes.js';
import { Caps, type SectionPlane } from './caps.js';
import { makeFaceMaterial, makeSharedUniforms, maxPlanes } from './materials.js';
import { makePalette } from './palette.js';
import {
  emptyBounds,
  extend,
  getCenter,
  getDeterminant,
  isDrawable,
  isEmpty,
  placeBox,
  type Bounds,
} from './placements.js';
import { castRay, type Hit, type Ray } from './rays.js';
import type { Tint } from './tints.js';

/** Where a shape is drawn. */
interface Place {
  batch: Batch;
  instance: number;
}

/** What is seen at a point: the occurrence, the face and the point. */
export interface Pick extends Hit {
  /** Rows from the top of the model to the shape, see `Occurrences`. */
  path: number[];
  item: ShapeItem;
}

/**
 * A model as three.js objects: one instanced draw for each body and palette, and one for its edges. Bodies are added as they
 * come. Shapes are told by their numbers, the positions in `Occurrences.shapeRows`.
 *
 * Its own coordinates are the model's less `origin`, in mm, z up.
 */
export class ModelObject extends Group {
  readonly shared = makeSharedUniforms();
  /** A point near what is drawn, in coordinates of the model: what is far from zero would tremble. */
  readonly origin: [number, number, number] = [0, 0, 0];
  /** The boxes of shapes in coordinates of the model, once known. */
  readonly bounds: (Bounds | undefined)[] = [];
  private readonly places: (Place | undefined)[] = [];
  private readonly bodies = new Map<string, Body>();
  private readonly shapesOfBody = new Map<string, number[]>();
  private readonly tints = new Map<number, Tint>();
  private readonly total = emptyBounds();
  private readonly caps: Caps;
  private readonly faceLight: ThreeMesh;
  private boxes?: Boxes;
  private showEdges = true;

  constructor(readonly occurrences: Occurrences) {
    super();
    occurrences.shapeRows.forEach((_, shape) => {
      const id = this.getItem(shape).shapeId;
      const shapes = this.shapesOfBody.get(id);
      if (shapes) shapes.push(shape);
      else this.shapesOfBody.set(id, [shape]);
    });
    this.caps = new Caps(this.shared);
    this.faceLight = new ThreeMesh(undefined, makeFaceMaterial(this.shared));
    this.faceLight.frustumCulled = this.faceLight.visible = false;
    this.add(this.caps, this.faceLight);
  }

  /** How many bodies the shapes have. */
  get bodyCount(): number {
    return this.shapesOfBody.size;
  }

  get shapeCount(): number {
    return this.occurrences.shapeRows.length;
  }

  getItem(shape: number): ShapeItem {
    return this.occurrences.items[this.occurrences.shapeRows[shape]] as ShapeItem;
  }

  getPlacement(shape: number): Float64Array {
    return this.occurrences.placements.subarray(16 * shape, 16 * shape + 16);
  }

  getMesh(shape: number): Mesh | undefined {
    return this.bodies.get(this.getItem(shape).shapeId)?.mesh;
  }

  /** How many shapes have a body. */
  countShapes(shapeId: string): number {
    return this.shapesOfBody.get(shapeId)?.length ?? 0;
  }

  /** Shapes that lie in the rows from `row` to before its end, as a range of numbers. */
  getShapesBelow(row: number): [first: number, end: number] {
    const { shapeRows, ends } = this.occurrences;
    return [lowerBound(shapeRows, row), lowerBound(shapeRows, ends[row])];
  }

  /** The shape in a row; -1 when it is no shape. */
  getShape(row: number): number {
    const shape = lowerBound(this.occurrences.shapeRows, row);
    return this.occurrences.shapeRows[shape] === row ? shape : -1;
  }

  /** Draws boxes in the places of bodies that are not there yet, given those of the bodies by their ids. */
  addBoxes(boxes: ReadonlyMap<string, BoxCorners>): void {
    const placed: { shape: number; box: BoxCorners; matrix: Float64Array }[] = [];
    for (const [shapeId, box] of boxes) {
      for (const shape of this.shapesOfBody.get(shapeId) ?? []) {
        const matrix = this.getPlacement(shape);
        if (!isDrawable(matrix)) continue;
        this.setBounds(shape, placeBox(box, matrix));
        placed.push({ shape, box, matrix });
      }
    }
    this.boxes = new Boxes(placed, this.origin, this.shared);
    this.add(this.boxes);
  }

  /** Adds what is drawn of a body, at all places of it. Of two for one body the later counts. */
  addMesh(shapeId: string, mesh: Mesh): void {
    const shapes = this.shapesOfBody.get(shapeId) ?? [];
    const body = new Body(mesh);
    this.bodies.set(shapeId, body);
    const batches = new Map<string, { shapes: number[]; mirrored: boolean }>();
    for (const shape of shapes) {
      const matrix = this.getPlacement(shape);
      if (mesh.triangles.length === 0 || !isDrawable(matrix)) continue;
      this.setBounds(shape, placeBox(mesh.box, matrix));
      this.boxes?.hide(shape);
      const mirrored = getDeterminant(matrix) < 0;
      const key = `${mirrored};${makePalette(this.getItem(shape), body.faceCount).key}`;
      const group = batches.get(key);
      if (group) group.shapes.push(shape);
      else batches.set(key, { shapes: [shape], mirrored });
    }
    for (const old of new Set(shapes.map(shape => this.places[shape]?.batch))) old?.dispose();
    for (const group of batches.values()) this.addBatch(body, group.shapes, group.mirrored);
    this.updateCaps();
  }

  /** Gives what is drawn of a body the surfaces and sides of its whole mesh. */
  addFeatures(shapeId: string, whole: Mesh): void {
    const body = this.bodies.get(shapeId);
    if (body) addFeatures(body.mesh, whole);
  }

  private setBounds(shape: number, bounds: Bounds): void {
    if (isEmpty(this.total)) this.origin.splice(0, 3, ...getCenter(bounds));
    this.bounds[shape] = bounds;
    extend(this.total, bounds);
  }

  private updateCaps(): void {
    if (this.shared.planeCount.value === 0 && this.caps.children.length === 0) return;
    this.caps.update(this.batches, this.total, this.origin);
  }

  private addBatch(body: Body, shapes: number[], mirrored: boolean): void {
    const palette = makePalette(this.getItem(shapes[0]), body.faceCount);
    const matrices = shapes.map(shape => this.getPlacement(shape));
    const batch = new Batch(
      body,
      palette,
      this.getItem(shapes[0]),
      mirrored,
      shapes,
      matrices,
      this.origin,
      this.shared,
    );
    batch.edgesVisible = this.showEdges;
    this.add(batch);
    shapes.forEach((shape, instance) => {
      const before = this.places[shape];
      if (before) batch.setLook(instance, before.batch.getLook(before.instance));
      this.places[shape] = { batch, instance };
      batch.setTint(instance, this.tints.get(shape) ?? 'none');
    });
  }

  get batches(): Batch[] {
    return this.children.filter(child => child instanceof Batch);
  }

  /** The box of some shapes, or of all, in coordinates of the model; of what is not there yet, as far as it is known. */
  getBounds(shapes?: Iterable<number>): Bounds {
    if (!shapes) return this.total.slice();
    const all = emptyBounds();
    for (const shape of shapes) {
      const bounds = this.bounds[shape];
      if (bounds) extend(all, bounds);
    }
    return all;
  }

  setLook(shape: number, look: Look): void {
    const place = this.places[shape];
    place?.batch.setLook(place.instance, look);
  }

  setMark(shape: number, mark: Mark): void {
    const place = this.places[shape];
    place?.batch.setMark(place.instance, mark);
  }

  /** Colours a shape as what it is in a comparison; also before its body is there. */
  setTint(shape: number, tint: Tint): void {
    this.tints.set(shape, tint);
    const place = this.places[shape];
    place?.batch.setTint(place.instance, tint);
  }

  set edgesVisible(visible: boolean) {
    this.showEdges = visible;
    for (const batch of this.batches) batch.edgesVisible = visible;
  }

  /** Cuts away what lies in front of the planes, at most three, and caps what is cut. In coordinates of the model. */
  setSections(planes: SectionPlane[]): void {
    const used = planes.slice(0, maxPlanes);
    this.shared.planeCount.value = used.length;
    used.forEach(({ normal, offset }, i) => {
      const [x, y, z] = normal;
      this.shared.planes.value[i].set(x, y, z, offset - dot(normal, this.origin));
    });
    this.updateCaps();
  }

  /** Moves bodies apart by the tree: at 1, each away from its neighbours about as far as the model is large. */
  setExplode(amount: number): void {
    if (amount > 0) this.makeShifts();
    this.shared.explode.value = amount;
  }

  /** Lights up one face of a shape; undefined and -1, none. */
  lightFace(shape?: number, face = -1): void {
    const place = shape === undefined || face < 0 ? undefined : this.places[shape];
    this.faceLight.visible = place !== undefined;
    if (!place) return;
    const { batch, instance } = place;
    const starts = batch.body.mesh.faceCornerStarts;
    const geometry = batch.solid.geometry.clone();
    // Of the instances only this one: its attributes are copied to the front.
    for (const name of ['row0', 'row1', 'row2', 'shift', 'look']) {
      const attribute = geometry.getAttribute(name);
      (attribute.array as Float32Array).copyWithin(
        0,
        attribute.itemSize * instance,
        attribute.itemSize * (instance + 1),
      );
      if (name === 'look') attribute.array.set([0, 0], 0);
    }
    geometry.deleteAttribute('faceColor');
    geometry.instanceCount = 1;
    geometry.setDrawRange(starts[face], starts[face + 1] - starts[face]);
    this.faceLight.geometry.dispose();
    this.faceLight.geometry = geometry;
  }

  /** What a ray, in coordinates of the model, meets first of what is drawn solid and not cut away. */
  pick(ray: Ray): Pick | undefined {
    const hit = castRay(this, ray);
    if (!hit) return undefined;
    const path: number[] = [];
    for (let row = this.occurrences.shapeRows[hit.shape]; row >= 0; row = this.occurrences.parents[row])
      path.unshift(row);
    return { ...hit, path, item: this.getItem(hit.shape) };
  }

  /** Whether a shape can be hit by rays. */
  isPickable(shape: number): boolean {
    const place = this.places[shape];
    return place !== undefined && place.batch.getLook(place.instance) === 'solid';
  }

  /** Whether the mesh of a shape bounds a solid, so that cuts through it have caps. */
  isSolid(shape: number): boolean {
    return this.places[shape]?.batch.body.isClosed ?? false;
  }

  /** Where a shape is moved by exploding, in mm. */
  getShift(shape: number): [number, number, number] {
    const place = this.places[shape];
    const amount = this.shared.explode.value;
    if (!place || amount === 0) return [0, 0, 0];
    const shift = place.batch.getShift(place.instance);
    return [shift[0] * amount, shift[1] * amount, shift[2] * amount];
  }

  /** The section planes in use, in coordinates of the model. */
  getSections(): SectionPlane[] {
    return this.shared.planes.value.slice(0, this.shared.planeCount.value).map(({ x, y, z, w }) => ({
      normal: [x, y, z],
      offset: w + dot([x, y, z], this.origin),
    }));
  }

  override dispose(): void {
    for (const batch of this.batches) batch.dispose();
    this.caps.dispose();
    this.boxes?.dispose();
    this.faceLight.geometry.dispose();
    this.removeFromParent();
  }

  /** Every row moves away from the middle of its parent, and takes along what is below it. */
  private makeShifts(): void {
    const { items, parents, shapeRows, ends } = this.occurrences;
    const centers: (Vector3 | undefined)[] = [];
    const shifts: Vector3[] = [];
    const below = Array.from(items, emptyBounds);
    shapeRows.forEach((row, shape) => {
      if (this.bounds[shape]) extend(below[row], this.bounds[shape]);
    });
    for (let row = items.length - 1; row >= 0; --row)
      if (parents[row] >= 0) extend(below[parents[row]], below[row]);
    const all = this.getBounds();
    const top = isEmpty(all) ? new Vector3() : new Vector3(...getCenter(all));
    for (let row = 0; row < items.length; ++row) {
      const parent = parents[row];
      centers[row] = isEmpty(below[row]) ? undefined : new Vector3(...getCenter(below[row]));
      const from = parent < 0 ? top : (centers[parent] ?? top);
      const inherited = parent < 0 ? new Vector3() : shifts[parent];
      shifts[row] = centers[row] ? inherited.clone().add(centers[row]!).sub(from) : inherited;
      if (ends[row] !== row + 1) continue;
      const place = this.places[this.getShape(row)];
      place?.batch.setShift(place.instance, shifts[row].toArray());
    }
  }
}

function dot(a: ArrayLike<number>, b: ArrayLike<number>): number {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/** The first position whose value is not below `value`. */
function lowerBound(values: Int32Array, value: number): number {
  let low = 0;
  let high = values.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (values[middle] < value) low = middle + 1;
    else high = middle;
  }
  return low;
}
