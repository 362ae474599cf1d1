// The fixed parts of the programs, in GLSL 3.30. Positions and directions are in world axes, positions
// relative to the eye, colours linear.
#pragma once

namespace host::render {

inline constexpr const char* glSurfaceVertexSource = R"(#version 330 core
layout(location = 0) in vec3 aPosition;
layout(location = 1) in vec3 aNormal;
layout(location = 2) in vec4 aTangent;
layout(location = 3) in vec2 aUv0;
layout(location = 4) in vec2 aUv1;
layout(location = 5) in vec4 aColor;
uniform mat4 uClip;      // from positions to this tile's clip space
uniform vec3 uModel[4];  // the instance's columns and offset
uniform vec3 uNormals[3];
out vec3 vPosition;
out vec3 vNormal;
out vec4 vTangent;
out vec2 vUv0;
out vec2 vUv1;
out vec4 vColor;
void main() {
  vPosition = uModel[0] * aPosition.x + uModel[1] * aPosition.y + uModel[2] * aPosition.z + uModel[3];
  vNormal = uNormals[0] * aNormal.x + uNormals[1] * aNormal.y + uNormals[2] * aNormal.z;
  vTangent = vec4(uModel[0] * aTangent.x + uModel[1] * aTangent.y + uModel[2] * aTangent.z, aTangent.w);
  vUv0 = aUv0;
  vUv1 = aUv1;
  vColor = aColor;
  gl_Position = uClip * vec4(vPosition, 1.0);
}
)";

// A triangle over the whole tile; vPlace runs from -1 to 1 over the whole picture.
inline constexpr const char* glSkyVertexSource = R"(#version 330 core
uniform vec4 uTile; // scale and offset from the picture's -1..1 to the tile's
out vec2 vPlace;
void main() {
  vec2 corner = vec2(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0);
  vPlace = (corner - uTile.zw) / uTile.xy;
  gl_Position = vec4(corner, 0.0, 1.0);
}
)";

// The sky; RenderSky defines the orientation of its picture.
inline constexpr const char* glSkySource = R"(
uniform int uSkyKind; // none, constant, gradient, picture
uniform vec3 uSky[3]; // colour, horizon, ground
uniform float uSkyTurn;
uniform sampler2D uSkyPicture;
uniform vec3 uAmbient[9]; // irradiance over pi, in spherical harmonics

// The radiance from a direction, as a surface of this roughness mirrors it.
vec3 skyFrom(vec3 d, float roughness) {
  if (uSkyKind == 1) return uSky[0];
  if (uSkyKind == 2) return mix(uSky[1], d.y >= 0.0 ? uSky[0] : uSky[2], abs(d.y) * (1.0 - 0.5 * roughness));
  if (uSkyKind != 3) return vec3(0.0);
  vec2 uv = vec2(0.5 + (atan(d.x, -d.z) + uSkyTurn) / 6.2831853, acos(clamp(d.y, -1.0, 1.0)) / 3.1415927);
  float texels = float(textureSize(uSkyPicture, 0).y) * roughness * roughness * 0.5;
  return uSky[0] * textureLod(uSkyPicture, uv, log2(max(1.0, texels))).rgb;
}

// Real spherical harmonics up to the second order.
vec3 ambientOn(vec3 n) {
  vec3 sum = uAmbient[0] * 0.282095 + (uAmbient[1] * n.y + uAmbient[2] * n.z + uAmbient[3] * n.x) * 0.488603;
  sum += (uAmbient[4] * n.x * n.y + uAmbient[5] * n.y * n.z + uAmbient[7] * n.x * n.z) * 1.092548;
  sum += uAmbient[6] * 0.315392 * (3.0 * n.z * n.z - 1.0) + uAmbient[8] * 0.546274 * (n.x * n.x - n.y * n.y);
  return max(sum, vec3(0.0));
}
)";

inline constexpr const char* glSkyFragmentSource = R"(
in vec2 vPlace;
uniform vec3 uForward; // to the middle of the picture, one along the axis
uniform vec3 uRight; // over half the picture; zero for an orthographic camera
uniform vec3 uUp;
out vec4 oColor;
void main() {
  vec3 c = skyFrom(normalize(uForward + uRight * vPlace.x + uUp * vPlace.y), 0.0);
  oColor = vec4(min(max(c, vec3(0.0)), vec3(60000.0)), 0.0);
}
)";

