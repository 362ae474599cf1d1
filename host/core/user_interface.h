// The host's questions to the user. A desktop answers with windows, a console program from its options, a
// test from a script. Main thread. The base class behaves as without a display: texts go to the console, the
// answer to questions is no, nothing opens.
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
  Filename start;     // the first choice
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
  /// Shows a menu (IDs and texts) at a place of the screen (0x7fffffff: at the pointer). Returns the chosen
  /// ID, 0 when the menu was closed.
  virtual LONG popup(const BaseContainer& entries, LONG x, LONG y);

  /// Lets the user edit the options of a movie format (FILTER_AVI, FILTER_MOVIE; movie_options.h has the keys
  /// and the choices of this installation). False when cancelled: `options` stay.
  virtual bool editMovieOptions(LONG format, BaseContainer& options);

  /// Shows a copy of the picture in a viewer; keeps no pointer.
  virtual bool showBitmap(const BaseBitmap& bitmap);
  /// Opens a file or an address with the system's program for it. Must not block.
  virtual bool openFile(const Filename& file);
  virtual bool openAddress(const String& address);
  /// Repaints editor views.
  virtual bool drawViews(LONG flags);

  /// Opens the dialog's window; for a modal dialog, returns when it has closed. False without a display.
  virtual bool openDialog(GeDialog& dialog, const DialogPlacement& placement);
  /// Whether the dialog was open when the program last ended; then `placement` is where.
  virtual bool restoredPlacement(LONG pluginId, LONG subId, void* secret, DialogPlacement& placement);
  virtual void closeDialog(GeDialog& dialog);
};

/// The user interface that was set, else the base class. Main thread.
UserInterface& userInterface() noexcept;
/// Null removes it. It must live until the next call. Main thread.
void setUserInterface(UserInterface* ui) noexcept;
/// Whether one was set. Any thread.
bool hasUserInterface() noexcept;

} // namespace host
