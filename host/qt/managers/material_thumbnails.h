// Pictures of materials for lists. Main thread.
#pragma once

#include <QPixmap>
#include <memory>
#include <unordered_map>

#include "session.h"

namespace host {

/// Thumbnails of the document's materials and of the library's. They are rendered when they are asked for;
/// until the first is ready a placeholder is shown, and `MaterialPreviews::ready` tells.
class MaterialThumbnails {
 public:
  /// `side` in logical pixels.
  MaterialThumbnails(Session& session, int side) : session_(session), side_(side) {}

  /// The pixel ratio of the screen that shows them.
  void setPixelRatio(double ratio) { ratio_ = ratio; }
  QPixmap of(Identity material);
  void forget(Identity material) { known_.erase(material); }

 private:
  struct Known {
    std::shared_ptr<const BaseBitmap> bitmap;
    QPixmap pixmap;
  };
  QPixmap placeholder() const;

  Session& session_;
  int side_;
  double ratio_ = 1;
  std::unordered_map<Identity, Known> known_;
};

} // namespace host
