#include <Viewer/Draw/GL/Shaders.h>

#include <Viewer/Draw/Look.h>

#include <cstdio>

namespace mirel {

namespace {

std::string Define(const char* name, float value) {
  char text[96];
  std::snprintf(text, sizeof text, "const float %s = %.9g;\n", name, static_cast<double>(value));
  return text;
}

std::string Define(const char* name, const glm::vec3& value) {
  char text[160];
  std::snprintf(text, sizeof text, "const vec3 %s = vec3(%.9g, %.9g, %.9g);\n", name,
                static_cast<double>(value.x), static_cast<double>(value.y), static_cast<double>(value.z));
  return text;
}

std::string Define(const Shaders::Parts& parts) {
  return std::string(parts.edges ? "#define EDGES\n" : "") + (parts.ghosts ? "#define GHOSTS\n" : "") +
         (parts.sections ? "#define SECTIONS\n" : "") + (parts.faces ? "#define FACES\n" : "");
}

std::string GetLook() {
  return Define("kLineColor", look::kLineColor) + Define("kSelectionColor", look::kSelectionColor) +
         Define("kSelectionStrength", look::kSelectionStrength) + Define("kHoverColor", look::kHoverColor) +
         Define("kHoverStrength", look::kHoverStrength) + Define("kBackLight", look::kBackLight) +
         Define("kGhostBody", look::kGhostBody) + Define("kGhostRim", look::kGhostRim) +
         Define("kGhostLine", look::kGhostLine) + Define("kHatchWidth", look::kHatchWidth) +
         Define("kHatchPitchStep", look::kHatchPitchStep) + Define("kHatchStrength", look::kHatchStrength) +
         Define("kSharpCosine", look::kSharpCosine) + Define("kStepPixels", look::kStepPixels) +
         Define("kSkyLight", look::kSkyLight) + Define("kGroundLight", look::kGroundLight) +
         Define("kGloss", look::kGloss) + Define("kGlossPower", look::kGlossPower) +
         Define("kRimLight", look::kRimLight) + Define("kLampInCorners", look::kLampInCorners) +
         Define("kCutLight", look::kCutLight) + Define("kCutGlow", look::kCutGlow) +
         Define("kBackdropTop", look::kBackdropTop) + Define("kBackdropBottom", look::kBackdropBottom);
}

// The same numbers as in ViewBlock.h, PlacementStore.cpp and FaceMap.h.
constexpr const char* kCommon = R"(#version 430 core
const int kMaxSections = 3;
layout(std140, binding = 0) uniform View {
  vec4 right, up, forward;
  vec4 eyeHigh, eyeLow;
  vec4 lens;
  vec4 depthMap;
  vec4 pixel;
  vec4 target;
  vec4 key, fill, sky;
  vec4 backdrop;
  ivec4 size;
  ivec4 modes;
  ivec4 counts;
  ivec4 extras;
  vec4 planes[kMaxSections];
  vec4 hatchAside[kMaxSections];
  vec4 hatchAlong[kMaxSections];
};
bool IsPerspective() { return depthMap.w != 0.0; }

struct Placement { vec3 high; uint batch; vec3 low; uint turn; };
struct Batch {
  uint palette, paletteSize, isClosed, command;
  vec4 sphere;
  uint indexCount, firstIndex, firstVertex, firstPlacement;
  uint joints, jointCount;
  float gridStep;
  uint unused;
};
layout(std430, binding = 0) readonly buffer Placements { Placement placements[]; };
layout(std430, binding = 1) readonly buffer States { uint states[]; };
layout(std430, binding = 2) readonly buffer Batches { Batch batches[]; };
layout(std430, binding = 5) readonly buffer Offsets { vec4 offsets[]; };
layout(std430, binding = 11) readonly buffer Turns { float turns[]; };

const uint kLookBits = 3u, kSolid = 0u, kGhost = 1u, kHidden = 2u;
const uint kSelected = 4u, kHovered = 8u, kFaceSelected = 16u, kFaceHovered = 32u;
const uint kNothing = 0xFFFFFFFFu;
const uint kCut = 0x80000000u, kBack = 0x40000000u, kFaceBits = 0x3FFFFFFFu;

mat3 GetTurn(Placement p) {
  uint i = p.turn * 9u;
  return mat3(turns[i], turns[i + 1u], turns[i + 2u], turns[i + 3u], turns[i + 4u], turns[i + 5u], turns[i + 6u],
              turns[i + 7u], turns[i + 8u]) * batches[p.batch].gridStep;
}
// Where a body's grid begins, from the eye. Large numbers meet first, so that small ones stay exact.
vec3 GetOrigin(Placement p, uint number) {
  precise vec3 high = p.high - eyeHigh.xyz;
  precise vec3 low = p.low - eyeLow.xyz;
  precise vec3 origin = high + low;
  return modes.w != 0 ? origin + offsets[number].xyz * pixel.y : origin;
}

float GetDepth(vec3 point) { return dot(point, forward.xyz); }
// 1 at the nearest depth, and 0 at the farthest.
float MapDepth(float depth) {
  return IsPerspective() ? depthMap.x / depth : (depthMap.x - depth) / depthMap.y;
}
float UnmapDepth(float stored) {
  float mapped = depthMap.z != 0.0 ? stored : 1.0 - stored;
  return IsPerspective() ? depthMap.x / mapped : depthMap.x - mapped * depthMap.y;
}
vec4 Project(vec3 point) {
  float depth = GetDepth(point);
  float w = IsPerspective() ? depth : 1.0;
  float z = IsPerspective() ? depthMap.x : MapDepth(depth);
  return vec4(dot(point, right.xyz) * lens.x + lens.z * w, dot(point, up.xyz) * lens.y + lens.w * w,
              depthMap.z != 0.0 ? z : w - 2.0 * z, w);
}
float GetPixelSize(float depth) { return IsPerspective() ? pixel.x * depth : pixel.x; }

vec2 Fold(vec3 n) {
  n /= abs(n.x) + abs(n.y) + abs(n.z);
  vec2 folded = (1.0 - abs(n.yx)) * vec2(n.x >= 0.0 ? 1.0 : -1.0, n.y >= 0.0 ? 1.0 : -1.0);
  return n.z >= 0.0 ? n.xy : folded;
}
vec3 Unfold(vec2 e) {
  vec3 n = vec3(e, 1.0 - abs(e.x) - abs(e.y));
  if (n.z < 0.0) n.xy = (1.0 - abs(e.yx)) * vec2(e.x >= 0.0 ? 1.0 : -1.0, e.y >= 0.0 ? 1.0 : -1.0);
  return normalize(n);
}

// A point that is not drawn.
const vec4 kNowhere = vec4(2.0, 2.0, 2.0, 1.0);
)";

// The line of sight through a point of the picture: points origin + depth * direction.
constexpr const char* kSight = R"(
struct Sight { vec3 origin, direction; };
// `point` in pixels, from the left lower corner.
Sight GetSight(vec2 point) {
  vec2 place = (2.0 * point / vec2(size.xy) - 1.0 - lens.zw) / lens.xy;
  vec3 aside = right.xyz * place.x + up.xyz * place.y;
  return IsPerspective() ? Sight(vec3(0.0), forward.xyz + aside) : Sight(aside, forward.xyz);
}
// The depths between which no section plane takes anything away, and the plane through which they are entered, or -1.
int Clip(Sight sight, out float nearest, out float farthest) {
  nearest = IsPerspective() ? 0.0 : -1e30;
  farthest = 1e30;
  int entered = -1;
  for (int i = 0; i < size.z; ++i) {
    float away = dot(planes[i].xyz, sight.origin) + planes[i].w;
    float speed = dot(planes[i].xyz, sight.direction);
    if (speed < 0.0) {
      if (away / -speed > nearest) {
        nearest = away / -speed;
        entered = i;
      }
    } else if (speed > 0.0) {
      farthest = min(farthest, -away / speed);
    } else if (away > 0.0) {
      farthest = -1e30;
    }
  }
  return entered;
}
)";

