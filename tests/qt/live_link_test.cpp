// File > Live Link and the sign in the status bar.
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "link_client.h"
#include "link_dialog.h"
#include "link_place.h"
#include "link_sign.h"
#include "main_kit.h"

namespace {

using namespace host;

class LiveLinkWindow : public StudioTest {
 protected:
  LiveLinkWindow() {
    std::string name = (std::filesystem::temp_directory_path() / "link-window-XXXXXX").string();
    runtime = mkdtemp(name.data());
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    startStudio();
    choose("file.link");
    settle();
  }
  ~LiveLinkWindow() override {
    stopStudio();
    unsetenv("XDG_RUNTIME_DIR");
    std::filesystem::remove_all(runtime);
  }
  template <class Widget>
  Widget& part(const char* name) {
    return *window().findChild<LinkDialog*>("link-dialog")->findChild<Widget*>(QLatin1String(name));
  }
  std::vector<RunningLink> running() const { return runningLinks(runtime + "/lumenara"); }

  std::string runtime;
};

TEST_F(LiveLinkWindow, ItsSwitchesWorkAtOnceAndAreKept) {
  EXPECT_FALSE(part<QCheckBox>("link-listen").isChecked()) << "the tests' Studio does not listen";
  EXPECT_FALSE(part<QCheckBox>("link-tcp").isEnabled());
  EXPECT_EQ(part<QLabel>("link-client").text(), "Studio does not listen");
  part<QCheckBox>("link-listen").click();
  ASSERT_EQ(running().size(), 1u);
  EXPECT_EQ(part<QLabel>("link-client").text(), "No program");
  EXPECT_EQ(part<QLineEdit>("link-address").text(), "");
  part<QCheckBox>("link-tcp").click();
  EXPECT_TRUE(part<QLineEdit>("link-address").text().startsWith("127.0.0.1:"));
  EXPECT_EQ(part<QLineEdit>("link-token").text().size(), 64);
  part<QPushButton>("link-copy-token").click();
  EXPECT_EQ(QGuiApplication::clipboard()->text(), part<QLineEdit>("link-token").text());
  EXPECT_FALSE(part<QLabel>("link-trouble").isVisible());

  part<QCheckBox>("link-listen").click();
  EXPECT_TRUE(running().empty());
  EXPECT_FALSE(part<QCheckBox>("link-tcp").isEnabled());
  EXPECT_TRUE(part<QCheckBox>("link-tcp").isChecked()) << "for the next time";
  EXPECT_EQ(storedLinkChoice(), (LinkChoice{false, true, 0}));
}

TEST_F(LiveLinkWindow, SaysWhoIsConnected) {
  part<QCheckBox>("link-listen").click();
  auto* sign = window().statusBar()->findChild<LinkSign*>("linkState");
  ASSERT_NE(sign, nullptr);
  EXPECT_TRUE(sign->isHidden());
  ASSERT_EQ(running().size(), 1u);
  std::atomic<bool> done{false}, leave{false};
  std::thread program([&, path = running()[0].socket] {
    try {
      LinkClient client(path, "Tom & Jerry " + std::string(90, 'x'), 20000);
      done = true;
      while (!leave)
        std::this_thread::yield();
    } catch (const std::exception&) {
      done = true;
    }
  });
  EXPECT_TRUE(waitFor([&] { return !sign->isHidden(); }, 20000));
  EXPECT_TRUE(sign->text().startsWith("Tom && Jerry x")) << sign->text().toStdString();
  EXPECT_TRUE(sign->text().endsWith("x connected, 0 objects")) << sign->text().toStdString();
  EXPECT_LT(sign->text().size(), 70);
  EXPECT_TRUE(part<QLabel>("link-client").text().startsWith("Tom & Jerry x"));
  EXPECT_EQ(part<QLabel>("link-scene").text(), "None was sent yet");
  window().findChild<LinkDialog*>("link-dialog")->close();
  sign->click();
  settle();
  EXPECT_TRUE(window().findChild<LinkDialog*>("link-dialog")->isVisible());
  leave = true;
  EXPECT_TRUE(waitFor([&] { return sign->isHidden(); }, 20000));
  program.join();
  EXPECT_EQ(part<QLabel>("link-client").text(), "No program");
}

} // namespace
