#include "console_widget.h"

#include "clock.h"
#include "console.h"
#include "icons.h"
#include "theme.h"

namespace host {

LineKind kindOfLine(const QString& line) {
  static const QRegularExpression error(QStringLiteral("\\b(error|errors|failed|fails|damaged|cannot|could "
                                                       "not|did not|not be (read|saved|loaded|written))\\b"),
                                        QRegularExpression::CaseInsensitiveOption);
  static const QRegularExpression warning(QStringLiteral("\\b(warning|missing|ignored|left out)\\b"),
                                          QRegularExpression::CaseInsensitiveOption);
  if (error.match(line).hasMatch()) return LineKind::error;
  return warning.match(line).hasMatch() ? LineKind::warning : LineKind::plain;
}

ConsoleWidget::ConsoleWidget(QWidget* parent) : QWidget(parent), text_(new QPlainTextEdit) {
  setObjectName(QStringLiteral("console"));
  text_->setObjectName(QStringLiteral("console-text"));
  text_->setAccessibleName(tr("Console"));
  text_->setToolTip(tr("Messages of Studio and of plug-ins"));
  text_->setReadOnly(true);
  text_->setFont(fixedFont());
  text_->setMaximumBlockCount(mostLines);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  text_->setFrameShape(QFrame::NoFrame);
  text_->setPlaceholderText(tr("What the program and its plug-ins report appears here."));

  auto* bar = new QToolBar;
  bar->setOrientation(Qt::Vertical);
  bar->setIconSize(QSize(metrics::icon, metrics::icon));
  connect(bar->addAction(icon(QStringLiteral("copy")), tr("Copy")), &QAction::triggered, this,
          [this] { copy(); });
  connect(bar->addAction(icon(QStringLiteral("delete")), tr("Clear")), &QAction::triggered, this,
          [this] { clear(); });

  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(bar);
  layout->addWidget(text_, 1);
  listener_ = addConsoleListener([this](const String& line) { addLine(line); });
}

ConsoleWidget::~ConsoleWidget() {
  removeConsoleListener(listener_);
}

void ConsoleWidget::copy() const {
  const QTextCursor cursor = text_->textCursor();
  QString chosen = cursor.hasSelection() ? cursor.selectedText() : text_->toPlainText();
  QGuiApplication::clipboard()->setText(chosen.replace(QChar::ParagraphSeparator, QLatin1Char('\n')));
}

void ConsoleWidget::clear() {
  text_->clear();
}

void ConsoleWidget::addLine(const String& line) {
  const QString text = QString::fromStdString(line.GetUTF8());
  const LineKind kind = kindOfLine(text);
  const Tokens& colors = tokens();
  const QColor color = kind == LineKind::error     ? colors.error
                       : kind == LineKind::warning ? colors.warning
                                                   : colors.text;
  const QDateTime time = QDateTime::fromSecsSinceEpoch(clock().wallSeconds());
  QScrollBar* bar = text_->verticalScrollBar();
  const bool atEnd = bar->value() >= bar->maximum();
  text_->appendHtml(QStringLiteral("<span style=\"color:%1\">%2</span>&nbsp;&nbsp;"
                                   "<span style=\"color:%3;white-space:pre\">%4</span>")
                        .arg(colors.dim.name(), time.toString(QStringLiteral("HH:mm:ss")), color.name(),
                             text.toHtmlEscaped()));
  if (atEnd) bar->setValue(bar->maximum());
  if (kind == LineKind::error) emit errorPrinted(text);
}

} // namespace host
