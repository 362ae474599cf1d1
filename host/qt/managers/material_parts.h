// Below the attributes of a selection: the textures of a material, or the materials of objects. Main thread.
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "session.h"

class QLabel;
class QToolButton;

namespace host {

class AttributeField;
class AttributeSection;

/// For each texture a small picture, the file's name (its full path as the tool tip), a menu that relinks the
/// picture or opens it in the program that the desktop has for it, and fields. For each material of the
/// objects a button that shows its attributes.
class MaterialParts : public QWidget {
  Q_OBJECT
 public:
  MaterialParts(Session& session, QWidget* parent);
  ~MaterialParts() override;

  void showTextures(Identity material);
  void showMaterials(const std::vector<Identity>& objects);

  /// Asks for a file and shows its picture in the texture. The file is read in the background; one that
  /// cannot be read is reported, and the texture stays.
  void relink(Identity shader);

 signals:
  /// The user chose a material of the objects, and it is selected now.
  void materialChosen();

 private:
  struct Row; // of a texture
  void clear();
  void rebuildTextures();
  AttributeSection* addRow(Row& row);
  AttributeField* addField(AttributeSection& section, Row& row, AttributeId id, const QString& label = {});
  QToolButton* menuButton(const Row& row);
  void connectField(AttributeField& field);
  void change(AttributeField& field, Identity node, const GeData& value);
  void fillTextures();
  void fillRow(Row& row);
  void fillMaterials();
  void choose(Identity material);
  void open(Identity shader);

  Session& session_;
  Identity material_ = 0;
  std::vector<TextureEntry> textures_;
  std::vector<Row> rows_;
  std::vector<Identity> materials_;
  std::vector<QToolButton*> buttons_; // of the materials
  bool dragging_ = false;
  Subscription thumbnailReady_, previewReady_;
};

} // namespace host
