/** Models as three.js objects. */
export { looks, marks, type Look, type Mark } from './batch.js';
export type { SectionPlane } from './caps.js';
export { ModelObject, type Pick } from './model.js';
export { defaultColor, makePalette, type Palette } from './palette.js';
export { emptyBounds, extend, getCenter, getSize, isEmpty, placeBox, type Bounds } from './placements.js';
export { apply, castRay, invert, type Hit, type Ray } from './rays.js';
