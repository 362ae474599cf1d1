// lumenara-studio: the desktop program.
#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "platform.h"
#include "studio.h"
#include "studio_arguments.h"
#include "theme.h"

namespace {

// Qt ends the program on its own when the display cannot be used; this says it in one sentence.
void tellNoDisplay(QtMsgType type, const QMessageLogContext& /*context*/, const QString& /*message*/) {
  if (type != QtFatalMsg) return;
  std::fputs("lumenara-studio: the display cannot be used; start it on a desktop, or render without one with "
             "\"lumenara render\".\n",
             stderr);
  std::fflush(stderr);
  std::_Exit(1);
}

bool mayHaveDisplay() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
    if (const char* value = std::getenv(name); value && *value) return true;
  return false;
}

int run(int argc, char** argv, const StudioArguments& given) {
  if (!mayHaveDisplay()) tellNoDisplay(QtFatalMsg, {}, {});
  const QtMessageHandler before = qInstallMessageHandler(tellNoDisplay);
  QApplication application(argc, argv);
  qInstallMessageHandler(before);
  QApplication::setApplicationName(QStringLiteral("lumenara-studio"));
  QApplication::setApplicationDisplayName(QString());
  QApplication::setDesktopFileName(QStringLiteral("lumenara-studio"));
  QApplication::setQuitOnLastWindowClosed(false);
  host::installTheme();

  host::StudioOptions options;
  options.scene = Filename(String(given.scene));
  options.home = Filename(String(given.home));
  options.openViewer = given.viewer;
  options.resetLayout = given.resetLayout;
  options.listen = given.listen;
  if (given.tcpPort) options.tcpPort = static_cast<std::uint16_t>(*given.tcpPort);
  if (const char* token = std::getenv("LUMENARA_LINK_TOKEN")) options.linkToken = token;
  host::Studio studio(std::move(options));
  QObject::connect(&studio, &host::Studio::finished, &application, &QApplication::quit, Qt::QueuedConnection);
  studio.start();
  const int code = QApplication::exec();
  studio.shutDown();
  return code;
}

} // namespace

int main(int argc, char** argv) {
  host::platform::prepareProcess();
  const StudioArguments given = parseStudioArguments(argc, argv);
  if (given.leave) {
    std::fputs(given.leave->text.c_str(), given.leave->code == 0 ? stdout : stderr);
    return given.leave->code;
  }
  try {
    return run(argc, argv, given);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lumenara-studio: %s\n", error.what());
  }
  return 1;
}
