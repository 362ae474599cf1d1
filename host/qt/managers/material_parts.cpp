#include "material_parts.h"

#include <QDesktopServices>
#include <algorithm>

#include "attribute_fields.h"
#include "attribute_section.h"
#include "bitmap_image.h"
#include "icons.h"
#include "message_box.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"
#include "user_interface.h"

namespace host {

namespace {

constexpr int thumbnailSide = 40, previewSide = 32;

/// A name that is shortened in the middle to the width that it has.
class FileLabel : public QLabel {
 public:
  explicit FileLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  }
  void setName(const QString& name) {
    name_ = name;
    setAccessibleName(name);
    shorten();
  }

 protected:
  void resizeEvent(QResizeEvent* event) override {
    QLabel::resizeEvent(event);
    shorten();
  }

 private:
  void shorten() { setText(fontMetrics().elidedText(name_, Qt::ElideMiddle, width())); }
  QString name_;
};

// An image within a square, centred, with round corners.
QPixmap framed(const QImage& image, int side, double ratio) {
  const int pixels = static_cast<int>(side * ratio);
  QPixmap pixmap(pixels, pixels);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  QPainterPath shape;
  shape.addRoundedRect(QRectF(pixmap.rect()), metrics::radius * ratio, metrics::radius * ratio);
  painter.setClipPath(shape);
  painter.fillPath(shape, tokens().field);
  if (!image.isNull()) {
    QRect place(QPoint(), image.size().scaled(pixmap.size(), Qt::KeepAspectRatio));
    place.moveCenter(pixmap.rect().center());
    painter.drawImage(place, image);
  }
  painter.end();
  pixmap.setDevicePixelRatio(ratio);
  return pixmap;
}

bool sameShape(const TextureEntry& a, const TextureEntry& b) {
  return a.shader == b.shader && a.use == b.use && a.strengthNode == b.strengthNode;
}

QString placeOf(const TextureEntry& entry) {
  if (entry.missing)
    return MaterialParts::tr("%1 is missing. Relink it, or look for all in Edit > Missing Files.")
        .arg(toQt(entry.file.Content() ? entry.file.GetString() : String(entry.name)));
  return entry.file.Content() ? toQt(entry.file.GetString())
                              : MaterialParts::tr("%1, packed into the scene").arg(toQt(String(entry.name)));
}

} // namespace

struct MaterialParts::Row {
  TextureEntry entry;
  QLabel* picture = nullptr;
  FileLabel* name = nullptr;
  QAction* openAction = nullptr;
  std::vector<AttributeField*> fields;
};

MaterialParts::MaterialParts(Session& session, QWidget* parent) : QWidget(parent), session_(session) {
  setObjectName(QStringLiteral("materialParts"));
  auto* list = new QVBoxLayout(this);
  list->setContentsMargins(0, 0, 0, 0);
  list->setSpacing(metrics::groupSpace);
  thumbnailReady_ = session_.textureThumbnails().ready.add([this](Identity picture) {
    for (Row& row : rows_)
      if (row.entry.picture && row.entry.picture->id == picture) fillRow(row);
  });
  previewReady_ = session_.previews().ready.add([this](Identity) { fillMaterials(); });
}

MaterialParts::~MaterialParts() = default;

void MaterialParts::clear() {
  rows_.clear();
  buttons_.clear();
  while (QLayoutItem* item = layout()->takeAt(0)) {
    if (QWidget* old = item->widget()) {
      old->hide();
      old->deleteLater();
    }
    delete item;
  }
}

// --- textures ---

void MaterialParts::showTextures(Identity material) {
  const BaseDocument* document = session_.document();
  std::vector<TextureEntry> entries =
      document && material ? texturesOf(*document, material) : std::vector<TextureEntry>();
  const bool fits = materials_.empty() && material == material_ &&
                    std::equal(entries.begin(), entries.end(), textures_.begin(), textures_.end(), sameShape);
  if (!fits && dragging_) return; // afterwards
  textures_ = std::move(entries);
  material_ = material;
  if (!fits) {
    materials_.clear();
    rebuildTextures();
  }
  fillTextures();
  setVisible(!textures_.empty());
}

void MaterialParts::rebuildTextures() {
  clear();
  rows_.resize(textures_.size());
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    rows_[i].entry = textures_[i];
    layout()->addWidget(addRow(rows_[i]));
  }
}

