// What the host asks of whoever talks to the user. A desktop answers with windows, a console program from its
// options, a test from a script. Everything is called on the main thread. What is not overridden behaves as
// without a display: texts go to the console, questions are answered no, nothing opens.
#pragma once

#include "c4d_bitmap.h"
#include "c4d_dialog.h"
#include "c4d_filename.h"

namespace host {

struct FileRequest {
  FILESELECTTYPE type = FILESELECTTYPE_ANYTHING;
  FILESELECT mode = FILESELECT_LOAD;
  String title;
  String forceSuffix; // without the point; empty: any
  Filename start;     // where the choice begins
};

struct DialogPlacement {
  DLG_TYPE type = DLG_TYPE_ASYNC;
  LONG pluginId = 0, subId = 0;
  LONG x = -1, y = -1;        // -1: the program's choice
  LONG width = 0, height = 0; // 0: the program's choice
};

class UserInterface {
 public:
  virtual ~UserInterface();

  /// Shows a text and returns when the user has seen it.
  virtual void message(const String& text);
  /// True for yes.
  virtual bool question(const String& text);
  /// Lets the user choose; false when cancelled.
  virtual bool selectFile(const FileRequest& request, Filename& chosen);
  /// Shows a list (IDs and texts) at a place of the screen (0x7fffffff: at the pointer) and gives the chosen
  /// ID, 0 for none.
  virtual LONG popup(const BaseContainer& entries, LONG x, LONG y);

  /// Lets the user edit the choices of a movie format (FILTER_AVI, FILTER_MOVIE; the keys and what this
  /// installation offers are in movie_options.h). False when cancelled; then nothing has changed.
  virtual bool editMovieOptions(LONG format, BaseContainer& options);

  /// Shows a copy of the picture in a viewer; keeps no pointer.
  virtual bool showBitmap(const BaseBitmap& bitmap);
  /// Opens a file, or an address, with the system's program for it. Must not block.
  virtual bool openFile(const Filename& file);
  virtual bool openAddress(const String& address);
  /// Repaints editor views.
  virtual bool drawViews(LONG flags);

  /// Opens the dialog's window; a modal one returns when it has closed. False: no display.
  virtual bool openDialog(GeDialog& dialog, const DialogPlacement& placement);
  /// Whether the dialog was open when the program ended last, and where.
  virtual bool restoredPlacement(LONG pluginId, LONG subId, void* secret, DialogPlacement& placement);
  virtual void closeDialog(GeDialog& dialog);
};

/// The one in place; without one, the console-only behaviour. Main thread.
UserInterface& userInterface() noexcept;
/// Null takes it away. It must live until the next call. Main thread.
void setUserInterface(UserInterface* ui) noexcept;
/// Whether one was set. Any thread.
bool hasUserInterface() noexcept;

} // namespace host
