#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "link_kit.h"
#include "link_place.h"
#include "link_server.h"
#include "session_fixture.h"

using namespace host;
using namespace linkkit;

namespace {

// A client that reads and writes on the test's thread, which runs the main loop meanwhile.
class Client {
 public:
  explicit Client(const std::string& path) { socket_ = Socket::connectTo(path, error_); }

  void send(const std::string& bytes) { waiting_ += bytes; }
  void send(const Message& message) { send(message.packed()); }
  void hello(int version = 1) {
    send(Message(Json{{"type", "hello"}, {"version", version}, {"program", "Test"}}));
  }

  /// The next message of this type; null after 20 seconds.
  Json receive(const std::string& type) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < end) {
      for (std::size_t i = 0; i < received_.size(); ++i)
        if (received_[i]["type"] == type) {
          const Json found = received_[i];
          received_.erase(received_.begin() + static_cast<std::ptrdiff_t>(i));
          return found;
        }
      step();
    }
    return nullptr;
  }
  void step() {
    mainLoop().runDue();
    socket_.wait(wake_, false, 1);
    if (const long count = waiting_.empty() ? 0 : socket_.write(waiting_); count > 0)
      waiting_.erase(0, static_cast<std::size_t>(count));
    std::vector<std::byte> bytes(65536);
    const long count = socket_.read(bytes);
    if (count > 0)
      parser_.feed(std::span(bytes).first(static_cast<std::size_t>(count)),
                   [this](LinkFrame&& frame) { received_.push_back(frame.json); });
  }
  bool isValid() const { return socket_.isValid(); }

 private:
  Socket socket_;
  Wake wake_;
  LinkParser parser_;
  std::string waiting_, error_;
  std::vector<Json> received_;
};

} // namespace

class LinkServerTest : public SessionFixture {
 protected:
  LinkServerTest() {
    setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
    server = std::make_unique<LinkServer>(*session);
  }
  ~LinkServerTest() override {
    server.reset();
    unsetenv("XDG_RUNTIME_DIR");
    std::filesystem::remove_all(folder);
  }
  void sendScene(Client& client, int n) {
    client.send(Message(typed("scene_begin")));
    client.send(square());
    client.send(linkkit::object("a", "m"));
    client.send(Message(typed("scene_end")));
    client.send(commit(n));
  }
  static std::string makeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "link-test-XXXXXX").string();
    return mkdtemp(name.data());
  }

  std::string folder = makeFolder();
  std::unique_ptr<LinkServer> server;
};

TEST_F(LinkServerTest, ASceneIsAcknowledged) {
  ASSERT_EQ(server->error(), "");
  EXPECT_EQ(findLink(folder + "/lumenara"), server->socketPath());
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
  std::filesystem::permissions(folder + "/lumenara", std::filesystem::perms(0755));
  std::string error;
  EXPECT_EQ(linkFolder(error), "");
  EXPECT_NE(error.find(folder), std::string::npos);
}
