#include "link_server.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>

#include "atomic_file.h"
#include "document.h"
#include "film.h"
#include "link_place.h"
#include "parameters.h"
#include "platform.h"
#include "scene_queries.h"

namespace host {

namespace {

constexpr Milliseconds retryPeriod = 50;
constexpr std::size_t shortestToken = 16;
constexpr std::size_t mostConnections = 64;
constexpr Milliseconds cameraPeriod = 67;    // at most 15 a second
constexpr Milliseconds progressPeriod = 200; // at most 5 a second

Json matrixList(const Matrix& m) {
  Json list = Json::array();
  for (const auto& [axis, last] :
       {std::pair(m.v1, 0), std::pair(m.v2, 0), std::pair(m.v3, 0), std::pair(m.off, 1)}) {
    for (const Real part : {axis.x, axis.y, axis.z})
      list.push_back(part);
    list.push_back(last);
  }
  return list;
}

// "2026-03-01T09:05:00Z"
std::string utcText(std::int64_t seconds) {
  const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clockTime(time - day);
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clockTime.hours().count()), static_cast<int>(clockTime.minutes().count()),
                static_cast<int>(clockTime.seconds().count()));
  return text.data();
}

// 256 bits that nobody can guess, in hexadecimal digits.
std::string newToken() {
  std::random_device source;
  std::string token;
  for (int i = 0; i < 8; ++i) {
    std::array<char, 9> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x", static_cast<unsigned>(source()));
    token += digits.data();
  }
  return token;
}

// On a connection's thread: the folder may be slow.
void checkScenePath(const std::string& path) {
  std::error_code code;
  if (!std::filesystem::path(path).is_absolute())
    throw LinkError("The path \"" + path + "\" of the scene is not absolute.", "Send the whole path.");
  if (!std::filesystem::is_regular_file(path, code))
    throw LinkError("The scene \"" + path + "\" is not there.", "Check the path.");
}

Json openAnswer(const Json& id, OpenEnd end, const FileError* error) {
  if (end == OpenEnd::opened) return {{"type", "ack"}, {"message", id}};
  std::string text = "Loading was cancelled, or another scene was opened meanwhile.";
  std::string help = "Look into the window of Lumenara Studio.";
  if (end == OpenEnd::kept)
    text = "The scene is not opened: the open scene has unsaved changes and stays.";
  else if (error && !error->sentence.empty()) {
    text = error->sentence + (error->reason.empty() ? "" : " " + error->reason);
    help = error->advice;
  }
  return {{"type", "error"}, {"message", id}, {"text", text}, {"help", help}};
}

} // namespace

LinkServer::LinkServer(Session& session, const std::optional<LinkTcp>& tcp)
    : session_(session), applier_(session), grabber_(session), started_(utcText(clock().wallSeconds())),
      self_(lifetime_.ref()) {
  picked_ = session_.hub().selectionChanged.add([this] { tellPicked(); });
  if (!startListening()) return;
  rendered_ = session_.viewerFilm().rendered.add([this](const FilmNews& news) { tellFinished(news); });
  filesChanged_ = session_.files().changed.add([this] { filesChanged(); });
  setTcp(tcp);
  thread_ = std::thread([this] { listen(listening_, wake_, {}, stop_); });
  cameraTimer_ = mainLoop().addTimer(cameraPeriod, [this] { tellCamera(true); });
  progressTimer_ = mainLoop().addTimer(progressPeriod, [this] { tellProgress(); });
}

LinkServer::~LinkServer() {
  lifetime_.end();
  mainLoop().removeTimer(cameraTimer_);
  mainLoop().removeTimer(progressTimer_);
  mainLoop().removeTimer(retry_);
  stopTcp();
  stop_ = true;
  wake_.ring();
  if (thread_.joinable()) thread_.join();
  std::vector<std::shared_ptr<LinkConnection>> connections;
  {
    const std::lock_guard lock(mutex_);
    connections.swap(connections_);
  }
  for (const auto& connection : connections)
    connection->send({{"type", "closed"}, {"reason", "Lumenara Studio no longer listens."}});
  for (const auto& connection : connections)
    connection->stop();
  if (path_.empty()) return;
  std::remove(path_.c_str());
  std::remove((path_.substr(0, path_.size() - 4) + "json").c_str());
}

bool LinkServer::startListening() {
  const std::string folder = linkFolder(error_);
  if (folder.empty()) return false;
  removeStaleLinks(folder);
  const std::string path = folder + "/link-" + std::to_string(platform::processNumber()) + ".sock";
  std::remove(path.c_str()); // of an ended process with the same number
  std::string reason;
  listening_ = Socket::listenAt(path, reason);
  if (!listening_.isValid()) {
    error_ = "The live link cannot listen at " + path + ": " + reason + ".";
    return false;
  }
  path_ = path;
  return true;
}

