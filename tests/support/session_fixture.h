// A session on a host of its own, with a small scene.
#pragma once

#include <array>
#include <filesystem>
#include <fstream>

#include "animation.h"
#include "document.h"
#include "host_fixture.h"
#include "parameters.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "session.h"
#include "test_documents.h"

class SessionFixture : public HostFixture {
 public:
  SessionFixture() {
    startHost();
    session = std::make_unique<host::Session>();
    runAll();
  }
  ~SessionFixture() override { session.reset(); }

  std::unique_ptr<host::Session> session;

  BaseDocument& document() { return *session->document(); }
  host::DocumentState& state() { return *host::stateOf(&document()); }
  host::Edits& edits() { return session->edits(); }

  host::ObjectState* object(const char* name) { return host::stateOf(document().SearchObject(name)); }
  host::Identity id(const char* name) { return object(name)->identity; }
  host::Identity material(const char* name) { return document().SearchMaterial(name)->GetIdentity(); }

  /// A copy to compare with later.
  host::DocumentPtr copy() { return host::DocumentPtr(document().GetClone(COPYFLAGS_0)); }
  /// Expects the document to be as the copy.
  void expectEqual(const host::DocumentPtr& other, const char* when) {
    std::string difference;
    EXPECT_TRUE(host::documentsEqual(*other, document(), &difference)) << when << ": " << difference;
  }

  /// root (null) with two meshes, one of them below the other, a light, a camera, two materials, and a null
  /// that moves from 0 to 10 along x in the first second.
  static host::DocumentPtr scene();
  void openScene() {
    session->hub().replace(scene(), host::Replacement::opened);
    runAll();
  }
};

inline host::MeshPtr triangleMesh() {
  auto mesh = std::make_shared<host::Mesh>();
  mesh->positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  mesh->triangles = {{0, 1, 2}};
  mesh->groups = {{0, 1}};
  mesh->high = {1, 1, 0};
  return mesh;
}

inline host::DocumentPtr SessionFixture::scene() {
  using namespace host;
  using namespace testscene;
  DocumentPtr document = newDocument();
  DocumentState& state = *stateOf(document.get());
  ObjectState* root = add(state.children, Onull, "root");
  root->local.off = {1, 2, 3};
  ObjectState* body = add(root->children, Opolygon, "body");
  body->mesh = triangleMesh();
  Pose pose;
  pose.rotation = rotationOf({30, 20, 10});
  pose.scale = {1, 2, 3};
  body->pose = pose;
  body->local = matrixOf(pose);
  ObjectState* arm = add(body->children, Opolygon, "arm");
  arm->mesh = body->mesh;
  arm->local.off = {0, 0, 5};
  add(state.children, Olight, "lamp")->local.off = {0, 4, 0};
  add(state.children, Ocamera, "camera")->local.off = {0, 1, 8};
  addMaterials(state);
  NodeState* shader = makeNode(NodeKind::shader, Xcolor);
  state.materials.first()->shaders.append(*shader);
  static_cast<MaterialState*>(state.materials.first())->shaderSlots[CHANNEL_COLOR] = shader->identity;
  assignMaterial(*document, std::array{body->identity}, state.materials.first()->identity);
  ObjectState* mover = add(state.children, Onull, "mover");
  auto curve = std::make_shared<Curve>();
  curve->width = 3;
  curve->times = {0, 1};
  curve->values = {0, 0, 0, 10, 0, 0};
  mover->tracks = std::make_shared<const Tracks>(Tracks{{TrackPath::translation, 0, curve}});
  mover->pose = Pose();
  state.animationNames = {"walk"};
  state.posed = true;
  return document;
}
