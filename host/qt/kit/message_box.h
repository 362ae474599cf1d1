// Boxes with a text for the user: the sentence first, then why, then what to do; details folded. Main thread.
#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace host {

struct BoxText {
  QString sentence; // "The scene could not be opened."
  QString reason;   // why; may be empty
  QString advice;   // what to do; may be empty
  QString details;  // folded; may be empty
};

/// The first sentence (or line) of a text, and the rest as the reason.
BoxText splitBoxText(const QString& text);

/// Show a box and wait, as a modal box of `mainLoop()`.
void showError(QWidget* parent, const BoxText& text);
void showMessage(QWidget* parent, const BoxText& text);
/// True for yes. Escape and the window's close button mean no.
bool askQuestion(QWidget* parent, const BoxText& text);
/// The index of the chosen button; `enter` is what Enter gives at once, the last is Escape's. Where one
/// answer loses work, Enter gives another.
int askChoice(QWidget* parent, const BoxText& text, const QStringList& buttons, int enter = 0);

} // namespace host
