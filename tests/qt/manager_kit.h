// A session with a small scene, for tests of the managers.
#pragma once

#include <QAbstractItemModelTester>
#include <QDir>
#include <cstdlib>

#include "document.h"
#include "parameters.h"
#include "qt_fixture.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "session.h"
#include "test_documents.h"
#include "theme.h"

class ManagerTest : public QtFixture {
 public:
  ManagerTest() {
    startDesktop();
    session = std::make_unique<host::Session>();
    session->previews().setEnabled(false);
    session->hub().replace(scene(), host::Replacement::opened);
    settle();
  }
  ~ManagerTest() override { session.reset(); }

  std::unique_ptr<host::Session> session;

  BaseDocument& document() { return *session->document(); }
  host::Edits& edits() { return session->edits(); }
  host::Identity id(const char* name) {
    BaseObject* object = document().SearchObject(name);
    return object ? object->GetIdentity() : 0;
  }
  host::Identity material(const char* name) { return document().SearchMaterial(name)->GetIdentity(); }
  GeData attribute(const char* name, host::AttributeId attribute) {
    return host::attributeValue(document(), id(name), attribute);
  }
  host::DocumentPtr copy() { return host::DocumentPtr(document().GetClone(COPYFLAGS_0)); }
  void expectEqual(const host::DocumentPtr& other) {
    std::string difference;
    EXPECT_TRUE(host::documentsEqual(*other, document(), &difference)) << difference;
  }
  void select(const std::vector<host::Identity>& objects) {
    edits().apply("Select", [&](BaseDocument& in) { host::selectObjects(in, objects); });
    settle();
  }
  std::vector<std::string> selected() {
    std::vector<std::string> names;
    for (const host::Identity identity : host::selectedObjects(document()))
      names.push_back(host::findObject(document(), identity)->GetName().GetUTF8());
    return names;
  }

  /// Pictures of widgets for eyes, where LUMENARA_GRABS names a folder.
  static void keepPicture(QWidget& widget, const QString& name) {
    const char* folder = std::getenv("LUMENARA_GRABS");
    if (!folder) return;
    for (const host::Theme theme : {host::Theme::dark, host::Theme::light}) {
      host::setTheme(theme);
      settle();
      const QString suffix = theme == host::Theme::dark ? QStringLiteral("dark") : QStringLiteral("light");
      widget.grab().save(QDir(QString::fromUtf8(folder)).filePath(name + QLatin1Char('-') + suffix + ".png"));
    }
    host::setTheme(std::nullopt);
  }

  /// root with the meshes body and arm below each other, then lamp (point), spot, camera; materials red,
  /// blue.
  static host::DocumentPtr scene() {
    using namespace host;
    using namespace testscene;
    DocumentPtr document = newDocument();
    DocumentState& state = *stateOf(document.get());
    ObjectState* root = add(state.children, Onull, "root");
    ObjectState* body = add(root->children, Opolygon, "body");
    add(body->children, Opolygon, "arm")->local.off = {0, 0, 5};
    add(state.children, Olight, "lamp")->local.off = {0, 4, 0};
    add(state.children, Olight, "spot")->data.SetLong(param::lightKind, 1);
    add(state.children, Ocamera, "camera")->local.off = {0, 1, 8};
    addMaterials(state);
    return document;
  }
};
