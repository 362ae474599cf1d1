// Response times of the desktop: from a changed scene to changed pixels of the viewer, and from an input
// event to its handling while a render keeps all workers busy. Uses the real program's parts, on any of Qt's
// platforms ("offscreen" too).
//
//   bench_studio_bench [SCENE...] [--repeat N]
//   bench_studio_bench --open [SCENE...]     from the order to open a scene to the first shaded picture of
//   the
//                                            editor view, and to its full one; the program runs already
//   bench_studio_bench --drag [SCENE...]     pictures a second in the viewer while a material's colour is
//                                            dragged in the colour picker's way, 60 changes a second
//
// Without arguments: the demo scene, and the scene of a million triangles where the shared scenes are.
#include <QApplication>
#include <QEvent>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "c4d.h"
#include "dialog_window.h"
#include "editor_view_widget.h"
#include "gadget_actions.h"
#include "main_window.h"
#include "qt_user_interface.h"
#include "studio.h"
#include "theme.h"

namespace {

using namespace host;
using Steady = std::chrono::steady_clock;

constexpr LONG viewerCommand = 1021442, refreshCommand = 1021447;
constexpr LONG autoRefreshKey = 20004, viewSizeKey = 20027, viewSize640x480 = 4;
constexpr LONG viewGadget = 1123;

double msSince(Steady::time_point start) {
  return std::chrono::duration<double, std::milli>(Steady::now() - start).count();
}

struct Spread {
  double median = 0, p95 = 0, worst = 0;
  explicit Spread(std::vector<double> values) {
    if (values.empty()) return;
    std::sort(values.begin(), values.end());
    median = values[values.size() / 2];
    p95 = values[std::min(values.size() - 1, values.size() * 95 / 100)];
    worst = values.back();
  }
};

/// Records when the viewer's widget was painted with changed pixels.
class PaintWatch : public QObject {
 public:
  PaintWatch(QWidget& widget, GeUserArea& area) : widget_(widget), area_(area) {
    widget.installEventFilter(this);
  }
  void begin() {
    before_ = picture();
    changed_ = false;
  }
  bool hasChanged() const { return changed_; }

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == &widget_ && event->type() == QEvent::Paint && !changed_ && picture() != before_)
      changed_ = true;
    return false;
  }

 private:
  /// The pixels that the widget is about to show, without the corner with the render's progress.
  std::vector<std::uint32_t> picture() const {
    const Surface& surface = areaSurface(area_);
    std::vector<std::uint32_t> words;
    for (int y = 40; y < surface.pixelHeight() - 12; y += 3)
      for (int x = 0; x < surface.pixelWidth(); x += 3)
        words.push_back(surface.at(x, y));
    return words;
  }
  QWidget& widget_;
  GeUserArea& area_;
  std::vector<std::uint32_t> before_;
  bool changed_ = false;
};

/// Input events that another thread posts, and the time until the widget receives each.
class InputWatch : public QObject {
 public:
  std::vector<double> waited;
  bool event(QEvent* event) override {
    if (event->type() != QEvent::User) return QObject::event(event);
    waited.push_back(msSince(static_cast<Stamp*>(event)->sent));
    return true;
  }
  void post() { QCoreApplication::postEvent(this, new Stamp); }

 private:
  struct Stamp : QEvent {
    Stamp() : QEvent(QEvent::User) {}
    Steady::time_point sent = Steady::now();
  };
};

bool waitFor(const std::function<bool()>& done, int ms) {
  const auto start = Steady::now();
  while (!done()) {
    if (msSince(start) > ms) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
  }
  return true;
}

