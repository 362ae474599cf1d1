#include "lm_folder.h"

Filename GetDataFolder() {
  return GeGetStartupWritePath() + "plugins" + "Lumenara";
}
