// Orbit, pan, dolly and framing.
#include <algorithm>
#include <cmath>
#include <random>

#include "view_kit.h"

namespace {

using host::MouseButton;
using host::ViewCamera;
namespace navigate = host::navigate;

double length(const Vector& v) {
  return std::sqrt(Dot(v, v));
}

void expectNear(const Vector& a, const Vector& b, double tolerance = 1e-9) {
  EXPECT_NEAR(a.x, b.x, tolerance);
  EXPECT_NEAR(a.y, b.y, tolerance);
  EXPECT_NEAR(a.z, b.z, tolerance);
}

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  double operator()(double low, double high) { return std::uniform_real_distribution(low, high)(engine_); }
  Vector vector(double size) { return {(*this)(-size, size), (*this)(-size, size), (*this)(-size, size)}; }

 private:
  std::mt19937 engine_;
};

TEST(Navigate, OrbitKeepsTheDistanceAndTheShapeOfTheCamera) {
  Random random(1);
  for (int round = 0; round < 500; ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    const Matrix camera =
        navigate::orbit(MatrixMove(random.vector(10)), random.vector(5), random(-9, 9), random(-3, 3));
    const Vector pivot = random.vector(20);
    const Matrix moved = navigate::orbit(camera, pivot, random(-7, 7), random(-7, 7));
    EXPECT_NEAR(length(moved.off - pivot), length(camera.off - pivot), 1e-9);
    EXPECT_NEAR(length(moved.v1), 1, 1e-12);
    EXPECT_NEAR(Dot(moved.v1, moved.v2), 0, 1e-12);
    expectNear(Cross(moved.v1, moved.v2), moved.v3, 1e-12);
    EXPECT_NEAR(moved.v1.y, 0, 1e-12) << "the horizon stays level";
    // The pivot stays where it is in the picture.
    EXPECT_NEAR(Dot(pivot - moved.off, moved.v3), Dot(pivot - camera.off, camera.v3), 1e-9);
    EXPECT_NEAR(Dot(pivot - moved.off, moved.v1), Dot(pivot - camera.off, camera.v1), 1e-9);
  }
}

TEST(Navigate, OrbitStopsShortOfThePoles) {
  for (const double pitch : {-100.0, -2.0, 2.0, 100.0}) {
    const Matrix moved = navigate::orbit(MatrixMove({0, 0, 4}), {}, 0, pitch);
    EXPECT_GT(moved.v2.y, 0) << "never upside down";
    EXPECT_LT(std::abs(moved.v3.y), 1);
    EXPECT_GT(std::abs(moved.v3.y), 0.9999);
    EXPECT_EQ(moved.v3.y > 0, pitch < 0);
  }
}

TEST(Navigate, AnUnlevelCameraKeepsItsRoll) {
  const double c = std::cos(0.5), s = std::sin(0.5);
  const Matrix rolled({0, 0, 6}, {c, s, 0}, {-s, c, 0}, {0, 0, 1});
  const Matrix moved = navigate::orbit(rolled, {}, 1.1, 0);
  EXPECT_NEAR(moved.v1.y, s, 1e-12);
  EXPECT_NEAR(moved.v2.y, c, 1e-12);
}

TEST(Navigate, PanIsParallelAndThePointFollowsThePointer) {
  Random random(2);
  for (int round = 0; round < 200; ++round) {
    ViewCamera eye;
    eye.toWorld = navigate::orbit(MatrixMove(random.vector(9)), {}, random(-3, 3), random(-1, 1));
    eye.orthographic = round % 2 != 0;
    eye.half = random(0.1, 3);
    eye.width = random(10, 2000), eye.height = random(10, 2000);
    const double x = random(0, eye.width), y = random(0, eye.height), depth = random(0.1, 50);
    const double dx = random(-300, 300), dy = random(-300, 300);
    const Vector point = eye.pointAt(x, y, depth);
    ViewCamera moved = eye;
    moved.toWorld = navigate::pan(eye.toWorld, eye, depth, dx, dy);
    EXPECT_EQ(moved.toWorld.v1, eye.toWorld.v1);
    EXPECT_EQ(moved.toWorld.v2, eye.toWorld.v2);
    EXPECT_EQ(moved.toWorld.v3, eye.toWorld.v3);
    EXPECT_NEAR(Dot(moved.toWorld.off - eye.toWorld.off, eye.toWorld.v3), 0, 1e-9);
    const auto spot = moved.project(point);
    ASSERT_TRUE(spot);
    EXPECT_NEAR(spot->x, x + dx, 1e-6);
    EXPECT_NEAR(spot->y, y + dy, 1e-6);
  }
}

