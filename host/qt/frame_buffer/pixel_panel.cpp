#include "pixel_panel.h"

#include "film.h"
#include "theme.h"

namespace host {

namespace {

constexpr int layerRole = Qt::UserRole;
constexpr int nameWidth = 130;

QString numbers(const std::vector<float>& values) {
  QStringList parts;
  for (const float value : values)
    parts << QString::number(static_cast<double>(value), 'g', 5);
  return parts.join(QStringLiteral("  "));
}

// Three components of five digits each: every usual value is read whole.
int valueWidth() {
  const QString widest = QStringLiteral("0.012345  0.012345  0.012345");
  return QFontMetrics(fixedFont()).horizontalAdvance(widest) + 4 * metrics::grid;
}

} // namespace

PixelPanel::PixelPanel(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("pixelPanel"));
  place_ = new QLabel(this);
  place_->setObjectName(QStringLiteral("probePlace"));
  place_->setWordWrap(true);
  setRole(place_, "dim");
  tree_ = new QTreeWidget(this);
  tree_->setObjectName(QStringLiteral("probeTree"));
  tree_->setAccessibleName(tr("Values of the pixel"));
  tree_->setToolTip(tr("The values of the pixel below the pointer, layer by layer"));
  tree_->setHeaderLabels({tr("Layer"), tr("Value"), tr("Least"), tr("Most")});
  tree_->setRootIsDecorated(false);
  tree_->setIndentation(metrics::groupSpace);
  tree_->setUniformRowHeights(true);
  tree_->setSelectionMode(QAbstractItemView::NoSelection);
  tree_->setFocusPolicy(Qt::NoFocus);
  tree_->header()->setStretchLastSection(true);
  tree_->setColumnWidth(0, nameWidth);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(metrics::groupSpace, metrics::grid, metrics::groupSpace, metrics::groupSpace);
  layout->addWidget(place_);
  layout->addWidget(tree_, 1);
  const QMargins margins = layout->contentsMargins();
  const int bar = tree_->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, tree_);
  setMinimumWidth(nameWidth + valueWidth() + bar + 2 * tree_->frameWidth() + margins.left() +
                  margins.right());
  tree_->setColumnWidth(2, valueWidth());
  soon_.setSingleShot(true);
  soon_.setInterval(0);
  connect(&soon_, &QTimer::timeout, this, &PixelPanel::read);
}

void PixelPanel::setFilm(std::shared_ptr<const Film> film) {
  if (film != film_ || !film || film->layers().size() + 1 != listed_.size())
    names_ = film ? FilmNames(*film) : FilmNames();
  film_ = std::move(film);
  refresh();
}

void PixelPanel::showPixel(const QPoint& pixel) {
  pixel_ = pixel;
  if (rect_.isEmpty()) refresh();
}

void PixelPanel::showRect(const QRect& rect) {
  rect_ = rect;
  refresh();
}

void PixelPanel::refresh() {
  if (isVisible()) soon_.start();
}

void PixelPanel::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  read();
}

void PixelPanel::read() {
  const bool marked = !rect_.isEmpty();
  const bool others = tree_->isColumnHidden(2) == marked;
  tree_->setColumnHidden(2, !marked);
  tree_->setColumnHidden(3, !marked);
  // The last column that is shown stretches over the rest: alone it needs no width of its own, nor a scroll
  // bar.
  if (others) tree_->setColumnWidth(1, marked ? valueWidth() : tree_->header()->minimumSectionSize());
  tree_->headerItem()->setText(1, marked ? tr("Mean") : tr("Value"));
  if (!film_) {
    place_->setText(tr("This picture has no film: it has 8 bits a channel."));
    return put({});
  }
  if (marked) {
    place_->setText(tr("%1 x %2 pixels from x %3 y %4 (Esc ends)")
                        .arg(rect_.width())
                        .arg(rect_.height())
                        .arg(rect_.x())
                        .arg(rect_.y()));
    return put(probeRect(*film_, {rect_.x(), rect_.y(), rect_.width(), rect_.height()}));
  }
  const bool inside = QRect(0, 0, film_->width(), film_->height()).contains(pixel_);
  place_->setText(inside ? tr("x %1  y %2").arg(pixel_.x()).arg(pixel_.y())
                         : tr("Point at a pixel. Shift and drag for the mean of a rectangle."));
  if (inside) put(probePixel(*film_, names_, pixel_.x(), pixel_.y()));
}

// Rows are made anew only when the layers are others.
void PixelPanel::arrange(const std::vector<ProbeRow>& rows) {
  std::vector<std::string> wanted;
  for (const ProbeRow& row : rows)
    wanted.push_back(row.layer);
  if (wanted == listed_ && tree_->topLevelItemCount() > 0) return;
  listed_ = wanted;
  tree_->clear();
  QTreeWidgetItem* heading = nullptr;
  for (const ProbeRow& row : rows) {
    const QString group = QString::fromStdString(row.group);
    if (!heading || heading->text(0) != group) {
      heading = new QTreeWidgetItem(tree_, {group});
      heading->setFirstColumnSpanned(true);
      heading->setExpanded(true);
    }
    auto* item = new QTreeWidgetItem(heading, {QString::fromStdString(row.label)});
    item->setData(0, layerRole, QString::fromStdString(row.layer));
    for (int column = 1; column < 4; ++column)
      item->setFont(column, fixedFont());
  }
  tree_->expandAll();
}

void PixelPanel::put(const std::vector<ProbeRow>& rows) {
  arrange(rows);
  QTreeWidgetItemIterator item(tree_);
  for (const ProbeRow& row : rows) {
    while (*item && !(*item)->parent())
      ++item;
    if (!*item) return;
    QString value = numbers(row.values);
    if (!row.names.empty())
      value += (value.isEmpty() ? QString() : QStringLiteral("  ")) + QString::fromStdString(row.names);
    (*item)->setText(1, value);
    (*item)->setToolTip(1, value);
    (*item)->setText(2, numbers(row.least));
    (*item)->setText(3, numbers(row.most));
    for (int column = 2; column < 4; ++column)
      (*item)->setToolTip(column, (*item)->text(column));
    ++item;
  }
}

QString PixelPanel::rowText(const std::string& layer) const {
  for (QTreeWidgetItemIterator item(tree_); *item; ++item)
    if ((*item)->parent() && (*item)->data(0, layerRole).toString().toStdString() == layer) {
      QStringList columns;
      for (int column = 1; column < 4 && !tree_->isColumnHidden(column); ++column)
        columns << (*item)->text(column);
      return columns.join(QStringLiteral(" | "));
    }
  return {};
}

} // namespace host
