// The host with Qt's user interface, without a display. One QApplication a test binary, made before the first
// test.
#pragma once

#include <QApplication>
#include <QPointer>
#include <QString>
#include <QTest>
#include <QWidget>
#include <functional>
#include <memory>

#include "host_fixture.h"
#include "qt_main_loop.h"
#include "qt_user_interface.h"

/// A host whose boxes, popups and dialogs are widgets. The clock is the system's.
class QtFixture : public HostFixture {
 public:
  QtFixture();
  ~QtFixture() override;

  /// Starts the host with `desktop` as its user interface, and Qt's loop as the main loop's driver.
  host::Program& startDesktop();
  void stopDesktop();

  std::unique_ptr<host::QtUserInterface> desktop;
  std::unique_ptr<host::QtMainLoop> driver;

  /// Lets events, layouts and the host's loop run until nothing waits.
  static void settle();
  /// Runs events until `done` is true, for `milliseconds` at most. Returns the last value of `done`.
  static bool waitFor(const std::function<bool()>& done, int milliseconds = 5000);
  /// Calls `act` with the modal window (or the popup) as soon as one is open; it is closed when the test
  /// forgot to.
  static void whenModal(const std::function<void(QWidget&)>& act);
  static void whenPopup(const std::function<void(QWidget&)>& act);
};
