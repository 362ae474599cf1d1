// Undo restores the earlier document, value by value.
#include <functional>
#include <random>

#include "c4d_events.h"
#include "session_fixture.h"

namespace {

using namespace host;

struct Events final : CoreListener {
  int changes = 0;
  Events() { mainLoop().add(this); }
  ~Events() { mainLoop().remove(this); }
  void coreMessage(LONG id, const BaseContainer&) override { changes += id == EVMSG_CHANGE; }
};

class EditsTest : public SessionFixture {
 protected:
  EditsTest() { openScene(); }

  // Makes the edit, undoes it, redoes it, undoes it.
  void thereAndBack(const char* what, const Edits::Change& change) {
    SCOPED_TRACE(what);
    const DocumentPtr before = copy();
    ASSERT_TRUE(edits().apply(what, change));
    const DocumentPtr after = copy();
    EXPECT_FALSE(documentsEqual(*before, *after)) << "it changed nothing";
    EXPECT_EQ(edits().undoName(), String(what));
    ASSERT_TRUE(edits().undo());
    expectEqual(before, "undone");
    EXPECT_EQ(edits().redoName(), String(what));
    ASSERT_TRUE(edits().redo());
    expectEqual(after, "done again");
    ASSERT_TRUE(edits().undo());
    expectEqual(before, "undone again");
  }
};

TEST_F(EditsTest, EveryEditComesBack) {
  const Identity root = id("root"), body = id("body"), arm = id("arm"), lamp = id("lamp"),
                 camera = id("camera"), red = material("red"), blue = material("blue");
  const auto set = [&](const char* what, Identity node, AttributeId attribute, const GeData& value) {
    thereAndBack(what,
                 [&](BaseDocument& d) { EXPECT_TRUE(setAttribute(d, std::array{node}, attribute, value)); });
  };
  set("Name", body, AttributeId::name, GeData("trunk"));
  set("Editor", root, AttributeId::visibleEditor, GeData::FromBool(FALSE));
  set("Render", arm, AttributeId::visibleRender, GeData::FromBool(FALSE));
  set("Position", body, AttributeId::position, GeData(Vector(1, 2, 3)));
  set("Rotation", body, AttributeId::rotation, GeData(Vector(10, 20, 30)));
  set("Scale", arm, AttributeId::scale, GeData(Vector(2, 2, 2)));
  set("Light Color", lamp, AttributeId::lightColor, GeData(Vector(1, 0.5, 0)));
  set("Intensity", lamp, AttributeId::lightIntensity, GeData(Real(7)));
  set("Kind", lamp, AttributeId::lightKind, GeData(LONG(1)));
  set("Field of View", camera, AttributeId::cameraFieldOfView, GeData(Real(35)));
  set("Color", red, AttributeId::materialColor, GeData(Vector(1, 0, 0)));
  set("Roughness", red, AttributeId::materialRoughness, GeData(Real(0.1)));
  set("Metal", red, AttributeId::materialMetal, GeData(Real(1)));
  set("Emission", red, AttributeId::materialEmission, GeData(Vector(0, 1, 0)));
  set("Transparency", red, AttributeId::materialTransparency, GeData(Real(0.5)));
  thereAndBack("Assign", [&](BaseDocument& d) {
    EXPECT_TRUE(assignMaterial(d, std::array{arm, body}, blue));
  });
  thereAndBack("Delete", [&](BaseDocument& d) { EXPECT_TRUE(deleteObjects(d, std::array{body, arm})); });
  thereAndBack("New Light", [](BaseDocument& d) { EXPECT_NE(newLight(d, 2), 0u); });
  thereAndBack("New Camera",
               [](BaseDocument& d) { EXPECT_NE(newObject(d, Ocamera, d.GetActiveBaseDraw()), 0u); });
  thereAndBack("New Null", [](BaseDocument& d) { EXPECT_NE(newObject(d, Onull), 0u); });
  thereAndBack("Move", [&](BaseDocument& d) { EXPECT_TRUE(moveObjects(d, std::array{arm, lamp}, 0, 0)); });
  thereAndBack("Reparent", [&](BaseDocument& d) { EXPECT_TRUE(moveObjects(d, std::array{lamp}, arm, 0)); });
  thereAndBack("Duplicate",
               [&](BaseDocument& d) { EXPECT_EQ(duplicateObjects(d, std::array{body}).size(), 1u); });
  thereAndBack("Group", [&](BaseDocument& d) { EXPECT_NE(groupObjects(d, std::array{arm, lamp}), 0u); });
  thereAndBack("New Material", [](BaseDocument& d) { EXPECT_NE(newMaterial(d), 0u); });
  thereAndBack("Copy Material", [&](BaseDocument& d) { EXPECT_NE(duplicateMaterial(d, red), 0u); });
  thereAndBack("Delete Material", [&](BaseDocument& d) { EXPECT_TRUE(deleteMaterial(d, red)); });
  thereAndBack("Move Material", [&](BaseDocument& d) { EXPECT_TRUE(moveMaterial(d, blue, 0)); });
  thereAndBack("Size",
               [](BaseDocument& d) { EXPECT_TRUE(setRenderValue(d, RDATA_XRES, GeData(LONG(640)))); });
  thereAndBack("Add Effect", [](BaseDocument& d) { EXPECT_NE(addVideoPost(d, VPambientocclusion), 0u); });
  const Identity post = videoPostRows(document()).front().identity;
  thereAndBack("Switch Effect", [&](BaseDocument& d) { EXPECT_TRUE(switchVideoPost(d, post, false)); });
  thereAndBack("Remove Effect", [&](BaseDocument& d) { EXPECT_TRUE(removeVideoPost(d, post)); });
  thereAndBack("Time", [](BaseDocument& d) { EXPECT_TRUE(setTimeRange(d, 25, 10, 60)); });
}

TEST_F(EditsTest, NodesThatStayKeepTheirAddressAndDeletedOnesTheirIdentity) {
  ObjectState* lamp = object("lamp");
  const Identity arm = id("arm"), shader = state().materials.first()->shaders.first()->identity;
  edits().apply("Delete", [&](BaseDocument& d) {
    deleteObjects(d, std::array{id("body")});
    deleteMaterial(d, material("red"));
    moveObjects(d, std::array{lamp->identity}, id("root"), 0);
  });
  EXPECT_EQ(findNode(state(), arm), nullptr);
  edits().undo();
  EXPECT_EQ(object("lamp"), lamp);
  EXPECT_EQ(id("arm"), arm);
  EXPECT_EQ(state().materials.first()->shaders.first()->identity, shader);
  EXPECT_EQ(object("body")->mesh, object("arm")->mesh) << "geometry is shared, not copied";
  const auto& slots = static_cast<const MaterialState*>(state().materials.first())->shaderSlots;
  EXPECT_EQ(slots[CHANNEL_COLOR], shader);
}

TEST_F(EditsTest, ParentAndChildChangePlacesAndBack) {
  thereAndBack("Swap", [&](BaseDocument& d) {
    EXPECT_TRUE(moveObjects(d, std::array{id("arm")}, 0, 0));
    EXPECT_TRUE(moveObjects(d, std::array{id("body")}, id("arm"), 0));
    EXPECT_TRUE(moveObjects(d, std::array{id("root")}, id("body"), 0));
  });
}

TEST_F(EditsTest, AnUnchangedDocumentMakesNoStep) {
  Events events;
  EXPECT_FALSE(edits().apply("Nothing", [](BaseDocument&) {}));
  EXPECT_FALSE(edits().apply("Same", [&](BaseDocument& d) {
    setAttribute(d, std::array{id("body")}, AttributeId::name, GeData("body"));
  }));
  runAll();
  EXPECT_FALSE(edits().canUndo());
  EXPECT_EQ(events.changes, 0);
  EXPECT_FALSE(edits().isDirty());
}

TEST_F(EditsTest, AnExceptionLeavesTheDocumentAsItWas) {
  const DocumentPtr before = copy();
  EXPECT_THROW(edits().apply("Bad",
                             [&](BaseDocument& d) {
                               deleteObjects(d, std::array{id("root")});
                               throw std::runtime_error("no");
                             }),
               std::runtime_error);
  expectEqual(before, "after the exception");
  EXPECT_FALSE(edits().canUndo());
  EXPECT_TRUE(edits().apply("Good", [&](BaseDocument& d) { renameNode(d, id("lamp"), "sun"); }));
}

TEST_F(EditsTest, ADragIsOneStepAndAnEventEach) {
  Events events;
  const DocumentPtr before = copy();
  ASSERT_TRUE(edits().begin("Move"));
  EXPECT_FALSE(edits().begin("Another"));
  for (int i = 1; i <= 5; ++i) {
    edits().update([&](BaseDocument& d) {
      setAttribute(d, std::array{id("lamp")}, AttributeId::position, GeData(Vector(i, 0, 0)));
    });
    runAll();
    EXPECT_EQ(events.changes, i);
  }
  EXPECT_TRUE(edits().end());
  EXPECT_EQ(edits().stepCount(), 1u);
  EXPECT_EQ(object("lamp")->local.off, Vector(5, 0, 0));
  edits().undo();
  expectEqual(before, "undone");

  edits().begin("Move");
  edits().update([&](BaseDocument& d) { deleteObjects(d, std::array{id("root")}); });
  edits().cancel();
  expectEqual(before, "cancelled");
  EXPECT_EQ(edits().redoName(), String("Move")) << "a drag that was cancelled costs no step";
  edits().begin("Nothing");
  EXPECT_FALSE(edits().end());
  EXPECT_TRUE(edits().canRedo());
}

TEST_F(EditsTest, StepsOfOneKeyMergeForASecond) {
  const auto turn = [&](Real value) {
    edits().apply(
        "Intensity",
        [&](BaseDocument& d) {
          setAttribute(d, std::array{id("lamp")}, AttributeId::lightIntensity, GeData(value));
        },
        "intensity");
  };
  const DocumentPtr before = copy();
  for (int i = 2; i < 6; ++i) {
    turn(i);
    clock.advance(900);
  }
  EXPECT_EQ(edits().stepCount(), 1u);
  clock.advance(200);
  turn(9);
  EXPECT_EQ(edits().stepCount(), 2u);
  edits().undo();
  edits().undo();
  expectEqual(before, "undone");
  turn(2);
  edits().markSaved(edits().revision());
  turn(3);
  EXPECT_EQ(edits().stepCount(), 2u) << "what was saved stays a step of its own";
  turn(2);
  EXPECT_EQ(edits().stepCount(), 1u) << "back where it began";
  EXPECT_FALSE(edits().isDirty());
}

TEST_F(EditsTest, AWriteByAPluginIsAStep) {
  const DocumentPtr before = copy();
  const auto write = [&](Real left) { // as a plug-in does: into the container's record, then the event
    BaseContainer* all = document().GetDataInstance();
    if (!all->GetContainerInstance(10005)) all->SetContainer(10005, BaseContainer());
    all->GetContainerInstance(10005)->SetReal(1111, left);
    all->GetContainerInstance(10005)->SetLink(1114, document().SearchObject("camera"));
    document().SetChanged();
    EventAdd();
    runAll();
  };
  write(0.25);
  EXPECT_EQ(edits().stepCount(), 1u);
  EXPECT_TRUE(edits().isDirty());
  clock.advance(2000);
  const DocumentPtr first = copy();
  write(0.5);
  EXPECT_EQ(edits().stepCount(), 2u);
  edits().undo();
  expectEqual(first, "one back");
  edits().undo();
  expectEqual(before, "both back");
  EXPECT_FALSE(edits().isDirty());
  edits().redo();
  edits().redo();
  EXPECT_EQ(document().GetDataInstance()->GetContainer(10005).GetReal(1111), 0.5);
}

TEST_F(EditsTest, OtherChangesFromOutsideBecomeAStepBeforeTheNext) {
  const DocumentPtr before = copy();
  document().SearchObject("lamp")->SetName("outside");
  const DocumentPtr outside = copy();
  edits().apply("Mine", [&](BaseDocument& d) { renameNode(d, id("arm"), "hand"); });
  EXPECT_EQ(edits().stepCount(), 2u);
  edits().undo();
  expectEqual(outside, "mine undone");
  edits().undo();
  expectEqual(before, "the other undone");
}

TEST_F(EditsTest, TheSelectionMakesNoStepButComesBackWithOne) {
  edits().apply("Select", [&](BaseDocument& d) { selectObjects(d, std::array{id("body")}); });
  EXPECT_FALSE(edits().canUndo());
  EXPECT_FALSE(edits().isDirty());
  edits().apply("Delete", [&](BaseDocument& d) { deleteObjects(d, selectedObjects(d)); });
  edits().apply("Select", [&](BaseDocument& d) { selectObjects(d, std::array{id("lamp")}); });
  EXPECT_EQ(edits().stepCount(), 1u);
  edits().undo();
  EXPECT_EQ(selectedObjects(document()), std::vector{id("body")});
}

TEST_F(EditsTest, TheTimeMakesNoStepAndPosesFollowIt) {
  edits().apply("Rename", [&](BaseDocument& d) { renameNode(d, id("mover"), "train"); });
  session->hub().setTime(BaseTime(15, 30));
  EXPECT_EQ(object("train")->local.off, Vector(5, 0, 0));
  EXPECT_FALSE(edits().notice("Outside")) << "a pose that the time made is not an edit";
  edits().undo();
  EXPECT_EQ(object("mover")->local.off, Vector(5, 0, 0)) << "the pose is that of the time that is now";
  EXPECT_EQ(document().GetTime(), BaseTime(15, 30));
  EXPECT_FALSE(edits().isDirty());
}

TEST_F(EditsTest, ExpressionsFollowAnEditAndItsUndo) {
  edits().apply("Target", [&](BaseDocument& d) {
    BaseTag* tag = d.SearchObject("camera")->MakeTag(Ttargetexpression);
    tag->GetDataInstance()->SetLink(param::targetLink, d.SearchObject("lamp"));
  });
  const Matrix before = object("camera")->local;
  edits().apply("Move", [&](BaseDocument& d) {
    setAttribute(d, std::array{id("lamp")}, AttributeId::position, GeData(Vector(9, 0, 0)));
  });
  EXPECT_NE(object("camera")->local, before);
  edits().undo();
  EXPECT_EQ(object("camera")->local, before);
}

TEST_F(EditsTest, TheDirtyMarkFollowsUndo) {
  edits().apply("Rename", [&](BaseDocument& d) { renameNode(d, id("lamp"), "a"); });
  EXPECT_TRUE(edits().isDirty());
  edits().markSaved(edits().revision());
  EXPECT_FALSE(edits().isDirty());
  edits().undo();
  EXPECT_TRUE(edits().isDirty());
  edits().redo();
  EXPECT_FALSE(edits().isDirty());
  edits().undo();
  edits().apply("Rename", [&](BaseDocument& d) { renameNode(d, id("root"), "elsewhere"); });
  edits().undo();
  EXPECT_TRUE(edits().isDirty()) << "the saved state can no longer be reached";
}

TEST_F(EditsTest, TheMemoryIsBounded) {
  edits().setLimits(10, std::size_t{1} << 30);
  for (int i = 0; i < 25; ++i)
    edits().apply("Rename", [&](BaseDocument& d) {
      renameNode(d, state().children.first()->identity, "n" + LongToString(i));
    });
  EXPECT_EQ(edits().stepCount(), 10u);
  int undone = 0;
  while (edits().undo())
    ++undone;
  EXPECT_EQ(undone, 10);
  EXPECT_EQ(state().children.first()->name, String("n14"));

  edits().setLimits(1000, 3000);
  for (int i = 0; i < 20; ++i)
    edits().apply("New", [&](BaseDocument& d) { newObject(d, Onull); });
  EXPECT_LT(edits().stepCount(), 20u);
  EXPECT_GE(edits().stepCount(), 1u);
}

TEST_F(EditsTest, OnlyTheLastReloadsAreHeld) {
  openScene();
  std::vector<std::weak_ptr<const Mesh>> meshes;
  std::vector<std::size_t> held;
  for (int i = 0; i < 40; ++i) {
    session->hub().replace(scene(), Replacement::reloaded);
    runAll();
    meshes.push_back(object("body")->mesh);
    edits().apply("Rename",
                  [i, this](BaseDocument& d) { renameNode(d, id("root"), "root " + LongToString(i)); });
    held.push_back(edits().heldBytes());
  }
  const auto alive = static_cast<std::size_t>(
      std::count_if(meshes.begin(), meshes.end(), [](const auto& mesh) { return !mesh.expired(); }));
  EXPECT_LE(alive, Edits::mostReloads + 1) << "the scene and those that undo brings back";
  EXPECT_EQ(held.back(), held[held.size() / 2]);
  std::size_t steps = 0;
  while (edits().undo())
    ++steps;
  EXPECT_EQ(steps, 2 * Edits::mostReloads + 1);
}

TEST_F(EditsTest, AHundredRandomEditsAreUndoneToTheFirstDocument) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    openScene();
    edits().setLimits(1000, std::size_t{1} << 30);
    std::mt19937 random(seed);
    const auto pick = [&](std::size_t count) { return count ? random() % count : 0; };
    const auto anyObject = [&]() -> Identity {
      const auto rows = objectRows(document());
      return rows.empty() ? 0 : rows[pick(rows.size())].identity;
    };
    const auto anyMaterial = [&]() -> Identity {
      const auto rows = materialRows(document());
      return rows.empty() ? 0 : rows[pick(rows.size())].identity;
    };
    const auto number = [&] { return static_cast<Real>(random() % 1000) / 100; };
    const std::vector<std::function<void(BaseDocument&)>> kinds{
        [&](BaseDocument& d) { newObject(d, Onull); },
        [&](BaseDocument& d) { newLight(d, static_cast<LONG>(pick(3))); },
        [&](BaseDocument& d) { deleteObjects(d, std::array{anyObject()}); },
        [&](BaseDocument& d) { duplicateObjects(d, std::array{anyObject()}); },
        [&](BaseDocument& d) {
          groupObjects(d, std::array{anyObject(), anyObject()});
        },
        [&](BaseDocument& d) { moveObjects(d, std::array{anyObject()}, anyObject(), 0); },
        [&](BaseDocument& d) {
          moveObjects(d, std::array{anyObject(), anyObject()}, 0, 0);
        },
        [&](BaseDocument& d) { assignMaterial(d, std::array{anyObject()}, anyMaterial()); },
        [&](BaseDocument& d) { newMaterial(d); },
        [&](BaseDocument& d) { deleteMaterial(d, anyMaterial()); },
        [&](BaseDocument& d) {
          setAttribute(d, std::array{anyObject()}, AttributeId::position,
                       GeData(Vector(number(), number(), number())));
        },
        [&](BaseDocument& d) {
          setAttribute(d, std::array{anyObject()}, AttributeId::rotation,
                       GeData(Vector(number(), number(), number())));
        },
        [&](BaseDocument& d) {
          setAttribute(d, std::array{anyMaterial()}, AttributeId::materialRoughness, GeData(number() / 10));
        },
        [&](BaseDocument& d) { setRenderValue(d, RDATA_XRES, GeData(static_cast<LONG>(100 + pick(900)))); },
        [&](BaseDocument& d) { d.GetDataInstance()->SetReal(10005, number()); },
        [&](BaseDocument& d) { selectObjects(d, std::array{anyObject()}); }};
    const DocumentPtr first = copy();
    std::vector<DocumentPtr> states;
    for (int i = 0; i < 100; ++i) {
      const std::size_t steps = edits().stepCount();
      edits().apply("Random", kinds[pick(kinds.size())]);
      if (edits().stepCount() > steps) states.push_back(copy());
    }
    ASSERT_GT(states.size(), 40u);
    std::size_t back = 0;
    for (; edits().undo(); ++back) {
    }
    EXPECT_EQ(back, states.size());
    expectEqual(first, "all undone");
    while (edits().redo()) {
    }
    expectEqual(states.back(), "all done again");
  }
}

} // namespace
