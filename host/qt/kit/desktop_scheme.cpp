#include "desktop_scheme.h"

#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusVariant>

namespace host {

namespace {

const char* const service = "org.freedesktop.portal.Desktop";
const char* const path = "/org/freedesktop/portal/desktop";
const char* const settings = "org.freedesktop.portal.Settings";
const char* const group = "org.freedesktop.appearance";
const char* const key = "color-scheme";
constexpr int patience = 200; // milliseconds

QDBusMessage question() {
  QDBusMessage message = QDBusMessage::createMethodCall(service, path, settings, "Read");
  message << QString::fromLatin1(group) << QString::fromLatin1(key);
  return message;
}

} // namespace

bool sessionHasBus() {
  if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return true;
  const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
  return !runtime.isEmpty() && QFile::exists(runtime + QLatin1String("/bus"));
}

DesktopScheme::DesktopScheme(const QDBusConnection& bus, QObject* parent) : QObject(parent), bus_(bus) {
  if (!bus_.isConnected()) return;
  bus_.connect(service, path, settings, "SettingChanged", this, SLOT(onSetting(QDBusMessage)));
  const QDBusMessage answer = bus_.call(question(), QDBus::Block, patience);
  if (answer.type() == QDBusMessage::ReplyMessage && !answer.arguments().isEmpty())
    take(answer.arguments().first());
  else if (answer.type() == QDBusMessage::ErrorMessage &&
           answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NoReply"))
    askAgain(); // the service is still starting
}

void DesktopScheme::askAgain() {
  auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(question()), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* done) {
    const QDBusMessage answer = done->reply();
    done->deleteLater();
    if (told_ || answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) return;
    take(answer.arguments().first());
    emit changed();
  });
}

// A number in one variant or two: 1 is dark, 2 is light, any other value means no preference.
void DesktopScheme::take(const QVariant& value) {
  QVariant inner = value;
  for (int i = 0; i < 3 && inner.userType() == qMetaTypeId<QDBusVariant>(); ++i)
    inner = inner.value<QDBusVariant>().variant();
  const uint number = inner.toUInt();
  if (number == 1)
    scheme_ = Scheme::dark;
  else if (number == 2)
    scheme_ = Scheme::light;
  else
    scheme_.reset();
}

// A group, a key and the value in a variant.
void DesktopScheme::onSetting(const QDBusMessage& message) {
  const QVariantList told = message.arguments();
  if (told.size() < 3 || told[0].toString() != QLatin1String(group) ||
      told[1].toString() != QLatin1String(key))
    return;
  told_ = true;
  take(told[2]);
  emit changed();
}

} // namespace host
