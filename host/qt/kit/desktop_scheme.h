// Whether the desktop is dark or light, as its settings service says ("org.freedesktop.appearance
// color-scheme" of the desktop portal; many desktops tell it nowhere else). Main thread.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <optional>

class QDBusMessage;
class QVariant;

namespace host {

/// What the desktop prefers.
enum class Scheme { dark, light };

/// Asks once and then listens.
class DesktopScheme : public QObject {
  Q_OBJECT
 public:
  explicit DesktopScheme(const QDBusConnection& bus, QObject* parent = nullptr);

  /// What it prefers now. Nothing: it has no preference, there is no such service, or it did not answer
  /// within a fifth of a second (a later answer comes with `changed`).
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
  bool told_ = false; // by the service itself, which is newer than an answer under way
};

/// Whether the user's session has a bus, without starting one.
bool sessionHasBus();

} // namespace host
