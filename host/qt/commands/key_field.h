// A field that takes the next key that is pressed. Main thread.
#pragma once

#include <QKeySequence>
#include <QLineEdit>

namespace host {

/// Shows a key. Tab, Escape and Enter keep their use in dialogs.
class KeyField : public QLineEdit {
  Q_OBJECT
 public:
  explicit KeyField(QWidget* parent = nullptr);
  void showKeys(const QString& text);

 signals:
  void pressed(const QKeySequence& key);

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* /*event*/) override {}

 private:
  void showHeld(Qt::KeyboardModifiers modifiers);
  QString shown_;
};

} // namespace host