AttributeSection* MaterialParts::addRow(Row& row) {
  auto* section = new AttributeSection(tr("%1 Texture").arg(tr(row.entry.use.c_str())), this);
  auto* head = new QWidget(section);
  auto* line = new QHBoxLayout(head);
  line->setContentsMargins(0, 0, 0, 0);
  line->setSpacing(metrics::groupSpace);
  row.picture = new QLabel(head);
  row.picture->setFixedSize(thumbnailSide, thumbnailSide);
  row.name = new FileLabel(head);
  line->addWidget(row.picture);
  line->addWidget(row.name, 1);
  QToolButton* more = menuButton(row);
  row.openAction = more->menu()->actions().last();
  line->addWidget(more);
  section->add(head);
  addField(*section, row, AttributeId::textureOn)
      ->setToolTip(tr("Renders leave the picture out while it is off."));
  addField(*section, row, row.entry.strength, tr("Strength"))
      ->setToolTip(tr("0: without effect, 1: the picture as it is."));
  const QString tiling = tr("How often the picture repeats.");
  addField(*section, row, AttributeId::textureTilingU)->setToolTip(tiling);
  addField(*section, row, AttributeId::textureTilingV)->setToolTip(tiling);
  addField(*section, row, AttributeId::textureColors)
      ->setToolTip(tr("Whether the picture's values are colors or data such as normals and roughness. By "
                      "Use: as the texture's place has them."));
  return section;
}

QToolButton* MaterialParts::menuButton(const Row& row) {
  auto* button = new QToolButton(this);
  button->setText(QString(QChar(0x2026)));
  button->setObjectName(QStringLiteral("textureMenu"));
  button->setToolTip(tr("Relink the picture, or open it in another program"));
  button->setAccessibleName(tr("%1 texture: menu").arg(tr(row.entry.use.c_str())));
  button->setFixedHeight(metrics::control);
  button->setPopupMode(QToolButton::InstantPopup);
  auto* menu = new QMenu(button);
  const Identity shader = row.entry.shader;
  connect(menu->addAction(icon(QStringLiteral("folder")), tr("&Relink...")), &QAction::triggered, this,
          [this, shader] { relink(shader); });
  connect(menu->addAction(icon(QStringLiteral("open")), tr("&Open in System Editor")), &QAction::triggered,
          this, [this, shader] { open(shader); });
  button->setMenu(menu);
  return button;
}

AttributeField* MaterialParts::addField(AttributeSection& section, Row& row, AttributeId id,
                                        const QString& label) {
  const Identity node = id == row.entry.strength ? row.entry.strengthNode : row.entry.shader;
  for (const Attribute& shape : attributesOf(*session_.document(), std::array{node})) {
    if (shape.id != id) continue;
    AttributeField* field = AttributeField::make(shape, &section);
    field->setObjectName(
        QStringLiteral("texture-%1-%2").arg(toQt(String(row.entry.use)), QLatin1String(shape.label)));
    field->setProperty("node", QVariant::fromValue<qulonglong>(node));
    section.add(field, label);
    connectField(*field);
    row.fields.push_back(field);
    return field;
  }
  return AttributeField::make({}, &section); // a shader that has just gone: the next refresh drops the row
}

void MaterialParts::connectField(AttributeField& field) {
  const Identity node = field.property("node").toULongLong();
  connect(&field, &AttributeField::changed, this,
          [this, &field, node](const GeData& value) { change(field, node, value); });
  connect(&field, &AttributeField::dragStarted, this, [this, &field] {
    dragging_ = session_.edits().begin(String(std::string("Change ") + field.shape().label));
  });
  connect(&field, &AttributeField::dragFinished, this, [this](bool cancelled) {
    if (!std::exchange(dragging_, false)) return;
    if (cancelled)
      session_.edits().cancel();
    else
      session_.edits().end();
  });
}

void MaterialParts::change(AttributeField& field, Identity node, const GeData& value) {
  const auto edit = [node, id = field.id(), value](BaseDocument& document) {
    host::setAttribute(document, std::array{node}, id, value);
  };
  if (dragging_) return session_.edits().update(edit);
  std::string key; // successive steps of the wheel make one undo step
  if (field.shape().kind == AttributeKind::real)
    key = "texture " + std::to_string(static_cast<int>(field.id())) + ' ' + std::to_string(node);
  session_.edits().apply(String(std::string("Change ") + field.shape().label), edit, String(key));
}

