// Tests see the plug-in's own defaults, also in programs that they start: an empty file of site defaults
// takes the place of ours and of those of the machine. Tests of site defaults set the variable themselves.
#include <cstdlib>

namespace {

[[maybe_unused]] const int set = setenv("LUMENARA_DEFAULTS", "/dev/null", 0);

} // namespace
