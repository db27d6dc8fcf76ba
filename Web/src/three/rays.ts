import { findFace, type Mesh } from '../reader/mesh.js';
import type { ModelObject } from './model.js';
import type { Bounds } from './placements.js';

/** A line of sight: all points `origin + t * direction` with t above 0. In mm; `direction` is of unit length. */
export interface Ray {
  origin: [number, number, number];
  direction: [number, number, number];
}

/** Where a ray meets a shape. */
export interface Hit {
  shape: number;
  /** Face and triangle are -1 on the cap of a section. */
  face: number;
  triangle: number;
  /** The section plane, see `getSections`, on whose cap the point lies; undefined on a surface. */
  section?: number;
  /** In coordinates of the model, as drawn: with what exploding adds. */
  point: [number, number, number];
  distance: number;
}

/** The part of a ray that is looked at. */
interface Interval {
  near: number;
  far: number;
}

/** The first that a ray meets of what is pickable: surfaces, and caps where it goes through a section plane inside of a solid. */
export function castRay(model: ModelObject, ray: Ray): Hit | undefined {
  const { seen, section } = cutBySections(model, ray);
  // From near to far, so that most bodies behind the first hit are never looked at.
  const candidates: { shape: number; near: number }[] = [];
  model.bounds.forEach((bounds, shape) => {
    if (!bounds || !model.isPickable(shape)) return;
    const moved = moveRay(ray, model.getShift(shape));
    const interval = meetBox(moved, bounds, seen);
    if (interval) candidates.push({ shape, near: interval.near });
  });
  candidates.sort((a, b) => a.near - b.near);
  let best: Hit | undefined;
  for (const { shape, near } of candidates) {
    if (section !== undefined && near <= seen.near && isInside(model, shape, ray, seen.near))
      return { shape, face: -1, triangle: -1, section, point: pointAt(ray, seen.near), distance: seen.near };
    if (best && best.distance <= near) break;
    const hit = meetShape(model, shape, ray, { near: seen.near, far: best?.distance ?? seen.far });
    if (hit) best = hit;
  }
  return best;
}

/** What of the ray lies behind all section planes, and through which of them it gets there. */
function cutBySections(
  model: ModelObject,
  { origin, direction }: Ray,
): { seen: Interval; section: number | undefined } {
  let near = 0;
  let far = Infinity;
  let section: number | undefined;
  for (const [plane, { normal, offset }] of model.getSections().entries()) {
    const height = dot(normal, origin) - offset;
    const slope = dot(normal, direction);
    // In front of the plane nothing is drawn.
    if (slope < 0 && height / -slope > near) {
      near = height / -slope;
      section = plane;
    } else if (slope > 0) far = Math.min(far, -height / slope);
    else if (slope === 0 && height > 0) far = -1;
  }
  return { seen: { near, far }, section: near <= far ? section : undefined };
}

function meetBox({ origin, direction }: Ray, bounds: Bounds, { near, far }: Interval): Interval | undefined {
  for (let axis = 0; axis < 3; ++axis) {
    const a = (bounds[axis] - origin[axis]) / direction[axis];
    const b = (bounds[axis + 3] - origin[axis]) / direction[axis];
    // Not a number where the ray runs in a side of the box: then that side says nothing.
    if (Math.min(a, b) > near) near = Math.min(a, b);
    if (Math.max(a, b) < far) far = Math.max(a, b);
  }
  // What is drawn may reach half a step of the grid beyond.
  return near <= far * (1 + 1e-9) + 1e-9 ? { near, far } : undefined;
}

function meetShape(model: ModelObject, shape: number, ray: Ray, interval: Interval): Hit | undefined {
  const mesh = model.getMesh(shape);
  if (!mesh) return undefined;
  let { far } = interval;
  let found = -1;
  meetTriangles(model, shape, mesh, ray, (t, triangle) => {
    if (t < interval.near || t >= far) return;
    far = t;
    found = triangle;
  });
  if (found < 0) return undefined;
  return { shape, face: findFace(mesh, found), triangle: found, point: pointAt(ray, far), distance: far };
}

/** Sides of triangles are met by two of them, at the same place but for rounding. */
const sameCrossing = 1e-9;

/** Whether a point of a ray lies in the solid of a shape: behind it, more surfaces lead out than in. */
function isInside(model: ModelObject, shape: number, ray: Ray, at: number): boolean {
  const mesh = model.getMesh(shape);
  if (!mesh || !model.isSolid(shape)) return false;
  const crossings: { t: number; leads: number }[] = [];
  meetTriangles(model, shape, mesh, ray, (t, _, leads) => {
    if (t > at) crossings.push({ t, leads });
  });
  crossings.sort((a, b) => a.leads - b.leads || a.t - b.t);
  const sum = crossings.reduce((total, { t, leads }, i) => {
    const before = crossings[i - 1];
    const isSame = before?.leads === leads && t - before.t <= sameCrossing * t;
    return isSame ? total : total + leads;
  }, 0);
  return sum !== 0;
}

