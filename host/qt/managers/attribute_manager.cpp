#include "attribute_manager.h"

#include <algorithm>

#include "attribute_fields.h"
#include "attribute_section.h"
#include "icons.h"
#include "material_parts.h"
#include "object_model.h"
#include "qt_text.h"
#include "scene_edits.h"
#include "scene_queries.h"
#include "theme.h"

namespace host {

namespace {

ObjectIcon iconOf(const BaseDocument& document, Identity object, LONG type) {
  return objectIcon(type,
                    type == Olight ? attributeValue(document, object, AttributeId::lightKind).GetLong() : 0);
}

bool mayMerge(AttributeKind kind) {
  return kind == AttributeKind::real || kind == AttributeKind::integer || kind == AttributeKind::vector;
}

} // namespace

AttributeManager::AttributeManager(Session& session, QWidget* parent) : QWidget(parent), session_(session) {
  build();
  soon_.setSingleShot(true);
  soon_.setInterval(0);
  connect(&soon_, &QTimer::timeout, this, &AttributeManager::refresh);
  const auto soon = [this] {
    stale_ = true;
    if (isVisible()) soon_.start();
  };
  DocumentHub& hub = session_.hub();
  subscriptions_.push_back(hub.changed.add(soon));
  subscriptions_.push_back(hub.timeChanged.add(soon));
  subscriptions_.push_back(hub.selectionChanged.add([this, soon] {
    chooseNodes();
    soon();
  }));
  subscriptions_.push_back(hub.replaced.add([this, soon](Replacement) {
    dragging_ = false;
    chooseNodes();
    soon();
  }));
  connect(parts_, &MaterialParts::materialChosen, this, &AttributeManager::lookAtMaterial);
  connect(&ThemeNotifier::instance(), &ThemeNotifier::changed, this, &AttributeManager::showHeading);
  chooseNodes();
  refresh();
}

AttributeManager::~AttributeManager() = default;

void AttributeManager::build() {
  setObjectName(QStringLiteral("attributeManager"));
  icon_ = new QLabel(this);
  icon_->setFixedSize(metrics::icon, metrics::icon);
  heading_ = new QLabel(this);
  heading_->setTextFormat(Qt::PlainText);
  heading_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);

  content_ = new QWidget;
  content_->setProperty("role", "scrolled");
  auto* list = new QVBoxLayout(content_);
  list->setContentsMargins(metrics::grid, 0, metrics::grid, metrics::groupSpace);
  list->setSpacing(metrics::groupSpace);
  parts_ = new MaterialParts(session_, content_);
  list->addWidget(parts_);
  list->addStretch(1);
  area_ = new QScrollArea(this);
  area_->setWidgetResizable(true);
  area_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  area_->setWidget(content_);

  auto* page = new QWidget(this);
  auto* head = new QHBoxLayout;
  head->setContentsMargins(metrics::groupSpace, metrics::grid, metrics::groupSpace, 0);
  head->setSpacing(metrics::groupSpace);
  head->addWidget(icon_);
  head->addWidget(heading_, 1);
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(metrics::groupSpace);
  layout->addLayout(head);
  layout->addWidget(area_, 1);

  empty_ = new QLabel(this);
  empty_->setObjectName(QStringLiteral("attributesEmpty"));
  empty_->setWordWrap(true);
  empty_->setAlignment(Qt::AlignCenter);
  empty_->setMargin(4 * metrics::grid);
  setRole(empty_, "dim");
  stack_ = new QStackedWidget(this);
  stack_->addWidget(page);
  stack_->addWidget(empty_);
  auto* outer = new QVBoxLayout(this);
  outer->setContentsMargins(0, 0, 0, 0);
  outer->addWidget(stack_);
}

// --- display ---

// Objects and materials have separate selections; the fields show the one that changed last.
void AttributeManager::chooseNodes() {
  const BaseDocument* document = session_.document();
  const std::vector<Identity> objects = document ? selectedObjects(*document) : std::vector<Identity>();
  const Identity material = document ? selectedMaterial(*document) : 0;
  if (objects != objects_)
    showsMaterial_ = objects.empty() && material != 0;
  else if (material != material_)
    showsMaterial_ = material != 0;
  if (showsMaterial_ && material == 0) showsMaterial_ = false;
  objects_ = objects;
  material_ = material;
  nodes_ = showsMaterial_ ? std::vector<Identity>{material} : objects;
}

void AttributeManager::lookAt(bool material) {
  if (dragging_ || showsMaterial_ == material) return;
  showsMaterial_ = material;
  chooseNodes();
  stale_ = true;
  if (isVisible()) soon_.start();
}

