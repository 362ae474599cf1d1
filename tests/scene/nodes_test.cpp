// Nodes through the interface: lists, parameters, tags, materials, views, clones.
#include <array>
#include <thread>

#include "c4d_render.h"
#include "document.h"
#include "parameters.h"
#include "scene_builder.h"

namespace host {
namespace {

class Nodes : public ::testing::Test {
 protected:
  DocumentPtr document = newDocument();

  BaseObject* add(LONG type, const char* name, BaseObject* parent = nullptr) {
    BaseObject* object = BaseObject::Alloc(type);
    object->SetName(name);
    if (parent)
      object->InsertUnderLast(parent);
    else
      document->InsertObject(object, nullptr, nullptr);
    return object;
  }
};

TEST_F(Nodes, aNewDocumentHasAViewAndRenderSettings) {
  ASSERT_NE(document->GetRenderBaseDraw(), nullptr);
  EXPECT_EQ(document->GetRenderBaseDraw(), document->GetActiveBaseDraw());
  EXPECT_NE(document->GetRenderBaseDraw()->GetEditorCamera(), nullptr);
  RenderData* settings = document->GetActiveRenderData();
  ASSERT_NE(settings, nullptr);
  EXPECT_EQ(settings->GetDataInstance()->GetLong(RDATA_XRES), 1280);
  EXPECT_EQ(settings->GetDataInstance()->GetLong(RDATA_YRES), 720);
  EXPECT_EQ(settings->GetDataInstance()->GetLong(RDATA_MAXSAMPLES), 64);
  ASSERT_NE(settings->GetFirstVideoPost(), nullptr);
  EXPECT_EQ(settings->GetFirstVideoPost()->GetType(), VPglobalillumination);
  EXPECT_FALSE(settings->GetFirstVideoPost()->GetBit(BIT_VPDISABLED));
  EXPECT_EQ(document->GetFps(), 30);
  EXPECT_EQ(document->GetMaxTime(), BaseTime(3));
}

TEST_F(Nodes, unknownTypesAreRefused) {
  EXPECT_EQ(BaseObject::Alloc(12345), nullptr);
  EXPECT_EQ(BaseMaterial::Alloc(1), nullptr);
  EXPECT_EQ(BaseTag::Alloc(0), nullptr);
  BaseTag* foreign = BaseTag::Alloc(999999);
  ASSERT_NE(foreign, nullptr);
  BaseTag::Free(foreign);
  EXPECT_EQ(foreign, nullptr);
}

TEST_F(Nodes, treeOrder) {
  BaseObject* a = add(Onull, "a");
  BaseObject* b = add(Onull, "b"); // InsertObject without a predecessor goes first
  EXPECT_EQ(document->GetFirstObject(), b);
  EXPECT_EQ(b->GetNext(), a);
  BaseObject* c = add(Onull, "c", a);
  BaseObject* d = add(Onull, "d", a);
  EXPECT_EQ(a->GetDown(), c);
  EXPECT_EQ(c->GetNext(), d);
  EXPECT_EQ(d->GetPred(), c);
  EXPECT_EQ(d->GetUp(), a);
  EXPECT_EQ(a->GetUp(), nullptr);
  EXPECT_EQ(d->GetDocument(), document.get());
  d->InsertBefore(c);
  EXPECT_EQ(a->GetDown(), d);
  d->InsertAfter(b);
  EXPECT_EQ(b->GetNext(), d);
  EXPECT_EQ(d->GetUp(), nullptr);
  EXPECT_EQ(document->SearchObject("c"), c);
  EXPECT_EQ(document->SearchObject("x"), nullptr);
}

TEST_F(Nodes, anObjectDoesNotGoBelowItself) {
  BaseObject* a = add(Onull, "a");
  BaseObject* b = add(Onull, "b", a);
  a->InsertUnder(b);
  EXPECT_EQ(a->GetUp(), nullptr);
  EXPECT_EQ(b->GetUp(), a);
  a->InsertUnder(a);
  a->InsertAfter(a);
  EXPECT_EQ(document->GetFirstObject(), a);
}

TEST_F(Nodes, aRemovedNodeHasNoDocument) {
  BaseObject* a = add(Onull, "a");
  BaseObject* b = add(Onull, "b", a);
  const ULLONG identity = b->GetIdentity();
  a->Remove();
  EXPECT_EQ(a->GetDocument(), nullptr);
  EXPECT_EQ(b->GetDocument(), nullptr);
  EXPECT_EQ(BaseLink::FromIdentity(identity).GetLink(document.get()), nullptr);
  document->InsertObject(a, nullptr, nullptr);
  EXPECT_EQ(BaseLink::FromIdentity(identity).GetLink(document.get()), b);
  BaseObject::Free(a);
  EXPECT_EQ(document->GetFirstObject(), nullptr);
  EXPECT_EQ(BaseLink::FromIdentity(identity).GetLink(document.get()), nullptr);
}

TEST_F(Nodes, matricesMultiplyDown) {
  BaseObject* a = add(Onull, "a");
  BaseObject* b = add(Onull, "b", a);
  a->SetMl({Vector(1, 2, 3), Vector(0, 2, 0), Vector(-2, 0, 0), Vector(0, 0, 2)});
  b->SetMl(MatrixMove({1, 0, 0}));
  EXPECT_EQ(b->GetMg().off, Vector(1, 4, 3));
  b->SetMg(MatrixMove({5, 6, 7}));
  EXPECT_EQ(b->GetMg().off, Vector(5, 6, 7));
  EXPECT_EQ(b->GetMl().off, Vector(2, -2, 2));
}

TEST_F(Nodes, bits) {
  BaseObject* a = add(Onull, "a");
  a->SetBit(2 | 8);
  EXPECT_TRUE(a->GetBit(2));
  a->DelBit(2);
  EXPECT_FALSE(a->GetBit(2));
  EXPECT_TRUE(a->GetBit(8));
}

TEST_F(Nodes, tagsGoWhereTheyAreTold) {
  BaseObject* a = add(Onull, "a");
  BaseTag* first = a->MakeTag(Tphong);
  BaseTag* second = a->MakeTag(Tcompositing, first);
  BaseTag* front = a->MakeTag(Tphong);
  EXPECT_EQ(a->GetFirstTag(), front);
  EXPECT_EQ(front->GetNext(), first);
  EXPECT_EQ(first->GetNext(), second);
  EXPECT_EQ(second->GetObject(), a);
  EXPECT_EQ(a->GetTag(Tphong, 1), first);
  EXPECT_EQ(a->GetTag(Tphong, 2), nullptr);
  BaseTag::Free(first);
  EXPECT_EQ(front->GetNext(), second);
}

TEST_F(Nodes, parametersHaveDefaults) {
  BaseObject* generator = add(Osds, "s");
  GeData value;
  ASSERT_TRUE(generator->GetParameter(param::subdivisionLevel, value));
  EXPECT_EQ(value.GetType(), DA_LONG);
  EXPECT_EQ(value.GetLong(), 2);
  EXPECT_FALSE(generator->GetParameter(424242, value));
  EXPECT_EQ(value.GetLong(), 2) << "left alone";
  EXPECT_FALSE(generator->SetParameter(424242, GeData(LONG(1))));
  EXPECT_TRUE(generator->SetParameter(param::subdivisionLevel, GeData(LONG(4))));
  EXPECT_EQ(generator->GetDataInstance()->GetLong(param::subdivisionLevel), 4);

  BaseTag* tag = generator->MakeTag(Ttargetexpression);
  ASSERT_TRUE(tag->GetParameter(EXPRESSION_ENABLE, value));
  EXPECT_TRUE(value.GetBool());
}

TEST_F(Nodes, everyChannelSwitchTakesAPlainLong) {
  BaseMaterial* material = BaseMaterial::Alloc(Mmaterial);
  document->InsertMaterial(material);
  for (LONG id = 2000; id <= 2013; ++id) {
    GeData value;
    ASSERT_TRUE(material->GetParameter(id, value)) << id;
    const bool inert = id == 2005 || id == 2006 || id == 2011 || id == 2012;
    EXPECT_EQ(value.GetBool() != FALSE, !inert) << id;
    EXPECT_TRUE(material->SetParameter(id, GeData(LONG(0))));
    EXPECT_EQ(material->GetDataInstance()->GetType(id), DA_LONG);
  }
}

TEST_F(Nodes, videoPostsTakeAnyParameter) {
  BaseVideoPost* post = BaseVideoPost::Alloc(1021830);
  document->GetActiveRenderData()->InsertVideoPostLast(post);
  EXPECT_TRUE(post->SetParameter(1003, GeData::FromBool(TRUE)));
  EXPECT_TRUE(post->GetDataInstance()->GetBool(1003));
  EXPECT_EQ(document->GetActiveRenderData()->GetFirstVideoPost()->GetNext(), post);
}

class Channels : public Nodes {
 protected:
  BaseMaterial* material = [this] {
    BaseMaterial* m = BaseMaterial::Alloc(Mmaterial);
    document->InsertMaterial(m);
    return m;
  }();
};

TEST_F(Channels, fourteenOfThem) {
  for (LONG id = 0; id <= 13; ++id) {
    ASSERT_NE(material->GetChannel(id), nullptr);
    EXPECT_EQ(material->GetChannel(id)->GetId(), id);
    EXPECT_EQ(material->GetChannel(id)->GetShader(), nullptr);
  }
  EXPECT_EQ(material->GetChannel(14), nullptr);
  EXPECT_EQ(material->GetChannel(-1), nullptr);
  BaseChannel* color = material->GetChannel(0);
  material->GetChannel(13);
  EXPECT_EQ(material->GetChannel(0), color) << "lives as long as its material";
}

TEST_F(Channels, aShaderMustBelongToTheMaterial) {
  BaseShader* shader = BaseShader::Alloc(Xcolor);
  EXPECT_FALSE(material->GetChannel(0)->SetShader(shader));
  material->InsertShader(shader);
  EXPECT_TRUE(material->GetChannel(0)->SetShader(shader));
  EXPECT_EQ(material->GetChannel(0)->GetShader(), shader);
  EXPECT_EQ(material->GetFirstShader(), shader);
  BaseShader::Free(shader);
  EXPECT_EQ(material->GetChannel(0)->GetShader(), nullptr)
      << "a removed shader leaves the channel without one";
}

TEST_F(Channels, childrenOfALayer) {
  BaseShader* layer = BaseShader::Alloc(Xlayer);
  material->InsertShader(layer);
  BaseShader* first = BaseShader::Alloc(Xcolor);
  BaseShader* second = BaseShader::Alloc(Xambientocclusion);
  layer->InsertShader(first);
  layer->InsertShader(second, first);
  EXPECT_EQ(layer->GetDown(), first);
  EXPECT_EQ(first->GetNext(), second);
  EXPECT_EQ(second->GetUp(), layer);
  EXPECT_EQ(layer->GetUp(), nullptr);
  first->InsertShader(layer); // not below itself
  EXPECT_EQ(layer->GetUp(), nullptr);
}

TEST_F(Channels, aClonesSlotsPointToItsOwnShaders) {
  BaseShader* shader = BaseShader::Alloc(Xcolor);
  material->InsertShader(shader);
  material->GetChannel(3)->SetShader(shader);
  auto* clone = static_cast<BaseMaterial*>(material->GetClone());
  ASSERT_NE(clone->GetChannel(3)->GetShader(), nullptr);
  EXPECT_NE(clone->GetChannel(3)->GetShader(), shader);
  EXPECT_EQ(clone->GetChannel(3)->GetShader(), clone->GetFirstShader());
  BaseMaterial::Free(clone);
}

TEST_F(Nodes, theViewsFrameAndSafeFrame) {
  BaseDraw* view = document->GetRenderBaseDraw();
  LONG left = 0, top = 0, right = 0, bottom = 0, from = 0, to = 0, orientation = -1;
  view->GetFrame(&left, &top, &right, &bottom);
  EXPECT_EQ(left, 0);
  EXPECT_EQ(top, 0);
  EXPECT_EQ(right, 1280);
  EXPECT_EQ(bottom, 720);
  view->GetSafeFrame(&from, &to, &orientation);
  EXPECT_EQ(orientation, 0);
  const auto frame = [&] {
    view->GetFrame(&left, &top, &right, &bottom);
    return std::array<LONG, 4>{left, top, right, bottom};
  };
  setViewArea(*view, 10, 20, 1010, 420); // wider than 16 to 9: the surround is left and right
  EXPECT_EQ(frame(), (std::array<LONG, 4>{10 + 144, 20, 1010 - 144, 420}));
  view->GetSafeFrame(&from, &to, &orientation);
  EXPECT_EQ(orientation, 0) << "all of the frame";
  EXPECT_EQ(from, 0);
  EXPECT_EQ(to, 712);
  setViewArea(*view, 0, 0, 640, 480); // narrower: above and below
  EXPECT_EQ(frame(), (std::array<LONG, 4>{0, 60, 640, 420}));
  view->GetSafeFrame(&from, &to, &orientation);
  EXPECT_EQ(orientation, 0);
  EXPECT_EQ(to, 640);
  // The frame follows the format at once, without a redraw.
  document->GetActiveRenderData()->GetDataInstance()->SetLong(RDATA_XRES, 720);
  EXPECT_EQ(frame(), (std::array<LONG, 4>{80, 0, 560, 480}));
}

TEST_F(Nodes, aViewHasTheSafeFrameThatIsSet) {
  BaseDraw* view = document->GetRenderBaseDraw();
  for (const LONG orientation : {1, 2, 0, 7}) {
    setViewSafeFrame(*view, 30, 500, orientation);
    LONG from = 0, to = 0, got = -1;
    view->GetSafeFrame(&from, &to, &got);
    EXPECT_EQ(got, orientation);
    EXPECT_EQ(from, 30);
    EXPECT_EQ(to, 500);
    view->GetSafeFrame(nullptr, nullptr, nullptr);
  }
}

TEST_F(Nodes, theViewsCameraIsFoundInItsDocument) {
  BaseDraw* view = document->GetRenderBaseDraw();
  BaseObject* camera = add(Ocamera, "c");
  EXPECT_EQ(view->GetSceneCamera(nullptr), nullptr);
  view->SetSceneCamera(camera);
  EXPECT_EQ(view->GetSceneCamera(document.get()), camera);
  const DocumentPtr clone(document->GetClone(COPYFLAGS_0));
  BaseObject* other = clone->GetRenderBaseDraw()->GetSceneCamera(nullptr);
  ASSERT_NE(other, nullptr);
  EXPECT_NE(other, camera);
  EXPECT_EQ(other->GetIdentity(), camera->GetIdentity());
  view->SetSceneCamera(nullptr);
  EXPECT_EQ(view->GetSceneCamera(nullptr), nullptr);
}

TEST_F(Nodes, aCloneOfTheEditorCameraGoesIntoTheScene) {
  BaseObject* object = add(Onull, "a");
  BaseObject* camera = document->GetRenderBaseDraw()->GetEditorCamera();
  EXPECT_EQ(camera->GetNext(), nullptr);
  auto* clone =
      static_cast<BaseObject*>(camera->GetClone(COPYFLAGS(COPYFLAGS_NO_HIERARCHY | COPYFLAGS_NO_ANIMATION)));
  clone->InsertAfter(camera);
  EXPECT_EQ(document->GetFirstObject(), clone);
  EXPECT_EQ(clone->GetNext(), object);
  clone->SetMg(camera->GetMg());
  document->GetRenderBaseDraw()->SetSceneCamera(clone);
  EXPECT_EQ(document->GetRenderBaseDraw()->GetSceneCamera(document.get()), clone);
}

TEST_F(Nodes, aDocumentsCloneKeepsIdentitiesAndSharesGeometry) {
  BaseObject* a = add(Opolygon, "a");
  auto mesh = std::make_shared<Mesh>();
  mesh->positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  mesh->triangles = {{0, 1, 2}};
  mesh->groups = {{0, 1}};
  stateOf(a)->mesh = mesh;
  BaseContainer record;
  record.SetReal(1111, 0.25);
  record.SetLink(1114, a);
  document->GetDataInstance()->SetContainer(10005, record);
  document->SetTime(BaseTime(7, 30));

  const DocumentPtr clone(document->GetClone(COPYFLAGS_0));
  BaseObject* copy = clone->GetFirstObject();
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy, a);
  EXPECT_EQ(copy->GetIdentity(), a->GetIdentity());
  EXPECT_EQ(stateOf(copy)->mesh, mesh);
  EXPECT_EQ(clone->GetTime().GetNumerator(), 7);
  const BaseContainer* region = clone->GetDataInstance()->GetContainerInstance(10005);
  ASSERT_NE(region, nullptr);
  EXPECT_EQ(region->GetLink(1114, clone.get()), copy) << "the link leads to the clone's object";
  EXPECT_EQ(region->GetLink(1114, document.get()), a);

