#include "link_sign.h"

#include <QAction>

#include "key_table.h"
#include "status_widget.h"

namespace host {

namespace {

constexpr qsizetype longestName = 40;

QString objectsText(std::size_t count) {
  return count == 1 ? LinkSign::tr("1 object") : LinkSign::tr("%1 objects").arg(countText(count));
}

} // namespace

QString clientName(const LinkServer::State& state) {
  return QString::fromStdString(state.program).left(longestName);
}

QString sceneText(const LinkServer::State& state) {
  return LinkSign::tr("%1, %2").arg(objectsText(state.objects),
                                    state.triangles == 1
                                        ? LinkSign::tr("1 triangle")
                                        : LinkSign::tr("%1 triangles").arg(countText(state.triangles)));
}

LinkSign::LinkSign(LiveLink& link, QAction& opens, QWidget* parent) : QToolButton(parent), link_(link) {
  setObjectName(QStringLiteral("linkState"));
  setAutoRaise(true);
  setFocusPolicy(Qt::NoFocus);
  setTipWithKeys(*this, tr("The program that sends its scene. A click opens File > Live Link"), {&opens});
  connect(this, &QToolButton::clicked, &opens, &QAction::trigger);
  changed_ = link_.changed.add([this] { showState(); });
  showState();
}

void LinkSign::showState() {
  const LinkServer* server = link_.server();
  const LinkServer::State state = server ? server->state() : LinkServer::State{};
  setVisible(!state.program.empty());
  // "&" in the name of a program is no key of the button.
  setText(tr("%1 connected, %2")
              .arg(clientName(state), objectsText(state.objects))
              .replace(QLatin1Char('&'), QLatin1String("&&")));
}

} // namespace host
