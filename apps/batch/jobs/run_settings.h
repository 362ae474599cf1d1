// The settings that one render goes by.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "lm_settings.h"

namespace batch {

/// Which frame stamps a render draws, before the assignments: none, or those that the stored settings switch
/// on.
enum class StampChoice { none, stored };

/// Fills them as the viewer does, with the stored values over the defaults; then what this program has its
/// own default for (anti-aliasing best, no resolution divisor, stamps as chosen); then the assignments of the
/// command line. Nothing is stored. Throws `Stop` (wrong use) for a key or value that is none. Main thread.
void fillRunSettings(lmSettings& settings,
                     const std::vector<std::pair<std::string, std::string>>& assignments,
                     StampChoice stamps = StampChoice::none);

/// Throws `Stop` (wrong use) when one of them is none.
void checkAssignments(const std::vector<std::pair<std::string, std::string>>& assignments);

/// Whether any frame stamp is switched on.
bool stampsWanted(const lmSettings& settings);

} // namespace batch
