import type { FolderSource } from './source.js';

/** A package of graphics: how many bytes are to be fetched for it, and which bodies it has, with their boxes in mm. */
export interface PackageOverview {
  number: number;
  bytes: number;
  /** There is a file draw/ of the same number, with what a picture needs: `bytes` are those of it. */
  hasDrawing: boolean;
  bodies: { shapeId: string; min: number[]; max: number[] }[];
}

/** What overview.json says. */
export interface Overview {
  packages: PackageOverview[];
  /** The numbers of the packages of exact bodies, by the ids of the bodies; empty when the folder comes without them. */
  bodyPackages: Map<string, number>;
}

/**
 * Reads overview.json, which tells where things are before any package is there. It only helps to show something early: where
 * it is missing or wrong nothing is lost, so that what is not understood is left out without a word. Undefined when there is none.
 */
export async function readOverview(
  source: FolderSource,
  signal?: AbortSignal,
): Promise<Overview | undefined> {
  try {
    const bytes = await source('overview.json', { signal });
    const root = bytes && asObject(JSON.parse(new TextDecoder().decode(bytes)));
    if (!root) return undefined;
    const packages = asArray(root.Packages).map((entry, i) => {
      const { Bytes, Drawing, Bodies } = asObject(entry);
      const bytes = [Drawing, Bytes].find(isNumber);
      return {
        number: i + 1,
        bytes: bytes ?? 0,
        hasDrawing: isNumber(Drawing),
        bodies: asArray(Bodies).flatMap(readBody),
      };
    });
    const bodyPackages = new Map<string, number>();
    asArray(root.ShapePackages).forEach((entry, i) => {
      for (const id of asArray(asObject(entry).Bodies))
        if (typeof id === 'string') bodyPackages.set(id, i + 1);
    });
    return { packages, bodyPackages };
  } catch {
    signal?.throwIfAborted();
    return undefined;
  }
}

function readBody(value: unknown): PackageOverview['bodies'] {
  const { SId, Box } = asObject(value);
  const box = asArray(Box);
  if (typeof SId !== 'string' || box.length !== 6 || !box.every(isNumber)) return [];
  return [{ shapeId: SId, min: box.slice(0, 3), max: box.slice(3) }];
}

function asObject(value: unknown): { [name: string]: unknown } {
  return typeof value === 'object' && value !== null ? (value as { [name: string]: unknown }) : {};
}

function asArray(value: unknown): unknown[] {
  return Array.isArray(value) ? value : [];
}

function isNumber(value: unknown): value is number {
  return typeof value === 'number' && Math.abs(value) <= 1e12;
}