ViewCamera shiftedView(bool orthographic) {
  ViewCamera view;
  view.toWorld = MatrixMove({1, 2, 3});
  view.orthographic = orthographic;
  view.half = 0.5, view.inner = 0.8, view.format = 1.5;
  view.width = 400, view.height = 200;
  view.shiftX = 0.25, view.shiftY = -0.5;
  return view;
}

TEST(Navigate, AShiftedLensMovesTheAxisInTheView) {
  for (const bool orthographic : {false, true}) {
    SCOPED_TRACE(orthographic);
    const ViewCamera view = shiftedView(orthographic);
    // The frame is 240 x 160 pixels: a quarter of its width to the left, half of its height up.
    const auto axis = view.project({1, 2, -1});
    ASSERT_TRUE(axis);
    EXPECT_NEAR(axis->x, 140, 1e-9);
    EXPECT_NEAR(axis->y, 20, 1e-9);
    const Vector point = view.pointAt(310, 170, 4);
    const auto back = view.project(point);
    ASSERT_TRUE(back);
    EXPECT_NEAR(back->x, 310, 1e-9);
    EXPECT_NEAR(back->y, 170, 1e-9);
    const host::ViewRay ray = view.ray(310, 170);
    const Vector on = Vector(ray.origin[0], ray.origin[1], ray.origin[2]);
    const Vector along = Vector(ray.direction[0], ray.direction[1], ray.direction[2]);
    EXPECT_LT(length(Cross(point - on, along)), 1e-6);
  }
}

TEST(Navigate, FramingThroughAShiftedLensFillsTheFrame) {
  host::ViewBounds bounds;
  bounds.add({-1, -0.2, -0.4}), bounds.add({3, 0.5, 0.9});
  ViewCamera view = shiftedView(false);
  view.toWorld = navigate::frame(view.toWorld, view, bounds);
  double across = 0, down = 0;
  for (int corner = 0; corner < 8; ++corner) {
    const auto spot =
        view.project({corner & 1 ? bounds.high.x : bounds.low.x, corner & 2 ? bounds.high.y : bounds.low.y,
                      corner & 4 ? bounds.high.z : bounds.low.z});
    ASSERT_TRUE(spot);
    across = std::max(across, std::abs(spot->x - 200) / 120);
    down = std::max(down, std::abs(spot->y - 100) / 80);
  }
  EXPECT_LE(std::max(across, down), 1);
  EXPECT_GT(std::max(across, down), 0.85);
  view = shiftedView(true);
  view.toWorld = navigate::frame(view.toWorld, view, bounds);
  const auto middle = view.project(bounds.center());
  ASSERT_TRUE(middle);
  EXPECT_NEAR(middle->x, 200, 1e-9);
  EXPECT_NEAR(middle->y, 100, 1e-9);
}

TEST(Navigate, DollyKeepsTheTargetInItsPlace) {
  Random random(3);
  for (int round = 0; round < 200; ++round) {
    ViewCamera eye;
    eye.toWorld = navigate::orbit(MatrixMove(random.vector(9)), {}, random(-3, 3), random(-1, 1));
    eye.width = 640, eye.height = 480;
    const double x = random(0, 640), y = random(0, 480), factor = random(0.05, 20);
    const Vector target = eye.pointAt(x, y, random(0.5, 30));
    ViewCamera moved = eye;
    moved.toWorld = navigate::dolly(eye.toWorld, target, factor);
    EXPECT_NEAR(length(moved.toWorld.off - target), factor * length(eye.toWorld.off - target), 1e-6);
    const auto spot = moved.project(target);
    ASSERT_TRUE(spot);
    EXPECT_NEAR(spot->x, x, 1e-6);
    EXPECT_NEAR(spot->y, y, 1e-6);
  }
}

