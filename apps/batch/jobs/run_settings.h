// The settings of one render.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "lm_settings.h"

namespace batch {

/// The frame stamps of a render before the assignments: none, or those that the stored settings switch on.
enum class StampChoice { none, stored };

/// Fills the settings; later values win: the defaults, the stored values, this program's own defaults
/// (anti-aliasing best, no resolution divisor, stamps as chosen), the assignments of the command line.
/// Nothing is stored. Throws `Stop` (wrong use) for an unknown key or an invalid value. Main thread.
void fillRunSettings(lmSettings& settings,
                     const std::vector<std::pair<std::string, std::string>>& assignments,
                     StampChoice stamps = StampChoice::none);

/// Throws `Stop` (wrong use) for an unknown key or an invalid value.
void checkAssignments(const std::vector<std::pair<std::string, std::string>>& assignments);

/// Whether any frame stamp is switched on.
bool stampsWanted(const lmSettings& settings);

} // namespace batch