constexpr const char* kBodyVertex = R"(
layout(location = 0) in vec3 position;
layout(location = 1) in vec2 normal;
layout(location = 2) in uint face;
layout(location = 3) in uint placement;
flat out uint bodyOut;
flat out uint faceOut;
flat out int isMirrored;
flat out uint isClosed;
out vec3 pointOut;
out vec3 normalOut;
invariant gl_Position;
out float gl_ClipDistance[kMaxSections];
void main() {
  Placement p = placements[placement];
  mat3 turn = GetTurn(p);
  precise vec3 point = turn * position + GetOrigin(p, placement);
  // As long as one, so that products of them stay in range.
  mat3 unit = turn / length(turn[0]);
  mat3 cofactors = mat3(cross(unit[1], unit[2]), cross(unit[2], unit[0]), cross(unit[0], unit[1]));
  isMirrored = dot(unit[0], cofactors[0]) < 0.0 ? 1 : 0;
  normalOut = normalize(cofactors * Unfold(max(normal, vec2(-127.0)) / 127.0)) * (isMirrored != 0 ? -1.0 : 1.0);
  pointOut = point;
  bodyOut = placement;
  faceOut = face;
  isClosed = batches[p.batch].isClosed;
  gl_Position = Project(point);
  for (int i = 0; i < kMaxSections; ++i)
    gl_ClipDistance[i] = i < size.z ? -(dot(planes[i].xyz, point) + planes[i].w) : 1.0;
}
)";