class NavigationTest : public ViewTest {
 public:
  // The projected bounds of the boxes, as fractions of half the safe frame: 1 touches its edge.
  double reach(const std::vector<BaseObject*>& boxes) {
    const ViewCamera eye = host::viewCameraOf(draw());
    const double safeHeight = eye.height * eye.inner, safeWidth = safeHeight * eye.format;
    double most = 0;
    for (BaseObject* box : boxes) {
      const host::Mesh& mesh = *host::stateOf(box)->mesh;
      for (const host::Float3& p : mesh.positions) {
        const auto spot = eye.project(box->GetMg() * Vector(p[0], p[1], p[2]));
        if (!spot) return 1e9;
        most = std::max({most, std::abs(spot->x - eye.width / 2) / (safeWidth / 2),
                         std::abs(spot->y - eye.height / 2) / (safeHeight / 2)});
      }
    }
    return most;
  }
};

TEST_F(NavigationTest, FrameAllHoldsEverythingWithALittleAir) {
  const std::vector boxes{addBox("a", {-3, 1, 0}), addBox("b", {40, 2, -7}, 2),
                          addBox("c", {1, -9, 30}, 0.01f)};
  for (const auto& [width, height] : {std::pair{640, 480}, {200, 700}, {900, 100}}) {
    for (const double yaw : {0.0, 1.0, 4.0})
      for (const bool orthographic : {false, true}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << yaw << ", " << orthographic);
        open(width, height);
        draw().GetEditorCamera()->SetParameter(1001, LONG{orthographic});
        draw().GetEditorCamera()->SetMg(navigate::orbit(MatrixMove({0, 0, 5}), {}, yaw, -0.4));
        const Vector direction = cameraMatrix().v3;
        view->frameAll();
        expectNear(cameraMatrix().v3, direction, 0);
        EXPECT_LT(reach(boxes), 1);
        EXPECT_GT(reach(boxes), 0.5);
      }
  }
}

TEST_F(NavigationTest, FrameSelectedHoldsTheSelectionWithItsChildren) {
  BaseObject* far = addBox("far", {500, 0, 0});
  BaseObject* group = addObject(Onull, "group", MatrixMove({10, 0, 0}));
  BaseObject* child = addBox("child", {0, 0, 0});
  child->InsertUnder(group);
  child->SetMl(MatrixMove({0, 5, 0}));
  open(400, 300);
  group->SetBit(BIT_ACTIVE);
  view->frameSelected();
  EXPECT_LT(reach({child}), 1);
  EXPECT_GT(reach({far}), 1);
  group->DelBit(BIT_ACTIVE);
  view->frameSelected(); // nothing: everything
  EXPECT_LT(reach({child, far}), 1);
}

TEST_F(NavigationTest, FramingNothingOrAPointPutsTheCameraSomewhere) {
  open(400, 300);
  view->frameAll();
  EXPECT_TRUE(std::isfinite(length(cameraMatrix().off)));
  BaseObject* lamp = addObject(Olight, "lamp", MatrixMove({7, 8, 9}));
  lamp->SetBit(BIT_ACTIVE);
  view->frameSelected();
  const auto spot = host::viewCameraOf(draw()).project({7, 8, 9});
  ASSERT_TRUE(spot);
  EXPECT_NEAR(spot->x, 200, 1e-6);
  EXPECT_NEAR(spot->y, 150, 1e-6);
  EXPECT_GT(spot->depth, 1);
}

