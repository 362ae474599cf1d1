// Full names in tool tips of lists. Main thread.
#pragma once

#include <QObject>

class QAbstractItemView;
class QModelIndex;

namespace host {

/// While it lives, an entry of any list or tree of the program whose text does not fit shows it whole when
/// the pointer rests on it, above the tool tip that the list gives it.
class ElidedTips : public QObject {
  Q_OBJECT
 public:
  explicit ElidedTips(QObject* parent = nullptr);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
};

/// The tool tip of an entry whose text does not fit, as rich text; empty when it fits.
QString elidedTip(const QAbstractItemView& view, const QModelIndex& index);

} // namespace host