constexpr const char* kBodyFragment = R"(
flat in uint bodyOut;
flat in uint faceOut;
flat in int isMirrored;
in vec3 pointOut;
in vec3 normalOut;
layout(location = 0) out uvec4 seen;
void main() {
  vec3 view = IsPerspective() ? -pointOut : -forward.xyz;
  vec3 flatNormal = normalize(cross(dFdx(pointOut), dFdy(pointOut)));
  if (!(dot(flatNormal, view) > 0.0)) flatNormal = -flatNormal;
  bool isFront = gl_FrontFacing != (isMirrored != 0);
  vec3 normal = isFront ? normalOut : -normalOut;
  // A normal that points to the other side of its triangle is none.
  normal = dot(normal, flatNormal) > 0.0 ? normalize(normal) : flatNormal;
  seen = uvec4(bodyOut, (faceOut & kFaceBits) | (isFront ? 0u : kBack), packSnorm2x16(Fold(normal)),
               packSnorm2x16(Fold(flatNormal)));
}
)";

constexpr const char* kPointVertex = R"(
layout(location = 3) in uint placement;
flat out uint bodyOut;
out float gl_ClipDistance[kMaxSections];
// A number from 0 to 1 that has nothing to do with that of its neighbour, nor of the next sample.
float Scatter(uint a, uint b) {
  uint h = a * 747796405u + b * 2891336453u + 2531011u;
  h = ((h >> ((h >> 28u) + 4u)) ^ h) * 277803737u;
  return float((h >> 22u) ^ h) / 4294967295.0;
}
void main() {
  Placement p = placements[placement];
  mat3 turn = GetTurn(p);
  vec4 sphere = batches[p.batch].sphere;
  vec3 point = turn * sphere.xyz + GetOrigin(p, placement);
  float radius = sphere.w * max(length(turn[0]), max(length(turn[1]), length(turn[2])));
  float across = 2.0 * radius / GetPixelSize(GetDepth(point));
  bodyOut = placement;
  // What covers a part of a pixel is in that part of the samples.
  gl_Position = Scatter(placement, uint(size.w)) < 0.4 * across * across ? Project(point) : kNowhere;
  for (int i = 0; i < kMaxSections; ++i)
    gl_ClipDistance[i] = i < size.z ? -(dot(planes[i].xyz, point) + planes[i].w) : 1.0;
}
)";

constexpr const char* kPointFragment = R"(
flat in uint bodyOut;
layout(location = 0) out uvec4 seen;
void main() {
  uint normal = packSnorm2x16(Fold(-forward.xyz));
  seen = uvec4(bodyOut, 0u, normal, normal);
}
)";

// For each line of sight: how many bodies it is inside where it comes through the section planes, and the sum of their
// numbers, as every surface behind it counts 1 when the line comes out of a body there, and -1 when it goes into one.
constexpr const char* kCutFragment = R"(
flat in uint bodyOut;
flat in int isMirrored;
flat in uint isClosed;
in vec3 pointOut;
layout(location = 0) out vec4 sums;
void main() {
  float nearest, farthest;
  int plane = Clip(GetSight(gl_FragCoord.xy), nearest, farthest);
  if (isClosed == 0u || plane < 0 || GetDepth(pointOut) < nearest) discard;
  float sign = gl_FrontFacing != (isMirrored != 0) ? -1.0 : 1.0;
  // In three parts, of which sums of thousands are exact.
  sums = sign * vec4(1.0, float(bodyOut & 4095u), float(bodyOut >> 12u & 4095u), float(bodyOut >> 24u));
}
)";