TEST_F(NavigationTest, TheMouseOrbitsAboutThePointUnderIt) {
  addBox("box", {0, 0, 0});
  placeCamera({0.2, 0.1, 5});
  open(400, 300);
  ASSERT_TRUE(view->finishPicture());
  const ViewCamera before = host::viewCameraOf(draw());
  const host::ViewRay ray = before.ray(200, 150);
  const double toFront = (0.5 - 5) / ray.direction[2]; // the box's front is at z = 0.5
  const Vector pivot(0.2 + toFront * ray.direction[0], 0.1 + toFront * ray.direction[1], 0.5);

  EXPECT_TRUE(view->mousePress(altMouse(200, 150)));
  EXPECT_TRUE(view->isNavigating());
  EXPECT_EQ(view->cursorAt(1, 1), MOUSE_MOVE);
  EXPECT_TRUE(view->mouseMove(altMouse(260, 130)));
  EXPECT_TRUE(view->mouseMove(altMouse(300, 170)));
  EXPECT_TRUE(view->mouseRelease(altMouse(300, 170)));
  EXPECT_FALSE(view->isNavigating());
  EXPECT_GT(changes, 0);

  EXPECT_NEAR(length(cameraMatrix().off - pivot), length(before.toWorld.off - pivot), 1e-5);
  const auto spot = host::viewCameraOf(draw()).project(pivot);
  ASSERT_TRUE(spot);
  EXPECT_NEAR(spot->x, 200, 1e-3);
  EXPECT_NEAR(spot->y, 150, 1e-3);
  EXPECT_LT(cameraMatrix().off.x, 0.2) << "dragged to the right, the scene turns to the right";
  EXPECT_GT(cameraMatrix().off.y, 0.1) << "dragged down, the camera rises";
}

TEST_F(NavigationTest, BesidesTheObjectsItTurnsAboutTheSelection) {
  BaseObject* box = addBox("box", {2, 0, 0});
  addBox("other", {-8, 0, 0});
  box->SetBit(BIT_ACTIVE);
  placeCamera({0, 0, 30});
  open(400, 300);
  ASSERT_TRUE(view->finishPicture());
  ASSERT_EQ(view->objectAt(5, 5), nullptr);
  view->mousePress(altMouse(5, 5));
  view->mouseMove(altMouse(105, 35));
  view->mouseRelease(altMouse(105, 35));
  EXPECT_NEAR(length(cameraMatrix().off - Vector(2, 0, 0)), length(Vector(2, 0, -30)), 1e-6);
}

TEST_F(NavigationTest, EveryKeyAndButtonDoesItsMove) {
  addBox("box", {0, 0, 0});
  open(400, 300);
  const auto moveOf = [&](host::ViewMouse press) {
    placeCamera({0, 0, 5});
    view->finishPicture();
    const bool used = view->mousePress(press);
    press.x += 40;
    view->mouseMove(press);
    view->mouseRelease(press);
    const Matrix after = cameraMatrix();
    if (!used || !(after != MatrixMove({0, 0, 5}))) return std::string("nothing");
    if (after.v3 != Vector(0, 0, 1)) return std::string("orbit");
    return std::string(after.off.z != 5 ? "dolly" : "pan");
  };
  const auto withDigit = [&](int digit) {
    host::ViewMouse event = mouse(200, 150);
    event.keys.digit = digit;
    return event;
  };
  EXPECT_EQ(moveOf(altMouse(200, 150)), "orbit");
  EXPECT_EQ(moveOf(altMouse(200, 150, MouseButton::middle)), "pan");
  EXPECT_EQ(moveOf(altMouse(200, 150, MouseButton::right)), "dolly");
  EXPECT_EQ(moveOf(mouse(200, 150, MouseButton::middle)), "pan");
  EXPECT_EQ(moveOf(withDigit(1)), "orbit");
  EXPECT_EQ(moveOf(withDigit(2)), "pan");
  EXPECT_EQ(moveOf(withDigit(3)), "dolly");
  EXPECT_EQ(moveOf(mouse(200, 150)), "nothing");
  EXPECT_EQ(moveOf(mouse(200, 150, MouseButton::right)), "nothing");
}