// Functions used by the text of shader trees.
inline constexpr const char* glShadeSource = R"(
vec2 placed(vec4 turn, vec2 move, vec2 uv) { return move + turn.xy * uv.x + turn.zw * uv.y; }

// Puts a node's colour onto the ones before it; its alpha and amount say how much.
vec4 putOnto(vec4 below, vec4 above, int how, float amount, bool first) {
  if (first && amount >= 1.0 && above.a >= 1.0) return above;
  vec3 mixed = above.rgb;
  if (how == 1) mixed = below.rgb * above.rgb;
  if (how == 2) mixed = below.rgb + above.rgb;
  if (how == 3) mixed = 1.0 - (1.0 - below.rgb) * (1.0 - above.rgb);
  float t = clamp(amount * above.a, 0.0, 1.0);
  return vec4(mix(below.rgb, mixed, t), mix(below.a, 1.0, t));
}
)";

// Reflection is GGX with Smith's height-correlated masking and Schlick's Fresnel term (see ggx.h), scaled as
// the ray renderer scales it; diffuse reflection gets what it leaves over.
inline constexpr const char* glSurfaceSource = R"(
in vec3 vPosition;
in vec3 vNormal;
in vec4 vTangent;
in vec2 vUv0;
in vec2 vUv1;
in vec4 vColor;
uniform vec4 uMaterial[6];
uniform ivec4 uHow;        // alpha mode, diffuse, reflection, unlit
uniform ivec2 uMesh;       // has normals, has tangents
uniform float uSide;       // -1 for an instance that mirrors
uniform vec4 uView;        // towards the viewer of an orthographic camera, and 1
uniform int uLightCount;
uniform vec4 uLights[4 * mostLights];
uniform sampler2D uAlbedo;
out vec4 oColor;

vec2 albedoParts(float cosine, float roughness) {
  vec2 place = vec2(sqrt(clamp(cosine, 0.0, 1.0)), clamp(roughness, 0.0, 1.0));
  return textureLod(uAlbedo, (place * 31.0 + 0.5) / 32.0, 0.0).rg;
}
// The albedo with the light between facets brought back.
vec3 fullAlbedo(vec2 parts, vec3 f0, float f90) {
  float whole = max(1e-4, parts.x + parts.y);
  return min(vec3(1.0), (f0 * parts.x + f90 * parts.y) * (1.0 + f0 * (1.0 - whole) / whole));
}
vec3 divided(vec3 a, vec3 b) {
  return vec3(b.x > 1e-6 ? a.x / b.x : 1.0, b.y > 1e-6 ? a.y / b.y : 1.0, b.z > 1e-6 ? a.z / b.z : 1.0);
}
float largest(vec3 c) { return max(c.r, max(c.g, c.b)); }

// Value times the light's cosine.
vec3 facets(vec3 n, vec3 v, vec3 l, float roughness, vec3 f0, vec3 f90) {
  float nl = dot(n, l);
  if (nl <= 0.0) return vec3(0.0);
  vec3 h = normalize(l + v);
  float nv = max(dot(n, v), 1e-4), nh = clamp(dot(n, h), 0.0, 1.0), vh = clamp(dot(v, h), 0.0, 1.0);
  float a = max(roughness * roughness, 0.002), a2 = a * a;
  float d = (a2 - 1.0) * nh * nh + 1.0;
  float masked = 0.5 / (nl * sqrt(nv * nv * (1.0 - a2) + a2) + nv * sqrt(nl * nl * (1.0 - a2) + a2));
  return (f0 + (f90 - f0) * pow(1.0 - vh, 5.0)) * (nl * a2 / (3.1415927 * d * d) * masked);
}

// The directions in which texture coordinates grow by one; false when they stand still.
bool growth(vec2 uv, out vec3 t, out vec3 b) {
  vec3 p1 = dFdx(vPosition), p2 = dFdy(vPosition);
  vec2 u1 = dFdx(uv), u2 = dFdy(uv);
  float det = u1.x * u2.y - u2.x * u1.y;
  t = b = vec3(0.0);
  if (abs(det) < 1e-20) return false;
  t = (p1 * u2.y - p2 * u1.y) / det;
  b = (p2 * u1.x - p1 * u2.x) / det;
  return true;
}

