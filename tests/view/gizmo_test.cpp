// Handles of the tools: their places on the screen, and the changes that drags make.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "gizmo.h"

using namespace host;

namespace {

constexpr double pi = std::numbers::pi;

/// Looks along -Z at the origin from 10 m; a pixel there is 1 cm.
ViewCamera cameraOf(bool orthographic = false) {
  ViewCamera camera;
  camera.toWorld.off = Vector(0, 0, 10);
  camera.orthographic = orthographic;
  camera.half = orthographic ? 5 : 0.5;
  camera.width = camera.height = 1000;
  return camera;
}

Gizmo gizmoOf(GizmoKind kind) {
  Gizmo gizmo;
  gizmo.kind = kind;
  return gizmo;
}

void expectNear(const Vector& got, const Vector& wanted) {
  EXPECT_NEAR(got.x, wanted.x, 1e-9);
  EXPECT_NEAR(got.y, wanted.y, 1e-9);
  EXPECT_NEAR(got.z, wanted.z, 1e-9);
}

GizmoPart partAt(GizmoKind kind, double x, double y) {
  return gizmoPartAt(gizmoHandles(gizmoOf(kind), cameraOf()), x, y);
}

GizmoChange dragged(const Gizmo& gizmo, GizmoPart part, GizmoPoint from, GizmoPoint to,
                    const GizmoSteps* steps = nullptr, bool orthographic = false) {
  return GizmoDrag(gizmo, part, cameraOf(orthographic), from.x, from.y).to(to.x, to.y, steps);
}

TEST(Gizmo, HandlesLieWhereTheyAreDrawn) {
  EXPECT_EQ(partAt(GizmoKind::move, 500, 500), GizmoPart::view);
  EXPECT_EQ(partAt(GizmoKind::move, 560, 505), GizmoPart::x);
  EXPECT_EQ(partAt(GizmoKind::move, 597, 502), GizmoPart::x) << "the arrow";
  EXPECT_EQ(partAt(GizmoKind::move, 497, 430), GizmoPart::y) << "the screen's y points down";
  EXPECT_EQ(partAt(GizmoKind::move, 535, 465), GizmoPart::acrossZ);
  EXPECT_EQ(partAt(GizmoKind::move, 620, 500), GizmoPart::none);
  EXPECT_EQ(partAt(GizmoKind::move, 430, 500), GizmoPart::none) << "the other side of the axis";
  EXPECT_EQ(partAt(GizmoKind::turn, 500 + 78 * std::sqrt(0.5), 500 + 78 * std::sqrt(0.5)), GizmoPart::z);
  EXPECT_EQ(partAt(GizmoKind::turn, 500, 592), GizmoPart::view);
  EXPECT_EQ(partAt(GizmoKind::turn, 530, 500), GizmoPart::y) << "a ring seen from its edge";
  EXPECT_EQ(partAt(GizmoKind::turn, 525, 525), GizmoPart::none);
  EXPECT_EQ(partAt(GizmoKind::scale, 594, 506), GizmoPart::x) << "the box";
  EXPECT_EQ(partAt(GizmoKind::scale, 535, 465), GizmoPart::none) << "scales have no planes";
}

TEST(Gizmo, HandlesThatCannotBeDraggedAreLeftOut) {
  for (const GizmoHandle& handle : gizmoHandles(gizmoOf(GizmoKind::move), cameraOf())) {
    EXPECT_NE(handle.part, GizmoPart::z) << "along the line of sight";
    EXPECT_NE(handle.part, GizmoPart::acrossX) << "a plane seen from its edge";
  }
  Gizmo behind = gizmoOf(GizmoKind::move);
  for (const Vector& place :
       {Vector(0, 0, 11), Vector(1e9, 0, 0), Vector(std::numeric_limits<double>::quiet_NaN(), 0, 0)}) {
    behind.place = place;
    EXPECT_TRUE(gizmoHandles(behind, cameraOf()).empty());
  }
}

TEST(Gizmo, MovesFollowThePointer) {
  const Gizmo gizmo = gizmoOf(GizmoKind::move);
  for (const bool orthographic : {false, true}) {
    const auto move = [&](GizmoPart part, GizmoPoint from, GizmoPoint to, const GizmoSteps* steps = nullptr) {
      return dragged(gizmo, part, from, to, steps, orthographic).by.off;
    };
    expectNear(move(GizmoPart::x, {560, 500}, {660, 540}), Vector(1, 0, 0));
    expectNear(move(GizmoPart::y, {500, 450}, {530, 400}), Vector(0, 0.5, 0));
    expectNear(move(GizmoPart::acrossZ, {535, 465}, {635, 415}), Vector(1, 0.5, 0));
    expectNear(move(GizmoPart::view, {500, 500}, {450, 480}), Vector(-0.5, 0.2, 0));
    const GizmoSteps steps{0.25, 15, 10};
    expectNear(move(GizmoPart::x, {560, 500}, {595, 500}, &steps), Vector(0.25, 0, 0));
    expectNear(move(GizmoPart::acrossZ, {500, 500}, {540, 410}, &steps), Vector(0.5, 1, 0));
  }
  Gizmo aslant = gizmo;
  aslant.axes.v1 = Vector(0, 1, 0), aslant.axes.v2 = Vector(-1, 0, 0);
  expectNear(dragged(aslant, GizmoPart::x, {500, 450}, {500, 350}).by.off, Vector(0, 1, 0));
  // Along the line of sight nothing can be told.
  expectNear(dragged(gizmo, GizmoPart::z, {500, 500}, {600, 500}).by.off, Vector());
}

TEST(Gizmo, TurnsFollowTheRingBeyondHalfATurn) {
  Gizmo gizmo = gizmoOf(GizmoKind::turn);
  gizmo.place = Vector(0.5, 0, 0);
  GizmoDrag drag(gizmo, GizmoPart::z, cameraOf(), 550 + 78, 500);
  const double angles[] = {0.5 * pi, pi, 1.5 * pi, 2 * pi, 2.5 * pi, 2 * pi};
  const GizmoPoint points[] = {{550, 422}, {472, 500}, {550, 578}, {628, 500}, {550, 422}, {628, 500}};
  for (std::size_t i = 0; i < std::size(points); ++i)
    EXPECT_NEAR(drag.to(points[i].x, points[i].y, nullptr).amount, angles[i], 1e-9) << i;
  const GizmoChange quarter = dragged(gizmo, GizmoPart::z, {628, 500}, {550, 422});
  expectNear(quarter.by * Vector(1.5, 0, 0), Vector(0.5, 1, 0));
  expectNear(quarter.by * gizmo.place, gizmo.place);
}

TEST(Gizmo, TurnsInStepsAndAtTheEdge) {
  const Gizmo gizmo = gizmoOf(GizmoKind::turn);
  const GizmoSteps steps;
  const double twenty = 20 * pi / 180;
  const GizmoPoint end{500 + 78 * std::cos(twenty), 500 - 78 * std::sin(twenty)};
  EXPECT_NEAR(dragged(gizmo, GizmoPart::z, {578, 500}, end, &steps).amount, 15 * pi / 180, 1e-9);
  EXPECT_NEAR(dragged(gizmo, GizmoPart::view, {592, 500}, {500, 408}).amount, pi / 2, 1e-9);
  // The near side of the upright axis' ring goes with the pointer to the right.
  const GizmoChange right = dragged(gizmo, GizmoPart::y, {530, 500}, {608, 500});
  EXPECT_NEAR(right.amount, 1, 1e-9);
  EXPECT_GT((right.by * Vector(0, 0, 1)).x, 0.8);
}

TEST(Gizmo, ScalesAlongAnAxisOrEvenly) {
  Gizmo gizmo = gizmoOf(GizmoKind::scale);
  const GizmoChange twice = dragged(gizmo, GizmoPart::x, {590, 500}, {680, 500});
  EXPECT_NEAR(twice.amount, 2, 1e-9);
  expectNear(twice.by * Vector(1, 1, 1), Vector(2, 1, 1));
  gizmo.axes.v1 = Vector(0, 1, 0), gizmo.axes.v2 = Vector(-1, 0, 0);
  expectNear(dragged(gizmo, GizmoPart::x, {500, 410}, {500, 455}).by * Vector(1, 1, 1), Vector(1, 0.5, 1));
  EXPECT_NEAR(dragged(gizmo, GizmoPart::view, {500, 500}, {600, 500}).amount, std::exp(0.6), 1e-9);
  gizmo.place = Vector(1, 0, 0);
  expectNear(dragged(gizmo, GizmoPart::view, {600, 500}, {700, 400}).by * gizmo.place, gizmo.place);
  const GizmoSteps steps{0.1, 15, 25};
  EXPECT_NEAR(dragged(gizmo, GizmoPart::view, {500, 500}, {520, 500}, &steps).amount, 1.25, 1e-9)
      << "e to 0.12 is 1.13";
  EXPECT_NEAR(dragged(gizmo, GizmoPart::view, {500, 500}, {-9500, 500}, &steps).amount, 0.25, 1e-9);
  EXPECT_GT(dragged(gizmo, GizmoPart::view, {500, 500}, {-9500, 500}).amount, 0) << "nothing vanishes";
}

TEST(Gizmo, TextsHaveUnits) {
  const Gizmo gizmo = gizmoOf(GizmoKind::move);
  EXPECT_EQ(gizmoText(gizmo, GizmoPart::x, {{}, -0.35}), "X -0.350 m");
  EXPECT_EQ(gizmoText(gizmo, GizmoPart::view, {{}, 2}), "2.000 m");
  EXPECT_EQ(gizmoText(gizmoOf(GizmoKind::turn), GizmoPart::z, {{}, pi / 4}), "Z 45.0°");
  EXPECT_EQ(gizmoText(gizmoOf(GizmoKind::scale), GizmoPart::view, {{}, 1.25}), "125 %");
}

} // namespace
