// The live link as its user switches it.
#include "live_link.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "link_peer.h"
#include "preferences.h"
#include "session_fixture.h"

using namespace host;
using namespace linkkit;

class LiveLinkTest : public SessionFixture {
 protected:
  LiveLinkTest() {
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    link = std::make_unique<LiveLink>(*session);
    changed = link->changed.add([this] { ++changes; });
  }
  ~LiveLinkTest() override {
    link.reset();
    unsetenv("XDG_RUNTIME_DIR");
    std::filesystem::remove_all(runtime);
  }
  // The file by which clients find the program; null when it is not there.
  Json description() const {
    const std::string& path = link->server()->socketPath();
    std::ifstream file(path.substr(0, path.size() - 4) + "json");
    return file ? Json::parse(file) : Json();
  }
  Json greet(Client& client) const {
    client.send(Message(
        Json{{"type", "hello"}, {"version", 1}, {"program", "Test"}, {"token", link->server()->token()}}));
    return client.receive("welcome");
  }

  std::string runtime = runtimeFolder();
  std::unique_ptr<LiveLink> link;
  Subscription changed;
  int changes = 0;
};

TEST_F(LiveLinkTest, ListensOnlyWhileItIsWanted) {
  EXPECT_EQ(link->server(), nullptr);
  link->use({true, false, 0});
  ASSERT_NE(link->server(), nullptr);
  EXPECT_EQ(link->trouble(), "");
  const std::string path = link->server()->socketPath();
  Client client(path);
  EXPECT_TRUE(greet(client).is_object());
  const int before = changes;
  link->use({false, false, 0});
  EXPECT_EQ(changes, before + 1);
  EXPECT_EQ(link->server(), nullptr);
  EXPECT_EQ(client.receive("closed")["reason"], "Lumenara Studio no longer listens.");
  EXPECT_FALSE(std::filesystem::exists(path));
  link->use({true, false, 0});
  Client again(path);
  EXPECT_TRUE(greet(again).is_object());
}

TEST_F(LiveLinkTest, TcpIsSwitchedWithoutTheSocketsClients) {
  link->use({true, false, 0});
  Client local(link->server()->socketPath());
  EXPECT_TRUE(greet(local).is_object());
  EXPECT_FALSE(description().contains("port"));

  link->use({true, true, 0});
  const std::uint16_t port = link->server()->tcpPort();
  const std::string token = link->server()->token();
  ASSERT_NE(port, 0);
  EXPECT_EQ(description()["port"], port);
  Client distant(port);
  EXPECT_TRUE(greet(distant).is_object());

  link->use({true, false, 0});
  EXPECT_EQ(distant.receive("closed")["reason"], "Lumenara Studio no longer listens at this port.");
  EXPECT_TRUE(distant.ends());
  EXPECT_EQ(link->server()->tcpPort(), 0);
  EXPECT_FALSE(description().contains("port"));
  EXPECT_FALSE(Client(port).isValid());
  local.send(Message(typed("ping")));
  EXPECT_TRUE(local.receive("pong").is_object()) << "the program on this desktop stays connected";

  link->use({true, true, 0});
  EXPECT_EQ(link->server()->token(), token) << "what was copied stays right";
  link->use({false, true, 0});
  link->use({true, true, 0});
  EXPECT_EQ(link->server()->token(), token);
}

TEST_F(LiveLinkTest, APortInUseIsSaid) {
  std::string error;
  const Socket taken = Socket::listenOnLoopback(0, error);
  link->use({true, true, taken.port()});
  EXPECT_NE(link->trouble().find("127.0.0.1:" + std::to_string(taken.port())), std::string::npos)
      << link->trouble();
  link->use({true, true, 0});
  EXPECT_EQ(link->trouble(), "");
  EXPECT_NE(link->server()->tcpPort(), 0);
}

TEST_F(LiveLinkTest, AChoiceIsKeptAndAWishOfOneStartIsNot) {
  EXPECT_EQ(storedLinkChoice(), (LinkChoice{true, false, 0}));
  link->use({true, true, 0});
  EXPECT_EQ(storedLinkChoice(), (LinkChoice{true, false, 0})) << "an option of the command line";
  link->choose({false, true, 4711});
  EXPECT_EQ(storedLinkChoice(), (LinkChoice{false, true, 4711}));
  EXPECT_EQ(link->choice(), (LinkChoice{false, true, 4711}));
  BaseContainer strange;
  strange.SetLong(3, 1000000);
  preferences()->setNamed("link", strange);
  EXPECT_EQ(storedLinkChoice(), (LinkChoice{true, false, 65535}));
}

TEST_F(LiveLinkTest, TheLastUpdateIsKnown) {
  link->use({true, false, 0});
  EXPECT_EQ(link->server()->state().updated, 0);
  Client client(link->server()->socketPath());
  greet(client);
  for (const Message& message : {Message(typed("scene_begin")), square(), linkkit::object("a", "m"),
                                 Message(typed("scene_end")), commit(1)})
    client.send(message);
  const Json ack = client.receive("ack");
  EXPECT_EQ(link->server()->state().updated, host::clock().wallSeconds());
  EXPECT_EQ(link->server()->state().milliseconds, ack["milliseconds"]);
  EXPECT_EQ(link->server()->state().triangles, 2U);
}