void LinkServer::startTcp(const LinkTcp& tcp) {
  if (!tcp.token.empty() && tcp.token.size() < shortestToken) {
    tcpError_ = "The live link does not listen at 127.0.0.1: its token has fewer than " +
                std::to_string(shortestToken) + " letters. Choose a longer one.";
    return;
  }
  std::string reason;
  tcpListening_ = Socket::listenOnLoopback(tcp.port, reason);
  if (!tcpListening_.isValid()) {
    tcpError_ = "The live link cannot listen at 127.0.0.1:" + std::to_string(tcp.port) + ": " + reason +
                ". Choose another port.";
    return;
  }
  if (!tcp.token.empty())
    token_ = tcp.token;
  else if (token_.empty())
    token_ = newToken();
  tcpStop_ = false;
  tcpThread_ = std::thread([this] { listen(tcpListening_, tcpWake_, token_, tcpStop_); });
}

// The listener of the socket forgets the connections once they have ended.
void LinkServer::stopTcp() {
  tcpStop_ = true;
  tcpWake_.ring();
  if (tcpThread_.joinable()) tcpThread_.join();
  tcpWake_.clear();
  tcpListening_ = Socket();
  const std::lock_guard lock(mutex_);
  for (const auto& connection : connections_)
    if (connection->needsToken()) {
      connection->send({{"type", "closed"}, {"reason", "Lumenara Studio no longer listens at this port."}});
      connection->askToStop();
    }
}

void LinkServer::setTcp(const std::optional<LinkTcp>& tcp) {
  stopTcp();
  tcpError_.clear();
  if (path_.empty()) return;
  if (tcp) startTcp(*tcp);
  describe();
}

// Clients find the socket by this file.
void LinkServer::describe() {
  title_ = session_.files().title().GetUTF8();
  Json description{{"version", 1},    {"pid", platform::processNumber()},
                   {"socket", path_}, {"program", "Lumenara Studio"},
                   {"scene", title_}, {"started", started_}};
  if (tcpPort() != 0) {
    description["port"] = tcpPort();
    description["token"] = token_;
  }
  replaceFile(Filename(String(path_.substr(0, path_.size() - 4) + "json")),
              description.dump(2, ' ', false, Json::error_handler_t::replace) + "\n", &error_);
}

void LinkServer::listen(Socket& at, Wake& wake, const std::string& token, const std::atomic<bool>& stop) {
  platform::setThreadName("link listener");
  LinkReceiver& receiver = *this;
  while (!stop) {
    at.wait(wake, false, -1);
    wake.clear();
    Socket arrived = at.accept();
    const std::lock_guard lock(mutex_);
    std::erase_if(connections_, [](const auto& connection) { return connection->hasEnded(); });
    if (!arrived.isValid() || stop || connections_.size() >= mostConnections) continue;
    connections_.push_back(std::make_shared<LinkConnection>(std::move(arrived), receiver, token));
    connections_.back()->start();
  }
}

void LinkServer::post(std::function<void(LinkServer&)> task) {
  mainLoop().post([self = self_, task = std::move(task)] {
    if (self) task(*self.get());
  });
}

// --- on the connections' threads ---

bool LinkServer::claim(const LinkConnection& connection) {
  const std::lock_guard lock(mutex_);
  if (!owner_) owner_ = &connection;
  return owner_ == &connection;
}

void LinkServer::greeted(const std::shared_ptr<LinkConnection>& connection) {
  post([program = connection->program()](LinkServer& server) {
    if (!server.state_.program.empty()) return;
    server.state_.program = program;
    server.changed.call();
  });
}

void LinkServer::committed(const std::shared_ptr<LinkConnection>& connection, LinkScenePtr scene) {
  const std::lock_guard lock(mutex_);
  if (pending_.scene) {
    ++pending_.skipped;
    pending_.undo = pending_.undo || pending_.scene->undo;
  }
  pending_.connection = connection;
  pending_.scene = std::move(scene);
  if (std::exchange(posted_, true)) return;
  post([](LinkServer& server) { server.applyPending(); });
}

void LinkServer::asked(const std::shared_ptr<LinkConnection>& connection, const Json& message) {
  if (textIn(message, "type") == "grab") {
    LinkGrabber::check(message);
    return post([connection, message](LinkServer& server) { server.grabber_.grab(connection, message); });
  }
  checkScenePath(textIn(message, "path"));
  post([connection, message](LinkServer& server) { server.open(connection, message); });
}

void LinkServer::ended(const LinkConnection& connection) {
  {
    const std::lock_guard lock(mutex_);
    if (owner_ == &connection) owner_ = nullptr;
  }
  wake_.ring(); // the listener forgets it
  post([gone = &connection](LinkServer& server) { server.left(gone); });
}

// --- on the main thread ---

void LinkServer::left(const LinkConnection* connection) {
  const std::lock_guard lock(mutex_);
  if (client_.get() == connection) client_.reset();
  if (owner_) return;
  state_.program.clear();
  mainLoop().post([self = self_] {
    if (self) self->changed.call();
  });
}

