// Choosing a file. Main thread.
#pragma once

#include <QString>

#include "user_interface.h"

class QWidget;

namespace host {

/// Shows the chooser and waits, as a modal box of `mainLoop()`. It begins where the request says, else where
/// the last choice of this kind (type and mode) was made; `preferences()` keeps that under the name
/// "folders". `native`: the desktop's own chooser.
bool chooseFile(QWidget* parent, const FileRequest& request, bool native, Filename& chosen);

} // namespace host
