import type { PackageOverview } from '../reader/overview.js';
import type { ModelObject } from '../three/model.js';
import { getSize } from '../three/placements.js';

/** The numbers of packages: first those with much to see for each byte that is to be fetched. */
export function inOrderOfSize(overview: PackageOverview[], model: ModelObject): number[] {
  const seen = new Map<string, number>();
  model.bounds.forEach((bounds, shape) => {
    const id = model.getItem(shape).shapeId;
    if (bounds) seen.set(id, (seen.get(id) ?? 0) + getSize(bounds) ** 2);
  });
  const worth = ({ bodies, bytes }: PackageOverview) =>
    bodies.reduce((sum, body) => sum + (seen.get(body.shapeId) ?? 0), 0) / Math.max(1, bytes);
  return [...overview].sort((a, b) => worth(b) - worth(a)).map(entry => entry.number);
}
