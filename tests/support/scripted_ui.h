// A user interface that answers from a script and records the requests.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "user_interface.h"

class ScriptedUi final : public host::UserInterface {
 public:
  // The requests, in order.
  std::vector<std::string> messages, questions, openedFiles, openedAddresses;
  std::vector<host::FileRequest> fileRequests;
  std::vector<LONG> drawnViews, popupsShown; // flags; entry counts
  struct Popup {
    BaseContainer entries;
    LONG x = 0, y = 0;
  };
  std::vector<Popup> popups;
  std::vector<LONG> movieRequests; // formats
  struct Shown {
    LONG width = 0, height = 0, depth = 0;
  };
  std::vector<Shown> shownBitmaps;
  struct Opened {
    GeDialog* dialog = nullptr;
    host::DialogPlacement placement;
  };
  std::vector<Opened> openedDialogs;
  std::vector<GeDialog*> closedDialogs;
  /// Everything in one list, as "message: text", "question: text", "open file: name"...
  std::vector<std::string> record;

  // The script. An empty list of answers gives the default.
  std::deque<bool> answers; // to questions
  bool defaultAnswer = false;
  std::deque<Filename> files; // to file choosers; an empty name cancels
  std::deque<LONG> choices;   // to popups
  bool hasDisplay = true;     // whether dialogs open
  bool opensFiles = true;
  bool showsBitmaps = true;
  /// Called while a box is open, on the main thread.
  std::function<void()> whileBoxIsOpen;
  /// Called by every `DrawViews`.
  std::function<void()> whenViewsAreDrawn;
  /// The user's actions in modal dialogs: each dialog takes the next of the list, else `whileDialogIsOpen`. A
  /// dialog that is still open afterwards is closed through its window control or, if it refuses, without
  /// asking.
  std::deque<std::function<void(GeDialog&)>> dialogScripts;
  std::function<void(GeDialog&)> whileDialogIsOpen;
  /// The chosen settings of a movie format; without them the user cancels.
  std::function<bool(LONG format, BaseContainer& options)> editsMovieOptions;
  /// Places of the dialogs that were open at the last end.
  std::vector<host::DialogPlacement> remembered;

  void message(const String& text) override;
  bool question(const String& text) override;
  bool selectFile(const host::FileRequest& request, Filename& chosen) override;
  LONG popup(const BaseContainer& entries, LONG x, LONG y) override;
  bool editMovieOptions(LONG format, BaseContainer& options) override;
  bool showBitmap(const BaseBitmap& bitmap) override;
  bool openFile(const Filename& file) override;
  bool openAddress(const String& address) override;
  bool drawViews(LONG flags) override;
  bool openDialog(GeDialog& dialog, const host::DialogPlacement& placement) override;
  bool restoredPlacement(LONG pluginId, LONG subId, void* secret, host::DialogPlacement& placement) override;
  void closeDialog(GeDialog& dialog) override;

 private:
  void note(const char* what, const String& text);
};