constexpr const char* kCull = R"(
layout(std430, binding = 7) buffer Seen { uint seenList[]; };
layout(std430, binding = 8) buffer Masks { uint masks[]; };
layout(std430, binding = 9) buffer Groups { uvec4 groups[]; };
const uint kGroup = 256u, kWords = 8u, kClasses = 3u;
// The place among all of a class, were they in a list, of the first one from a placement on.
uint Rank(uint placement, uint kind) {
  uint group = placement / kGroup, within = placement % kGroup;
  uint rank = groups[group][kind];
  uint first = (group * kClasses + kind) * kWords;
  for (uint word = 0u; word < within / 32u; ++word)
    rank += uint(bitCount(masks[first + word]));
  if (within % 32u != 0u) rank += uint(bitCount(masks[first + within / 32u] & ((1u << within % 32u) - 1u)));
  return rank;
}
// One list holds all classes, one behind the other.
uint GetStart(uint kind) {
  uvec4 totals = groups[counts.y];
  return kind == 0u ? 0u : kind == 1u ? totals.x : totals.x + totals.y;
}
)";

constexpr const char* kCullCount = R"(
layout(local_size_x = 256) in;
shared uint found[kClasses * kWords];
// 0: solid, 1: ghost, 2: solid, as a point; 3: not in view.
uint Classify(uint i) {
  uint look = states[i] & kLookBits;
  if (look == kHidden) return 3u;
  Placement p = placements[i];
  Batch batch = batches[p.batch];
  if (batch.indexCount == 0u) return 3u;
  mat3 turn = GetTurn(p);
  vec3 center = turn * batch.sphere.xyz + GetOrigin(p, i);
  float radius = batch.sphere.w * max(length(turn[0]), max(length(turn[1]), length(turn[2])));
  for (int plane = 0; plane < size.z; ++plane)
    if (dot(planes[plane].xyz, center) + planes[plane].w > radius) return 3u;
  float depth = GetDepth(center);
  vec2 slope = lens.xy * (1.0 - 2.0 / vec2(size.xy));  // a pixel more on each side
  vec2 aside = abs(vec2(dot(center, right.xyz), dot(center, up.xyz)));
  if (IsPerspective()) {
    if (depth + radius < depthMap.x) return 3u;
    if (any(greaterThan(aside * slope - depth, radius * sqrt(slope * slope + 1.0)))) return 3u;
  } else if (any(greaterThan((aside - radius) * slope, vec2(1.0)))) {
    return 3u;
  }
  if (depth > radius && 2.0 * radius < 2.0 * GetPixelSize(depth)) return look == kGhost ? 3u : 2u;
  return look == kGhost ? 1u : 0u;
}
void main() {
  uint local = gl_LocalInvocationIndex, i = gl_GlobalInvocationID.x;
  if (local < kClasses * kWords) found[local] = 0u;
  barrier();
  uint kind = i < uint(counts.x) ? Classify(i) : 3u;
  if (kind < 3u) atomicOr(found[kind * kWords + local / 32u], 1u << local % 32u);
  barrier();
  if (local < kClasses * kWords) masks[gl_WorkGroupID.x * kClasses * kWords + local] = found[local];
  if (local == 0u) {
    uvec4 sum = uvec4(0u);
    for (uint k = 0u; k < kClasses; ++k)
      for (uint word = 0u; word < kWords; ++word)
        sum[k] += uint(bitCount(found[k * kWords + word]));
    groups[gl_WorkGroupID.x] = sum;
  }
}
)";

