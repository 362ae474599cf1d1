#include "elided_tips.h"

namespace host {

namespace {

// Names of files and objects are no markup.
QString asRichText(const QString& text) {
  return Qt::mightBeRichText(text) && text.startsWith(QLatin1Char('<')) ? text : text.toHtmlEscaped();
}

} // namespace

ElidedTips::ElidedTips(QObject* parent) : QObject(parent) {
  qApp->installEventFilter(this);
}

QString elidedTip(const QAbstractItemView& view, const QModelIndex& index) {
  const QString text = index.data(Qt::DisplayRole).toString();
  if (text.isEmpty()) return {};
  const QRect place = view.visualRect(index);
  const int room = std::min(place.right(), view.viewport()->rect().right()) - std::max(place.left(), 0) + 1;
  if (view.sizeHintForIndex(index).width() <= room) return {};
  const QString tip = index.data(Qt::ToolTipRole).toString();
  QString whole = QStringLiteral("<p style='white-space:pre-wrap'>%1</p>").arg(text.toHtmlEscaped());
  if (!tip.isEmpty() && tip != text) whole += asRichText(tip);
  return whole;
}

bool ElidedTips::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::ToolTip || !watched->isWidgetType()) return false;
  const auto* view = qobject_cast<QAbstractItemView*>(watched->parent());
  if (!view || view->viewport() != watched) return false;
  const auto& help = static_cast<const QHelpEvent&>(*event);
  const QModelIndex index = view->indexAt(help.pos());
  const QString tip = index.isValid() ? elidedTip(*view, index) : QString();
  if (tip.isEmpty()) return false;
  QToolTip::showText(help.globalPos(), tip, view->viewport(), view->visualRect(index));
  return true;
}

} // namespace host
