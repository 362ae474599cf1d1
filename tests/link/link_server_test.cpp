#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "film.h"
#include "link_client.h"
#include "link_kit.h"
#include "link_peer.h"
#include "link_place.h"
#include "link_server.h"
#include "picture_formats.h"
#include "picture_load.h"
#include "render_notices.h"
#include "scene_file.h"
#include "session_fixture.h"

using namespace host;
using namespace linkkit;

class LinkServerTest : public SessionFixture {
 protected:
  LinkServerTest() {
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    server = std::make_unique<LinkServer>(*session);
  }
  ~LinkServerTest() override {
    server.reset();
    unsetenv("XDG_RUNTIME_DIR");
    std::filesystem::remove_all(runtime);
  }
  void sendScene(Client& client, int n) {
    client.send(Message(typed("scene_begin")));
    client.send(square());
    client.send(linkkit::object("a", "m"));
    client.send(Message(typed("scene_end")));
    client.send(commit(n));
  }
  /// The viewer's entry of the session's pictures: 3 x 2 pixels of this grey.
  void showInViewer(float light, bool running) {
    const SharedBitmap bitmap = makeBitmap(3, 2);
    const auto film = std::make_shared<Film>(3, 2);
    const float color[4] = {light, light, light, 1};
    for (int i = 0; i < 6; ++i)
      film->setColor(i % 3, i / 3, color);
    setFilm(*bitmap, film);
    session->pictures().showLive(bitmap, "Viewer", running);
  }
  static Message grab(const char* format, int id) {
    return Message(Json{{"type", "grab"}, {"id", id}, {"format", format}});
  }
  std::string describedScene() {
    const std::vector<RunningLink> running = runningLinks(runtime + "/lumenara");
    return running.empty() ? std::string() : running.front().scene;
  }
  std::string saveScene(const char* name) {
    const std::string path = runtime + "/" + name;
    const DocumentPtr made = scene();
    EXPECT_TRUE(saveDocument(*made, Filename(String(path))));
    return path;
  }

  std::string runtime = runtimeFolder();
  std::unique_ptr<LinkServer> server;
};

TEST_F(LinkServerTest, ASceneIsAcknowledged) {
  ASSERT_EQ(server->error(), "");
  const std::vector<RunningLink> running = runningLinks(runtime + "/lumenara");
  ASSERT_EQ(running.size(), 1U);
  EXPECT_EQ(running[0].socket, server->socketPath());
  Client client(server->socketPath());
  client.hello();
  EXPECT_EQ(client.receive("welcome")["version"], 1);
  sendScene(client, 5);
  const Json ack = client.receive("ack");
  EXPECT_EQ(ack["commit"], 5);
  EXPECT_EQ(ack["objects"], 1);
  EXPECT_EQ(ack["triangles"], 2);
  EXPECT_EQ(server->state().program, "Test");
  ASSERT_NE(object("a"), nullptr);
}

TEST_F(LinkServerTest, ANewerClientIsRefusedWithBothVersions) {
  Client client(server->socketPath());
  client.hello(9);
  const std::string reason = client.receive("refused")["reason"];
  EXPECT_NE(reason.find("version 9"), std::string::npos) << reason;
  EXPECT_NE(reason.find("version 1"), std::string::npos) << reason;
}

TEST_F(LinkServerTest, ErrorsNameTheMessageAndTheStreamGoesOn) {
  Client client(server->socketPath());
  client.hello();
  client.send(Message(Json{{"type", "rename"}, {"id", 42}, {"key", "unknown"}}));
  client.send(Message(typed("ping")));
  EXPECT_EQ(client.receive("error")["message"], 42);
  EXPECT_TRUE(client.receive("pong").is_object());
}

TEST_F(LinkServerTest, ASecondSenderIsRefusedUntilTheFirstGoes) {
  Client first(server->socketPath()), second(server->socketPath());
  first.hello();
  sendScene(first, 1);
  ASSERT_EQ(first.receive("ack")["commit"], 1);
  second.hello();
  sendScene(second, 2);
  second.send(Message(typed("ping")));
  EXPECT_TRUE(second.receive("pong").is_object());
  EXPECT_TRUE(second.receive("error").is_object());
  first.send(Message(typed("bye")));
  int tries = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (std::chrono::steady_clock::now() < end && server->state().commits < 2) {
    first.step();
    second.step();
    if (++tries % 20 == 0) sendScene(second, 3);
  }
  EXPECT_GE(server->state().commits, 2U);
}

TEST_F(LinkServerTest, AFloodShowsTheNewest) {
  Client client(server->socketPath());
  client.hello();
  sendScene(client, 1);
  ASSERT_EQ(client.receive("ack")["commit"], 1);
  for (int n = 2; n <= 200; ++n) {
    client.send(move("a", n));
    client.send(commit(n));
  }
  Json ack;
  do
    ack = client.receive("ack");
  while (ack.is_object() && ack["commit"] != 200);
  ASSERT_TRUE(ack.is_object());
  EXPECT_EQ(object("a")->local.off.x, 200);
}