void MaterialParts::fillTextures() {
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    Row& row = rows_[i];
    row.entry = textures_[i];
    fillRow(row);
    for (AttributeField* field : row.fields) {
      const Identity node = field->property("node").toULongLong();
      for (const Attribute& attribute : attributesOf(*session_.document(), std::array{node}))
        if (attribute.id == field->id()) field->show(attribute);
    }
  }
}

void MaterialParts::fillRow(Row& row) {
  const TextureEntry& entry = row.entry;
  const QImage image = thumbnailImage(session_.textureThumbnails().thumbnail(entry.picture));
  row.picture->setPixmap(
      entry.missing ? iconPixmap(QStringLiteral("warning"), 24, tokens().warning, devicePixelRatioF())
                    : framed(image, thumbnailSide, devicePixelRatioF()));
  row.picture->setAlignment(Qt::AlignCenter);
  row.picture->setToolTip(placeOf(entry));
  row.name->setName(entry.picture ? toQt(String(entry.name)) : tr("No picture"));
  row.name->setToolTip(placeOf(entry));
  setRole(row.name, entry.missing ? "warning" : "");
  row.openAction->setEnabled(entry.file.Content() && !entry.missing);
}

void MaterialParts::relink(Identity shader) {
  FileRequest request;
  request.type = FILESELECTTYPE_IMAGES;
  request.mode = FILESELECT_LOAD;
  request.title = "Relink Texture";
  for (const TextureEntry& entry : textures_)
    if (entry.shader == shader) request.start = entry.file;
  Filename file;
  if (!userInterface().selectFile(request, file)) return;
  session_.pictureLocator().relink(
      shader, file, [self = QPointer(this)](const PictureLocator::Outcome& outcome) {
        if (!self || outcome.error.empty()) return;
        showError(self, {tr("The texture was not relinked."), toQt(String(outcome.error)), {}, {}});
      });
}

void MaterialParts::open(Identity shader) {
  for (const TextureEntry& entry : textures_) {
    if (entry.shader != shader || !entry.file.Content()) continue;
    const QString file = toQt(entry.file.GetString());
    if (QFileInfo::exists(file) && QDesktopServices::openUrl(QUrl::fromLocalFile(file))) return;
    showError(this, {tr("The picture could not be opened."),
                     tr("\"%1\" is gone, or the desktop has no program for it.").arg(file),
                     tr("Open it in a program of your choice; Studio reads it again when it is saved."),
                     {}});
  }
}

// --- materials ---

void MaterialParts::showMaterials(const std::vector<Identity>& objects) {
  const BaseDocument* document = session_.document();
  std::vector<Identity> shown = document ? materialsShown(*document, objects) : std::vector<Identity>();
  if (dragging_) return;
  if (!textures_.empty() || shown != materials_) {
    textures_.clear();
    materials_ = std::move(shown);
    clear();
    auto* section = new AttributeSection(tr("Materials"), this);
    for (const Identity material : materials_) {
      auto* button = new QToolButton(section);
      button->setObjectName(QStringLiteral("objectMaterial"));
      button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
      button->setIconSize({previewSide, previewSide});
      button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
      connect(button, &QToolButton::clicked, this, [this, material] { choose(material); });
      section->add(button);
      buttons_.push_back(button);
    }
    layout()->addWidget(section);
  }
  fillMaterials();
  setVisible(!materials_.empty());
}

void MaterialParts::fillMaterials() {
  if (buttons_.empty() || !session_.document()) return;
  const std::vector<MaterialRow> all = materialRows(*session_.document());
  const double ratio = devicePixelRatioF();
  for (std::size_t i = 0; i < buttons_.size(); ++i) {
    const auto row = std::find_if(all.begin(), all.end(), [&](const MaterialRow& material) {
      return material.identity == materials_[i];
    });
    if (row == all.end()) continue;
    const QString name = toQt(row->name);
    buttons_[i]->setText(name);
    buttons_[i]->setToolTip(tr("Edit the material %1").arg(name));
    const auto bitmap = session_.previews().preview(row->identity, static_cast<int>(previewSide * ratio));
    buttons_[i]->setIcon(bitmap ? QIcon(framed(bitmapImage(*bitmap), previewSide, ratio))
                                : icon(QStringLiteral("material")));
  }
}

void MaterialParts::choose(Identity material) {
  session_.edits().apply("Select",
                         [material](BaseDocument& document) { selectMaterial(document, material); });
  emit materialChosen();
}

} // namespace host
