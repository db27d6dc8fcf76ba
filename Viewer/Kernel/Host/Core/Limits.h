#pragma once

#include <cstdint>

namespace mirel {

// What the host layer accepts at most. Each limit keeps a hostile file from taking time or memory out of proportion
// and lies far above what real models need.

/// What opening may take in all, in bytes, unless the program says otherwise (`MemoryBudget`).
constexpr std::uint64_t kMemoryLimit = std::uint64_t{64} << 30;

/// What readers make at most of one byte of content: an index of the shortest items that there can be becomes 25 times as
/// large, an ordinary one four times; graphics of nothing but faces 30 times, ordinary ones twelve. A file is inflated only when so much is left.
constexpr std::uint64_t kMemoryPerContentByte = 32;

/// By how much a file may be larger when it is inflated: so many bytes whatever its size, which is several times a package,
/// and so many for each of its bytes. Deflate itself reaches 1032, with content that is all the same; the index of a million
/// instances of one type reaches 30, text of bodies 10.
constexpr std::uint64_t kFreeContentBytes = std::uint64_t{16} << 20;
constexpr std::uint64_t kMaxContentRatio = 100;

/// What a scene node takes, with its place in its parent; and its placement, id and name, which the nodes of one item share.
constexpr std::uint64_t kSceneNodeBytes = 160;
constexpr std::uint64_t kNodeTraitsBytes = 192;

/// Inflated content of one gzip file: sizes are handed on as unsigned 32-bit numbers.
constexpr std::uint64_t kMaxInflatedBytes = 0xFFFFFFFFu;

/// Bytes of one gzip file: what the largest content takes when it does not compress.
constexpr std::uint64_t kMaxPackedBytes = kMaxInflatedBytes + (1u << 20);

/// Coordinates of a mesh, in mm: a thousand kilometres times a thousand.
constexpr double kMaxMeshCoordinate = 1e12;

/// Coordinates of the box of a body that is drawn; others count as unbounded. What is drawn may reach beyond the box by
/// its diagonal, and must be a mesh still.
constexpr double kMaxBodyCoordinate = kMaxMeshCoordinate / 10.0;

/// Vertices, triangle corners, faces, polyline points or edges of one mesh: ranges are unsigned 32-bit numbers.
constexpr std::uint64_t kMaxMeshElements = 0x7FFFFFFFu;

// Tessellation. OpenCASCADE's mesher may run for ever on a body that passes every check.

/// Seconds without progress after which a body is given up. Progress is counted in faces and in parts of faces; the
/// hardest single part of a real body that was met took 8 seconds. With eight bodies at once on a slow machine of two
/// cores that may become half a minute.
constexpr double kMeshPatience = 60.0;
/// By what share of itself that grows with each face and edge, because some steps go over all of them without a sign: 2 ms.
constexpr double kMeshPatiencePerPart = 1.0 / 30000.0;

/// What a body may take in all, even if it gets on: this many times the patience, and for each face and edge a sixtieth of
/// it, a second.
constexpr double kMeshPatienceInAll = 10.0;
constexpr double kMeshTotalPerPart = 1.0 / 60.0;

/// Seconds that a body which is given up has to end by itself, before its thread is abandoned.
constexpr double kMeshGrace = 5.0;

/// Points of one edge: a circle takes some fifty, so this is hundreds of turns; and for each span of a B-spline, of which a
/// long spring needs several to a turn. The mesher sorts and refines the points of a face many times over, and took
/// gigabytes for 36,000 of them.
constexpr int kMaxEdgePoints = 20000;
constexpr int kMaxSpanPoints = 256;

/// Nodes of one face, which take some 500 bytes each; a sphere meshed as finely as a mesh can be has a million.
constexpr int kMaxFaceNodes = 2000000;

/// Threads that may be abandoned and still run. Each keeps its memory, which may grow, and takes what processor time
/// others leave. Once there are so many, no further body is tessellated.
constexpr unsigned kMaxAbandonedBodies = 64;

// BRep text. Each limit is there because of what OpenCASCADE does beyond it.

/// Any number: what OpenCASCADE makes of a larger one when it writes it with 15 digits is none any more.
constexpr double kMaxBRepNumber = 1.797693134862314e308;

/// From here on OpenCASCADE takes a parameter as unbounded.
constexpr double kMinBRepInfinity = 1e100;

/// Bytes of white space in a row. The reader takes some lines into buffers of 256 bytes.
constexpr unsigned kMaxBRepBlank = 64;

/// Degree of Bezier and B-spline geometry: what OpenCASCADE itself allows.
constexpr unsigned kMaxBRepDegree = 25;

/// Curves and surfaces that build on each other (a trimmed offset of a revolved trimmed curve has four). The reader
/// recurses; OpenCASCADE's constructors leave at most eight.
constexpr unsigned kMaxBRepGeometryDepth = 12;

/// How often an edge may run round a periodic B-spline: OpenCASCADE subtracts one period at a time, for ever once that
/// makes no difference any more. And how many periods a trim may be away from its basis, to which OpenCASCADE moves it: of
/// one too far away, rounding leaves another trim each time it is read.
constexpr double kMaxBRepTurns = 1e4;

/// Representations (curves, polygons, continuities) of one edge: OpenCASCADE searches all for each that it adds.
constexpr unsigned kMaxBRepRepresentations = 4096;

/// Factors of all placements on the way from a shape to a sub-shape. OpenCASCADE multiplies, compares and releases
/// placements by recursion over their factors, which overflows a stack of 1 MiB (Windows) from some 5,000 on.
constexpr unsigned kMaxBRepPlacementChain = 1024;

/// Sum of the squares of the numbers of factors, over all placements. OpenCASCADE's reader copies a product for each
/// factor that it adds: this many steps take it some five seconds.
constexpr std::uint64_t kMaxBRepPlacementSteps = 50000000;

/// Power of a factor of a placement. OpenCASCADE adds up the powers of equal factors along a chain in an `int`.
constexpr unsigned kMaxBRepPlacementPower = 0x7FFFFFFFu / kMaxBRepPlacementChain;

/// Shapes within shapes. A solid has five levels below it; nested compounds add to that. OpenCASCADE copies shapes by
/// recursion, which overflows a stack of 1 MiB from some 1,150 levels on.
constexpr unsigned kMaxBRepDepth = 500;

/// What a walk from the root meets that does not remember where it was: sub-shapes and the factors of their placements.
/// A few lines of text can stand for 2^40. A walk over this many takes OpenCASCADE a few seconds; the largest real body
/// met so far has 20,000.
constexpr std::uint64_t kMaxBRepUnfolded = 50000000;

}  // namespace mirel