TEST_F(LinkServerTest, ClientsThatDieInAMessageLeaveTheLastScene) {
  {
    Client client(server->socketPath());
    client.hello();
    sendScene(client, 1);
    ASSERT_EQ(client.receive("ack")["commit"], 1);
  }
  const std::string message = square("other").packed();
  for (std::size_t cut = 1; cut < message.size(); cut += message.size() / 7) {
    Client client(server->socketPath());
    client.hello();
    ASSERT_TRUE(client.receive("welcome").is_object());
    client.send(message.substr(0, cut));
    client.step();
  }
  Client client(server->socketPath());
  client.hello();
  EXPECT_TRUE(client.receive("welcome").is_object());
  EXPECT_NE(object("a"), nullptr);
}

TEST_F(LinkServerTest, AFolderOfOthersIsRefused) {
  std::filesystem::permissions(runtime + "/lumenara", std::filesystem::perms(0755));
  std::string error;
  EXPECT_EQ(linkFolder(error), "");
  EXPECT_NE(error.find(runtime), std::string::npos);
}

TEST_F(LinkServerTest, TheViewersPictureIsGrabbedWhileItRenders) {
  Client client(server->socketPath());
  client.hello();
  client.send(grab("png", 1));
  const Json refused = client.receive("error");
  EXPECT_EQ(refused["message"], 1);
  EXPECT_EQ(refused["text"], "The viewer of Lumenara Studio has no picture yet.");

  showInViewer(0.5f, true);
  for (const char* format : {"png", "bmp", "exr"}) {
    client.send(grab(format, 2));
    const Json answer = client.receive("picture");
    ASSERT_TRUE(answer.is_object()) << format;
    EXPECT_EQ(answer["message"], 2);
    EXPECT_EQ(answer["width"], 3);
    EXPECT_EQ(answer["height"], 2);
    EXPECT_EQ(answer["running"], true);
    const std::size_t count = answer["blocks"]["file"]["count"];
    ASSERT_LE(count, client.body.size());
    const LoadedPicture loaded = loadPictureBytes(std::span(client.body).first(count), "picture");
    ASSERT_NE(loaded.picture, nullptr) << loaded.error;
    EXPECT_EQ(loaded.picture->width, 3);
    bool seen = false;
    eachPixelWord(*loaded.picture, [&](std::size_t pixel, ULONG word) {
      seen = true;
      EXPECT_EQ(word & 0xffffff, 0xbcbcbcU) << format << " " << pixel; // sRGB of 0.5
    });
    EXPECT_TRUE(seen);
  }
}

TEST_F(LinkServerTest, UnknownFormatsAndMissingScenesAreRefused) {
  showInViewer(0.5f, false);
  Client client(server->socketPath());
  client.hello();
  client.send(grab("xyz", 7));
  EXPECT_EQ(client.receive("error")["text"], "Pictures are not written as \"xyz\".");
  for (const char* path : {"", "here.glb", "/none/here.glb", "/"}) {
    client.send(Message(Json{{"type", "open"}, {"id", 8}, {"path", path}}));
    EXPECT_EQ(client.receive("error")["message"], 8) << path;
  }
}

TEST_F(LinkServerTest, AnOpenedSceneIsAnsweredWhenItIsShown) {
  const std::string good = saveScene("good.glb"), bad = runtime + "/bad.glb";
  std::ofstream(bad) << "no scene";
  Client client(server->socketPath());
  client.hello();
  client.send(Message(Json{{"type", "open"}, {"id", 3}, {"path", good}}));
  EXPECT_EQ(client.receive("ack")["message"], 3);
  EXPECT_EQ(session->files().title(), String("good.glb"));
  EXPECT_EQ(describedScene(), "good.glb");
  client.send(Message(Json{{"type", "open"}, {"id", 4}, {"path", bad}}));
  const Json refused = client.receive("error");
  EXPECT_EQ(refused["message"], 4);
  const std::string text = refused["text"];
  EXPECT_EQ(text.find("The scene could not be opened. \"" + bad + "\": "), 0U) << text;
  EXPECT_GT(text.size(), bad.size() + 40) << text;
  EXPECT_FALSE(std::string(refused["help"]).empty());
  EXPECT_EQ(session->files().title(), String("good.glb"));
  // Of two at once the newer one is shown.
  const std::string other = saveScene("other.glb");
  client.send(Message(Json{{"type", "open"}, {"id", 5}, {"path", good}}));
  client.send(Message(Json{{"type", "open"}, {"id", 6}, {"path", other}}));
  EXPECT_EQ(client.receive("ack")["message"], 6);
  EXPECT_EQ(client.receive("error")["message"], 5);
  EXPECT_EQ(describedScene(), "other.glb");
}

