#include "key_commands.h"

#include "command_table.h"
#include "key_edits.h"
#include "scene_queries.h"
#include "session.h"

namespace host {

namespace {

QString word(const char* text) {
  return QCoreApplication::translate("host::MainCommands", text);
}

QList<QKeySequence> key(const char* name) {
  return {QKeySequence(QLatin1String(name))};
}

std::set<long> selectedKeys(const Session& session) {
  return session.document() ? keyFrames(*session.document(), selectedObjects(*session.document()))
                            : std::set<long>();
}

void goToKey(Session& session, bool next) {
  if (const auto frame = keyBeside(selectedKeys(session), session.playback().frame(), next))
    session.playback().goTo(static_cast<LONG>(*frame));
}

} // namespace

void addKeyCommands(const MainParts& parts) {
  const QString group = word("Time");
  Session& session = parts.session;
  CommandTable& table = parts.commands;
  const auto hasKeys = [&session] { return !selectedKeys(session).empty(); };
  table.add({"key.set", group, word("&Set Key"), "key", key("K"),
             [&session] {
               session.edits().apply(
                   "Set Key", [](BaseDocument& document) { setKeys(document, selectedObjects(document)); });
             },
             [&session] { return session.document() && !selectedObjects(*session.document()).empty(); }});
  table.add({"key.delete", group, word("&Delete Key"), "", key("Alt+K"),
             [&session] {
               const long frame = session.playback().frame();
               session.edits().apply("Delete Key", [frame](BaseDocument& document) {
                 deleteKeys(document, selectedObjects(document), frame);
               });
             },
             [&session] { return selectedKeys(session).contains(session.playback().frame()); }});
  table.add({"key.previous", group, word("&Previous Key"), "", key("Alt+Left"),
             [&session] { goToKey(session, false); }, hasKeys});
  table.add({"key.next", group, word("&Next Key"), "", key("Alt+Right"),
             [&session] { goToKey(session, true); }, hasKeys});
}

} // namespace host
