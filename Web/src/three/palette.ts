import type { Color, ShapeItem } from '../reader/items.js';
import { countFaces, getPosition, type Mesh } from '../reader/mesh.js';

/** What is drawn where an item gives no colour. */
export const defaultColor: Color = [0.72, 0.74, 0.77];

/** The colours of a body's faces: red, green and blue from 0 to 1, sRGB. */
export interface Palette {
  body: Color;
  /** Of those faces that have a colour of their own. */
  faces: Map<number, Color>;
  /** The same for palettes of the same colours. */
  key: string;
}

/** Those of items that are placed often, or have many faces with colours. */
const palettes = new WeakMap<ShapeItem, { faceCount: number; palette: Palette }>();

/** The colours in which an item of so many faces is drawn: the face's own, else the item's, else `defaultColor`. */
export function makePalette(item: ShapeItem, faceCount: number): Palette {
  const known = palettes.get(item);
  if (known?.faceCount === faceCount) return known.palette;
  const palette = computePalette(item, faceCount);
  palettes.set(item, { faceCount, palette });
  return palette;
}

function computePalette(item: ShapeItem, faceCount: number): Palette {
  const body = item.color[0] < 0 ? defaultColor : drawable(item.color);
  const faces = new Map<number, Color>();
  for (const [face, color] of item.faceColors) {
    if (face < faceCount && !(color[0] < 0)) faces.set(face, drawable(color));
  }
  const key = [item.color[0] < 0, body, ...[...faces].sort(([a], [b]) => a - b)].join(';');
  return { body, faces, key };
}

/**
 * The colour of the material where it is cut: that of the item, or, for an item that has none, the colour of most of its surface.
 */
export function findMaterial(item: ShapeItem, palette: Palette, mesh: Mesh): Color {
  if (palette.faces.size === 0 || !(item.color[0] < 0)) return palette.body;
  const areas = new Map<string, { color: Color; area: number }>();
  for (let face = 0; face < countFaces(mesh); ++face) {
    const color = palette.faces.get(face) ?? palette.body;
    const known = areas.get(String(color)) ?? { color, area: 0 };
    known.area += getArea(mesh, face);
    areas.set(String(color), known);
  }
  return [...areas.values()].reduce((most, next) => (next.area > most.area ? next : most)).color;
}

function getArea(mesh: Mesh, face: number): number {
  const { triangles, faceCornerStarts: starts } = mesh;
  let area = 0;
  for (let corner = starts[face]; corner < starts[face + 1]; corner += 3) {
    const [a, b, c] = [0, 1, 2].map(k => getPosition(mesh, triangles[corner + k]));
    const [ux, uy, uz] = b.map((x, i) => x - a[i]);
    const [vx, vy, vz] = c.map((x, i) => x - a[i]);
    area += Math.hypot(uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx) / 2;
  }
  return area;
}

/** The nearest colour that can be drawn. */
function drawable(color: Color): Color {
  return color.map(component => Math.min(Math.max(component, 0), 1)) as Color;
}
