/** Reads model folders: index, packages and graphics records, as docs/format.md describes them. Depends on nothing. */
export { ReadError } from './reader/failure.js';
export { ModelFolder, type Graphics, type OpenOptions, type Progress } from './reader/folder.js';
export {
  readIndex,
  type Color,
  type GroupItem,
  type InstanceItem,
  type Item,
  type ModelIndex,
  type ShapeItem,
} from './reader/items.js';
export {
  addFeatures,
  countEdges,
  countFaces,
  countVertices,
  edgeKinds,
  findFace,
  findRange,
  getPosition,
  getSurface,
  isHiddenEdge,
  makeSegments,
  noFace,
  surfaceKinds,
  type Box,
  type EdgeKind,
  type Mesh,
  type SideTable,
  type Surface,
  type SurfaceKind,
  type SurfaceTable,
} from './reader/mesh.js';
export { unpackFile } from './reader/content.js';
export { inflateFile } from './reader/gzip.js';
export { MemoryBudget } from './reader/budget.js';
export { multiply, unfold, type Occurrences } from './reader/occurrences.js';
export { readOverview, type Overview, type PackageOverview } from './reader/overview.js';
export { readPackage, type PackageItem } from './reader/package.js';
export { readRecord } from './reader/record.js';
export { httpSource, type FetchOptions, type FolderSource } from './reader/source.js';
