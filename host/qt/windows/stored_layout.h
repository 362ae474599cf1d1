// The main window's layout as it lies in the preferences, under the name "window". Main thread.
#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>
#include <optional>

class QMainWindow;

namespace host {

struct StoredLayout {
  QByteArray geometry, state; // as QMainWindow saves them
  QSize size;                 // of the window in this state, logical pixels

  static constexpr int version = 2;
};

/// Nothing when none is stored, and then `trouble` stays empty; nothing, and a reason in `trouble`, when it
/// is damaged or of another version.
std::optional<StoredLayout> readLayout(QString& trouble);
/// On disk when this returns; an equal one is not written again.
void writeLayout(const StoredLayout& layout);
/// The next start has the default layout.
void forgetLayout();

/// Why a window cannot be worked with as it stands: it is off the screens, or a part of it is too small, out
/// of the window or over another part. Empty when it can. The window may be hidden.
QString layoutTrouble(QMainWindow& window);

/// Whether a window's title can be reached: a piece of at least 24 x 24 pixels of it is on a screen.
bool isReachable(const QRect& frame);

} // namespace host
