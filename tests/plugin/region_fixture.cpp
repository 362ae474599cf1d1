#include "region_fixture.h"

#include <cmath>
#include <ostream>

#include "document.h"
#include "thread_context.h"

std::ostream& operator<<(std::ostream& out, const Box& box) {
  return out << "(" << box.left << ", " << box.top << ", " << box.right << ", " << box.bottom << ")";
}

void RegionFixture::SetUp() {
  PluginFixture::SetUp();
  document = BaseDocument::Alloc();
  if (!document->GetActiveRenderData()) {
    RenderData* data = RenderData::Alloc();
    document->InsertRenderDataLast(data);
    document->SetActiveRenderData(data);
  }
  host::setActiveDocument(document);

  store(LM_ENABLED, 1);
  store(LM_REGION_SHOWN, 1);
  store(LM_MODE, 1104);
  callAsPlugin([] { ASSERT_TRUE(RegisterRegionHook()); });
  owned.reset(lmRegionHook::Alloc());
  hook = static_cast<lmRegionHook*>(owned.get());
  hooks.follow(document);
  ASSERT_EQ(hooks.count(), 1u);
  runAll();
  ui.drawnViews.clear();
}

void RegionFixture::TearDown() {
  hooks.follow(nullptr);
  owned.reset();
  if (isRunning()) host::setActiveDocument(nullptr);
}

void RegionFixture::setView(LONG width, LONG height) {
  host::setViewArea(*draw(), 0, 0, width, height);
  BaseContainer* data = document->GetActiveRenderData()->GetDataInstance();
  data->SetLong(RDATA_XRES, width);
  data->SetLong(RDATA_YRES, height);
  host::setViewSafeFrame(*draw(), 0, width, 0);
}

void RegionFixture::setFormat(LONG width, LONG height) {
  LONG left = 0, top = 0, right = 0, bottom = 0;
  draw()->GetFrame(&left, &top, &right, &bottom);
  const Real w = right - left, h = bottom - top;
  const auto side = static_cast<LONG>(std::lround((w - h * width / height) / 2));
  const auto above = static_cast<LONG>(std::lround((h - w * height / width) / 2));
  if (side > 0)
    host::setViewSafeFrame(*draw(), side, right - side, 1);
  else if (above > 0)
    host::setViewSafeFrame(*draw(), above, bottom - above, 2);
  else
    host::setViewSafeFrame(*draw(), 0, right, 0);
}

void RegionFixture::setViewAndFormat(LONG width, LONG height) {
  setView(width, height);
  setFormat(width, height);
}

void RegionFixture::setRegion(Real x, Real y, Real size) {
  BaseContainer record;
  record.SetReal(LM_REGION_X, x);
  record.SetReal(LM_REGION_Y, y);
  record.SetReal(LM_REGION_SIZE, size);
  document->GetDataInstance()->SetContainer(LM_REGION, record);
}

BaseContainer RegionFixture::region() const {
  return document->GetData().GetContainer(LM_REGION);
}

void RegionFixture::store(LONG key, LONG value) {
  BaseContainer data;
  data.SetLong(key, value);
  SetWorldPluginData(ID_LUMENARA, data, TRUE);
}

void RegionFixture::store(LONG key, Real value) {
  BaseContainer data;
  data.SetReal(key, value);
  SetWorldPluginData(ID_LUMENARA, data, TRUE);
}

host::Overlay RegionFixture::drawn(LONG flags) {
  host::Overlay overlay;
  {
    const host::OverlayScope scope(*draw(), overlay);
    EXPECT_EQ(hook->Draw(nullptr, document, draw(), nullptr, nullptr, static_cast<SCENEHOOKDRAW>(flags)),
              TRUE);
  }
  return overlay;
}

Box RegionFixture::drawnBox() {
  const host::Overlay overlay = drawn();
  if (overlay.size() != 24) {
    ADD_FAILURE() << "nothing, or something else, was drawn";
    return {};
  }
  return {overlay[4].x0, overlay[4].y0, overlay[5].x1, overlay[5].y1};
}

LONG RegionFixture::cursorAt(Real x, Real y) {
  return hooks.cursor(*draw(), x, y);
}

bool RegionFixture::press(Real x, Real y, const std::deque<host::DragEvent>& events, LONG channel) {
  BaseContainer message(BFM_INPUT);
  message.SetLong(BFM_INPUT_DEVICE, BFM_INPUT_MOUSE);
  message.SetLong(BFM_INPUT_CHANNEL, channel);
  message.SetReal(BFM_INPUT_X, x);
  message.SetReal(BFM_INPUT_Y, y);
  message.SetLong(BFM_INPUT_VALUE, 1);
  std::deque<host::DragEvent> left = events;
  const host::DragPump pump = [&](host::DragEvent& event) {
    if (left.empty()) return false;
    event = left.front();
    left.pop_front();
    ++pumped;
    return true;
  };
  return hooks.mouseInput(*draw(), message, pump, this).used;
}

host::DragEvent RegionFixture::moveTo(double x, double y) {
  return {host::DragEvent::Kind::move, x, y, {}};
}

host::DragEvent RegionFixture::release(double x, double y) {
  return {host::DragEvent::Kind::release, x, y, {}};
}
