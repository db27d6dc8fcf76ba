import type { Color, ShapeItem } from '../reader/items.js';

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

/** The colours in which an item of so many faces is drawn: the face's own, else the item's, else `defaultColor`. */
export function makePalette(item: ShapeItem, faceCount: number): Palette {
  const body = item.color[0] < 0 ? defaultColor : drawable(item.color);
  const faces = new Map<number, Color>();
  for (const [face, color] of item.faceColors) {
    if (face < faceCount && !(color[0] < 0)) faces.set(face, drawable(color));
  }
  const key = [body, ...[...faces].sort(([a], [b]) => a - b)].join(';');
  return { body, faces, key };
}

/** The nearest colour that can be drawn. */
function drawable(color: Color): Color {
  return color.map(component => Math.min(Math.max(component, 0), 1)) as Color;
}
