// The console's lines, each with its time. Main thread.
#pragma once

#include <QPlainTextEdit>
#include <cstdint>

#include "c4d_string.h"

namespace host {

enum class LineKind { plain, warning, error };
/// Severity of a console line, from its words.
LineKind kindOfLine(const QString& line);

/// Shows the lines that are printed from its construction on, the last `mostLines` of them.
class ConsoleWidget : public QWidget {
  Q_OBJECT
 public:
  static constexpr int mostLines = 5000;

  explicit ConsoleWidget(QWidget* parent = nullptr);
  ~ConsoleWidget() override;

  void copy() const; // the selected text; without a selection all of it
  void clear();
  QString text() const { return text_->toPlainText(); }

 signals:
  void errorPrinted(const QString& line);

 private:
  void addLine(const String& line);

  QPlainTextEdit* text_;
  std::uint64_t listener_ = 0;
};

} // namespace host
