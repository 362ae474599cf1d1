// Layouts of windows in the preferences, each under a name. Main thread.
#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>
#include <optional>

class QMainWindow;

namespace host {

/// Names of the layouts that are kept.
inline constexpr const char *mainLayout = "window", *frameBufferLayout = "frame buffer";

struct StoredLayout {
  QByteArray geometry, state; // as QMainWindow saves them
  QSize size;                 // of the window in this state, logical pixels
  bool open = true;           // the window was visible

  static constexpr int version = 2;
};

/// Empty when no layout is stored; empty, with a reason in `trouble`, when it is damaged or of another
/// version.
std::optional<StoredLayout> readLayout(const char* name, QString& trouble);
/// On disk when this returns; an unchanged layout is not written again.
void writeLayout(const char* name, const StoredLayout& layout);
/// The next start has the default layouts.
void forgetLayouts();

/// The reason that a window is unusable: it is off the screens, or a part of it is too small, outside the
/// window or over another part. Empty when it is usable. The window may be hidden.
QString layoutTrouble(QMainWindow& window);

/// Whether a window can be reached: at least 24 x 24 pixels of its title are on a screen.
bool isReachable(const QRect& frame);

} // namespace host