constexpr const char* kCullSum = R"(
layout(local_size_x = 256) in;
shared uvec4 sums[256];
void main() {
  uint local = gl_LocalInvocationIndex, all = uint(counts.y);
  uint each = (all + 255u) / 256u;
  uint first = min(local * each, all), behind = min(first + each, all);
  uvec4 sum = uvec4(0u);
  for (uint i = first; i < behind; ++i)
    sum += groups[i];
  sums[local] = sum;
  barrier();
  uvec4 before = uvec4(0u);
  for (uint i = 0u; i < local; ++i)
    before += sums[i];
  for (uint i = first; i < behind; ++i) {
    uvec4 own = groups[i];
    groups[i] = before;
    before += own;
  }
  if (local == 255u) groups[all] = before;
}
)";

constexpr const char* kCullList = R"(
layout(local_size_x = 256) in;
void main() {
  uint i = gl_GlobalInvocationID.x;
  if (i >= uint(counts.x)) return;
  for (uint kind = 0u; kind < kClasses; ++kind) {
    uint word = masks[((i / kGroup) * kClasses + kind) * kWords + i % kGroup / 32u];
    if ((word >> i % 32u & 1u) != 0u) seenList[GetStart(kind) + Rank(i, kind)] = i;
  }
}
)";

constexpr const char* kCullCommands = R"(
layout(local_size_x = 64) in;
layout(std430, binding = 10) buffer Commands { uint commands[]; };
void main() {
  uint i = gl_GlobalInvocationID.x, all = uint(counts.z);
  if (i == 0u) {
    uint point = 2u * all * 5u;
    commands[point] = groups[counts.y].z;
    commands[point + 1u] = 1u;
    commands[point + 2u] = GetStart(2u);
    commands[point + 3u] = 0u;
  }
  if (i >= all) return;
  Batch batch = batches[i];
  uint behind = i + 1u < all ? batches[i + 1u].firstPlacement : uint(counts.x);
  for (uint kind = 0u; kind < 2u; ++kind) {
    uint first = Rank(min(batch.firstPlacement, uint(counts.x)), kind);
    uint command = (kind * all + batch.command) * 5u;
    commands[command] = batch.indexCount;
    commands[command + 1u] = Rank(min(behind, uint(counts.x)), kind) - first;
    commands[command + 2u] = batch.firstIndex;
    commands[command + 3u] = batch.firstVertex;
    commands[command + 4u] = GetStart(kind) + first;
  }
}
)";

// As many corners as kMostAreaCorners.
constexpr const char* kAreaVertex = R"(#version 430 core
layout(location = 0) uniform vec2 corners[12];
void main() {
  gl_Position = vec4(corners[gl_VertexID], 0.0, 1.0);
}
)";

constexpr const char* kScreenVertex = R"(#version 430 core
void main() {
  gl_Position = vec4(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0, 0.0, 1.0);
}
)";

// What is seen at a pixel.
constexpr const char* kSurface = R"(
layout(binding = 0) uniform usampler2D solids;
layout(binding = 1) uniform sampler2D solidDepths;
layout(binding = 2) uniform usampler2D ghosts;
layout(binding = 3) uniform sampler2D ghostDepths;
layout(binding = 4) uniform sampler2D cuts;

struct Surface {
  uint body, face;
  bool isBack, isCut;
  float depth, pixel;
  vec3 point, normal, flatNormal;
};
bool IsSeen(Surface s) { return s.body != kNothing; }

Surface Read(usampler2D ids, sampler2D depths, ivec2 texel, Sight sight) {
  uvec4 seen = texelFetch(ids, texel, 0);
  Surface s;
  s.body = seen.x;
  s.face = seen.y & kFaceBits;
  s.isBack = (seen.y & kBack) != 0u;
  s.isCut = false;
  s.depth = UnmapDepth(texelFetch(depths, texel, 0).x);
  s.pixel = GetPixelSize(s.depth);
  s.point = sight.origin + sight.direction * s.depth;
  s.normal = Unfold(unpackSnorm2x16(seen.z));
  s.flatNormal = Unfold(unpackSnorm2x16(seen.w));
  return s;
}

// The body in whose material a line of sight is behind the section planes, or kNothing. One body is its number; of two
// that overlap there, the one with the smaller number, when the other is seen from within.
uint FindCut(ivec2 texel, Surface seen) {
  ivec4 sums = ivec4(round(texelFetch(cuts, texel, 0)));
  if (sums.x <= 0) return kNothing;
  if (sums.x == 1) return uint(sums.y + (sums.z << 12) + (sums.w << 24));
  if (sums.x > 2 || !seen.isBack) return seen.body;
  ivec3 other = sums.yzw - ivec3(seen.body & 4095u, seen.body >> 12u & 4095u, seen.body >> 24u);
  return min(seen.body, uint(other.x + (other.y << 12) + (other.z << 24)));
}

