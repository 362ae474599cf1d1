// File choosers. Main thread.
#pragma once

#include <QString>

#include "user_interface.h"

class QWidget;

namespace host {

/// Shows the chooser and waits, as a modal box of `mainLoop()`. It starts in the folder of the request, else
/// in that of the last choice of this kind (type and mode), which `preferences()` keeps under the name
/// "folders". `native`: the desktop's own chooser.
bool chooseFile(QWidget* parent, const FileRequest& request, bool native, Filename& chosen);

} // namespace host
