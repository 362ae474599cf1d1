// Renders that follow the user: the order of tiles, objects shown alone.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <map>
#include <set>
#include <utility>

#include "isolated_snapshot.h"
#include "layer_table.h"
#include "node_state.h"
#include "scene_file.h"
#include "scene_kit.h"
#include "tile_order.h"
#include "worker_threads.h"

namespace {

using namespace host;
using namespace host::render;

class Steering : public testing::Test {
 protected:
  ~Steering() override {
    setRenderStart({});
    isolateObjects({});
    setWorkerCount(0);
  }
};

std::pair<int, int> at(const std::optional<RenderTile>& tile) {
  return tile ? std::pair(tile->left, tile->top) : std::pair(-1, -1);
}

TEST_F(Steering, TilesStartInTheMiddleOrAtThePlace) {
  const Region all{0, 0, 95, 95};
  EXPECT_EQ(at(TileOrder(all, 96, 96, 32).next()), std::pair(32, 32));
  setRenderStart(PicturePlace{0.99f, 0.01f});
  TileOrder order(all, 96, 96, 32);
  EXPECT_EQ(order.count(), 9u);
  std::set<std::pair<int, int>> seen;
  EXPECT_EQ(at(order.next()), std::pair(64, 0));
  for (std::size_t i = 1; i < order.count(); ++i)
    seen.insert(at(order.next()));
  EXPECT_EQ(seen.size(), 8u) << "each once";
  EXPECT_FALSE(seen.contains({64, 0}));
  EXPECT_FALSE(order.next());
}

TEST_F(Steering, TheTilesThatAreLeftFollowANewPlace) {
  TileOrder order({0, 0, 127, 31}, 128, 32, 32);
  setRenderStart(PicturePlace{1, 0.5f});
  EXPECT_EQ(at(order.next()), std::pair(96, 0));
  EXPECT_EQ(at(order.next()), std::pair(64, 0));
  setRenderStart(PicturePlace{0, 0.5f});
  EXPECT_EQ(at(order.next()), std::pair(0, 0));
  setRenderStart({});
  EXPECT_EQ(at(order.next()), std::pair(32, 0));
}

TEST_F(Steering, ThePlaceIsOfThePictureAndNotOfTheRegion) {
  setRenderStart(PicturePlace{0.75f, 0.5f});
  EXPECT_EQ(at(TileOrder({64, 0, 127, 31}, 128, 32, 16).next()), std::pair(16, 0)) << "at 96 of 128";
}

// A render that is stopped early has samples at its start, and none far from it.
TEST_F(Steering, ARenderBeginsThere) {
  setWorkerCount(1); // of several, another can end its tile first
  kit::Scene scene = kit::ballInSky();
  setRenderStart(PicturePlace{0.97f, 0.97f});
  std::atomic<int> tiles = 0;
  RenderHooks hooks;
  hooks.endTile = [&] { ++tiles; };
  hooks.stopped = [&] { return tiles > 0; };
  RenderSettings how = kit::settings(256, 256, 1);
  how.layers = samplesLayer;
  const kit::Result r = kit::draw(scene, 256, 256, how, hooks);
  ASSERT_TRUE(r.film);
  EXPECT_EQ(r.layer("samples", 250, 250), std::vector<float>{1});
  EXPECT_EQ(r.layer("samples", 128, 128), std::vector<float>{0});
  EXPECT_EQ(r.layer("samples", 5, 5), std::vector<float>{0});
}

class Isolated : public Steering {
 protected:
  void SetUp() override {
    document = newDocument();
    add("parent", add("child"));
    add("other");
    whole = takeSnapshot(*document, {});
    ASSERT_EQ(whole->instances.size(), 3u);
  }
  /// A polygon in front of the camera, at the document's end.
  BaseObject* add(const char* name, BaseObject* child = nullptr) {
    BaseObject* object = BaseObject::Alloc(Opolygon);
    object->SetName(name);
    stateOf(object)->mesh = kit::quad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0});
    document->InsertObject(object, nullptr, nullptr);
    if (child) {
      child->Remove();
      document->InsertObject(child, object, nullptr);
    }
    all[name] = object->GetIdentity();
    return object;
  }
  Identity named(const char* name) { return all[name]; }
  std::set<Identity> objects(const SnapshotPtr& snapshot) {
    std::set<Identity> found;
    for (const Instance& instance : snapshot->instances)
      found.insert(instance.object);
    return found;
  }
  /// The objects of a render of the document.
  std::set<Identity> rendered() {
    kit::Bitmap bitmap(16, 16);
    BaseContainer settings = document->GetActiveRenderData()->GetData();
    settings.SetLong(RDATA_MAXSAMPLES, 1);
    settings.SetLong(layersSetting, objectLayer);
    EXPECT_EQ(RenderDocument(document.get(), settings, nullptr, nullptr, bitmap.bitmap, RENDERFLAGS_EXTERNAL,
                             nullptr),
              RENDERRESULT_OK);
    const std::vector<Identity> nodes = filmOf(*bitmap.bitmap)->nodes("object_id");
    origin = filmOf(*bitmap.bitmap)->origin();
    return {nodes.begin(), nodes.end()};
  }

  DocumentPtr document;
  std::map<std::string, Identity> all;
  SnapshotPtr whole;
  PictureOrigin origin; // of the last render
};

TEST_F(Isolated, AnObjectStaysWithItsChildrenAndTheLight) {
  const SnapshotPtr alone = isolated(whole, *document, std::array{named("parent")});
  EXPECT_EQ(objects(alone), (std::set{named("parent"), named("child")}));
  EXPECT_EQ(alone->lights.size(), whole->lights.size());
  EXPECT_EQ(alone->sky.kind, whole->sky.kind);
  EXPECT_EQ(alone->low, whole->low);
  EXPECT_EQ(objects(isolated(whole, *document, std::array{named("child")})), std::set{named("child")});
}

TEST_F(Isolated, AnUnknownObjectLeavesEverything) {
  EXPECT_EQ(isolated(whole, *document, std::array{Identity{999999999}}), whole);
  EXPECT_EQ(isolated(whole, *document, {}), whole);
}

TEST_F(Isolated, WhatGlowsStaysAsALight) {
  auto glowing = std::make_shared<Snapshot>(*whole);
  auto lamp = std::make_shared<SurfaceMaterial>();
  lamp->emission = {1, 1, 1};
  glowing->materials.push_back(lamp);
  for (Instance& instance : glowing->instances)
    if (instance.object == named("other"))
      instance.materials = {static_cast<int>(glowing->materials.size()) - 1};
  const SnapshotPtr alone = isolated(glowing, *document, std::array{named("child")});
  ASSERT_EQ(objects(alone), (std::set{named("child"), named("other")}));
  for (const Instance& instance : alone->instances)
    EXPECT_EQ(instance.seenByCamera, instance.object == named("child"));
}

// RenderDocument leaves the objects out; the document stays as it is.
TEST_F(Isolated, ADocumentsRenderObeys) {
  isolateObjects({named("other")});
  EXPECT_EQ(rendered(), std::set{named("other")});
  EXPECT_EQ(origin.back(), (PictureOrigin::value_type{"Isolated", "other"})) << "the picture says so";
  isolateObjects({});
  EXPECT_EQ(rendered().size(), 3u);
  EXPECT_EQ(origin.back().first, "Version");
}

} // namespace
