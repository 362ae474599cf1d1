// The image history: its folder, and the two slots filled from it.

#include <algorithm>
#include <tuple>

#include "lm_keys.h"
#include "lm_numbers.h"
#include "lm_userarea.h"

namespace {

constexpr LONG POPUP_IMAGE = 900000;
constexpr LONG POPUP_EMPTY = 900999;
constexpr LONG POPUP_LOAD = 901000;

/// Advances to the next history image of a listing; false at the end.
Bool NextImage(BrowseFiles& browser) {
  while (browser.GetNext()) {
    if (!browser.IsDir() && browser.GetFilename().CheckSuffix("tif")) return TRUE;
  }
  return FALSE;
}

Bool IsOlder(const LocalFileTime& a, const LocalFileTime& b) {
  const auto fields = [](const LocalFileTime& t) {
    return std::tie(t.year, t.month, t.day, t.hour, t.minute, t.second);
  };
  return fields(a) < fields(b);
}

} // namespace

String lmUserArea::StrPad(LONG number, LONG length) {
  return ::StrPad(number, length, "0");
}

Filename lmUserArea::GetNextFilename(const Filename& folder, const String& prefix) {
  const String name = prefix.Content() ? prefix : data.documentName;
  for (LONG number = 1;; ++number) {
    const Filename file = folder + Filename(name + "[" + StrPad(number, 3) + "].tif");
    if (!GeFExist(file)) return file;
  }
}

LONG lmUserArea::GetHistoryCount() {
  AutoAlloc<BrowseFiles> browser;
  if (!browser) return 0;
  LONG count = 0;
  browser->Init(historyFolder);
  while (NextImage(*browser))
    ++count;
  return count;
}

std::vector<lmUserArea::HistoryImage> lmUserArea::ListHistory() {
  AutoAlloc<BrowseFiles> browser;
  return browser ? ListHistory(*browser) : std::vector<HistoryImage>();
}

// Oldest first; images of the same second keep the order of the folder's listing.
std::vector<lmUserArea::HistoryImage> lmUserArea::ListHistory(BrowseFiles& browser) {
  std::vector<HistoryImage> images;
  browser.Init(historyFolder);
  while (NextImage(browser)) {
    HistoryImage& added = images.emplace_back();
    browser.GetFileTime(GE_FILETIME_MODIFIED, &added.time);
    added.name = browser.GetFilename();
  }
  std::stable_sort(images.begin(), images.end(),
                   [](const HistoryImage& a, const HistoryImage& b) { return IsOlder(a.time, b.time); });
  return images;
}

void lmUserArea::CleanupHistory(LONG keep) {
  const LONG count = GetHistoryCount();
  if (count <= keep) return;
  const std::vector<HistoryImage> images = ListHistory();
  const auto surplus = static_cast<std::size_t>(count - std::max<LONG>(keep, 0));
  for (std::size_t i = 0; i < std::min(surplus, images.size()); ++i)
    GeFKill(historyFolder + images[i].name);
}

void lmUserArea::AddToHistory() {
  if (!display || !composed) return; // a black picture would displace a real one
  if (!GeFExist(historyFolder, TRUE)) GeFCreateDir(historyFolder);
  CleanupHistory(settings->GetValue(LM_HISTORY_SIZE, 10) - 1);
  display->Save(GetNextFilename(historyFolder, ""), FILTER_TIF);
  if (settings->GetValue(LM_HISTORY_AUTOLOAD, 0)) AutoloadRecent();
}

// Deletes no picture: only `AddToHistory` enforces the history's size.
void lmUserArea::AddLastRender() {
  const Filename lastRender = dataFolder + "lastRender.tif";
  if (GeFExist(lastRender)) {
    GeFMove(lastRender, GetNextFilename(historyFolder, "lastRender"));
  } else {
    MessageDialog("Lumenara Error: No previous render found.");
  }
  if (settings->GetValue(LM_HISTORY_AUTOLOAD, 0)) AutoloadRecent();
}

void lmUserArea::ClearHistory() {
  AutoAlloc<BrowseFiles> browser;
  if (!browser) return;
  browser->Init(historyFolder);
  while (NextImage(*browser))
    GeFKill(historyFolder + browser->GetFilename());
}

// Loads the slot; on failure it is empty.
Bool lmUserArea::LoadSlot(BaseBitmap& slot, const Filename& name, const String& error) {
  slot.FlushAll();
  if (slot.Init(name) == IMAGERESULT_OK) return TRUE;
  GePrint(error);
  slot.FlushAll();
  return FALSE;
}

void lmUserArea::AutoloadRecent() {
  if (GetHistoryCount() < 2) return;
  const std::vector<HistoryImage> images = ListHistory();
  if (images.size() < 2 || !imageA || !imageB) return;
  LoadSlot(*imageA, historyFolder + images[images.size() - 2].name, "Lumenara Error: Image Load Failed");
  LoadSlot(*imageB, historyFolder + images[images.size() - 1].name, "Lumenara Error: Image Load Failed");
  Redraw();
}

void lmUserArea::HistorySwap() {
  if (!imageA || imageA->GetBw() < 1 || !imageB || imageB->GetBw() < 1) return;
  AutoAlloc<BaseBitmap> oldA, oldB;
  if (!oldA || !oldB || !imageA->CopyTo(oldA) || !imageB->CopyTo(oldB)) return;
  imageA->FlushAll();
  imageB->FlushAll();
  oldB->CopyTo(imageA);
  oldA->CopyTo(imageB);
  Redraw();
}

void lmUserArea::SelectImagePopup(LONG x, LONG y, Bool toA) {
  BaseBitmap* slot = toA ? imageA : imageB;
  AutoAlloc<BrowseFiles> browser;
  if (!slot || !browser) return;
  const std::vector<HistoryImage> images = ListHistory(*browser);

  BaseContainer popup;
  LONG id = POPUP_IMAGE;
  for (const HistoryImage& listed : images) {
    Filename name = listed.name;
    name.ClearSuffix();
    popup.SetString(id++, name.GetString());
  }
  if (images.empty()) popup.SetString(POPUP_EMPTY, "[ Empty ]&d&");
  popup.SetString(0, "");
  popup.SetString(POPUP_LOAD, "Load Image...");

  const LONG result = ShowPopupMenu(dialog, x, y, popup);
  if (result == 0 || result == POPUP_EMPTY) return;
  if (result == POPUP_LOAD) {
    Filename name;
    if (name.FileSelect(FILESELECTTYPE_IMAGES, FILESELECT_LOAD, "Load Image"))
      LoadSlot(*slot, name, "Lumenara Error: Invalid Image");
    Redraw();
    return;
  }
  const LLONG index = static_cast<LLONG>(result) - POPUP_IMAGE;
  if (index < 0 || index >= static_cast<LLONG>(images.size())) return;
  LoadSlot(*slot, historyFolder + images[static_cast<std::size_t>(index)].name,
           "Lumenara Error: Invalid Image");
  Redraw();
}
