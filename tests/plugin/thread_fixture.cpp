#include "thread_fixture.h"

#include <chrono>
#include <thread>

#include "active_document.h"
#include "lm_stamps.h"
#include "status_bar.h"

namespace {

constexpr LONG WIDTH = 320, HEIGHT = 120;

} // namespace

void ThreadFixture::SetUp() {
  PluginFixture::SetUp();
  probe = std::make_unique<RenderProbe>();

  document = BaseDocument::Alloc();
  document->SetFps(30);
  if (!document->GetActiveRenderData()) {
    RenderData* data = RenderData::Alloc();
    document->InsertRenderDataLast(data);
    document->SetActiveRenderData(data);
  }
  document->GetActiveRenderData()->GetDataInstance()->SetLong(RDATA_MAXSAMPLES, 1);
  addPost(PROBE_POST);
  host::setActiveDocument(document);

  bitmap.Assign(BaseBitmap::Alloc());
  ASSERT_EQ(bitmap->Init(WIDTH, HEIGHT, 24), IMAGERESULT_OK);

  WriteDefaults(settings.GetDataInstance(), LM_DEFAULT_VIEWER);
  thread.settings = &settings;
  thread.data = &status;
  thread.bitmap = bitmap;
  ticksAtStart_ = host::statusState().ticks;
}

void ThreadFixture::TearDown() {
  thread.End(TRUE);
  probe.reset();
  if (isRunning()) host::setActiveDocument(nullptr);
}

void ThreadFixture::runJob() {
  ASSERT_TRUE(thread.Start());
  thread.Wait(TRUE);
}

void ThreadFixture::clearActiveDocument() {
  host::setActiveDocument(nullptr);
  document = nullptr;
}

void ThreadFixture::dropRenderData() {
  while (RenderData* data = document->GetFirstRenderData()) {
    data->Remove();
    RenderData::Free(data);
  }
}

BaseObject* ThreadFixture::addObject(LONG type, const char* name, BaseObject* parent) {
  BaseObject* object = BaseObject::Alloc(type);
  object->SetName(name);
  document->InsertObject(object, parent, nullptr);
  return object;
}

BaseObject* ThreadFixture::addCamera(const char* name, const Vector& place) {
  BaseObject* camera = addObject(Ocamera, name);
  camera->SetMg(MatrixMove(place));
  return camera;
}

BaseMaterial* ThreadFixture::addMaterial(const char* name) {
  BaseMaterial* material = BaseMaterial::Alloc(Mmaterial);
  material->SetName(name);
  document->InsertMaterial(material);
  return material;
}

BaseShader* ThreadFixture::addShader(BaseMaterial* material, LONG channel, LONG type) {
  BaseShader* shader = BaseShader::Alloc(type);
  material->InsertShader(shader);
  if (!material->GetChannel(channel)->SetShader(shader)) return nullptr;
  return shader;
}

BaseVideoPost* ThreadFixture::addPost(LONG type) {
  RenderData* data = document->GetActiveRenderData();
  for (BaseVideoPost* there = data->GetFirstVideoPost(); there; there = there->GetNext()) {
    if (there->GetType() == type) return there;
  }
  BaseVideoPost* post = BaseVideoPost::Alloc(type);
  data->InsertVideoPostLast(post);
  return post;
}

void ThreadFixture::linkCamera(BaseObject* camera) {
  BaseContainer record;
  record.SetLink(LM_REGION_CAMERA, camera);
  document->GetDataInstance()->SetContainer(LM_REGION, record);
}

bool ThreadFixture::postDisabled(LONG type) const {
  const auto& posts = probe->renders.back().posts;
  const auto found = posts.find(type);
  EXPECT_NE(found, posts.end()) << "no post of type " << type;
  return found != posts.end() && found->second.disabled;
}

GeData ThreadFixture::postParameter(LONG type, LONG id) const {
  const auto& posts = probe->renders.back().posts;
  const auto found = posts.find(type);
  EXPECT_NE(found, posts.end()) << "no post of type " << type;
  return found != posts.end() ? found->second.data.GetData(id) : GeData();
}

std::vector<GeData> ThreadFixture::snapshotOfDocument() const {
  std::vector<GeData> facts = {GeData(document->GetData()),
                               GeData(document->GetActiveRenderData()->GetData()),
                               GeData(document->GetTime()), GeData(document->GetLOD())};
  for (BaseVideoPost* post = document->GetActiveRenderData()->GetFirstVideoPost(); post;
       post = post->GetNext()) {
    facts.emplace_back(post->GetType());
    facts.emplace_back(static_cast<LONG>(post->GetBit(BIT_VPDISABLED)));
    facts.emplace_back(post->GetData());
  }
  for (BaseObject* object = document->GetFirstObject(); object; object = object->GetNext()) {
    facts.emplace_back(object->GetName());
    facts.emplace_back(object->GetMg());
  }
  return facts;
}

bool ThreadFixture::isBlack() const {
  for (LONG y = 0; y < bitmap->GetBh(); ++y) {
    for (LONG x = 0; x < bitmap->GetBw(); ++x) {
      if (!pixelIs(*bitmap, x, y, 0, 0, 0)) return false;
    }
  }
  return true;
}

// Where the text alone, drawn white on black, is pure white, the banner is white.
bool ThreadFixture::showsBanner(const char* detail) const {
  AutoAlloc<GeClipMap> text, icon;
  if (text->Init(300, 100, 32) != IMAGERESULT_OK) return false;
  if (icon->Init(Filename(LUMENARA_SOURCE_DIR) + "res" + "gui" + "error.tif") != IMAGERESULT_OK) return false;
  const LONG x = icon->GetBw() + 8;
  text->BeginDraw();
  text->SetDrawMode(GE_CM_DRAWMODE_BLEND, 255);
  for (LONG py = 0; py < 100; ++py) {
    for (LONG px = 0; px < 300; ++px)
      text->SetPixelRGBA(px, py, 0, 0, 0, 255);
  }
  text->SetColor(255, 255, 255, 255);
  text->TextAt(x, 4, "Lumenara Error");
  text->TextAt(x, text->GetTextHeight() + 8, detail);
  text->EndDraw();

  LONG covered = 0;
  for (LONG py = 0; py < 100; ++py) {
    for (LONG px = 0; px < 300; ++px) {
      LONG r, g, b, a;
      text->GetPixelRGBA(px, py, &r, &g, &b, &a);
      if (r < 255) continue;
      ++covered;
      if (!pixelIs(*bitmap, px, py, 255, 255, 255)) return false;
    }
  }
  return covered > 20;
}

std::string ThreadFixture::statusText() {
  runAll();
  return host::statusState().text.GetUTF8();
}

ULLONG ThreadFixture::spinTicks() {
  runAll();
  return host::statusState().ticks - ticksAtStart_;
}

void ThreadFixture::waitUntil(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::yield();
  EXPECT_TRUE(condition());
}
