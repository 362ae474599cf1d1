#include "scene_commands.h"

#include "command_table.h"
#include "material_manager.h"
#include "object_manager.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "session.h"

namespace host {

namespace {

using Make = std::function<void(BaseDocument&)>;

QKeySequence key(const char* name) {
  return QKeySequence(QLatin1String(name));
}

QString word(const char* text) {
  return QCoreApplication::translate("host::MainCommands", text);
}

bool hasSelection(const Session& session) {
  return session.document() && !selectedObjects(*session.document()).empty();
}

// An edit of the selected objects; nothing happens without one.
std::function<void()> editSelection(Session& session, const char* name, Make change) {
  return [&session, name, change = std::move(change)] {
    if (hasSelection(session)) session.edits().apply(name, change);
  };
}

void selectAll(Session& session, bool all) {
  BaseDocument* document = session.document();
  if (!document) return;
  bool different = false;
  {
    const DocumentEdit edit(*document);
    Identities objects;
    if (all)
      for (const ObjectRow& row : objectRows(*document))
        objects.push_back(row.identity);
    different = selectObjects(*document, objects);
  }
  if (different) session.hub().tellSelection();
}

void addUndoCommands(CommandTable& table, Edits& edits) {
  const QString group = word("Edit");
  const auto label = [](const QString& action, const String& name) {
    return name.Content() ? QStringLiteral("%1 %2").arg(action, toQt(name)) : action;
  };
  table.add({"edit.undo",
             group,
             word("&Undo"),
             "undo",
             {key("Ctrl+Z")},
             [&edits] { edits.undo(); },
             [&edits] { return edits.canUndo(); },
             {},
             [&edits, label] { return label(word("&Undo"), edits.undoName()); }});
  table.add({"edit.redo",
             group,
             word("&Redo"),
             "redo",
             {key("Ctrl+Shift+Z"), key("Ctrl+Y")},
             [&edits] { edits.redo(); },
             [&edits] { return edits.canRedo(); },
             {},
             [&edits, label] { return label(word("&Redo"), edits.redoName()); }});
}

// Rename and Delete work on materials while the focus is in their manager, else on objects.
void addNodeCommands(const MainParts& parts) {
  const QString group = word("Edit");
  CommandTable& table = parts.commands;
  ObjectManager& objects = parts.objects;
  MaterialManager& materials = parts.materials;
  const auto atMaterials = [&materials] { return materials.isAncestorOf(QApplication::focusWidget()); };
  table.add({"edit.rename",
             group,
             word("Re&name"),
             "rename",
             {key("F2")},
             [&objects, &materials, atMaterials, dock = parts.docks.first()] {
               if (atMaterials()) return materials.renameSelected();
               dock->show();
               objects.renameSelected();
             }});
  table.add(
      {"edit.delete", group, word("&Delete"), "delete", {key("Del")}, [&objects, &materials, atMaterials] {
         atMaterials() ? materials.deleteSelected() : objects.deleteSelected();
       }});
}

void addSelectionCommands(CommandTable& table, Session& session) {
  const QString group = word("Edit");
  const auto has = [&session] { return hasSelection(session); };
  table.add(
      {"edit.duplicate",
       group,
       word("D&uplicate"),
       "duplicate",
       {key("Ctrl+D")},
       editSelection(session, "Duplicate",
                     [](BaseDocument& document) { duplicateObjects(document, selectedObjects(document)); }),
       has});
  table.add({"edit.group",
             group,
             word("&Group"),
             "object-group",
             {key("Ctrl+G")},
             editSelection(session, "Group",
                           [](BaseDocument& document) { groupObjects(document, selectedObjects(document)); }),
             has});
  table.add({"edit.drop",
             group,
             word("Drop to &Floor"),
             "",
             {key("Shift+F")},
             editSelection(session, "Drop to Floor",
                           [](BaseDocument& document) { dropObjects(document, selectedObjects(document)); }),
             has});
  table.add({"edit.select-all", group, word("Select &All"), "", {key("Ctrl+A")}, [&session] {
               selectAll(session, true);
             }});
  table.add({"edit.select-none",
             group,
             word("Select &None"),
             "",
             {key("Ctrl+Shift+A")},
             [&session] { selectAll(session, false); },
             has});
}

Make objectOf(LONG type) {
  return [type](BaseDocument& document) { newObject(document, type, document.GetActiveBaseDraw()); };
}

Make lightOf(LONG kind) {
  return [kind](BaseDocument& document) { newLight(document, kind); };
}

void addCreateCommands(CommandTable& table, Session& session) {
  const struct {
    const char* id;
    QString name;
    const char* icon;
    Make make;
  } things[] = {
      {"add.null", word("&Null"), "object-null", objectOf(Onull)},
      {"add.floor", word("&Floor"), "object-floor", objectOf(Ofloor)},
      {"add.sky", word("S&ky"), "object-sky", objectOf(Osky)},
      {"add.subdivision", word("Subdivision S&urface"), "object-subdivision", objectOf(Osds)},
      {"add.light", word("&Light"), "object-light-point", lightOf(0)},
      {"add.spot", word("&Spot Light"), "object-light-spot", lightOf(1)},
      {"add.distant", word("&Distant Light"), "object-light-distant", lightOf(2)},
      {"add.area", word("&Rectangle Light"), "object-light-area", lightOf(3)},
      {"add.disk", word("Dis&k Light"), "object-light-disk", lightOf(4)},
  };
  for (const auto& thing : things) {
    const String step = toHost(word("Add ") + QString(thing.name).remove(QLatin1Char('&')));
    table.add({thing.id, word("Add"), thing.name, thing.icon, {}, [&session, step, make = thing.make] {
                 session.edits().apply(step, make);
               }});
  }
  table.add({"add.material", word("Add"), word("&Material"), "material", {}, [&session] {
               session.edits().apply("New Material", [](BaseDocument& document) { newMaterial(document); });
             }});
}

} // namespace

void addSceneCommands(const MainParts& parts) {
  addUndoCommands(parts.commands, parts.session.edits());
  addNodeCommands(parts);
  addSelectionCommands(parts.commands, parts.session);
  addCreateCommands(parts.commands, parts.session);
}

} // namespace host