void quiet(int ms) {
  const auto start = Steady::now();
  while (msSince(start) < ms)
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

/// The first object that has a polygon mesh or a child, to be moved.
BaseObject* movable(BaseDocument& document) {
  for (BaseObject* object = document.GetFirstObject(); object; object = object->GetNext())
    if (object->GetType() == Opolygon || object->GetDown()) return object;
  return document.GetFirstObject();
}

void storeSettings(const QString& home) {
  ProgramOptions options;
  options.home = Filename(home.toUtf8().constData());
  options.loadModules = false;
  Program program(options);
  BaseContainer data;
  data.SetLong(autoRefreshKey, 1);
  data.SetLong(viewSizeKey, viewSize640x480);
  SetWorldPluginData(viewerCommand, data);
}

/// For each repetition, moves an object and waits until its picture is on screen.
std::vector<double> sceneChanges(Studio& studio, PaintWatch& watch, int repeat) {
  std::vector<double> times;
  for (int i = 0; i < repeat; ++i) {
    // Waits for the end of the render and of the drawing, at another point of the polling interval each time.
    CallCommand(1021448);
    quiet(700 + 37 * (i % 9));
    watch.begin();
    const auto start = Steady::now();
    studio.session().edits().apply("Move", [&](BaseDocument& document) {
      BaseObject* object = movable(document);
      Matrix m = object->GetMl();
      m.off.x += i % 2 ? -0.12 : 0.12;
      object->SetMl(m);
    });
    if (!waitFor([&] { return watch.hasChanged(); }, 10000)) {
      std::fprintf(stderr, "no changed pixels within ten seconds\n");
      continue;
    }
    times.push_back(msSince(start));
  }
  return times;
}

/// A thousand events at about 200 per second while a render is running.
std::vector<double> inputWhileRendering(Studio& studio) {
  InputWatch input;
  std::atomic<bool> stop{false};
  std::thread hand([&] {
    for (int i = 0; i < 1000 && !stop; ++i) {
      input.post();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    stop = true;
  });
  auto lastRefresh = Steady::now() - std::chrono::seconds(10);
  while (!stop) {
    if (msSince(lastRefresh) > 1500) { // long before a render could end
      CallCommand(refreshCommand);
      lastRefresh = Steady::now();
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
  }
  hand.join();
  QCoreApplication::processEvents();
  (void)studio;
  return input.waited;
}

/// Pictures a second in the viewer while a material's colour changes 60 times a second, over some seconds.
double colorDrag(Studio& studio, PaintWatch& watch, double seconds) {
  constexpr LONG baseColor = 2100;
  CallCommand(1021448);
  quiet(1000);
  Edits& edits = studio.session().edits();
  edits.begin("Color");
  int pictures = 0, changes = 0;
  const auto start = Steady::now();
  watch.begin();
  while (msSince(start) < seconds * 1000) {
    if (msSince(start) * 60 / 1000 >= changes) {
      const double part = 0.5 + 0.5 * std::sin(0.05 * ++changes);
      edits.update([part](BaseDocument& document) {
        if (BaseMaterial* material = document.GetFirstMaterial())
          material->SetParameter(baseColor, GeData(Vector(part, 0.3, 1 - part)));
      });
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 2);
    if (!watch.hasChanged()) continue;
    ++pictures;
    watch.begin();
  }
  edits.end();
  return pictures / seconds;
}

StudioOptions optionsOf(const QTemporaryDir& home, const std::string& scene) {
  StudioOptions options;
  options.home = Filename(home.path().toUtf8().constData());
  options.startupPath = Filename(LUMENARA_STARTUP_DIR);
  options.scene = Filename(scene.c_str());
  options.consoleEcho = nullptr;
  return options;
}

/// Opens a scene in a running program, the small scene between, and prints the times.
void measureOpening(const std::string& scene, int repeat) {
  QTemporaryDir home;
  storeSettings(home.path());
  const std::string small = LUMENARA_SOURCE_DIR "/scenes/small.gltf";
  Studio studio(optionsOf(home, small));
  studio.window().resize(1500, 950);
  studio.start();
  EditorView& view = studio.window().viewWidget().view();
  // Only a picture of the scene tells points of its surfaces.
  const auto isShaded = [&view] {
    for (int y = 1; y < 16; ++y)
      for (int x = 1; x < 16; ++x)
        if (view.pointAt(view.width() * x / 16.0, view.height() * y / 16.0)) return true;
    return false;
  };
  std::vector<double> first, full;
  for (int i = 0; i < repeat; ++i)
    for (const std::string& file : {small, scene}) {
      view.finishPicture(120000);
      quiet(300);
      bool ended = false;
      const auto start = Steady::now();
      studio.session().files().open(Filename(file.c_str()),
                                    [&ended](OpenEnd, const FileError*) { ended = true; });
      const bool shown = waitFor([&] { return ended && isShaded(); }, 120000);
      if (file == small || !shown) continue;
      first.push_back(msSince(start));
      waitFor([&] { return view.detail() >= ViewDetail::full; }, 120000);
      full.push_back(msSince(start));
    }
  const Spread coarse(first), whole(full);
  std::printf("| %s | %.0f / %.0f | %.0f / %.0f |\n", std::filesystem::path(scene).stem().c_str(),
              coarse.median, coarse.worst, whole.median, whole.worst);
  std::fflush(stdout);
  studio.shutDown();
}

void measure(const std::string& scene, int repeat, bool drag) {
  QTemporaryDir home;
  storeSettings(home.path());
  Studio studio(optionsOf(home, scene));
  studio.window().resize(1500, 950);
  studio.start();
  if (!waitFor([&] { return studio.session().document() && studio.session().document()->GetFirstObject(); },
               120000)) {
    std::fprintf(stderr, "%s did not load\n", scene.c_str());
    return;
  }
  CallCommand(viewerCommand);
  quiet(500);
  DialogWindow* window = nullptr;
  for (QWidget* widget : QApplication::allWidgets())
    if (auto* dialog = qobject_cast<DialogWindow*>(widget);
        dialog && dialog->dialog() && dialog->objectName().contains("1021442"))
      window = dialog;
  if (!window) {
    std::fprintf(stderr, "the viewer is not open\n");
    return;
  }
  const Gadget* gadget = findGadget(*window->dialog(), viewGadget);
  PaintWatch watch(*window->gadgetWidget(viewGadget), *gadget->area);
  CallCommand(refreshCommand);
  quiet(3000);

  if (drag) {
    std::printf("| %s | %.1f |\n", std::filesystem::path(scene).stem().c_str(), colorDrag(studio, watch, 6));
    std::fflush(stdout);
    return studio.shutDown();
  }
  const Spread changes(sceneChanges(studio, watch, repeat));
  const Spread input(inputWhileRendering(studio));
  std::printf("| %s | %.0f / %.0f / %.0f | %.1f / %.1f / %.1f |\n",
              std::filesystem::path(scene).stem().c_str(), changes.median, changes.p95, changes.worst,
              input.median, input.p95, input.worst);
  std::fflush(stdout);
  studio.shutDown();
}

} // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  installTheme();
  int repeat = 0;
  bool opening = false, drag = false;
  std::vector<std::string> scenes;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--repeat" && i + 1 < argc)
      repeat = std::max(1, std::atoi(argv[++i]));
    else if (word == "--open")
      opening = true;
    else if (word == "--drag")
      drag = true;
    else
      scenes.push_back(word);
  }
  if (scenes.empty()) {
    scenes.emplace_back(LUMENARA_SOURCE_DIR "/scenes/demo.glb");
    const std::string million =
        LUMENARA_SCENES_DIR "/MetalRoughSpheresNoTextures/MetalRoughSpheresNoTextures.gltf";
    if (std::filesystem::exists(million))
      scenes.push_back(million);
    else
      std::fprintf(stderr, "the shared scenes are not there: the million triangles are skipped\n");
  }
  if (opening)
    std::printf("| scene | order to open to the first shaded picture: median / worst, ms | to the full one "
                "|\n|---|---|---|\n");
  else if (drag)
    std::printf("| scene | pictures a second while a colour is dragged |\n|---|---|\n");
  else
    std::printf("| scene | scene changed to changed pixels: median / 95th / worst, ms | input to handling "
                "while rendering: "
                "median / 95th / worst, ms |\n|---|---|---|\n");
  for (const std::string& scene : scenes)
    if (opening)
      measureOpening(scene, repeat ? repeat : 7);
    else
      measure(scene, repeat ? repeat : 40, drag);
  return 0;
}
