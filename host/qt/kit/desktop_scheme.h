// The desktop's preference for dark or light, from its settings service ("org.freedesktop.appearance
// color-scheme" of the desktop portal; many desktops publish it nowhere else). Main thread.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <optional>

class QDBusMessage;
class QVariant;

namespace host {

/// The desktop's preference.
enum class Scheme { dark, light };

/// Asks once and then listens.
class DesktopScheme : public QObject {
  Q_OBJECT
 public:
  explicit DesktopScheme(const QDBusConnection& bus, QObject* parent = nullptr);

  /// The current preference. Empty when the desktop has none, runs no such service, or has not answered
  /// within 200 ms (a later answer comes with `changed`).
  std::optional<Scheme> scheme() const { return scheme_; }

 signals:
  void changed();

 private slots:
  void onSetting(const QDBusMessage& message);

 private:
  void take(const QVariant& value);
  void askAgain();

  QDBusConnection bus_;
  std::optional<Scheme> scheme_;
  bool told_ = false; // by a signal of the service, which is newer than an answer under way
};

/// Whether the user's session has a message bus; does not start one.
bool sessionHasBus();

} // namespace host