vec3 bentNormal(vec3 n, float side) {
  vec3 t, b;
#ifdef NORMAL_MAP
  vec3 m = normalAt(vUv0, vUv1).xyz * 2.0 - 1.0;
  vec3 up = n * side; // maps are made for the front
  bool known = false;
  if (uMesh.y != 0 && NORMAL_SET == 0) {
    t = vTangent.xyz - up * dot(up, vTangent.xyz);
    known = dot(t, t) > 1e-20;
    t = normalize(t);
    b = cross(up, t) * (vTangent.w * uSide);
  } else if (growth(NORMAL_SET == 0 ? vUv0 : vUv1, t, b)) {
    // Texture coordinates grow downwards in a picture, the map's green grows upwards.
    vec3 across = t - up * dot(t, up);
    known = dot(across, across) > 1e-30;
    t = normalize(across);
    b = cross(up, t) * (dot(cross(up, t), b) < 0.0 ? 1.0 : -1.0);
  }
  if (known) {
    vec2 tilt = m.xy * uMaterial[1].w;
    n = normalize(t * tilt.x + b * tilt.y + up * max(0.05, m.z)) * side;
  }
#endif
#ifdef BUMP_MAP
  vec2 uv = BUMP_SET == 0 ? vUv0 : vUv1;
  float seen = sqrt(abs(dFdx(uv).x * dFdy(uv).y - dFdy(uv).x * dFdx(uv).y));
  float stride = max(uMaterial[4].w, 0.5 * seen);
  vec2 du = vec2(stride, 0.0), dv = vec2(0.0, stride);
  vec3 weight = vec3(0.2126, 0.7152, 0.0722) * (uMaterial[3].w / (2.0 * stride));
  float hu = dot(bumpAt(vUv0 + du, vUv1 + du).rgb - bumpAt(vUv0 - du, vUv1 - du).rgb, weight);
  float hv = dot(bumpAt(vUv0 + dv, vUv1 + dv).rgb - bumpAt(vUv0 - dv, vUv1 - dv).rgb, weight);
  if (growth(uv, t, b)) {
    // Reciprocal vectors turn the slopes over texture coordinates into one over the surface.
    vec3 g = cross(t, b);
    float g2 = dot(g, g);
    if (g2 > 0.0) n = normalize(n * side - (cross(b, g) * hu + cross(g, t) * hv) / g2) * side;
  }
#endif
  return n;
}

// The light that arrives from a lamp, over its solid angle, and where it comes from.
vec3 lampLight(int i, out vec3 towards) {
  vec4 place = uLights[4 * i], power = uLights[4 * i + 1], axis = uLights[4 * i + 2];
  towards = place.xyz;
  if (place.w > 1.5) return power.rgb; // distant
  vec3 to = place.xyz - vPosition;
  float d2 = max(dot(to, to), 1e-12), factor = 1.0;
  towards = to * inversesqrt(d2);
  if (place.w > 0.5) { // spot
    float c = -dot(axis.xyz, towards), inner = uLights[4 * i + 3].x;
    factor = clamp((c - axis.w) / max(1e-4, inner - axis.w), 0.0, 1.0);
    factor *= factor;
  }
  if (power.w > 0.0) factor *= clamp(1.0 - d2 * d2 / (power.w * power.w * power.w * power.w), 0.0, 1.0);
  return power.rgb * (factor / d2);
}