  copy->SetName("changed");
  clone->GetDataInstance()->RemoveData(10005);
  EXPECT_EQ(a->GetName(), String("a"));
  EXPECT_NE(document->GetDataInstance()->GetContainerInstance(10005), nullptr);
}

TEST_F(Nodes, aNodesCloneHasNewIdentitiesAndInnerLinks) {
  BaseObject* a = add(Onull, "a");
  BaseObject* b = add(Onull, "b", a);
  BaseObject* outside = add(Onull, "o");
  a->MakeTag(Ttargetexpression)->GetDataInstance()->SetLink(param::targetLink, b);
  b->GetDataInstance()->SetLink(77, outside);
  auto* clone = static_cast<BaseObject*>(a->GetClone());
  EXPECT_EQ(clone->GetDocument(), nullptr);
  EXPECT_NE(clone->GetIdentity(), a->GetIdentity());
  document->InsertObject(clone, nullptr, nullptr);
  BaseList2D* target = clone->GetFirstTag()->GetDataInstance()->GetLink(param::targetLink, document.get());
  EXPECT_EQ(target, clone->GetDown());
  EXPECT_EQ(clone->GetDown()->GetDataInstance()->GetLink(77, document.get()), outside);

  auto* alone = static_cast<BaseObject*>(a->GetClone(COPYFLAGS_NO_HIERARCHY));
  EXPECT_EQ(alone->GetDown(), nullptr);
  EXPECT_NE(alone->GetFirstTag(), nullptr);
  BaseObject::Free(alone);
}

TEST_F(Nodes, renderSettingsInOrder) {
  RenderData* first = document->GetFirstRenderData();
  RenderData* second = RenderData::Alloc();
  document->InsertRenderDataLast(second);
  EXPECT_EQ(first->GetNext(), second);
  EXPECT_EQ(document->GetActiveRenderData(), first);
  document->SetActiveRenderData(second);
  EXPECT_EQ(document->GetActiveRenderData(), second);
  RenderData::Free(second);
  EXPECT_EQ(document->GetActiveRenderData(), first);
  RenderData::Free(first);
  EXPECT_EQ(document->GetActiveRenderData(), nullptr);
}

TEST_F(Nodes, valuesStayInTheirRanges) {
  document->SetFps(0);
  EXPECT_EQ(document->GetFps(), 1);
  document->SetFps(5000);
  EXPECT_EQ(document->GetFps(), 1000);
  document->SetLOD(7);
  EXPECT_EQ(document->GetLOD(), 1);
  document->SetLOD(-1);
  EXPECT_EQ(document->GetLOD(), 0);
}

TEST(ActiveDocument, isKeptWhileAThreadUsesIt) {
  auto* first = BaseDocument::Alloc();
  first->SetDocumentName("first.glb");
  setActiveDocument(first);
  std::mutex mutex;
  std::condition_variable changed;
  int step = 0;
  const auto reach = [&](int next) {
    const std::lock_guard lock(mutex);
    step = next;
    changed.notify_all();
  };
  const auto await = [&](int wanted) {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return step >= wanted; });
  };
  String name, nameNow;
  std::thread reader([&] {
    BaseDocument* mine = GetActiveDocument();
    reach(1);
    await(2);
    name = mine->GetDocumentName().GetString(); // still there
    nameNow = GetActiveDocument()->GetDocumentName().GetString();
  });
  await(1);
  auto* second = BaseDocument::Alloc();
  second->SetDocumentName("second.glb");
  setActiveDocument(second);
  EXPECT_EQ(GetActiveDocument(), second);
  reach(2);
  reader.join();
  EXPECT_EQ(name, String("first.glb"));
  EXPECT_EQ(nameNow, String("second.glb"));
  BaseDocument::Free(second);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(GetActiveDocument(), nullptr);
}

