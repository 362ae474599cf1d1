// The plug-in's settings as texts.
#pragma once

#include <string>

#include "lm_keys.h"

namespace batch {

/// The entry of the key table for a number or an LM_ name. Throws `Stop` (wrong use) when there is none.
const lmKey& findSetting(const std::string& name);

/// "LM_REFRESH_DELAY (20005)".
std::string settingTitle(const lmKey& key);

/// "long", "real", "string", "filename", "vector", "container".
std::string kindName(LONG type);

/// A value of the setting's kind: whole numbers, numbers, "r,g,b" for vectors. Throws `Stop` (wrong use) when
/// the text is none, and for containers, which have no text.
GeData parseSetting(const lmKey& key, const std::string& text);

/// The value as text that `parseSetting` reads back as the same value (containers only tell how much they
/// hold); empty when there is none.
std::string settingText(const GeData& value);

} // namespace batch