Surface FetchSolid(ivec2 texel) {
  texel = clamp(texel, ivec2(0), size.xy - 1);
  Sight sight = GetSight(vec2(texel) + 0.5);
  Surface s = Read(solids, solidDepths, texel, sight);
#ifdef SECTIONS
  float nearest, farthest;
  int plane = Clip(sight, nearest, farthest);
  if (plane < 0 || nearest >= farthest) return s;
  uint body = FindCut(texel, s);
  if (body == kNothing) return s;
  s.body = body;
  s.face = kCut + uint(plane);
  s.isBack = false;
  s.isCut = true;
  s.depth = nearest;
  s.pixel = GetPixelSize(nearest);
  s.point = sight.origin + sight.direction * nearest;
  s.normal = s.flatNormal = planes[plane].xyz;
#endif
  return s;
}
)";

constexpr const char* kLight = R"(
layout(std430, binding = 3) readonly buffer Palettes { uint palettes[]; };
layout(std430, binding = 4) readonly buffer Colors { uint colors[]; };
layout(std430, binding = 6) readonly buffer Faces { uvec2 faces[]; };
layout(std430, binding = 7) readonly buffer Joints { uvec2 joints[]; };
layout(location = 0) out vec4 light;

vec3 ToLinear(vec3 srgb) {
  return mix(srgb / 12.92, pow((srgb + 0.055) / 1.055, vec3(2.4)), greaterThan(srgb, vec3(0.04045)));
}

#ifdef FACES
// Lists of faces are in ascending order.
bool IsListed(uint body, uint face, int first, int count) {
  int low = first, high = first + count;
  while (low < high) {
    int middle = (low + high) / 2;
    uvec2 entry = faces[middle];
    if (entry.x < body || (entry.x == body && entry.y < face)) low = middle + 1;
    else high = middle;
  }
  return low < first + count && faces[low] == uvec2(body, face);
}
#endif

vec3 GetColor(Surface s) {
  uint state = states[s.body];
  Batch batch = batches[placements[s.body].batch];
  // The first colour is the body's, which its cuts show too.
  uint bits = palettes[batch.palette + (s.face + 1u < batch.paletteSize && !s.isCut ? s.face + 1u : 0u)];
  if (modes.z != 0 && colors[s.body] != 0u) bits = colors[s.body];
  vec3 color = unpackUnorm4x8(bits).rgb;
  bool isSelected = (state & kSelected) != 0u, isHovered = (state & kHovered) != 0u;
#ifdef FACES
  isSelected = isSelected || ((state & kFaceSelected) != 0u && IsListed(s.body, s.face, 0, extras.z));
  isHovered = isHovered || ((state & kFaceHovered) != 0u && IsListed(s.body, s.face, extras.z, extras.w));
#endif
  if (isSelected) color = mix(color, kSelectionColor, kSelectionStrength);
  if (isHovered) color = mix(color, kHoverColor, kHoverStrength);
  return color;
}

vec3 Light(vec3 color, vec3 normal, vec3 view, float open) {
  float upwards = 0.5 + 0.5 * dot(normal, sky.xyz);
  float room = kGroundLight + (kSkyLight - kGroundLight) * upwards;
  float lamps = max(0.0, dot(normal, key.xyz)) * key.w + max(0.0, dot(normal, fill.xyz)) * fill.w;
  float shade = kLampInCorners + (1.0 - kLampInCorners) * open;
  float gloss = kGloss * pow(max(0.0, dot(normal, normalize(key.xyz + view))), kGlossPower);
  float rim = 1.0 - max(0.0, dot(normal, view));
  float mirrored = kRimLight * rim * rim * rim;
  return ToLinear(color) * (room * open + lamps * shade) + gloss * shade + mirrored * open;
}

