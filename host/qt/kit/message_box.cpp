#include "message_box.h"

#include "icons.h"
#include "main_loop.h"
#include "theme.h"

namespace host {

namespace {

constexpr int textWidth = 420;

QLabel* textLabel(const QString& text, QWidget* parent, const char* role = nullptr) {
  auto* label = new QLabel(text, parent);
  if (role) setRole(label, role);
  label->ensurePolished(); // sets the font that it is measured with
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  label->setFocusPolicy(Qt::NoFocus);
  // As wide as needed, and not wider than reads well.
  const QRect room = label->fontMetrics().boundingRect(QRect(0, 0, textWidth, 10000), Qt::TextWordWrap, text);
  label->setMinimumWidth(std::min(room.width() + 4, textWidth));
  return label;
}

// The answer and its keys: "Save (Enter)".
QString answerTip(const QString& answer, bool enter, bool escape) {
  QStringList keys;
  if (const QKeySequence letter = QKeySequence::mnemonic(answer); !letter.isEmpty())
    keys << letter.toString(QKeySequence::NativeText);
  if (enter) keys << QKeySequence(Qt::Key_Return).toString(QKeySequence::NativeText);
  if (escape) keys << QKeySequence(Qt::Key_Escape).toString(QKeySequence::NativeText);
  const QString plain = QString(answer).remove(QLatin1Char('&'));
  return keys.isEmpty() ? plain : QStringLiteral("%1 (%2)").arg(plain, keys.join(QStringLiteral(", ")));
}

// The sentence, the reason and the advice; the details open below.
class Box : public QDialog {
 public:
  Box(QWidget* parent, const QString& picture, const QColor& color, const BoxText& text,
      const QStringList& buttons, int enter)
      : QDialog(parent) {
    setWindowTitle(QStringLiteral("Lumenara Studio"));
    setObjectName(QStringLiteral("box"));
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(20, 20, 20, 16);
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(8);
    grid->setColumnStretch(1, 1);
    auto* mark = new QLabel(this);
    mark->setPixmap(iconPixmap(picture, 32, color, devicePixelRatioF()));
    grid->addWidget(mark, 0, 0, 3, 1, Qt::AlignTop);
    auto* sentence = textLabel(text.sentence, this, "sentence");
    sentence->setObjectName(QStringLiteral("sentence"));
    grid->addWidget(sentence, 0, 1);
    if (!text.reason.isEmpty()) grid->addWidget(textLabel(text.reason, this), 1, 1);
    if (!text.advice.isEmpty()) grid->addWidget(textLabel(text.advice, this), 2, 1);
    if (!text.details.isEmpty()) addDetails(*grid, text.details);
    grid->addLayout(buttonRow(buttons, enter), 5, 0, 1, 2);
    grid->setSizeConstraint(QLayout::SetFixedSize);
    setAccessibleName(text.sentence);
    setAccessibleDescription(text.reason);
  }

  int chosen() const { return chosen_; }

 private:
  void addDetails(QGridLayout& grid, const QString& details) {
    auto* fold = new QToolButton(this);
    fold->setText(tr("Details"));
    fold->setObjectName(QStringLiteral("details"));
    fold->setToolTip(tr("Shows or hides the details (Space)"));
    fold->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    fold->setIcon(icon(QStringLiteral("chevron-right")));
    auto* shown = new QPlainTextEdit(details, this);
    shown->setReadOnly(true);
    shown->setAccessibleName(tr("Details"));
    shown->setToolTip(tr("The details, to be copied (Ctrl+C)"));
    shown->setFont(fixedFont());
    shown->setMinimumSize(textWidth, 120);
    shown->hide();
    connect(fold, &QToolButton::clicked, this, [fold, shown] {
      const bool open = shown->isHidden();
      fold->setIcon(icon(open ? QStringLiteral("chevron-down") : QStringLiteral("chevron-right")));
      shown->setVisible(open);
    });
    grid.addWidget(fold, 3, 1, Qt::AlignLeft);
    grid.addWidget(shown, 4, 1);
  }

  QHBoxLayout* buttonRow(const QStringList& names, int enter) {
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 12, 0, 0);
    row->setSpacing(8);
    row->addStretch(1);
    chosen_ = static_cast<int>(names.size()) - 1; // Escape's answer
    for (int i = 0; i < names.size(); ++i) {
      auto* button = new QPushButton(names[i], this);
      button->setObjectName(QStringLiteral("answer-%1").arg(i));
      button->setMinimumWidth(80);
      button->setAutoDefault(true);
      button->setToolTip(answerTip(names[i], i == enter, i == names.size() - 1));
      if (i == enter) {
        button->setDefault(true);
        button->setFocus();
      }
      connect(button, &QPushButton::clicked, this, [this, i] {
        chosen_ = i;
        accept();
      });
      row->addWidget(button);
    }
    return row;
  }

  int chosen_ = 0;
};

int run(QWidget* parent, const QString& picture, const QColor& color, const BoxText& text,
        const QStringList& buttons, int enter = 0) {
  const QPointer<QWidget> below = parent ? parent->window() : nullptr;
  const QPointer<Box> box = new Box(parent, picture, color, text, buttons, enter);
  const ModalScope modal;
  box->exec();
  const int chosen = box ? box->chosen() : static_cast<int>(buttons.size()) - 1;
  delete box;
  if (below)
    below->activateWindow(); // of a window that never had the keyboard, window managers would not know
  return chosen;
}

} // namespace

// A sentence ends with a mark before a blank or the end of the text, or with its line.
BoxText splitBoxText(const QString& text) {
  BoxText parts;
  const QString whole = text.trimmed();
  qsizetype end = whole.size();
  for (qsizetype i = 0; i < whole.size(); ++i) {
    const bool mark = QStringLiteral(".!?").contains(whole[i]);
    if (whole[i] == QLatin1Char('\n')) {
      end = i;
      break;
    }
    if (!mark || i + 1 >= whole.size() || !whole[i + 1].isSpace()) continue;
    if (i + 2 < whole.size() && whole[i + 2].isLower()) continue; // "e.g. so"
    end = i + 1;
    break;
  }
  parts.sentence = whole.left(end).trimmed();
  parts.reason = whole.mid(end).trimmed();
  return parts;
}

void showError(QWidget* parent, const BoxText& text) {
  run(parent, QStringLiteral("error"), tokens().error, text, {QObject::tr("OK")});
}

void showMessage(QWidget* parent, const BoxText& text) {
  run(parent, QStringLiteral("info"), tokens().dim, text, {QObject::tr("OK")});
}

bool askQuestion(QWidget* parent, const BoxText& text) {
  return askChoice(parent, text, {QObject::tr("&Yes"), QObject::tr("&No")}) == 0;
}

int askChoice(QWidget* parent, const BoxText& text, const QStringList& buttons, int enter) {
  return run(parent, QStringLiteral("question"), tokens().accent, text, buttons, enter);
}

} // namespace host
