// The plug-in's settings as text.
#pragma once

#include <string>

#include "lm_keys.h"

namespace batch {

/// "refresh.delay (LM_REFRESH_DELAY)", for messages.
std::string settingTitle(const lmKey& key);

/// "long", "real", "string", "filename", "vector", "container".
std::string kindName(LONG type);

/// A value of the setting's type: integers, numbers, "r,g,b" for vectors. Throws `Stop` (wrong use) for an
/// invalid text, and for containers, which have no text form.
GeData parseSetting(const lmKey& key, const std::string& text);

/// The value as text that `parseSetting` reads back (containers give only their number of entries); empty
/// without a value.
std::string settingText(const GeData& value);

} // namespace batch
