// Readable names of settings: "opt.gi" beside LM_OPT_15014.
#pragma once

#include <string>

#include "lm_keys.h"

namespace batch {

/// The readable name, which is unique ("stamp.render-time"), from the host's table (setting_table.h).
std::string readableName(const lmKey& key);

/// The entry of the key table for a number, an LM_ name or a readable name. Throws `Stop` (wrong use) for an
/// unknown one, with the nearest name when there is one.
const lmKey& findSetting(const std::string& name);

} // namespace batch