TEST_F(NavigationTest, TheWheelKeepsThePointUnderThePointer) {
  addBox("box", {0, 0, 0}, 1);
  placeCamera({0, 0, 8});
  open(400, 300);
  ASSERT_TRUE(view->finishPicture());
  ASSERT_NE(view->objectAt(215, 140), nullptr);
  const ViewCamera before = host::viewCameraOf(draw());
  const Vector target = before.pointAt(215, 140, 7);
  EXPECT_TRUE(view->wheel(215, 140, 3, {}));
  const auto spot = host::viewCameraOf(draw()).project(target);
  ASSERT_TRUE(spot);
  EXPECT_NEAR(spot->x, 215, 1e-3);
  EXPECT_NEAR(spot->y, 140, 1e-3);
  EXPECT_LT(spot->depth, 7);
  view->wheel(215, 140, -3, {});
  expectNear(cameraMatrix().off, {0, 0, 8}, 1e-4);
}

TEST_F(NavigationTest, AnOrthographicViewZoomsInstead) {
  addBox("box", {0, 0, 0});
  placeCamera({0, 0, 8});
  draw().GetEditorCamera()->SetParameter(1001, LONG{1});
  open(400, 300);
  const double half = host::viewCameraOf(draw()).half;
  view->wheel(200, 150, 1, {});
  EXPECT_LT(host::viewCameraOf(draw()).half, half);
  view->wheel(200, 150, -1, {});
  EXPECT_NEAR(host::viewCameraOf(draw()).half, half, 1e-9);
}

TEST_F(NavigationTest, TakenBackItStandsWhereItStood) {
  addBox("box", {0, 0, 0});
  placeCamera({1, 2, 6});
  open(400, 300);
  const Matrix before = cameraMatrix();
  view->mousePress(altMouse(100, 100));
  view->mouseMove(altMouse(170, 20));
  EXPECT_NE(cameraMatrix(), before);
  EXPECT_TRUE(view->cancelNavigation());
  EXPECT_EQ(cameraMatrix(), before);
  EXPECT_FALSE(view->cancelNavigation());
  EXPECT_FALSE(view->mouseMove(altMouse(200, 20)));
  EXPECT_EQ(cameraMatrix(), before);
}

TEST_F(NavigationTest, ADocumentsCameraMovesOnlyThroughEdits) {
  struct Edit {
    BaseObject* camera;
    Matrix world;
    bool finished;
  };
  std::vector<Edit> edits;
  addBox("box", {0, 0, 0});
  BaseObject* camera = addObject(Ocamera, "shot", MatrixMove({0, 1, 7}));
  open(400, 300);
  view->lookThrough(camera);
  EXPECT_EQ(view->camera(), camera);
  EXPECT_EQ(changes, 1);
  const auto drag = [&] {
    view->mousePress(altMouse(100, 100));
    view->mouseMove(altMouse(140, 100));
    view->mouseMove(altMouse(160, 110));
    view->mouseRelease(altMouse(160, 110));
  };
  drag(); // without an edit service
  EXPECT_EQ(camera->GetMg(), MatrixMove({0, 1, 7}));
  EXPECT_EQ(changes, 1);

  services.moveCamera = [&](BaseObject& moved, const Matrix& world, bool finished) {
    edits.push_back({&moved, world, finished});
    moved.SetMg(world);
  };
  open(400, 300);
  drag();
  ASSERT_EQ(edits.size(), 3u);
  EXPECT_EQ(edits[0].camera, camera);
  EXPECT_FALSE(edits[0].finished);
  EXPECT_FALSE(edits[1].finished);
  EXPECT_TRUE(edits[2].finished);
  EXPECT_EQ(edits[2].world, edits[1].world);
  EXPECT_EQ(camera->GetMg(), edits[2].world);

  edits.clear();
  view->mousePress(altMouse(100, 100));
  view->mouseRelease(altMouse(100, 100));
  EXPECT_TRUE(edits.empty()) << "a press without a move is no edit";
  view->wheel(10, 10, 1, {});
  ASSERT_EQ(edits.size(), 1u);
  EXPECT_TRUE(edits[0].finished);

  const Matrix own = draw().GetEditorCamera()->GetMg();
  EXPECT_EQ(own, draw().GetEditorCamera()->GetMg());
  view->lookThrough(nullptr);
  EXPECT_EQ(view->camera(), draw().GetEditorCamera());
}

