#include "link_dialog.h"

#include <QClipboard>
#include <QDateTime>

#include "link_sign.h"
#include "live_link.h"
#include "mnemonic_tips.h"
#include "number_field.h"
#include "theme.h"

namespace host {

namespace {

QLabel* heading(const QString& text) {
  auto* label = new QLabel(text);
  setRole(label, "title");
  return label;
}

// A name of a stranger's program is no markup, and its length is bounded by `clientName`.
QLabel* plainText(const char* name) {
  auto* label = new QLabel;
  label->setObjectName(QLatin1String(name));
  label->setTextFormat(Qt::PlainText);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

QLineEdit* shownText(const char* name, const QString& label) {
  auto* field = new QLineEdit;
  field->setObjectName(QLatin1String(name));
  field->setAccessibleName(label);
  field->setReadOnly(true);
  return field;
}

} // namespace

LinkDialog::LinkDialog(LiveLink& link, QWidget* parent)
    : QDialog(parent), link_(link), listen_(new QCheckBox(tr("&Listen for programs on this desktop"))),
      tcp_(new QCheckBox(tr("Listen by &TCP as well, for programs in containers"))), port_(new NumberField),
      address_(shownText("link-address", tr("Address"))), token_(shownText("link-token", tr("Token"))),
      client_(plainText("link-client")), scene_(plainText("link-scene")), update_(plainText("link-update")),
      trouble_(plainText("link-trouble")) {
  setObjectName(QStringLiteral("link-dialog"));
  setWindowTitle(tr("Live Link"));
  layOut();
  tellMnemonics(*this);
  showState();
  changed_ = link_.changed.add([this] { showState(); });
  connect(listen_, &QCheckBox::clicked, this, &LinkDialog::choose);
  connect(tcp_, &QCheckBox::clicked, this, &LinkDialog::choose);
  connect(port_, &NumberField::valueChanged, this, &LinkDialog::choose);
}

// A field that can only be read, with a button that copies it.
QWidget* LinkDialog::copied(QLineEdit* field, const char* name, const QString& tip) {
  auto* copy = new QPushButton(tr("Copy"));
  copy->setObjectName(QLatin1String(name));
  copy->setAutoDefault(false);
  copy->setToolTip(tip);
  connect(copy, &QPushButton::clicked, this,
          [field] { QGuiApplication::clipboard()->setText(field->text()); });
  auto* box = new QWidget;
  auto* layout = new QHBoxLayout(box);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  layout->addWidget(field, 1);
  layout->addWidget(copy);
  return box;
}

void LinkDialog::addSwitches(QFormLayout& form) {
  listen_->setObjectName(QStringLiteral("link-listen"));
  listen_->setToolTip(tr("Takes scenes that your other programs send, such as Blender (Alt+L)"));
  tcp_->setObjectName(QStringLiteral("link-tcp"));
  tcp_->setToolTip(
      tr("Listens at a port of 127.0.0.1. Whoever knows the token can send scenes, open your files and "
         "fetch the viewer's picture (Alt+T)"));
  port_->setObjectName(QStringLiteral("link-port"));
  port_->setDecimals(0);
  port_->setRange(0, 65535);
  port_->setFixedWidth(90);
  port_->setToolTip(tr("The port on 127.0.0.1. 0: any free one, at each start another (Alt+P)"));
  address_->setToolTip(tr("The address that the other program wants"));
  token_->setToolTip(tr("The secret that the other program must send. It is new with every start, unless "
                        "LUMENARA_LINK_TOKEN chooses it"));
  port_->setAccessibleName(tr("Port"));
  form.addRow(listen_);
  form.addRow(tcp_);
  form.addRow(tr("&Port"), port_);
  form.addRow(tr("Address"), copied(address_, "link-copy-address", tr("Copies the address")));
  form.addRow(tr("Token"), copied(token_, "link-copy-token", tr("Copies the token")));
}

void LinkDialog::addState(QFormLayout& form) {
  client_->setToolTip(tr("The program whose scene is shown. One at a time sends a scene"));
  scene_->setToolTip(tr("The scene that was sent last"));
  update_->setToolTip(tr("The time of the last change, and how long Studio took to take it over"));
  form.addRow(tr("Connected"), client_);
  form.addRow(tr("Scene"), scene_);
  form.addRow(tr("Last update"), update_);
}

void LinkDialog::layOut() {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(16, 16, 16, 12);
  layout->setSpacing(10);
  const auto addForm = [layout](const QString& name) {
    layout->addWidget(heading(name));
    auto* form = new QFormLayout;
    form->setHorizontalSpacing(12);
    form->setVerticalSpacing(6);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    layout->addLayout(form);
    return form;
  };
  addSwitches(*addForm(tr("Listening")));
  addState(*addForm(tr("State")));
  trouble_->setWordWrap(true);
  setRole(trouble_, "error");
  layout->addWidget(trouble_);
  layout->addStretch(1);
  auto* close = new QPushButton(tr("Close"));
  close->setObjectName(QStringLiteral("link-close"));
  close->setAutoDefault(false); // Enter commits the port
  close->setToolTip(tr("Closes the window; the live link goes on (Esc)"));
  connect(close, &QPushButton::clicked, this, &QDialog::reject);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(close);
  layout->addLayout(buttons);
  resize(460, sizeHint().height());
}

LinkChoice LinkDialog::choice() const {
  return {listen_->isChecked(), tcp_->isChecked(), static_cast<std::uint16_t>(port_->value())};
}

void LinkDialog::choose() {
  link_.choose(choice());
}

void LinkDialog::showState() {
  const LinkChoice& now = link_.choice();
  listen_->setChecked(now.listen);
  tcp_->setChecked(now.tcp);
  tcp_->setEnabled(now.listen);
  port_->setValue(now.port);
  port_->setEnabled(now.listen && now.tcp);
  const LinkServer* server = link_.server();
  const bool byTcp = server && server->tcpPort() != 0;
  address_->setText(byTcp ? QStringLiteral("127.0.0.1:%1").arg(server->tcpPort()) : QString());
  token_->setText(byTcp ? QString::fromStdString(server->token()) : QString());
  for (QLineEdit* field : {address_, token_}) {
    field->setCursorPosition(0);
    field->parentWidget()->setEnabled(byTcp);
  }
  const LinkServer::State state = server ? server->state() : LinkServer::State{};
  client_->setText(!server                 ? tr("Studio does not listen")
                   : state.program.empty() ? tr("No program")
                                           : clientName(state));
  scene_->setText(state.updated == 0 ? tr("None was sent yet") : sceneText(state));
  const QString when =
      QLocale().toString(QDateTime::fromSecsSinceEpoch(state.updated).time(), QStringLiteral("HH:mm:ss"));
  update_->setText(state.updated == 0
                       ? QStringLiteral("–")
                       : tr("%1, %2 ms").arg(when, QLocale().toString(state.milliseconds, 'f', 1)));
  trouble_->setText(QString::fromStdString(link_.trouble()));
  trouble_->setVisible(!trouble_->text().isEmpty());
}

} // namespace host