// A commit waits while the user drags a value or answers a question.
void LinkServer::applyPending() {
  if (applying_ || session_.edits().isContinuous() || mainLoop().inModal()) {
    if (retry_ != 0) return;
    retry_ = mainLoop().addTimer(retryPeriod, [this] {
      mainLoop().removeTimer(std::exchange(retry_, 0));
      applyPending();
    });
    return;
  }
  Pending pending;
  {
    const std::lock_guard lock(mutex_);
    std::swap(pending, pending_);
    posted_ = false;
  }
  if (!pending.scene) return;
  applying_ = true;
  try {
    show(pending);
  } catch (const std::exception& error) {
    pending.connection->send({{"type", "error"},
                              {"message", nullptr},
                              {"text", std::string("The scene could not be taken over: ") + error.what()},
                              {"help", "Send the scene again."}});
  }
  applying_ = false;
}

void LinkServer::show(const Pending& pending) {
  const Stopwatch watch;
  LinkScenePtr scene = pending.scene;
  if (pending.undo && !scene->undo) {
    auto copy = std::make_shared<LinkScene>(*scene);
    copy->undo = true;
    scene = std::move(copy);
  }
  if (!applier_.apply(scene)) {
    pending.connection->send(
        {{"type", "error"},
         {"message", nullptr},
         {"text", "The scene that is open in Lumenara Studio has unsaved changes and stays."},
         {"help", "Save it or discard its changes, then send the scene again."}});
    return;
  }
  shown_ = scene;
  client_ = pending.connection;
  state_.program = client_->program();
  state_.objects = scene->objects->size();
  state_.triangles = scene->triangles;
  ++state_.commits;
  state_.milliseconds = watch.milliseconds();
  state_.updated = clock().wallSeconds();
  tellCamera(false);
  Json ack{{"type", "ack"},
           {"commit", scene->commit},
           {"milliseconds", state_.milliseconds},
           {"objects", state_.objects},
           {"triangles", state_.triangles},
           {"notes", scene->notes}};
  if (pending.skipped > 0) ack["through"] = scene->commit;
  client_->send(ack);
  changed.call();
}

// The answer follows when loading and its questions have ended.
void LinkServer::open(const std::shared_ptr<LinkConnection>& connection, const Json& message) {
  const Json& id = member(message, "id");
  session_.files().open(Filename(String(textIn(message, "path"))),
                        [connection, id](OpenEnd end, const FileError* error) {
                          connection->send(openAnswer(id, end, error));
                        });
}

void LinkServer::filesChanged() {
  if (session_.files().title().GetUTF8() != title_) describe();
}

void LinkServer::tell(const Json& message) {
  if (client_) client_->send(message);
}

void LinkServer::tellPicked() {
  if (!client_ || !shown_ || !session_.document()) return;
  const std::vector<Identity> selected = selectedObjects(*session_.document());
  if (selected.empty()) return;
  for (const LinkObjectPtr& object : *shown_->objects)
    if (object->identity == selected.front())
      return tell({{"type", "picked"}, {"key", object->key}, {"name", object->name.GetUTF8()}});
}

void LinkServer::tellFinished(const FilmNews& news) {
  if (!news.byPlugin) return;
  if (news.stage == FilmNews::Stage::begun) rendering_ = Stopwatch();
  if (news.stage != FilmNews::Stage::ended) return;
  const char* result = news.result == RENDERRESULT_OK             ? "done"
                       : news.result == RENDERRESULT_ASSETMISSING ? "asset missing"
                       : news.result == RENDERRESULT_USERBREAK    ? "stopped"
                                                                  : "failed";
  Json message{{"type", "finished"}, {"result", result}, {"seconds", rendering_.milliseconds() / 1000}};
  if (news.film) {
    message["width"] = news.film->width();
    message["height"] = news.film->height();
  }
  tell(message);
}

// To all clients that watch, when it has changed.
void LinkServer::tellProgress() {
  const ViewerProgress now = session_.viewerFilm().progress();
  if (now == std::exchange(told_, now) || now.samples == 0) return;
  const Json message{{"type", "progress"}, {"samples", now.done}, {"of", now.samples}};
  const std::lock_guard lock(mutex_);
  for (const auto& connection : connections_)
    if (connection->watchesProgress()) connection->send(message);
}

// Notes the view's camera, and sends it when it has moved since.
void LinkServer::tellCamera(bool send) {
  if (!client_ || !shown_ || !session_.document()) return;
  const DocumentState& document = *stateOf(session_.document());
  const ViewState* view = document.renderView;
  if (!view) return;
  const auto* chosen = static_cast<const ObjectState*>(findNode(document, view->camera));
  const ObjectState* camera = chosen ? chosen : view->editorCamera;
  if (!camera) return;
  const Matrix place = worldOf(*camera);
  const Real fov = param::real(*camera, param::cameraYfov);
  if (place == lastView_ && fov == lastFov_) return;
  lastView_ = place;
  lastFov_ = fov;
  if (!send) return;
  Json key;
  for (const LinkObjectPtr& object : *shown_->objects)
    if (chosen && object->identity == chosen->identity) key = object->key;
  tell({{"type", "camera"}, {"key", key}, {"matrix", matrixList(place)}, {"yfov", fov}});
}

} // namespace host
