import {
  findRange,
  getPosition,
  getSurface,
  isHiddenEdge,
  noFace,
  type Mesh,
  type Surface,
} from '../reader/mesh.js';
import type { ModelObject, Pick } from '../three/model.js';
import { apply } from '../three/rays.js';
import { formatAngle, formatApproximate, formatExact } from './numbers.js';
import { add, cross, distance, dot, length, normalize, scale, subtract, type Vector } from './vectors.js';

/**
 * What can be measured: a point, an endless line or an endless plane, in coordinates of the model. It is exact when the record
 * says it, and not when it comes from triangles and polylines.
 */
export interface Feature {
  form: 'point' | 'line' | 'plane';
  point: Vector;
  /** Of the line, or normal to the plane; of unit length. */
  direction?: Vector;
  isExact: boolean;
  /** What it is, with its own measures. */
  text: string;
  /** What else is known of it, and not exact. */
  note?: string;
  /** Where the user pointed: between such points is measured what has no better answer. */
  picked: Vector;
}

/** What lies under the pointer. `reach` is how far from the point, in mm, an edge is taken instead of the face. */
export function findFeature(model: ModelObject, pick: Pick, reach: number): Feature {
  if (pick.section !== undefined) {
    const direction = model.getSections()[pick.section].normal;
    return { ...atPoint(pick), form: 'plane', direction, isExact: true, text: 'plane of a section' };
  }
  const mesh = model.getMesh(pick.shape)!;
  const placement = model.getPlacement(pick.shape);
  const shift = model.getShift(pick.shape);
  // Only what is turned, moved and mirrored keeps its lengths.
  const isRigid =
    [0, 4, 8].every(i => Math.abs(length(Array.from(placement.subarray(i, i + 3)) as Vector) - 1) < 1e-9) &&
    [
      [0, 4],
      [0, 8],
      [4, 8],
    ].every(([i, j]) => Math.abs(dot(at3(placement, i), at3(placement, j))) < 1e-9);
  const toModel = (p: Vector) => add(apply(placement, p, 1), shift);
  const toDirection = (v: Vector) => normalize(apply(placement, v, 0));
  const place = (feature: BodyFeature): Feature => ({
    ...feature,
    point: toModel(feature.point),
    direction: feature.direction && toDirection(feature.direction),
    isExact: feature.isExact,
    picked: pick.point,
  });
  const found = findEdge(mesh, toModel, pick.point, reach);
  const feature = isRigid ? (found ? describeEdge(mesh, found) : describeFace(mesh, pick.face)) : undefined;
  return feature ? place(feature) : atPoint(pick);
}

function atPoint({ point }: Pick): Feature {
  return { form: 'point', point, picked: point, isExact: false, text: 'point on a face' };
}

type BodyFeature = Omit<Feature, 'picked'>;

function at3(matrix: Float64Array, i: number): Vector {
  return [matrix[i], matrix[i + 1], matrix[i + 2]];
}

function describeFace(mesh: Mesh, face: number): BodyFeature | undefined {
  const surface = getSurface(mesh, face);
  if (!surface) return undefined;
  const origin = surface.origin as Vector;
  const direction = surface.axis as Vector;
  const exact = { point: origin, direction, isExact: true };
  const radius = `${surface.hollow ? 'hole, ' : ''}radius ${formatExact(surface.radius)} mm`;
  switch (surface.kind) {
    case 'plane':
      return { ...exact, form: 'plane', text: 'plane' };
    case 'cylinder':
      return { ...exact, form: 'line', text: `cylinder, ${radius}` };
    case 'cone':
      return { ...exact, form: 'line', text: `cone, half angle ${formatAngle(surface.second)}` };
    case 'sphere':
      return { form: 'point', point: origin, isExact: true, text: `sphere, ${radius}` };
    case 'torus':
      return { ...exact, form: 'line', text: `torus, ${radius}, tube ${formatExact(surface.second)} mm` };
    case 'other':
      return undefined;
  }
}

interface FoundEdge {
  edge: number;
  /** An end of the edge, when that is what is near. */
  end?: Vector;
}