float Hatch(Surface s) {
  int plane = int(s.face & ~kCut);
  vec3 point = s.point - target.xyz;
  uint scattered = (s.body * 2654435761u) >> 28u;
  float sign = scattered % 2u == 0u ? 1.0 : -1.0;
  float across = (dot(point, hatchAside[plane].xyz) + sign * dot(point, hatchAlong[plane].xyz)) * 0.70710678;
  float pitch = pixel.w * (1.0 + kHatchPitchStep * float(scattered / 2u % 4u));
  float phase = across / pitch;
  return abs(phase - round(phase)) * pitch < 0.5 * kHatchWidth * s.pixel ? 1.0 : 0.0;
}

vec3 Shade(Surface s, Sight sight) {
  vec3 color = GetColor(s);
  if (s.isCut) {
    vec3 lit = ToLinear(color) * kCutLight + kCutGlow;
    return mix(lit, kLineColor, kHatchStrength * Hatch(s));
  }
  vec3 lit = Light(color, s.normal, -normalize(sight.direction), 1.0);
  return s.isBack ? lit * kBackLight : lit;
}

vec4 ShadeGhost(Surface s) {
  float rim = 1.0 - abs(dot(s.normal, forward.xyz));
  float alpha = kGhostBody + kGhostRim * rim * rim;
  return vec4(Light(GetColor(s), s.normal, -forward.xyz, 1.0) * alpha, alpha);
}

#ifdef EDGES
// Whether two faces of a body meet, and only smoothly: a round that is a few pixels wide turns far from one pixel to the
// next, but has no edge for that.
bool IsSmoothJoint(uint body, uint face, uint other) {
  Batch batch = batches[placements[body].batch];
  uvec2 wanted = uvec2(min(face, other), max(face, other));
  uint low = batch.joints, end = batch.joints + batch.jointCount, high = end;
  while (low < high) {
    uint middle = (low + high) / 2u;
    uvec2 entry = joints[middle];
    if (entry.x < wanted.x || (entry.x == wanted.x && entry.y < wanted.y)) low = middle + 1u;
    else high = middle;
  }
  return low < end && joints[low] == wanted;
}

bool IsEdge(Surface a, Surface b) {
  if (a.body != b.body) return true;
  if (!IsSeen(a)) return false;
  if (a.face != b.face) {
    if (modes.x == 2) return true;
    if (dot(a.normal, b.normal) < kSharpCosine && !IsSmoothJoint(a.body, a.face, b.face)) return true;
  }
  vec3 d = b.point - a.point;
  return min(abs(dot(d, a.flatNormal)), abs(dot(d, b.flatNormal))) > kStepPixels * min(a.pixel, b.pixel);
}
#endif

Surface FetchGhost(ivec2 texel, Surface solid) {
  texel = clamp(texel, ivec2(0), size.xy - 1);
  Surface s = Read(ghosts, ghostDepths, texel, GetSight(vec2(texel) + 0.5));
  if (IsSeen(solid) && solid.depth <= s.depth) s.body = kNothing;
  return s;
}

// Where many bodies meet in a few pixels, lines would leave nothing else. Looks at five pixels out of the nine that are
// meant.
float Thin(ivec2 texel, ivec2 aside, ivec2 above, uint own, uint other, uint upper) {
  uint before = texelFetch(solids, clamp(texel - aside, ivec2(0), size.xy - 1), 0).x;
  uint lower = texelFetch(solids, clamp(texel - above, ivec2(0), size.xy - 1), 0).x;
  int count = 1 + int(other != own) + int(upper != own && upper != other) +
              int(before != own && before != other && before != upper) +
              int(lower != own && lower != other && lower != upper && lower != before);
  return count > 3 ? 2.0 / float(count) : 1.0;
}

