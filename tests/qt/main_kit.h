// A whole Studio without a display: window, session, host, and the plug-in linked in.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "command_table.h"
#include "main_window.h"
#include "qt_fixture.h"
#include "studio.h"

class StudioTest : public QtFixture {
 public:
  StudioTest();
  ~StudioTest() override;

  /// Starts Studio in `home()`; a second call starts it anew there.
  host::Studio& startStudio();
  void stopStudio();
  host::Studio& studio() { return *studio_; }
  host::MainWindow& window() { return studio_->window(); }
  host::Session& session() { return studio_->session(); }
  BaseDocument& document() { return *session().document(); }

  QAction* action(const char* id) { return window().commands().action(QLatin1String(id)); }
  /// Chooses the command as a menu does.
  void choose(const char* id);
  /// Opens a scene and waits until it is there.
  void openScene(const Filename& file);
  /// A copy of the small scene in the test's folder.
  Filename smallScene(const char* name = "small.gltf");

  bool linkPlugin = false, resetLayout = false;

 private:
  std::unique_ptr<host::Studio> studio_;
};
