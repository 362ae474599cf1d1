#include "preview_scene.h"

#include <cmath>

#include "animation.h"
#include "clone.h"
#include "document.h"
#include "parameters.h"
#include "scene_file.h"

namespace host {

namespace {

constexpr double pi = 3.14159265358979323846;

// A unit sphere on the ground; its texture goes around it twice, so that patterns are small enough to see.
MeshPtr makeSphere() {
  constexpr std::uint32_t rings = 32, sides = 64;
  auto mesh = std::make_shared<Mesh>();
  for (std::uint32_t ring = 0; ring <= rings; ++ring) {
    const double v = static_cast<double>(ring) / rings, polar = v * pi;
    for (std::uint32_t side = 0; side <= sides; ++side) {
      const double u = static_cast<double>(side) / sides, around = u * 2 * pi;
      const Float3 n{static_cast<float>(std::sin(polar) * std::sin(around)),
                     static_cast<float>(std::cos(polar)),
                     static_cast<float>(std::sin(polar) * std::cos(around))};
      mesh->positions.push_back({n[0], n[1] + 1, n[2]});
      mesh->normals.push_back(n);
      mesh->uv[0].push_back({static_cast<float>(2 * u), static_cast<float>(v)});
    }
  }
  for (std::uint32_t ring = 0; ring < rings; ++ring)
    for (std::uint32_t side = 0; side < sides; ++side) {
      const std::uint32_t a = ring * (sides + 1) + side, b = a + sides + 1;
      if (ring > 0) mesh->triangles.push_back({a, b, a + 1});
      if (ring + 1 < rings) mesh->triangles.push_back({a + 1, b, b + 1});
    }
  mesh->groups.push_back({0, static_cast<std::uint32_t>(mesh->triangles.size())});
  mesh->low = {-1, 0, -1};
  mesh->high = {1, 2, 1};
  return mesh;
}

const MeshPtr& sphere() {
  static const MeshPtr& one = *new MeshPtr(makeSphere()); // shared, so that it is prepared once
  return one;
}

Matrix lookAt(const Vector& from, const Vector& to) {
  const auto unit = [](const Vector& v) { return v * (1 / std::sqrt(Dot(v, v))); };
  const Vector z = unit(from - to), x = unit(Cross({0, 1, 0}, z));
  return {from, x, Cross(z, x), z};
}

ObjectState* addObject(DocumentState& document, LONG type) {
  ObjectState* object = makeObject(type);
  document.children.append(*object);
  return object;
}

void show(ObjectState& object, const NodeState& material) {
  NodeState* tag = makeNode(NodeKind::tag, Ttexture);
  tag->data.SetLink(param::textureMaterial, material.node);
  object.tags.append(*tag);
}

void addGround(DocumentState& document) {
  NodeState* gray = makeNode(NodeKind::material, Mmaterial);
  gray->data.SetVector(param::baseColor, Vector(0.18, 0.18, 0.19));
  gray->data.SetReal(param::roughness, 0.9);
  document.materials.append(*gray);
  show(*addObject(document, Ofloor), *gray);
}

void addLights(DocumentState& document) {
  ObjectState* lamp = addObject(document, Olight);
  lamp->local = lookAt({-2.6, 4.2, 3.2}, {0, 1, 0});
  lamp->data.SetReal(param::lightIntensity, 42);
  lamp->data.SetReal(param::lightRadius, 0.6);
  ObjectState* sky = addObject(document, Osky);
  sky->data.SetLong(param::skyKind, 2);
  sky->data.SetVector(param::skyColor, Vector(0.42, 0.45, 0.5));
  sky->data.SetVector(param::skyHorizon, Vector(0.32, 0.33, 0.34));
  sky->data.SetVector(param::skyGround, Vector(0.08, 0.08, 0.09));
}

} // namespace

DocumentPtr previewScene(const MaterialState& material, const RenderDataState* posts) {
  DocumentPtr document(nodeOf<BaseDocument>(makeDocument()));
  DocumentState& state = *stateOf(document.get());
  NodeState* copy = cloneNode(material, COPYFLAGS_0);
  state.materials.append(*copy);
  addGround(state);
  ObjectState* ball = addObject(state, Opolygon);
  ball->mesh = sphere();
  show(*ball, *copy);
  addLights(state);
  auto* data = posts ? static_cast<RenderDataState*>(cloneNode(*posts, COPYFLAGS_0)) : nullptr;
  if (!data) data = static_cast<RenderDataState*>(makeNode(NodeKind::renderData, 0));
  for (NodeState* post = data->posts.first(); post; post = post->next)
    if (post->type == VPglobalillumination || post->type == VPambientocclusion || post->type == VPcaustics)
      post->bits |= BIT_VPDISABLED;
  state.renderData.append(*data);
  ObjectState* camera = state.renderView->editorCamera;
  camera->local = lookAt({0, 2.6, 5}, {0, 0.96, 0});
  camera->data.SetReal(param::cameraYfov, 0.46);
  return document;
}

} // namespace host