void main() {
  ivec2 texel = ivec2(gl_FragCoord.xy);
  Sight sight = GetSight(gl_FragCoord.xy);
  Surface own = FetchSolid(texel);
  light = IsSeen(own) ? vec4(Shade(own, sight), 1.0) : vec4(0.0);
#if defined(EDGES) || defined(GHOSTS)
  ivec2 aside = ivec2(extras.x, 0), above = ivec2(0, extras.y);
  Surface other = FetchSolid(texel + aside), upper = FetchSolid(texel + above);
#endif
#ifdef EDGES
  if (IsEdge(own, other) || IsEdge(own, upper)) {
    float line = pixel.z * Thin(texel, aside, above, own.body, other.body, upper.body);
    light = vec4(mix(light.rgb, kLineColor, line), light.a + (1.0 - light.a) * line);
  }
#endif
#ifdef GHOSTS
  Surface ghost = FetchGhost(texel, own);
  vec4 veil = IsSeen(ghost) ? ShadeGhost(ghost) : vec4(0.0);
#ifdef EDGES
  if (IsEdge(ghost, FetchGhost(texel + aside, other)) || IsEdge(ghost, FetchGhost(texel + above, upper)))
    veil = mix(veil, vec4(kLineColor, 1.0), kGhostLine);
#endif
  light = veil + light * (1.0 - veil.a);
#endif
}
)";

constexpr const char* kShow = R"(
layout(binding = 0) uniform sampler2D lightSums;
layout(location = 0) out vec4 color;
layout(location = 0) uniform ivec2 corner;
vec3 ToLinear(vec3 srgb) {
  return mix(srgb / 12.92, pow((srgb + 0.055) / 1.055, vec3(2.4)), greaterThan(srgb, vec3(0.04045)));
}
vec3 Encode(vec3 linear) {
  linear = clamp(linear, 0.0, 1.0);
  return mix(linear * 12.92, 1.055 * pow(linear, vec3(1.0 / 2.4)) - 0.055, greaterThan(linear, vec3(0.0031308)));
}
void main() {
  ivec2 texel = ivec2(gl_FragCoord.xy) - corner;
  vec4 light = counts.x == 0 ? vec4(0.0) : texelFetch(lightSums, texel, 0) / float(size.w + 1);
  if (backdrop.w == 2.0) {
    color = vec4(Encode(light.a > 0.0 ? light.rgb / light.a : vec3(0.0)), light.a);
    return;
  }
  float down = 1.0 - (float(texel.y) + 0.5) / float(size.y);
  float t = down * down * (3.0 - 2.0 * down);
  vec3 studio = mix(ToLinear(kBackdropTop), ToLinear(kBackdropBottom), t);
  vec3 behind = backdrop.w == 1.0 ? backdrop.rgb : studio;
  color = vec4(Encode(light.rgb + behind * (1.0 - light.a)), 1.0);
}
)";

constexpr const char* kPick = R"(
layout(local_size_x = 1) in;
layout(std430, binding = 7) buffer Answer { uvec4 ids; vec4 point; };
layout(location = 0) uniform ivec2 texel;
void main() {
  Surface s = FetchSolid(texel);
  ids = uvec4(s.body, s.face, 0u, 0u);
  point = vec4(s.point, s.depth);
}
)";

}  // namespace

std::string Shaders::GetBodyVertex() {
  return std::string(kCommon) + kBodyVertex;
}
std::string Shaders::GetBodyFragment() {
  return std::string(kCommon) + kBodyFragment;
}
std::string Shaders::GetPointVertex() {
  return std::string(kCommon) + kPointVertex;
}
std::string Shaders::GetPointFragment() {
  return std::string(kCommon) + kPointFragment;
}
std::string Shaders::GetCutFragment() {
  return std::string(kCommon) + kSight + kCutFragment;
}
std::string Shaders::GetCullCount() {
  return std::string(kCommon) + kCull + kCullCount;
}
std::string Shaders::GetCullSum() {
  return std::string(kCommon) + kCull + kCullSum;
}
std::string Shaders::GetCullList() {
  return std::string(kCommon) + kCull + kCullList;
}
std::string Shaders::GetCullCommands() {
  return std::string(kCommon) + kCull + kCullCommands;
}
std::string Shaders::GetAreaVertex() {
  return kAreaVertex;
}
std::string Shaders::GetScreenVertex() {
  return kScreenVertex;
}
std::string Shaders::GetLightFragment(const Parts& parts) {
  return std::string(kCommon) + Define(parts) + GetLook() + kSight + kSurface + kLight;
}
std::string Shaders::GetShowFragment() {
  return std::string(kCommon) + GetLook() + kShow;
}
std::string Shaders::GetPick(const Parts& parts) {
  return std::string(kCommon) + Define(parts) + kSight + kSurface + kPick;
}

}  // namespace mirel
