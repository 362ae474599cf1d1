// Dark and light from the desktop's settings service, on a message bus of the test.
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>
#include <atomic>
#include <optional>
#include <vector>

#include "desktop_scheme.h"
#include "qt_fixture.h"

namespace {

using host::DesktopScheme;
using host::Scheme;

// Answers "Read" as the desktop portal does: the number in two variants.
class Portal : public QDBusVirtualObject {
 public:
  std::atomic<uint> value{1};
  std::atomic<int> delay{0};

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
    if (message.member() != "Read") return false;
    if (message.arguments() != QVariantList{"org.freedesktop.appearance", "color-scheme"}) return false;
    QThread::msleep(static_cast<unsigned long>(delay));
    const QVariant inner = QVariant::fromValue(QDBusVariant(value.load()));
    return bus.send(message.createReply(QVariant::fromValue(QDBusVariant(inner))));
  }
};

class DialogScheme : public QtFixture {
 public:
  void SetUp() override {
    const QString program = QStandardPaths::findExecutable("dbus-daemon");
    if (program.isEmpty()) GTEST_SKIP() << "dbus-daemon is not installed";
    daemon.start(program, {"--session", "--nofork", "--print-address=1"});
    ASSERT_TRUE(daemon.waitForReadyRead(5000));
    address = QString::fromUtf8(daemon.readLine()).trimmed();
    portal.moveToThread(&thread); // a service of its own does not wait for the one that asks
    thread.start();
  }
  void TearDown() override {
    QMetaObject::invokeMethod(&portal, [] { QDBusConnection::disconnectFromBus("service"); });
    thread.quit();
    thread.wait();
    QDBusConnection::disconnectFromBus("client");
    daemon.kill();
    daemon.waitForFinished();
  }

  void startPortal() {
    QMetaObject::invokeMethod(
        &portal,
        [this] {
          QDBusConnection bus = QDBusConnection::connectToBus(address, "service");
          bus.registerVirtualObject("/org/freedesktop/portal/desktop", &portal);
          ASSERT_TRUE(bus.registerService("org.freedesktop.portal.Desktop"));
        },
        Qt::BlockingQueuedConnection);
  }
  void tell(uint value) {
    QMetaObject::invokeMethod(&portal, [value] {
      QDBusMessage signal = QDBusMessage::createSignal("/org/freedesktop/portal/desktop",
                                                       "org.freedesktop.portal.Settings", "SettingChanged");
      signal << "org.freedesktop.appearance"
             << "color-scheme" << QVariant::fromValue(QDBusVariant(value));
      QDBusConnection("service").send(signal);
    });
  }
  QDBusConnection client() { return QDBusConnection::connectToBus(address, "client"); }

  QProcess daemon;
  QString address;
  QThread thread;
  Portal portal;
};

TEST_F(DialogScheme, FollowsTheService) {
  startPortal();
  for (const auto& [value, scheme] :
       {std::pair<uint, std::optional<Scheme>>{1, Scheme::dark}, {2, Scheme::light}, {0, std::nullopt}}) {
    portal.value = value;
    const DesktopScheme asked(client());
    EXPECT_TRUE(waitFor([&] { return asked.scheme() == scheme; })) << value;
  }
}

TEST_F(DialogScheme, FollowsAChange) {
  startPortal();
  DesktopScheme scheme(client());
  ASSERT_TRUE(waitFor([&] { return scheme.scheme() == Scheme::dark; })); // on a busy machine it comes late
  std::vector<std::optional<Scheme>> heard;
  QObject::connect(&scheme, &DesktopScheme::changed, [&] { heard.push_back(scheme.scheme()); });
  tell(2);
  EXPECT_TRUE(waitFor([&] { return !heard.empty(); }));
  tell(0);
  EXPECT_TRUE(waitFor([&] { return heard.size() == 2; }));
  EXPECT_EQ(heard, (std::vector<std::optional<Scheme>>{Scheme::light, std::nullopt}));
}

TEST_F(DialogScheme, LateAnswerIsTakenWhenItComes) {
  startPortal();
  portal.delay = 500;
  DesktopScheme scheme(client());
  EXPECT_EQ(scheme.scheme(), std::nullopt);
  EXPECT_TRUE(waitFor([&] { return scheme.scheme() == Scheme::dark; }));
}

TEST_F(DialogScheme, WithoutAServiceThereIsNoPreference) {
  EXPECT_EQ(DesktopScheme(client()).scheme(), std::nullopt);
  EXPECT_EQ(DesktopScheme(QDBusConnection("no such bus")).scheme(), std::nullopt);
}

} // namespace
