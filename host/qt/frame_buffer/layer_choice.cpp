#include "layer_choice.h"

#include <algorithm>

#include "icons.h"
#include "theme.h"

namespace host {

namespace {

constexpr int nameRole = Qt::UserRole, headingRole = Qt::UserRole + 1;
constexpr int listWidth = 260, mostRows = 24;
constexpr int arrowSize = 12;

bool isHeading(const QListWidgetItem& item) {
  return item.data(headingRole).toBool();
}

} // namespace

LayerChoice::LayerChoice(QWidget* parent) : QToolButton(parent) {
  setObjectName(QStringLiteral("layerChoice"));
  setAccessibleName(tr("Layer"));
  setToolTip(tr("The layer of the picture that is shown"));
  setToolButtonStyle(Qt::ToolButtonTextOnly);
  setMinimumWidth(150);
  setFixedHeight(metrics::control);
  setFocusPolicy(Qt::TabFocus);
  popup_ = new QFrame(this, Qt::Popup);
  popup_->setFrameShape(QFrame::StyledPanel);
  popup_->setObjectName(QStringLiteral("layerPopup"));
  search_ = new QLineEdit(popup_);
  search_->setObjectName(QStringLiteral("layerSearch"));
  search_->setPlaceholderText(tr("Search layers"));
  search_->setAccessibleName(tr("Search layers"));
  search_->setToolTip(tr("A part of a layer's name (Enter shows the layer)"));
  search_->setClearButtonEnabled(true);
  list_ = new QListWidget(popup_);
  list_->setObjectName(QStringLiteral("layerList"));
  list_->setAccessibleName(tr("Layers"));
  list_->setToolTip(tr("The layers of the picture (Enter shows one)"));
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  list_->setUniformItemSizes(true);
  auto* layout = new QVBoxLayout(popup_);
  layout->setContentsMargins(metrics::grid, metrics::grid, metrics::grid, metrics::grid);
  layout->setSpacing(metrics::grid);
  layout->addWidget(search_);
  layout->addWidget(list_);
  search_->installEventFilter(this);
  connect(this, &QToolButton::clicked, this, &LayerChoice::openList);
  connect(search_, &QLineEdit::textChanged, this, &LayerChoice::filter);
  connect(search_, &QLineEdit::returnPressed, this, &LayerChoice::take);
  connect(list_, &QListWidget::itemClicked, this, &LayerChoice::take);
  connect(list_, &QListWidget::itemActivated, this, &LayerChoice::take);
  settle();
}

void LayerChoice::setLayers(std::vector<ShownLayer> layers) {
  const auto name = [](const ShownLayer& layer) { return layer.name; };
  const bool same = std::ranges::equal(layers, layers_, {}, name, name);
  layers_ = std::move(layers);
  if (!same) fill();
  settle();
}

void LayerChoice::fill() {
  list_->clear();
  std::string group;
  for (const ShownLayer& layer : layers_) {
    if (layer.group != group) {
      auto* heading = new QListWidgetItem(QString::fromStdString(layer.group), list_);
      heading->setFlags(Qt::NoItemFlags);
      heading->setData(headingRole, true);
      group = layer.group;
    }
    auto* item = new QListWidgetItem(QStringLiteral("   ") + QString::fromStdString(layer.label), list_);
    item->setData(nameRole, QString::fromStdString(layer.name));
    item->setToolTip(layer.name.empty() ? tr("The picture itself") : QString::fromStdString(layer.name));
  }
}

// Shows the wanted layer, or the first one.
void LayerChoice::settle() {
  const auto found = std::find_if(layers_.begin(), layers_.end(),
                                  [this](const ShownLayer& layer) { return layer.name == wanted_; });
  const ShownLayer layer = found != layers_.end() ? *found : layers_.empty() ? ShownLayer() : layers_.front();
  setEnabled(layers_.size() > 1);
  setText(layers_.empty() ? tr("Picture") : QString::fromStdString(layer.label));
  if (layer.name == shown_) return;
  shown_ = layer.name;
  emit layerChanged();
}

void LayerChoice::choose(const std::string& name) {
  wanted_ = name;
  settle();
}

void LayerChoice::step(int by) {
  const auto count = static_cast<int>(layers_.size());
  if (count < 2) return;
  const auto found = std::find_if(layers_.begin(), layers_.end(),
                                  [this](const ShownLayer& layer) { return layer.name == shown_; });
  const int at = static_cast<int>(found - layers_.begin());
  choose(layers_[static_cast<std::size_t>((at + by % count + count) % count)].name);
}

void LayerChoice::openList() {
  if (layers_.size() < 2) return;
  search_->clear();
  filter({});
  search_->setVisible(layers_.size() >= many);
  const int rows = std::min(list_->count(), mostRows);
  list_->setFixedSize(listWidth, rows * std::max(1, list_->sizeHintForRow(0)) + 2 * list_->frameWidth());
  popup_->adjustSize();
  popup_->move(mapToGlobal(QPoint(0, height())));
  popup_->show();
  QWidget* first = search_->isVisibleTo(popup_) ? static_cast<QWidget*>(search_) : list_;
  first->setFocus();
}

// A heading stays while one of its layers does.
void LayerChoice::filter(const QString& text) {
  QListWidgetItem *heading = nullptr, *first = nullptr, *chosen = nullptr;
  for (int row = 0; row < list_->count(); ++row) {
    QListWidgetItem* item = list_->item(row);
    if (isHeading(*item)) {
      heading = item;
      item->setHidden(true);
      continue;
    }
    const QString name = item->data(nameRole).toString();
    const bool fits =
        item->text().contains(text, Qt::CaseInsensitive) || name.contains(text, Qt::CaseInsensitive);
    item->setHidden(!fits);
    if (!fits) continue;
    if (heading) heading->setHidden(false);
    if (!first) first = item;
    if (name.toStdString() == shown_) chosen = item;
  }
  list_->setCurrentItem(chosen ? chosen : first);
}

void LayerChoice::take() {
  const QListWidgetItem* item = list_->currentItem();
  popup_->hide();
  if (item && !isHeading(*item)) choose(item->data(nameRole).toString().toStdString());
}

// Looks as a combo box does: the name at the left, an arrow at the right.
void LayerChoice::paintEvent(QPaintEvent*) {
  QStylePainter painter(this);
  QStyleOptionToolButton option;
  initStyleOption(&option);
  const QString name = std::exchange(option.text, {});
  painter.drawComplexControl(QStyle::CC_ToolButton, option);
  const QColor color = isEnabled() ? tokens().text : tokens().disabled;
  const QPixmap arrow = iconPixmap(QStringLiteral("chevron-down"), arrowSize, color, devicePixelRatioF());
  const QRect inside = rect().adjusted(metrics::groupSpace, 0, -metrics::grid, 0);
  painter.drawPixmap(inside.right() - arrowSize, (height() - arrowSize) / 2, arrow);
  const QRect text = inside.adjusted(0, 0, -arrowSize - metrics::grid, 0);
  painter.setPen(color);
  painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                   fontMetrics().elidedText(name, Qt::ElideRight, text.width()));
}

// Up and Down move in the list while the search has the keys.
bool LayerChoice::eventFilter(QObject* watched, QEvent* event) {
  if (watched == search_ && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Up || key == Qt::Key_Down) return QApplication::sendEvent(list_, event);
  }
  return QToolButton::eventFilter(watched, event);
}

} // namespace host
