#include "plugin_fixture.h"

#include <ctime>
#include <filesystem>
#include <fstream>

#include "lm_keys.h"
#include "thread_context.h"

void MessageLog::coreMessage(LONG id, const BaseContainer& message) {
  messages.push_back({id, static_cast<ULLONG>(message.GetLLong(BFM_CORE_PAR1)),
                      static_cast<ULLONG>(message.GetLLong(BFM_CORE_PAR2))});
}

PluginFixture::PluginFixture() : unit_{"Lumenara", pluginFolder(), PluginMessage, PluginStart, PluginEnd} {
}

void PluginFixture::SetUp() {
  folder.makeFolder("plugin");
  std::filesystem::create_directory_symlink(std::filesystem::path(LUMENARA_SOURCE_DIR) / "res",
                                            pluginFolder().GetString().GetUTF8() + "/res");
  startHost();
  console.clear();
}

bool PluginFixture::startPlugin() {
  return program().loader().start(unit_);
}

BaseContainer PluginFixture::storedSettings() {
  if (!isRunning()) startHost();
  const BaseContainer* stored = GetWorldPluginData(ID_LUMENARA);
  return stored ? *stored : BaseContainer();
}

void PluginFixture::callAsPlugin(const std::function<void()>& function) {
  const host::PluginScope scope(&unit_);
  function();
}

void PluginFixture::removeResources() {
  std::filesystem::remove(pluginFolder().GetString().GetUTF8() + "/res");
}

void PluginFixture::restoreDialog(LONG pluginId) {
  host::DialogPlacement placement;
  placement.pluginId = pluginId;
  ui.remembered.push_back(placement);
}

std::vector<host::DialogPlacement> PluginFixture::openedDialogs() const {
  std::vector<host::DialogPlacement> placements;
  for (const ScriptedUi::Opened& opened : ui.openedDialogs)
    placements.push_back(opened.placement);
  return placements;
}

void PluginFixture::touch(const Filename& file) {
  std::ofstream(file.GetString().GetUTF8()).flush();
}

void PluginFixture::setLocalTime(int year, int month, int day, int hour, int minute, int second) {
  std::tm local{};
  local.tm_year = year - 1900;
  local.tm_mon = month - 1;
  local.tm_mday = day;
  local.tm_hour = hour;
  local.tm_min = minute;
  local.tm_sec = second;
  local.tm_isdst = -1;
  clock.setWall(std::mktime(&local));
}

bool pixelIs(const BaseBitmap& bitmap, LONG x, LONG y, LONG r, LONG g, LONG b) {
  UWORD pr = 0, pg = 0, pb = 0;
  bitmap.GetPixel(x, y, &pr, &pg, &pb);
  return pr == r && pg == g && pb == b;
}

void expectPixel(const BaseBitmap& bitmap, LONG x, LONG y, LONG r, LONG g, LONG b) {
  UWORD pr = 0, pg = 0, pb = 0;
  bitmap.GetPixel(x, y, &pr, &pg, &pb);
  EXPECT_EQ(std::vector<LONG>({pr, pg, pb}), std::vector<LONG>({r, g, b})) << "at " << x << ", " << y;
}
