// Message boxes: the sentence first, then the reason, then the advice; details folded. Main thread.
#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace host {

struct BoxText {
  QString sentence; // "The scene could not be opened."
  QString reason;   // may be empty
  QString advice;   // may be empty
  QString details;  // folded; may be empty
};

/// The first sentence (or line) of a text, and the rest as the reason.
BoxText splitBoxText(const QString& text);

/// Show a box and wait, as a modal box of `mainLoop()`.
void showError(QWidget* parent, const BoxText& text);
void showMessage(QWidget* parent, const BoxText& text);
/// True for yes. Escape and the window's close button mean no.
bool askQuestion(QWidget* parent, const BoxText& text);
/// The index of the chosen button. `enter` is the button that Enter presses, the last one is Escape's. Enter
/// must not lose work.
int askChoice(QWidget* parent, const BoxText& text, const QStringList& buttons, int enter = 0);

} // namespace host
