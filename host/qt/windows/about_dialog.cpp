#include "about_dialog.h"

#include "icons.h"
#include "program.h"
#include "theme.h"

namespace host {

QString studioVersion() {
  return QStringLiteral(LUMENARA_VERSION);
}

namespace {

QString pluginLines() {
  QStringList lines;
  if (Program* program = Program::current())
    for (const auto& unit : program->loader().units())
      lines.push_back(QString::fromStdString(unit->folder.GetFileString().GetUTF8()));
  return lines.isEmpty() ? AboutDialog::tr("No plug-ins are loaded.")
                         : AboutDialog::tr("Plug-ins: %1").arg(lines.join(QStringLiteral(", ")));
}

QLabel* line(const QString& text, const char* role) {
  auto* label = new QLabel(text);
  label->setWordWrap(true);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  if (role) setRole(label, role);
  return label;
}

} // namespace

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
  setObjectName(QStringLiteral("about"));
  setWindowTitle(tr("About Lumenara Studio"));

  auto* mark = new QLabel;
  mark->setPixmap(iconPixmap(QStringLiteral("lumenara"), 96, {}, devicePixelRatioF()));
  mark->setAlignment(Qt::AlignTop);

  auto* words = new QVBoxLayout;
  words->setSpacing(metrics::grid);
  words->addWidget(line(tr("Lumenara Studio"), "large"));
  words->addWidget(line(tr("Version %1").arg(studioVersion()), "dim"));
  words->addSpacing(metrics::groupSpace);
  words->addWidget(line(tr("A scene editor for glTF with an interactive render viewer."), nullptr));
  words->addWidget(line(pluginLines(), "dim"));
  words->addWidget(line(tr("Licensed under the Apache License, Version 2.0."), "dim"));
  words->addWidget(line(tr("Built with Qt %1.").arg(QString::fromLatin1(qVersion())), "dim"));
  words->addStretch();

  auto* top = new QHBoxLayout;
  top->setSpacing(20);
  top->addWidget(mark);
  top->addLayout(words, 1);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  buttons->button(QDialogButtonBox::Close)->setIcon({});
  buttons->button(QDialogButtonBox::Close)->setToolTip(tr("Closes the window (Esc)"));
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(20, 20, 20, 12);
  layout->setSpacing(12);
  layout->addLayout(top, 1);
  layout->addWidget(buttons);
  resize(440, 260);
}

} // namespace host