TEST_F(LinkServerTest, OpenIsAnsweredAfterTheQuestionsThatLoadingAsks) {
  // The scene is edited while the file is read, so the question comes when reading has ended.
  const std::string path = saveScene("late.glb");
  for (const UnsavedAnswer answer : {UnsavedAnswer::cancel, UnsavedAnswer::discard}) {
    Client client(server->socketPath());
    client.hello();
    ASSERT_TRUE(client.receive("welcome").is_object());
    bool answered = false, early = false;
    FileQuestions questions;
    questions.unsaved = [&](const String&, const std::vector<std::string>&) {
      client.send(Message(typed("ping")));
      EXPECT_TRUE(client.receive("pong").is_object()); // what was told until now has arrived
      early = client.has("ack") || client.has("error");
      answered = true;
      return answer;
    };
    session->files().setQuestions(questions);
    const Subscription loading = session->files().changed.add([&] {
      if (session->files().activity().kind == FileSession::Activity::Kind::loading &&
          !session->files().isDirty())
        session->edits().apply("Rename", [](BaseDocument& to) {
          stateOf(&to)->name = String("Edited");
          return true;
        });
    });
    client.send(Message(Json{{"type", "open"}, {"id", 9}, {"path", path}}));
    const Json end = client.receive(answer == UnsavedAnswer::cancel ? "error" : "ack");
    EXPECT_EQ(end["message"], 9);
    EXPECT_TRUE(answered);
    EXPECT_FALSE(early);
    session->files().setQuestions({});
  }
}

TEST_F(LinkServerTest, ProgressGoesToThoseThatWatch) {
  Client watching(server->socketPath()), other(server->socketPath());
  for (Client* client : {&watching, &other})
    client->hello();
  watching.send(Message(Json{{"type", "watch"}, {"id", 1}, {"progress", "yes"}}));
  EXPECT_EQ(watching.receive("error")["message"], 1);
  watching.send(Message(Json{{"type", "watch"}, {"progress", true}}));
  for (Client* client : {&watching, &other}) { // both are served
    client->send(Message(typed("ping")));
    ASSERT_TRUE(client->receive("pong").is_object());
  }
  host::render::tellRenderProgressed({1000000, false, 0.5, 10}); // no plug-in's
  host::render::tellRenderProgressed({1000001, true, 0.25, 64});
  advance(250);
  const Json first = watching.receive("progress");
  EXPECT_EQ(first["samples"], 16);
  EXPECT_EQ(first["of"], 64);
  host::render::tellRenderProgressed({1000000, true, 0.9, 64}); // of an older render
  for (const double part : {0.3, 0.4, 0.5})                     // the newest counts
    host::render::tellRenderProgressed({1000001, true, part, 64});
  advance(250);
  EXPECT_EQ(watching.receive("progress")["samples"], 32);
  host::render::RenderNotice ended;
  ended.id = 1000001;
  ended.byPlugin = true;
  host::render::tellRenderEnded(ended);
  EXPECT_EQ(session->viewerFilm().progress().samples, 0);
  advance(250);
  host::render::tellRenderProgressed({1000002, true, 1, 8});
  advance(250);
  EXPECT_EQ(watching.receive("progress")["of"], 8);
  other.send(Message(typed("ping")));
  EXPECT_TRUE(other.receive("pong").is_object());
  EXPECT_FALSE(other.has("progress"));
}

TEST_F(LinkServerTest, TheDescriptionSaysTheStartInUtc) {
  const std::vector<RunningLink> running = runningLinks(runtime + "/lumenara");
  ASSERT_EQ(running.size(), 1U);
  const std::string& text = running[0].started;
  ASSERT_EQ(text.size(), 20U) << text;
  std::tm parts{};
  EXPECT_NE(strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts), nullptr) << text;
  EXPECT_LE(std::llabs(static_cast<long long>(timegm(&parts)) - host::clock().wallSeconds()), 600) << text;
}

TEST_F(LinkServerTest, TcpIsOffUntilItIsAskedFor) {
  EXPECT_EQ(server->tcpPort(), 0);
  std::ifstream file(server->socketPath().substr(0, server->socketPath().size() - 4) + "json");
  EXPECT_FALSE(Json::parse(file).contains("port"));
}

