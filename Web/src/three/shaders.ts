import { tintColors } from './tints.js';

const tintVectors = Object.values(tintColors)
  .map(color => `vec3(${color.map(part => part.toFixed(2)).join(', ')})`)
  .join(', ');

// A placed vertex: `row0` to `row2` are the placement of its instance, with the grid of the mesh folded in, without a last row.
const placed = `
in vec4 row0, row1, row2;
in vec3 shift;
in vec4 look;
uniform float explode;

vec3 place() {
  vec4 p = vec4(position, 1.0);
  return vec3(dot(row0, p), dot(row1, p), dot(row2, p)) + explode * shift;
}
// Behind every eye: triangles and lines there are not drawn.
const vec4 nowhere = vec4(0.0, 0.0, -2.0, 1.0);
`;

// What is in front of a section plane is not drawn.
const cut = `
uniform vec4 planes[3];
uniform int planeCount;
in vec3 scenePoint;

bool isCutAway(int exceptPlane) {
  for (int i = 0; i < planeCount; ++i)
    if (i != exceptPlane && dot(planes[i].xyz, scenePoint) > planes[i].w) return true;
  return false;
}
`;

const colors = `
vec3 toLinear(vec3 c) {
  return mix(c / 12.92, pow((c + 0.055) / 1.055, vec3(2.4)), step(0.04045, c));
}
vec3 toScreen(vec3 c) {
  c = clamp(c, 0.0, 1.0);
  return mix(c * 12.92, 1.055 * pow(c, vec3(1.0 / 2.4)) - 0.055, step(0.0031308, c));
}
`;

/** Triangles. The uniform `wanted` says which look of instance is drawn: 0 solid, 2 ghost. */
export const surfaceVertex = `
${placed}
in vec2 octahedral;
in vec4 faceColor;
uniform float wanted;
uniform vec3 bodyColor;
out vec3 scenePoint, viewPoint, viewNormal, color;
out float mark;
const vec3 tints[3] = vec3[3](${tintVectors});

vec3 decodeNormal() {
  vec2 e = max(octahedral, -127.0) / 127.0;
  vec3 n = vec3(e, 1.0 - abs(e.x) - abs(e.y));
  if (n.z < 0.0) n.xy = (1.0 - abs(e.yx)) * vec2(e.x < 0.0 ? -1.0 : 1.0, e.y < 0.0 ? -1.0 : 1.0);
  return normalize(n);
}

void main() {
  scenePoint = place();
  // The inverse transpose, but for its scale; a mirror turns the sign, which the side that is seen decides anyway.
  mat3 m = transpose(mat3(row0.xyz, row1.xyz, row2.xyz));
  m /= max(max(length(m[0]), length(m[1])), length(m[2]));
  vec3 normal = mat3(cross(m[1], m[2]), cross(m[2], m[0]), cross(m[0], m[1])) * decodeNormal();
  viewNormal = mat3(viewMatrix) * normal;
  viewPoint = (viewMatrix * vec4(scenePoint, 1.0)).xyz;
  color = look.z > 0.5 ? tints[int(look.z + 0.5) - 1] : mix(bodyColor, faceColor.rgb, faceColor.a);
  // Tints are to be seen in what is selected too.
  mark = look.z > 0.5 ? 2.0 * min(look.y, 1.0) : look.y;
  gl_Position = look.x == wanted ? projectionMatrix * vec4(viewPoint, 1.0) : nowhere;
}
`;

/** Light of two lamps that go with the camera, and of a bright room: the same as in pictures that `mirel picture` draws. */
export const surfaceFragment = `
${cut}
${colors}
in vec3 viewPoint, viewNormal, color;
in float mark;
uniform float opacity;
uniform vec3 highlight;
uniform bool isParallel;
out vec4 pixel;

void main() {
  if (isCutAway(-1)) discard;
  vec3 view = isParallel ? vec3(0.0, 0.0, 1.0) : normalize(-viewPoint);
  vec3 normal = normalize(viewNormal);
  if (dot(normal, view) < 0.0) normal = -normal;
  vec3 base = mark > 1.5 ? mix(color, vec3(1.0), 0.25) : mark > 0.5 ? mix(color, highlight, 0.6) : color;
  vec3 up = normalize(vec3(0.0, 1.0, 0.0) + 0.999 * (viewMatrix * vec4(0.0, 0.0, 1.0, 0.0)).xyz);
  vec3 key = normalize(vec3(-0.45, 0.80, 0.75)), fill = normalize(vec3(0.85, 0.05, 0.55));
  float light = 0.34 + 0.28 * (0.5 + 0.5 * dot(normal, up));
  light += 0.62 * max(0.0, dot(normal, key)) + 0.20 * max(0.0, dot(normal, fill));
  float gloss = 0.10 * pow(max(0.0, dot(normal, normalize(key + view))), 28.0);
  float rim = 1.0 - max(0.0, dot(normal, view));
  pixel = vec4(toScreen(toLinear(base) * light + gloss + 0.06 * rim * rim * rim), opacity);
}
`;

/** Counts surfaces behind a plane. That others cut them away does not change what is inside of a body at the plane. */
export const countFragment = `
${cut}
uniform int ownPlane;
out vec4 pixel;

void main() {
  if (dot(planes[ownPlane].xyz, scenePoint) > planes[ownPlane].w) discard;
  pixel = vec4(0.0);
}
`;

/** Edges: drawn a little nearer than they are, so that the faces beside them do not hide them. */
export const edgeVertex = `
${placed}
uniform bool isParallel;
uniform float nearer;
out vec3 scenePoint, viewPoint;

void main() {
  scenePoint = place();
  vec4 p = viewMatrix * vec4(scenePoint, 1.0);
  viewPoint = p.xyz;
  if (isParallel) p.z += nearer;
  else p.xyz *= 0.9993;
  gl_Position = look.x == 0.0 ? projectionMatrix * p : nowhere;
}
`;

/**
 * An edge that is seen from its end is not drawn: it is a dot, whose depth rounding moves by as much as the edge is long, so that
 * faces in front would have dots of what lies behind.
 */
export const edgeFragment = `
${cut}
in vec3 viewPoint;
uniform vec4 edgeColor;
uniform bool isParallel;
out vec4 pixel;

void main() {
  vec3 across = dFdx(viewPoint), down = dFdy(viewPoint);
  vec3 along = dot(across, across) > dot(down, down) ? across : down;
  vec3 view = isParallel ? vec3(0.0, 0.0, 1.0) : normalize(viewPoint);
  bool isSide = abs(dot(along, view)) < 0.9995 * length(along) && length(along) < 1e30;
  if (!isSide || isCutAway(-1)) discard;
  pixel = edgeColor;
}
`;

/** The cut through bodies: flat, a little lighter than they are, hatched. */
export const capVertex = `
out vec3 scenePoint;
void main() {
  scenePoint = (modelMatrix * vec4(position, 1.0)).xyz;
  gl_Position = projectionMatrix * viewMatrix * vec4(scenePoint, 1.0);
}
`;

export const capFragment = `
${cut}
${colors}
uniform int ownPlane;
uniform vec3 bodyColor;
uniform float pixelRatio;
out vec4 pixel;

void main() {
  if (isCutAway(ownPlane)) discard;
  vec2 at = gl_FragCoord.xy / pixelRatio;
  float across = mod(ownPlane == 1 ? at.x - at.y : at.x + at.y, 8.0);
  vec3 light = toLinear(bodyColor) * 0.92 + 0.06;
  pixel = vec4(toScreen(across < 1.0 ? light * 0.55 : light), 1.0);
}
`;