/** The edge, or its end, next to a point. */
function findEdge(
  mesh: Mesh,
  toModel: (p: Vector) => Vector,
  point: Vector,
  reach: number,
): FoundEdge | undefined {
  const { polylines, edgePointStarts: starts } = mesh;
  let best = reach;
  let found = -1;
  for (let edge = 0; edge + 1 < starts.length; ++edge) {
    if (isHiddenEdge(mesh, edge)) continue;
    for (let i = starts[edge] + 1; i < starts[edge + 1]; ++i) {
      const a = toModel(getPosition(mesh, polylines[i - 1]));
      const b = toModel(getPosition(mesh, polylines[i]));
      const away = distanceToSegment(point, a, b);
      if (away >= best) continue;
      best = away;
      found = i;
    }
  }
  if (found < 0) return undefined;
  const edge = findRange(starts, found);
  const ends = [starts[edge], starts[edge + 1] - 1].map(i => getPosition(mesh, polylines[i]));
  const isClosed = distance(ends[0], ends[1]) === 0;
  const end = isClosed ? undefined : ends.find(p => distance(toModel(p), point) < reach);
  return { edge, end };
}

function describeEdge(mesh: Mesh, { edge, end }: FoundEdge): BodyFeature {
  if (end) return { form: 'point', point: end, isExact: false, text: 'vertex' };
  const surfaces = [0, 1].map(side => {
    const face = mesh.sides?.faces[2 * edge + side] ?? noFace;
    return face === noFace ? undefined : getSurface(mesh, face);
  });
  const circle = intersectInCircle(surfaces[0], surfaces[1]) ?? intersectInCircle(surfaces[1], surfaces[0]);
  if (circle) {
    const text = `circle, radius ${formatExact(circle.radius)} mm`;
    return { form: 'point', point: circle.center, isExact: true, text };
  }
  const points = Array.from(
    mesh.polylines.subarray(mesh.edgePointStarts[edge], mesh.edgePointStarts[edge + 1]),
    vertex => getPosition(mesh, vertex),
  );
  let total = 0;
  for (let i = 1; i < points.length; ++i) total += distance(points[i - 1], points[i]);
  const note = `length ≈ ${formatApproximate(total)} mm`;
  const [a, b] = surfaces;
  if (points.length === 2) {
    const isBetweenPlanes = a?.kind === 'plane' && b?.kind === 'plane';
    const along = isBetweenPlanes
      ? cross(a.axis as Vector, b.axis as Vector)
      : subtract(points[1], points[0]);
    const point = isBetweenPlanes ? intersectPlanes(a, b) : points[0];
    if (length(along) > 1e-9)
      return {
        form: 'line',
        point,
        direction: normalize(along),
        isExact: isBetweenPlanes,
        text: 'straight edge',
        note,
      };
  }
  return { form: 'point', point: points[points.length >> 1], isExact: false, text: 'curved edge', note };
}

/** The point of the line in which two planes meet that is nearest to the origin. */
function intersectPlanes(a: Surface, b: Surface): Vector {
  const [n, m] = [a.axis as Vector, b.axis as Vector];
  const c = dot(n, m);
  const [p, q] = [(a.second - c * b.second) / (1 - c * c), (b.second - c * a.second) / (1 - c * c)];
  return add(scale(n, p), scale(m, q));
}

/** The circle in which a plane meets a surface of revolution squarely. */
function intersectInCircle(plane?: Surface, round?: Surface): { center: Vector; radius: number } | undefined {
  if (plane?.kind !== 'plane' || !round) return undefined;
  const normal = plane.axis as Vector;
  const origin = round.origin as Vector;
  const height = plane.second - dot(normal, origin);
  const center = add(origin, scale(normal, height));
  if (round.kind === 'sphere') {
    const squared = round.radius ** 2 - height ** 2;
    return squared > 0 ? { center, radius: Math.sqrt(squared) } : undefined;
  }
  if (Math.abs(dot(normal, round.axis as Vector)) < 1 - 1e-12) return undefined;
  if (round.kind === 'cylinder') return { center, radius: round.radius };
  if (round.kind === 'cone') return { center, radius: Math.abs(height) * Math.tan(round.second) };
  return undefined;
}

function distanceToSegment(p: Vector, a: Vector, b: Vector): number {
  const along = subtract(b, a);
  const squared = dot(along, along);
  const t = squared > 0 ? Math.min(1, Math.max(0, dot(subtract(p, a), along) / squared)) : 0;
  return distance(p, add(a, scale(along, t)));
}
