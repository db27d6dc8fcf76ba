// What the reader accepts at most. Each limit keeps a hostile file from taking time or memory out of proportion and lies
// far above what real models need. They are those of the C++ readers, so that both open the same models.

/** What opening may take in all, in bytes, unless `OpenOptions.memoryLimit` says otherwise. */
export const memoryLimit = 64 * 2 ** 30;

/** What readers make at most of one byte of content; a file is inflated only when so much is left. */
export const memoryPerContentByte = 32;

/** By how much a file may be larger when it is inflated: so many bytes in any case, and so many for each of its own. */
export const freeContentBytes = 16 * 2 ** 20;
export const maxContentRatio = 100;

/** The best that deflate does: two bits stand for a copy of 258 bytes. */
export const maxDeflateRatio = 1032;

/** Bytes of inflated content. */
export const maxInflatedBytes = 0xffffffff;

/** Coordinates of a mesh, in mm. */
export const maxMeshCoordinate = 1e12;

/** Vertices, triangle corners, faces, polyline points or edges of one mesh. */
export const maxMeshElements = 0x7fffffff;

/** Levels of groups and instances below each other, the top-level item being level 1. */
export const maxNesting = 500;

/** Levels of objects and arrays that are read from the index. */
export const maxIndexDepth = 2 * maxNesting + 4;

/** Items that one walk through the model visits, instances unfolded. */
export const maxWalkItems = 10_000_000;

/** Missing packages after which no more are asked for: their number comes from the file. */
export const maxMissingPackages = 100;
