#include "mnemonic_tips.h"

#include "key_rules.h"

namespace host {

namespace {

void tell(QWidget& widget, const QString& label) {
  const QString key = QKeySequence::mnemonic(label).toString(QKeySequence::NativeText);
  const QString tip = widget.toolTip().isEmpty() ? plainCommand(label) : widget.toolTip();
  if (key.isEmpty() || tip.contains(key)) return;
  widget.setToolTip(QStringLiteral("%1 (%2)").arg(tip, key));
}

} // namespace

void tellMnemonics(QWidget& window) {
  for (QAbstractButton* button : window.findChildren<QAbstractButton*>())
    tell(*button, button->text());
  for (const QLabel* label : window.findChildren<QLabel*>())
    if (label->buddy()) tell(*label->buddy(), label->text());
}

} // namespace host
