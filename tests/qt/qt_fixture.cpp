#include "qt_fixture.h"

#include <QAction>
#include <QElapsedTimer>
#include <QTimer>
#include <cstdio>

#include "theme.h"

namespace {

// Qt's warnings are mistakes of ours, except those about the platform without a display.
void onQtMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
  if (text.startsWith("This plugin does not support") || text.startsWith("QStandardPaths:")) return;
  const bool grave = text.contains("stylesheet") || text.startsWith("QObject::") ||
                     text.startsWith("QPainter::") || text.startsWith("QWidget::") ||
                     text.startsWith("QLayout");
  if (type != QtDebugMsg && grave) ADD_FAILURE() << "Qt: " << text.toStdString();
  fprintf(stderr, "Qt: %s\n", qPrintable(text));
}

class QtEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
    qunsetenv("LUMENARA_THEME");
    qInstallMessageHandler(onQtMessage);
    static int count = 1;
    static char name[] = "qt_tests";
    static char* arguments[] = {name, nullptr};
    app_ = std::make_unique<QApplication>(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    host::installTheme();
  }
  void TearDown() override { app_.reset(); }

 private:
  std::unique_ptr<QApplication> app_;
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new QtEnvironment);

void whenThere(const std::function<QWidget*()>& find, const std::function<void(QWidget&)>& act) {
  auto* timer = new QTimer;
  timer->setInterval(5);
  QObject::connect(timer, &QTimer::timeout, timer, [=] {
    QWidget* widget = find();
    if (!widget || !widget->isVisible()) return;
    timer->deleteLater();
    timer->stop();
    const QPointer<QWidget> there = widget;
    act(*widget);
    QTimer::singleShot(2000, [there] {
      if (!there || !there->isVisible()) return;
      ADD_FAILURE() << "The window " << there->objectName().toStdString() << " was left open.";
      there->close();
    });
  });
  timer->start();
}

} // namespace

QtFixture::QtFixture() {
  (void)environment;
}

QtFixture::~QtFixture() {
  stopDesktop();
}

host::Program& QtFixture::startDesktop() {
  stopDesktop();
  desktop = std::make_unique<host::QtUserInterface>();
  desktop->setNativeFileDialogs(false);
  options.ui = desktop.get();
  options.clock = nullptr;
  host::Program& started = startHost();
  driver = std::make_unique<host::QtMainLoop>();
  return started;
}

void QtFixture::stopDesktop() {
  stopHost();
  driver.reset();
  desktop.reset();
  options.ui = &ui;
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void QtFixture::settle() {
  for (int round = 0; round < 20; ++round) {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    if (host::mainLoop().runDue() == 0 && round > 2) break;
  }
}

bool QtFixture::waitFor(const std::function<bool()>& done, int milliseconds) {
  QElapsedTimer time;
  time.start();
  while (!done() && time.elapsed() < milliseconds)
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
  return done();
}

void QtFixture::whenModal(const std::function<void(QWidget&)>& act) {
  whenThere([] { return QApplication::activeModalWidget(); }, act);
}

void QtFixture::whenPopup(const std::function<void(QWidget&)>& act) {
  whenThere([] { return QApplication::activePopupWidget(); }, act);
}