TEST(ActiveDocument, aCloneWhileItIsEditedSeesWholeEdits) {
  auto* document = BaseDocument::Alloc();
  for (int i = 0; i < 50; ++i)
    document->InsertObject(BaseObject::Alloc(Onull), nullptr, nullptr);
  setActiveDocument(document);
  std::atomic<bool> done{false};
  std::atomic<int> torn{0}, clones{0};
  std::thread cloner([&] {
    while (!done || clones == 0) {
      const DocumentPtr clone(GetActiveDocument()->GetClone(COPYFLAGS_NO_ANIMATION));
      const String name = clone->GetFirstObject()->GetName();
      for (BaseObject* object = clone->GetFirstObject(); object; object = object->GetNext())
        if (object->GetName() != name ||
            object->GetDataInstance()->GetLong(1) != clone->GetFirstObject()->GetDataInstance()->GetLong(1))
          ++torn;
      ++clones;
    }
  });
  for (int round = 0; round < 200; ++round) {
    const DocumentEdit edit(*document);
    for (BaseObject* object = document->GetFirstObject(); object; object = object->GetNext()) {
      object->SetName(LongToString(round));
      object->GetDataInstance()->SetLong(1, round);
    }
    BaseObject* last = document->GetFirstObject();
    last->Remove();
    document->InsertObject(last, nullptr, nullptr);
  }
  done = true;
  cloner.join();
  EXPECT_EQ(torn, 0);
  EXPECT_GT(clones, 0);
  setActiveDocument(nullptr);
}

} // namespace
} // namespace host
