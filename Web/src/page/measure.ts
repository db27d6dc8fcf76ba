import type { Feature } from './features.js';
import { formatAngle, formatApproximate, formatExact } from './numbers.js';
import { add, cross, distance, dot, length, scale, subtract, type Vector } from './vectors.js';

/** What lies between two features. */
export interface Measure {
  distance?: number;
  /** Radians, from 0 to a right angle. */
  angle?: number;
  isExact: boolean;
  /** Between which points the distance is. */
  from: Vector;
  to: Vector;
}

/** Directions count as parallel below this sine. */
const parallel = 1e-9;

/** Measures between points, endless lines and endless planes; what has no other distance, between the points picked. */
export function measure(a: Feature, b: Feature): Measure {
  const isExact = a.isExact && b.isExact;
  const pair = `${a.form} ${b.form}`;
  const result = (from: Vector, to: Vector, angle?: number): Measure => ({
    distance: distance(from, to),
    angle,
    isExact,
    from,
    to,
  });
  const onlyAngle = (angle: number): Measure => ({ angle, isExact, from: a.picked, to: b.picked });
  switch (pair) {
    case 'point point':
      return result(a.point, b.point);
    case 'point line':
      return result(a.point, footOnLine(a.point, b));
    case 'line point':
      return result(footOnLine(b.point, a), b.point);
    case 'point plane':
      return result(a.point, footOnPlane(a.point, b));
    case 'plane point':
      return result(footOnPlane(b.point, a), b.point);
  }
  const sine = length(cross(a.direction!, b.direction!));
  const cosine = Math.min(1, Math.abs(dot(a.direction!, b.direction!)));
  const angle = sine < cosine ? Math.asin(Math.min(1, sine)) : Math.acos(cosine);
  switch (pair) {
    case 'plane plane':
      return sine < parallel ? result(a.picked, footOnPlane(a.picked, b), 0) : onlyAngle(angle);
    case 'line plane':
      return cosine < parallel ? result(a.point, footOnPlane(a.point, b), 0) : onlyAngle(Math.PI / 2 - angle);
    case 'plane line':
      return cosine < parallel ? result(footOnPlane(b.point, a), b.point, 0) : onlyAngle(Math.PI / 2 - angle);
    default: {
      if (sine < parallel) return result(footOnLine(b.point, a), b.point, 0);
      const [from, to] = nearestPoints(a, b);
      return result(from, to, angle);
    }
  }
}

/** What a measure says, and how far that is to be trusted. */
export function describeMeasure({ distance: away, angle, isExact }: Measure): string {
  const parts: string[] = [];
  if (away !== undefined)
    parts.push(`distance ${isExact ? formatExact(away) : `≈ ${formatApproximate(away)}`} mm`);
  if (angle === 0) parts.push('parallel');
  else if (angle !== undefined) parts.push(`angle ${isExact ? '' : '≈ '}${formatAngle(angle)}`);
  parts.push(isExact ? 'exact' : 'approximate: from triangles');
  return parts.join(', ');
}

function footOnLine(p: Vector, { point, direction }: Feature): Vector {
  return add(point, scale(direction!, dot(subtract(p, point), direction!)));
}

function footOnPlane(p: Vector, { point, direction }: Feature): Vector {
  return subtract(p, scale(direction!, dot(subtract(p, point), direction!)));
}

/** Where two lines that are not parallel come nearest to each other. */
function nearestPoints(a: Feature, b: Feature): [Vector, Vector] {
  const [u, v] = [a.direction!, b.direction!];
  const between = subtract(a.point, b.point);
  const c = dot(u, v);
  const [d, e] = [dot(u, between), dot(v, between)];
  const s = (c * e - d) / (1 - c * c);
  const t = (e - c * d) / (1 - c * c);
  return [add(a.point, scale(u, s)), add(b.point, scale(v, t))];
}