TEST_F(LinkServerTest, TcpWantsTheToken) {
  server.reset();
  server = std::make_unique<LinkServer>(*session, LinkTcp{});
  ASSERT_EQ(server->tcpError(), "");
  ASSERT_NE(server->tcpPort(), 0);
  std::ifstream file(server->socketPath().substr(0, server->socketPath().size() - 4) + "json");
  const Json description = Json::parse(file);
  EXPECT_EQ(description["port"], server->tcpPort());
  const std::string token = description["token"];
  EXPECT_EQ(token.size(), 64U);
  std::string other = token;
  other.back() = other.back() == '0' ? '1' : '0';
  for (const Json& wrong :
       {Json(nullptr), Json(""), Json(other), Json(token + "0"), Json(token.substr(1)), Json(7)}) {
    Client client(server->tcpPort());
    client.send(Message(Json{{"type", "hello"}, {"version", 1}, {"program", "Test"}, {"token", wrong}}));
    client.send(Message(typed("ping")));
    EXPECT_EQ(client.receive("refused")["reason"], "The token of the live link is missing or wrong.")
        << wrong;
    EXPECT_FALSE(client.has("pong"));
  }
  Client client(server->tcpPort());
  client.send(Message(Json{{"type", "hello"}, {"version", 1}, {"program", "Test"}, {"token", token}}));
  EXPECT_TRUE(client.receive("welcome").is_object());
  sendScene(client, 4);
  EXPECT_EQ(client.receive("ack")["commit"], 4);
  // The socket in the user's own folder wants none.
  Client local(server->socketPath());
  local.hello();
  EXPECT_TRUE(local.receive("welcome").is_object());
}

TEST_F(LinkServerTest, AChosenTokenHolds) {
  server.reset();
  server = std::make_unique<LinkServer>(*session, LinkTcp{0, "a token of the environment"});
  Client client(server->tcpPort());
  client.send(Message(Json{{"type", "hello"}, {"version", 1}, {"token", "a token of the environment"}}));
  EXPECT_TRUE(client.receive("welcome").is_object());
  server.reset();
  server = std::make_unique<LinkServer>(*session, LinkTcp{0, "short"});
  EXPECT_EQ(server->tcpPort(), 0);
  EXPECT_NE(server->tcpError().find("fewer than 16"), std::string::npos) << server->tcpError();
}

TEST_F(LinkServerTest, APortInUseIsSaidAndTheSocketServes) {
  server.reset();
  std::string error;
  const Socket taken = Socket::listenOnLoopback(0, error);
  ASSERT_TRUE(taken.isValid()) << error;
  server = std::make_unique<LinkServer>(*session, LinkTcp{taken.port(), ""});
  EXPECT_EQ(server->tcpPort(), 0);
  EXPECT_NE(server->tcpError().find("127.0.0.1:" + std::to_string(taken.port())), std::string::npos);
  EXPECT_EQ(server->error(), "");
  Client client(server->socketPath());
  client.hello();
  EXPECT_TRUE(client.receive("welcome").is_object());
}

TEST_F(LinkServerTest, StrangersMaySendLittleBeforeTheyAreKnown) {
  Client client(server->socketPath());
  client.send(Message(Json{{"type", "hello"}, {"version", 1}, {"program", std::string(70000, 'x')}}));
  EXPECT_TRUE(client.receive("closed").is_object());
  Client other(server->socketPath());
  other.hello();
  other.send(Message(Json{{"type", "ping"}, {"padding", std::string(70000, 'x')}}));
  EXPECT_TRUE(other.receive("pong").is_object());
}

TEST_F(LinkServerTest, TheEndOfTheViewersRenderIsTold) {
  Client client(server->socketPath());
  client.hello();
  sendScene(client, 1);
  ASSERT_EQ(client.receive("ack")["commit"], 1);
  FilmNews news;
  const auto tell = [&](FilmNews::Stage stage, RENDERRESULT result) {
    news.stage = stage;
    news.result = result;
    session->viewerFilm().rendered.call(news);
  };
  tell(FilmNews::Stage::ended, RENDERRESULT_OK); // not the viewer's
  news.byPlugin = true;
  tell(FilmNews::Stage::begun, RENDERRESULT_OK);
  tell(FilmNews::Stage::ended, RENDERRESULT_USERBREAK);
  const Json stopped = client.receive("finished");
  EXPECT_EQ(stopped["result"], "stopped");
  EXPECT_FALSE(stopped.contains("width"));
  EXPECT_GE(stopped["seconds"], 0.0);
  news.film = std::make_shared<Film>(5, 4);
  for (const auto& [result, word] :
       {std::pair(RENDERRESULT_OK, "done"), std::pair(RENDERRESULT_ASSETMISSING, "asset missing"),
        std::pair(RENDERRESULT_OUTOFMEMORY, "failed")}) {
    tell(FilmNews::Stage::ended, result);
    const Json finished = client.receive("finished");
    EXPECT_EQ(finished["result"], word);
    EXPECT_EQ(finished["width"], 5);
    EXPECT_EQ(finished["height"], 4);
  }
}
