// The plug-in's data folder.
#pragma once

#include "c4d.h"

/// Start-up write path + "plugins" + "Lumenara"; it need not exist. Any thread.
Filename GetDataFolder();
