#include "studio.h"

#include "c4d_events.h"
#include "c4d_file.h"
#include "elided_tips.h"
#include "first_picture.h"
#include "main_window.h"
#include "placements.h"
#include "qt_main_loop.h"
#include "qt_user_interface.h"
#include "quick_repaint.h"
#include "studio_inspector.h"
#include "theme_choice.h"
#include "tour.h"
#include "view_tracer.h"
#include "window_layout.h"

namespace host {

namespace {

// Commands of the viewer plug-in.
constexpr LONG viewerCommand = 1021442;
constexpr LONG refreshCommand = 1021447;
constexpr LONG cancelCommand = 1021448;

ProgramOptions programOptions(const StudioOptions& options, UserInterface& ui) {
  ProgramOptions program;
  program.home = options.home;
  program.startupPath = options.startupPath;
  program.ui = &ui;
  program.loadModules = options.loadModules;
  program.linkedPlugins = options.linkedPlugins;
  program.consoleEcho = options.consoleEcho;
  return program;
}

// The first of these files that exists; else empty.
Filename firstOf(const std::vector<Filename>& files) {
  for (const Filename& file : files)
    if (GeFExist(file, FALSE)) return file;
  return {};
}

// Empty: not installed.
Filename demoScene(const Filename& place) {
  return firstOf({place + "scenes" + "demo.glb"});
}

bool toursAllowed() {
  return qEnvironmentVariable("LUMENARA_TOUR") != QLatin1String("0");
}

} // namespace

Studio::Studio(StudioOptions options)
    : options_(std::move(options)), ui_(std::make_unique<QtUserInterface>()),
      program_(std::make_unique<Program>(programOptions(options_, *ui_))),
      loop_(std::make_unique<QtMainLoop>()), session_(std::make_unique<Session>()),
      link_(std::make_unique<LiveLink>(*session_, options_.linkToken)),
      repaint_(std::make_unique<QuickRepaint>(*link_)) {
  restoreTheme();
  new ElidedTips(this);
  MainWindowOptions window;
  window.tracer = &viewTracer();
  const Filename& place = program_->startupPath();
  window.demoScene = demoScene(place);
  const Filename manual = "lm_manual.pdf";
  window.manual = firstOf({place + "plugins" + "Lumenara" + "docs" + manual, place + "docs" + manual});
  window.dockedDialogs = {viewerCommand};
  window.link = link_.get();
  window.stopPlugins = [] { CallCommand(cancelCommand); };
  window_ = std::make_unique<MainWindow>(*session_, *ui_, std::move(window));
  connect(window_.get(), &MainWindow::closed, this, &Studio::finished);
  program_->startPlugins();
  window_->pluginsStarted();
}

Studio::~Studio() {
  shutDown();
}

// In a new home, without a wish on the command line.
bool Studio::isFirstStart() const {
  return toursAllowed() && program_->preferences().isNew() && !options_.scene.Content() &&
         !options_.openViewer && demoScene(program_->startupPath()).Content();
}

// All docks must exist before the layout is restored.
void Studio::start() {
  if (isFirstStart()) {
    options_.scene = demoScene(program_->startupPath());
    options_.openViewer = true;
    Tour::begin();
  }
  if (options_.resetLayout) {
    forgetLayouts();
    forgetPlaces();
  }
  program_->registry().restoreLayouts(nullptr);
  const bool viewer = options_.openViewer && openViewer();
  window_->windowLayout().restore();
  window_->show();
  inspector_ = StudioInspector::fromEnvironment();
  if (options_.scene.Content()) window_->openFile(options_.scene);
  if (viewer)
    firstPicture_ =
        std::make_unique<FirstPicture>(session_->files(), *window_, [] { SpecialEventAdd(refreshCommand); });
  window_->openFrameBuffer(viewer);
  window_->offerRecovery();
  startLink();
  if (toursAllowed() && Tour::isPending()) window_->showTour();
}

// Options of the command line hold over the user's choice, for this start.
void Studio::startLink() {
  LinkChoice choice = storedLinkChoice();
  choice.listen = options_.listen.value_or(choice.listen);
  if (options_.tcpPort) choice = {true, true, *options_.tcpPort};
  link_->use(choice);
  if (const std::string trouble = link_->trouble(); !trouble.empty()) GePrint(String(trouble));
  const LinkServer* server = link_->server();
  if (server && server->tcpPort() != 0)
    GePrint(String("The live link listens at 127.0.0.1:" + std::to_string(server->tcpPort()) + "."));
}

bool Studio::openViewer() {
  if (session_->runCommand(viewerCommand)) return true;
  GePrint("The Lumenara plug-in is not there; the viewer cannot be opened. Build or install it again.");
  return false;
}

void Studio::shutDown() {
  if (std::exchange(down_, true)) return;
  firstPicture_.reset();
  link_->close();
  inspector_.reset();
  ui_->keepOpenDialogs();
  window_->shutDown();
  window_->hide();
  program_->shutDown();
  window_.reset();
  repaint_.reset();
  link_.reset();
  session_.reset();
  loop_.reset();
  program_.reset();
  ui_.reset();
}

} // namespace host