/**
 * Tells where a ray meets the triangles of a shape: `leads` is 1 where it gets out of the material, -1 where it gets in; the other
 * way round in one that is mirrored.
 */
function meetTriangles(
  model: ModelObject,
  shape: number,
  mesh: Mesh,
  ray: Ray,
  tell: (t: number, triangle: number, leads: number) => void,
): void {
  const toBody = invert(model.getPlacement(shape));
  const moved = moveRay(ray, model.getShift(shape));
  // In steps of the grid, where the vertices stand; t stays what it is.
  const o = apply(toBody, moved.origin, 1).map((x, i) => (x - mesh.gridOrigin[i]) / mesh.gridStep);
  const d = apply(toBody, moved.direction, 0).map(x => x / mesh.gridStep);
  const { positions, triangles } = mesh;
  for (let corner = 0; corner < triangles.length; corner += 3) {
    const a = 3 * triangles[corner];
    const b = 3 * triangles[corner + 1];
    const c = 3 * triangles[corner + 2];
    const ax = positions[a], ay = positions[a + 1], az = positions[a + 2]; // prettier-ignore
    const ux = positions[b] - ax, uy = positions[b + 1] - ay, uz = positions[b + 2] - az; // prettier-ignore
    const vx = positions[c] - ax, vy = positions[c + 1] - ay, vz = positions[c + 2] - az; // prettier-ignore
    // Möller and Trumbore, "Fast, Minimum Storage Ray/Triangle Intersection", 1997.
    const px = d[1] * vz - d[2] * vy, py = d[2] * vx - d[0] * vz, pz = d[0] * vy - d[1] * vx; // prettier-ignore
    const determinant = ux * px + uy * py + uz * pz;
    if (determinant === 0) continue;
    const tx = o[0] - ax, ty = o[1] - ay, tz = o[2] - az; // prettier-ignore
    const u = (tx * px + ty * py + tz * pz) / determinant;
    if (u < 0 || u > 1) continue;
    const qx = ty * uz - tz * uy, qy = tz * ux - tx * uz, qz = tx * uy - ty * ux; // prettier-ignore
    const v = (d[0] * qx + d[1] * qy + d[2] * qz) / determinant;
    if (v < 0 || u + v > 1) continue;
    tell((vx * qx + vy * qy + vz * qz) / determinant, corner / 3, determinant > 0 ? -1 : 1);
  }
}

function pointAt({ origin, direction }: Ray, t: number): [number, number, number] {
  return [origin[0] + t * direction[0], origin[1] + t * direction[1], origin[2] + t * direction[2]];
}

/** The ray as a body sees it that has been moved. */
function moveRay({ origin, direction }: Ray, by: ArrayLike<number>): Ray {
  return { origin: [origin[0] - by[0], origin[1] - by[1], origin[2] - by[2]], direction };
}

function dot(a: ArrayLike<number>, b: ArrayLike<number>): number {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/** A point (w = 1) or a direction (w = 0) through a matrix of 16 numbers, column by column. */
export function apply(m: ArrayLike<number>, p: ArrayLike<number>, w: 0 | 1): [number, number, number] {
  const row = (i: number) => m[i] * p[0] + m[4 + i] * p[1] + m[8 + i] * p[2] + m[12 + i] * w;
  return [row(0), row(1), row(2)];
}

/** The inverse of a placement. */
export function invert(m: ArrayLike<number>): Float64Array {
  const cofactor = (a: number, b: number, c: number, d: number) => m[a] * m[d] - m[b] * m[c];
  const inverse = new Float64Array(16);
  const columns = [
    [cofactor(5, 6, 9, 10), -cofactor(1, 2, 9, 10), cofactor(1, 2, 5, 6)],
    [-cofactor(4, 6, 8, 10), cofactor(0, 2, 8, 10), -cofactor(0, 2, 4, 6)],
    [cofactor(4, 5, 8, 9), -cofactor(0, 1, 8, 9), cofactor(0, 1, 4, 5)],
  ];
  const determinant = m[0] * columns[0][0] + m[4] * columns[0][1] + m[8] * columns[0][2];
  for (let row = 0; row < 3; ++row) {
    for (let column = 0; column < 3; ++column) inverse[4 * column + row] = columns[column][row] / determinant;
    inverse[12 + row] = -(inverse[row] * m[12] + inverse[4 + row] * m[13] + inverse[8 + row] * m[14]);
  }
  inverse[15] = 1;
  return inverse;
}