void AttributeManager::refresh() {
  soon_.stop();
  stale_ = false;
  const BaseDocument* document = session_.document();
  std::vector<Attribute> attributes;
  if (document && !nodes_.empty()) attributes = attributesOf(*document, nodes_);
  std::erase_if(attributes, [](const Attribute& one) { return one.group == std::string_view(textureGroup); });
  bool fits = attributes.size() == fields_.size();
  for (std::size_t i = 0; fits && i < attributes.size(); ++i)
    fits = fields_[i]->fits(attributes[i]);
  if (!fits && dragging_) return; // afterwards
  if (!fits) rebuild(attributes);
  for (std::size_t i = 0; i < fields_.size(); ++i)
    fields_[i]->show(attributes[i]);
  if (showsMaterial_)
    parts_->showTextures(nodes_.empty() ? 0 : nodes_.front());
  else
    parts_->showMaterials(nodes_);
  showHeading();
}

void AttributeManager::rebuild(const std::vector<Attribute>& attributes) {
  auto* list = static_cast<QVBoxLayout*>(content_->layout());
  setUpdatesEnabled(false);
  for (AttributeField* field : fields_)
    field->disconnect(this);
  fields_.clear();
  list->removeWidget(parts_);
  list->insertWidget(list->count() - 1, parts_);
  while (list->count() > 2) { // the parts and the stretch stay
    QLayoutItem* item = list->takeAt(0);
    if (QWidget* old = item->widget()) {
      old->hide();
      old->deleteLater();
    }
    delete item;
  }
  AttributeSection* section = nullptr;
  for (const Attribute& attribute : attributes) {
    const QString title = tr(attribute.group);
    if (!section || section->title() != title) {
      section = new AttributeSection(title, content_);
      list->insertWidget(list->count() - 2, section);
    }
    AttributeField* field = AttributeField::make(attribute, section);
    section->add(field);
    connectField(*field);
    fields_.push_back(field);
  }
  if (showsMaterial_ && !fields_.empty()) { // textures come before the seldom used groups
    list->removeWidget(parts_);
    list->insertWidget(1, parts_);
  }
  QWidget* before = nullptr;
  for (AttributeField* field : fields_) {
    if (before) setTabOrder(before, field);
    before = field;
  }
  setUpdatesEnabled(true);
}

void AttributeManager::showHeading() {
  const bool any = !fields_.empty();
  stack_->setCurrentIndex(any ? 0 : 1);
  if (!any) {
    empty_->setText(nodes_.size() > 1
                        ? tr("The selected objects have nothing in common to set.")
                        : tr("Nothing is selected.\n\nSelect an object in the view or in the list, or a "
                             "material, and its values are shown here."));
    return;
  }
  const BaseDocument& document = *session_.document();
  QString text, picture = QStringLiteral("object-group");
  if (showsMaterial_) {
    picture = QStringLiteral("material");
    text = tr("Material");
  } else if (const BaseObject* object = nodes_.size() == 1 ? findObject(document, nodes_[0]) : nullptr) {
    picture = objectIconName(iconOf(document, nodes_[0], object->GetType()));
    text = QString::fromUtf8(typeName(object->GetType()));
  } else {
    text = tr("%1 objects").arg(nodes_.size());
  }
  heading_->setText(text);
  icon_->setPixmap(iconPixmap(picture, metrics::icon, {}, devicePixelRatioF()));
}

void AttributeManager::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (stale_) refresh();
}

AttributeField* AttributeManager::field(AttributeId attribute) const {
  for (AttributeField* field : fields_)
    if (field->id() == attribute) return field;
  return nullptr;
}

// --- edits ---

void AttributeManager::connectField(AttributeField& field) {
  connect(&field, &AttributeField::changed, this,
          [this, &field](const GeData& value, int component) { change(field, value, component); });
  connect(&field, &AttributeField::dragStarted, this, [this, &field] {
    dragging_ = session_.edits().begin(String(std::string("Change ") + field.shape().label));
  });
  connect(&field, &AttributeField::dragFinished, this, [this](bool cancelled) {
    if (!std::exchange(dragging_, false)) return;
    if (cancelled)
      session_.edits().cancel();
    else
      session_.edits().end();
    soon_.start();
  });
}

void AttributeManager::change(AttributeField& field, const GeData& value, int component) {
  const auto edit = [nodes = nodes_, id = field.id(), value, component](BaseDocument& document) {
    host::setAttribute(document, nodes, id, value, component);
  };
  if (dragging_) return session_.edits().update(edit);
  if (field.shape().kind == AttributeKind::file && value.GetFilename().Content()) {
    session_.files().setSkyPicture(value.GetFilename(), nodes_);
    field.show(field.shape()); // a refused value disappears
    soon_.start();
    return;
  }
  // Successive steps of the wheel make one undo step.
  std::string key;
  if (mayMerge(field.shape().kind) && !nodes_.empty())
    key = "attribute " + std::to_string(static_cast<int>(field.id())) + ' ' + std::to_string(component) +
          ' ' + std::to_string(nodes_.front()) + ' ' + std::to_string(nodes_.size());
  session_.edits().apply(String(std::string("Change ") + field.shape().label), edit, String(key));
  stale_ = true;
  soon_.start();
}

} // namespace host
