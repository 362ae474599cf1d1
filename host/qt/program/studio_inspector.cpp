#include "studio_inspector.h"

#include <set>

namespace host {

namespace {

QJsonArray placeOf(const QWidget& widget, const QRect& part) {
  const double ratio = widget.devicePixelRatioF();
  const QPoint corner = widget.mapToGlobal(part.topLeft());
  const auto pixels = [ratio](int length) { return qRound(length * ratio); };
  return {pixels(corner.x()), pixels(corner.y()), pixels(part.width()), pixels(part.height())};
}

QString textOf(const QWidget& widget) {
  for (const char* property : {"text", "currentText", "plainText", "windowTitle"}) {
    const QVariant value = widget.property(property);
    if (value.isValid() && value.canConvert<QString>() && !value.toString().isEmpty())
      return value.toString();
  }
  return {};
}

// The nearest ancestor with an object name of ours.
QString placeName(const QWidget& widget) {
  for (const QWidget* above = widget.parentWidget(); above; above = above->parentWidget())
    if (!above->objectName().isEmpty() && !above->objectName().startsWith(QStringLiteral("qt_")))
      return above->objectName();
  return {};
}

QJsonObject describeWidget(const QWidget& widget) {
  QJsonObject one;
  one[QStringLiteral("in")] = placeName(widget);
  one[QStringLiteral("class")] = QString::fromLatin1(widget.metaObject()->className());
  one[QStringLiteral("name")] = widget.objectName();
  one[QStringLiteral("label")] = widget.accessibleName();
  one[QStringLiteral("text")] = textOf(widget);
  one[QStringLiteral("place")] = placeOf(widget, widget.rect());
  one[QStringLiteral("window")] = widget.isWindow();
  one[QStringLiteral("enabled")] = widget.isEnabled();
  one[QStringLiteral("focus")] = widget.hasFocus();
  one[QStringLiteral("cursor")] = static_cast<int>(widget.cursor().shape());
  if (const auto* button = qobject_cast<const QAbstractButton*>(&widget); button && button->isCheckable())
    one[QStringLiteral("checked")] = button->isChecked();
  if (const auto* bar = qobject_cast<const QProgressBar*>(&widget))
    one[QStringLiteral("value")] = bar->value();
  return one;
}

template <class Menu>
void describeActions(const Menu& menu, QJsonArray& all) {
  for (const QAction* action : menu.actions()) {
    if (!action->isVisible() || action->isSeparator()) continue;
    QJsonObject one;
    one[QStringLiteral("class")] = QStringLiteral("QAction");
    one[QStringLiteral("name")] = action->objectName();
    one[QStringLiteral("text")] = QString(action->text()).remove(QLatin1Char('&'));
    one[QStringLiteral("place")] = placeOf(menu, menu.actionGeometry(const_cast<QAction*>(action)));
    one[QStringLiteral("enabled")] = action->isEnabled();
    one[QStringLiteral("checked")] = action->isChecked();
    one[QStringLiteral("menu")] = action->menu() != nullptr;
    all.append(one);
  }
}

// The visible rows of lists and trees.
void describeRows(const QAbstractItemView& view, QJsonArray& all) {
  const QAbstractItemModel* model = view.model();
  const QRect seen = view.viewport()->rect();
  if (!model) return;
  std::set<QModelIndex> described;
  for (int y = 2; y < seen.height(); y += 6) {
    for (int x = 4; x < seen.width(); x += 24) {
      const QModelIndex index = view.indexAt({x, y});
      const QString text = index.data(Qt::DisplayRole).toString();
      if (!index.isValid() || text.isEmpty() || !described.insert(index).second) continue;
      QJsonObject one;
      one[QStringLiteral("class")] = QStringLiteral("row");
      one[QStringLiteral("name")] = view.objectName();
      one[QStringLiteral("text")] = text;
      one[QStringLiteral("place")] = placeOf(*view.viewport(), view.visualRect(index));
      one[QStringLiteral("selected")] = view.selectionModel()->isSelected(index);
      all.append(one);
    }
  }
}

} // namespace

std::unique_ptr<StudioInspector> StudioInspector::fromEnvironment() {
  const QString folder = qEnvironmentVariable("LUMENARA_INSPECT");
  return folder.isEmpty() ? nullptr : std::make_unique<StudioInspector>(folder);
}

StudioInspector::StudioInspector(const QString& folder) : folder_(folder) {
  timer_.setInterval(40);
  connect(&timer_, &QTimer::timeout, this, &StudioInspector::look);
  timer_.start();
}

void StudioInspector::look() {
  const QDir folder(folder_);
  if (!QFile::remove(folder.filePath(QStringLiteral("request")))) return;
  QSaveFile answer(folder.filePath(QStringLiteral("answer.json")));
  if (!answer.open(QIODevice::WriteOnly)) return;
  answer.write(describe());
  answer.commit();
}

QByteArray StudioInspector::describe() {
  QJsonArray all;
  for (const QWidget* widget : QApplication::allWidgets()) {
    if (!widget->isVisible() || widget->visibleRegion().isEmpty()) continue;
    if (!widget->objectName().startsWith(QStringLiteral("qt_")) || widget->isWindow())
      all.append(describeWidget(*widget));
    if (const auto* menu = qobject_cast<const QMenu*>(widget)) describeActions(*menu, all);
    if (const auto* bar = qobject_cast<const QMenuBar*>(widget)) describeActions(*bar, all);
    if (const auto* view = qobject_cast<const QAbstractItemView*>(widget)) describeRows(*view, all);
  }
  return QJsonDocument(all).toJson(QJsonDocument::Compact);
}

} // namespace host
