// Time of one repaint in the Frame Buffer at 1920 x 1080 while a render keeps all workers busy: the wipe's
// line is dragged, the picture is zoomed and moved, values of the pixel follow the pointer. Uses the
// program's own window, on any of Qt's platforms ("offscreen" too).
//
//   bench_canvas_bench [--repeat N]
#include <QApplication>
#include <QDockWidget>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "c4d.h"
#include "compare_panel.h"
#include "frame_buffer.h"
#include "layer_table.h"
#include "main_window.h"
#include "picture_canvas.h"
#include "render_edits.h"
#include "render_settings.h"
#include "studio.h"
#include "theme.h"

namespace {

using namespace host;
using Steady = std::chrono::steady_clock;

constexpr QSize pictureSize(1920, 1080);

double msSince(Steady::time_point start) {
  return std::chrono::duration<double, std::milli>(Steady::now() - start).count();
}

/// Processor time of the main thread.
double mainThreadMs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return 1e3 * static_cast<double>(now.tv_sec) + 1e-6 * static_cast<double>(now.tv_nsec);
}

bool waitFor(const std::function<bool()>& done, int ms) {
  const auto start = Steady::now();
  while (!done()) {
    if (msSince(start) > ms) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
  }
  return true;
}

class CanvasBench {
 public:
  CanvasBench(Studio& studio, int repeat)
      : session_(studio.session()), frame_(studio.window().frameBuffer()), canvas_(frame_.canvas()),
        repeat_(repeat) {}

  bool prepare() {
    for (int i = 0; i < 2; ++i)
      if (!render(1) || !waitFor([&] { return !session_.renders().isRunning(); }, 600000)) return false;
    frame_.show();
    canvas_.setMinimumSize(pictureSize);
    canvas_.setMaximumSize(pictureSize);
    return render(100000) && waitFor([&] { return canvas_.size() == pictureSize; }, 5000);
  }

  void run() {
    const std::vector<PictureList::Picture>& pictures = session_.pictures().pictures();
    if (pictures.size() < 2) return;
    const PictureList::Id a = pictures[0].id, b = pictures[1].id;
    session_.pictures().choose(a);
    canvas_.fit();
    measure("pan", [&](int i) { canvas_.pan(QPointF(i % 2 ? 7 : -7, 3 - i % 7)); });
    for (const bool in : {true, false})
      measure(in ? "zoom in from a half" : "zoom out to a quarter", [&](int i) {
        if (i % 4 == 0) canvas_.setZoom(in ? 0.5 : 4);
        wheel(in ? 120 : -120);
      });
    canvas_.fit();
    auto* pixel = frame_.findChild<QDockWidget*>(QStringLiteral("panel-pixel"));
    if (pixel) pixel->show();
    measure("values of the pixel", [&](int i) { hover(i); });
    if (pixel) pixel->hide();
    auto* compare = frame_.findChild<ComparePanel*>();
    if (!compare) return;
    compare->use(0, a);
    compare->use(1, b);
    compare->setOn(true);
    canvas_.fit();
    waitFor([&] { return !compare->isMeasuring(); }, 60000);
    for (const double zoom : {1.0, 0.75, 2.0}) {
      canvas_.setZoom(zoom);
      measure("wipe, zoom " + std::to_string(static_cast<int>(100 * zoom)) + " %", [&](int i) {
        compare->source().setLine({0.2 + 0.6 * (i % 50) / 50.0, 0.5, 20});
      });
    }
  }

 private:
  bool render(LONG samples) {
    session_.edits().apply("Set Up", [&](BaseDocument& document) {
      setRenderValue(document, RDATA_XRES, GeData(LONG(pictureSize.width())));
      setRenderValue(document, RDATA_YRES, GeData(LONG(pictureSize.height())));
      setRenderValue(document, render::layersSetting, GeData(static_cast<LONG>(allLayers())));
      setRenderValue(document, RDATA_MAXSAMPLES, GeData(samples));
    });
    return session_.renders().renderPicture();
  }

  void wheel(int by) {
    const QPointF at(700, 400);
    QWheelEvent event(at, canvas_.mapToGlobal(at), {}, {0, by}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&canvas_, &event);
  }

  void hover(int i) {
    const QPointF at(300 + 11 * (i % 100), 200 + 5 * (i % 90));
    QMouseEvent event(QEvent::MouseMove, at, canvas_.mapToGlobal(at), Qt::NoButton, Qt::NoButton,
                      Qt::NoModifier);
    QApplication::sendEvent(&canvas_, &event);
  }

  // All repaints that a step causes, in the canvas and beside it.
  void measure(const std::string& name, const std::function<void(int)>& step) {
    std::vector<double> wall, work;
    for (int i = 0; i < repeat_; ++i) {
      QCoreApplication::processEvents();
      const auto start = Steady::now();
      const double before = mainThreadMs();
      step(i);
      canvas_.repaint();
      QCoreApplication::sendPostedEvents();
      QCoreApplication::processEvents();
      work.push_back(mainThreadMs() - before);
      wall.push_back(msSince(start));
    }
    std::sort(wall.begin(), wall.end());
    std::sort(work.begin(), work.end());
    const auto at = [this](double part) { return static_cast<std::size_t>(part * (repeat_ - 1)); };
    std::printf("| %s | %.1f / %.1f | %.1f / %.1f |\n", name.c_str(), work[at(0.5)], work[at(0.95)],
                wall[at(0.5)], wall[at(0.95)]);
    std::fflush(stdout);
  }

  Session& session_;
  FrameBuffer& frame_;
  PictureCanvas& canvas_;
  int repeat_;
};

} // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  installTheme();
  int repeat = 200;
  for (int i = 1; i + 1 < argc; ++i)
    if (std::string(argv[i]) == "--repeat") repeat = std::max(2, std::atoi(argv[i + 1]));
  QTemporaryDir home;
  StudioOptions options;
  options.home = Filename(home.path().toUtf8().constData());
  options.startupPath = Filename(LUMENARA_STARTUP_DIR);
  options.scene = Filename(LUMENARA_SOURCE_DIR "/scenes/demo.glb");
  options.consoleEcho = nullptr;
  Studio studio(std::move(options));
  studio.start();
  CanvasBench bench(studio, repeat);
  if (!waitFor([&] { return studio.session().document() && studio.session().document()->GetFirstObject(); },
               120000) ||
      !bench.prepare()) {
    std::fprintf(stderr, "the pictures could not be rendered\n");
    return 1;
  }
  std::printf("| step | processor time of the main thread: median / 95th, ms | clock: median / 95th, ms "
              "|\n|---|---|---|\n");
  bench.run();
  studio.session().renders().cancel();
  studio.shutDown();
  return 0;
}
