// Panels docked at the right of a window. Main thread.
#pragma once

#include <QString>

class QAction;
class QMainWindow;
class QWidget;

namespace host {

/// Docks a panel, hidden at first; its dock's name is "panel-" and `name`. The action shows and hides it. A
/// panel that does not fit below the others when it is shown becomes a tab, in front. A window that is too
/// narrow for its picture beside the panel becomes wider until the last panel is hidden.
QAction* dockPanel(QMainWindow& window, QWidget* panel, const char* name, const QString& title);

/// Shows a panel that was docked, in front.
void showPanel(QMainWindow& window, QWidget& panel);

} // namespace host