TEST_F(NavigationTest, ACameraThatGoesEndsTheMove) {
  services.moveCamera = [](BaseObject& moved, const Matrix& world, bool) { moved.SetMg(world); };
  BaseObject* camera = addObject(Ocamera, "shot", MatrixMove({0, 1, 7}));
  open(400, 300);
  view->lookThrough(camera);
  view->mousePress(altMouse(100, 100));
  view->mouseMove(altMouse(140, 100));
  BaseObject::Free(camera);
  const Matrix own = cameraMatrix();
  EXPECT_FALSE(view->mouseMove(altMouse(150, 100)));
  view->mouseRelease(altMouse(150, 100));
  EXPECT_EQ(cameraMatrix(), own);
}

// ---- What lies in a rectangle

class BoxSelectionTest : public ViewTest {
 protected:
  void SetUp() override {
    setFormat(400, 300);
    placeCamera({0, 0, 10});
  }
  std::vector<std::string> in(double x0, double y0, double x1, double y1) {
    std::vector<std::string> names;
    for (const BaseObject* object : view->objectsIn(x0, y0, x1, y1))
      names.push_back(object->GetName().GetUTF8());
    return names;
  }
  host::ViewCamera::Spot spot(const Vector& place) { return *host::viewCameraOf(draw()).project(place); }
  using Names = std::vector<std::string>;
};

TEST_F(BoxSelectionTest, HoldsTheObjectsThatShowAVertexInIt) {
  BaseObject* left = addBox("left", {-2, 0, 0});
  BaseObject* right = addBox("right", {2, 0, 0});
  addBox("behind the eye", {0, 0, 20});
  // Above the others in the tree; its vertices lie outside of the view.
  addBox("around", {0, 0, -41}, 50);
  open(400, 300);
  ASSERT_TRUE(view->finishPicture());
  ASSERT_NE(left, right);
  EXPECT_EQ(in(0, 0, 200, 300), (Names{"left"}));
  EXPECT_EQ(in(400, 300, 200, 0), (Names{"right"})) << "from any corner";
  EXPECT_EQ(in(0, 0, 400, 300).size(), 2u);
  EXPECT_TRUE(in(195, 100, 205, 200).empty());
  // One vertex is enough: the upper right one in front.
  const auto corner = spot({-1.5, 0.5, 0.5});
  EXPECT_EQ(in(corner.x - 0.5, corner.y - 0.5, corner.x + 0.5, corner.y + 0.5), (Names{"left"}));
  EXPECT_TRUE(in(corner.x + 0.5, corner.y - 4, corner.x + 4, corner.y + 4).empty());
  EXPECT_TRUE(in(corner.x - 4, corner.y + 3, corner.x - 3, corner.y + 4).empty()) << "within a face";
}

TEST_F(BoxSelectionTest, HiddenObjectsCountAndSignsDo) {
  addBox("front", {0, 0, 2}, 1);
  addBox("hidden", {0, 0, 0}, 0.25f);
  addObject(Olight, "lamp", MatrixMove(Vector(2, 1, 0)));
  addObject(Ocamera, "other", MatrixMove(Vector(-2, 1, 0)));
  addObject(Onull, "null", MatrixMove(Vector(-2, -1, 0)));
  open(400, 300);
  ASSERT_TRUE(view->finishPicture());
  EXPECT_EQ(in(180, 130, 220, 170), (Names{"hidden"}));
  const auto lamp = spot({2, 1, 0}), other = spot({-2, 1, 0});
  EXPECT_EQ(in(lamp.x - 1, lamp.y - 1, lamp.x + 1, lamp.y + 1), (Names{"lamp"}));
  EXPECT_EQ(in(other.x - 1, other.y - 1, other.x + 1, other.y + 1), (Names{"other"}));
  Names all = in(0, 0, 400, 300);
  std::sort(all.begin(), all.end());
  EXPECT_EQ(all, (Names{"front", "hidden", "lamp", "other"})) << "a null shows nothing";
}

TEST_F(BoxSelectionTest, WithoutADocumentEverythingIsEmpty) {
  open(400, 300);
  host::setActiveDocument(nullptr);
  document = nullptr;
  EXPECT_TRUE(view->objectsIn(0, 0, 400, 300).empty());
}

} // namespace
