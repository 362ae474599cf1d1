// Changes that no picture shows start no render in a viewer with automatic refresh.
#include <gtest/gtest.h>

#include <array>

#include "document_hub.h"
#include "editor_view.h"
#include "edits.h"
#include "parameters.h"
#include "scene_edits.h"
#include "viewer_fixture.h"

namespace {

class ViewerSelectionTest : public ViewerFixture {
 protected:
  void SetUp() override {
    ViewerFixture::SetUp();
    hub = std::make_unique<host::DocumentHub>();
    edits = std::make_unique<host::Edits>(*hub);
    document = hub->document();
    document->GetActiveRenderData()->GetDataInstance()->SetLong(RDATA_MAXSAMPLES, 1);
    addPost(PROBE_POST);
    first = addObject(Opolygon, "first")->GetIdentity();
    second = addObject(Onull, "second")->GetIdentity();
    openAutomatic();
    settle();
    heard = 0;
    subscription = hub->selectionChanged.add([this] { ++heard; });
  }
  void TearDown() override {
    subscription.cancel();
    edits.reset();
    ViewerFixture::TearDown();
    hub.reset();
  }

  /// Everything that has been asked for, rendered.
  std::size_t settle() {
    for (int i = 0; i < 4; ++i) {
      advance(600);
      finishRender();
    }
    return renderCount();
  }
  void select(host::Identity object) {
    edits->apply("Select", [&](BaseDocument& d) { host::selectObjects(d, std::array{object}); });
  }

  std::unique_ptr<host::DocumentHub> hub;
  std::unique_ptr<host::Edits> edits;
  host::Subscription subscription;
  host::Identity first = 0, second = 0;
  int heard = 0;
};

TEST_F(ViewerSelectionTest, SelectingStartsNoRender) {
  const std::size_t before = settle();
  select(first);
  EXPECT_EQ(settle(), before);
  EXPECT_EQ(heard, 1) << "the managers hear of it";
  BaseMaterial* material = addMaterial("red");
  edits->apply("Select", [&](BaseDocument& d) { host::selectMaterial(d, material->GetIdentity()); });
  const std::size_t then = settle(); // the material itself is new
  edits->apply("Select", [](BaseDocument& d) { host::selectMaterial(d, 0); });
  {
    const host::DocumentEdit edit(*document);
    ASSERT_TRUE(host::selectObjects(*document, std::array{second}));
  }
  hub->tellSelection();
  EXPECT_EQ(settle(), then);
  EXPECT_GE(heard, 3);
}

TEST_F(ViewerSelectionTest, PickingInAViewStartsNoRender) {
  host::EditorView view({});
  view.resize(320, 180);
  BaseObject* lamp = addObject(Olight, "lamp");
  lamp->SetMg(MatrixMove(document->GetActiveBaseDraw()->GetEditorCamera()->GetMg() * Vector(0, 0, -5)));
  ASSERT_TRUE(view.finishPicture());
  const std::size_t before = settle();
  host::ViewMouse mouse;
  mouse.button = host::MouseButton::left;
  mouse.x = 160, mouse.y = 90;
  EXPECT_TRUE(view.mousePress(mouse));
  view.mouseRelease(mouse);
  EXPECT_TRUE(lamp->GetBit(BIT_ACTIVE));
  EXPECT_EQ(settle(), before);
}

TEST_F(ViewerSelectionTest, OptionsOfTheViewStartNoRender) {
  const std::size_t before = settle();
  const auto hide = [](BaseDocument& d) {
    d.GetFirstObject()->SetParameter(host::param::objectVisibleEditor, GeData::FromBool(FALSE));
  };
  edits->apply("Hide in the Editor", hide);
  EXPECT_TRUE(edits->canUndo());
  EXPECT_EQ(settle(), before);
  edits->undo();
  EXPECT_EQ(settle(), before);
}

// They change what Studio makes of the film, and no pixel of it.
TEST_F(ViewerSelectionTest, LensEffectsStartNoRender) {
  const std::size_t before = settle();
  host::LensSettings lens;
  lens.bloom = true;
  bool told = false;
  const host::Subscription changed = hub->changed.add([&] { told = true; });
  edits->apply("Lens Effects", [&](BaseDocument& d) { host::setLensEffects(d, lens); });
  EXPECT_TRUE(edits->canUndo());
  EXPECT_EQ(settle(), before);
  EXPECT_TRUE(told) << "the panel follows";
  edits->undo();
  EXPECT_EQ(settle(), before);
  edits->apply("View", [](BaseDocument& d) { host::setRenderValue(d, 7121, GeData(1.0)); });
  EXPECT_GT(settle(), before) << "the viewer's own picture shows the exposure";
}

TEST_F(ViewerSelectionTest, TheRangeOfTimeStartsNoRender) {
  const std::size_t before = settle();
  bool told = false;
  const host::Subscription changed = hub->changed.add([&] { told = true; });
  edits->apply("Time Range", [](BaseDocument& d) { d.SetLoopMaxTime(BaseTime(40, 30)); });
  EXPECT_TRUE(edits->canUndo());
  EXPECT_EQ(settle(), before);
  EXPECT_TRUE(told);
  edits->undo();
  EXPECT_EQ(settle(), before);
}

TEST_F(ViewerSelectionTest, WithSelectedObjectsAloneItDoes) {
  edits->apply("Change", [](BaseDocument& d) {
    d.GetActiveRenderData()->GetDataInstance()->SetBool(RDATA_ACTIVEOBJECTONLY, TRUE);
  });
  std::size_t before = settle();
  select(first);
  EXPECT_GT(settle(), before);
  before = settle();
  select(second);
  EXPECT_GT(settle(), before);
}

TEST_F(ViewerSelectionTest, EverythingElseStillDoes) {
  std::size_t before = settle();
  const auto renders = [&] {
    const std::size_t now = settle(), more = now - before;
    before = now;
    return more;
  };
  edits->apply("Move", [&](BaseDocument& d) { host::setLocalMatrix(d, first, MatrixMove(Vector(1, 2, 3))); });
  EXPECT_GT(renders(), 0u);
  edits->apply("Hide", [](BaseDocument& d) {
    d.GetFirstObject()->SetParameter(host::param::objectVisibleRender, GeData::FromBool(FALSE));
  });
  EXPECT_GT(renders(), 0u) << "visibility";
  edits->apply("Both", [&](BaseDocument& d) {
    host::selectObjects(d, std::array{first});
    host::setLocalMatrix(d, first, MatrixMove(Vector(0, 2, 3)));
  });
  EXPECT_GT(renders(), 0u) << "a selection with something else";
  edits->undo();
  EXPECT_GT(renders(), 0u);
  hub->setTime(BaseTime(10, 30));
  EXPECT_GT(renders(), 0u);
  hub->replace(nullptr, host::Replacement::created);
  document = hub->document();
  addPost(PROBE_POST);
  EXPECT_GT(renders(), 0u) << "another document";
}

} // namespace