void main() {
  vec3 v = uView.w > 0.5 ? uView.xyz : normalize(-vPosition);
  vec3 g = cross(dFdx(vPosition), dFdy(vPosition));
  g = dot(g, g) > 0.0 ? normalize(g) : v;
  if (dot(g, v) < 0.0) g = -g;
  vec3 n = g;
  if (uMesh.x != 0 && dot(vNormal, vNormal) > 1e-30) {
    n = normalize(vNormal);
    if (dot(n, g) < 0.0) n = -n;
  }
  n = bentNormal(n, gl_FrontFacing ? 1.0 : -1.0);
  float away = dot(n, v);
  if (away < 0.01) n = normalize(n + v * (0.02 - away));

  vec4 baseShade = baseAt(vUv0, vUv1), gloss = metallicRoughnessAt(vUv0, vUv1);
  vec3 base = clamp(uMaterial[0].rgb * vColor.rgb * baseShade.rgb, 0.0, 1.0);
  float alpha = clamp(uMaterial[0].a * vColor.a * baseShade.a, 0.0, 1.0);
  bool gone = uHow.x == 1 && alpha < uMaterial[2].w;
  if (uHow.x != 2) alpha = 1.0;
  float metallic = uHow.z != 0 ? clamp(uMaterial[1].x * gloss.b, 0.0, 1.0) : 0.0;
  float roughness = clamp(uMaterial[1].y * gloss.g, 0.0, 1.0);
  float passed = clamp(uMaterial[3].x * transmissionAt(vUv0, vUv1).r, 0.0, 1.0) * 0.8 * (1.0 - metallic);

  float cosine = max(dot(n, v), 1e-4), under = 1.0;
  vec3 f0 = vec3(0.0), f90 = vec3(0.0), scale = vec3(1.0), mirrored = vec3(0.0), dielectric = vec3(0.0);
  if (uHow.z != 0) {
    float edge = clamp(uMaterial[3].z * specularAt(vUv0, vUv1).a, 0.0, 1.0);
    float r = (uMaterial[3].y - 1.0) / (uMaterial[3].y + 1.0);
    vec3 plain = min(vec3(1.0), uMaterial[4].rgb * specularColorAt(vUv0, vUv1).rgb * (r * r)) * edge;
    vec2 parts = albedoParts(cosine, roughness);
    dielectric = fullAlbedo(parts, plain, edge);
    mirrored = mix(dielectric, fullAlbedo(parts, base, 1.0), metallic);
    f0 = mix(plain, base, metallic);
    f90 = vec3(mix(edge, 1.0, metallic));
    scale = divided(mirrored, f0 * parts.x + f90 * parts.y);
  }
  vec3 diffuse = uHow.y != 0 ? base * ((1.0 - metallic) * (1.0 - passed) * (1.0 - largest(dielectric))) : vec3(0.0);
  vec3 back = reflect(-v, n), color = vec3(0.0);
#ifdef COAT
  float coat = uHow.z != 0 ? clamp(uMaterial[5].x * coatAt(vUv0, vUv1).r, 0.0, 1.0) : 0.0;
  float coatRoughness = clamp(uMaterial[5].y * coatRoughnessAt(vUv0, vUv1).g, 0.0, 1.0);
  float coatAlbedo = coat * fullAlbedo(albedoParts(cosine, coatRoughness), vec3(0.04), 1.0).x;
  under = 1.0 - coatAlbedo;
  color += skyFrom(back, coatRoughness) * coatAlbedo;
#endif
  color += ambientOn(n) * diffuse * (under * mix(1.0, occlusionAt(vUv0, vUv1).r, uMaterial[1].z));
  if (uHow.z != 0) {
    vec3 sky = mix(skyFrom(back, roughness), ambientOn(back), smoothstep(0.6, 1.0, roughness));
    color += sky * mirrored * under;
  }
  for (int i = 0; i < uLightCount; ++i) {
    vec3 l, light = lampLight(i, l);
    vec3 value = diffuse * (max(0.0, dot(n, l)) / 3.1415927);
    if (uHow.z != 0) value += facets(n, v, l, roughness, f0, f90) * scale;
    value *= under;
#ifdef COAT
    value += facets(n, v, l, coatRoughness, vec3(0.04), vec3(1.0)) * coat;
#endif
    color += light * value;
  }
  if (gl_FrontFacing || uMaterial[5].z > 0.5) color += uMaterial[2].rgb * emissionAt(vUv0, vUv1).rgb;
  if (uHow.w != 0) color = uMaterial[0].rgb * vColor.rgb * baseShade.rgb, passed = 0.0;
  if (gone) discard;
  oColor = vec4(min(max(color, vec3(0.0)), vec3(60000.0)) * alpha, alpha * (1.0 - passed));
}
)";

} // namespace host::render
