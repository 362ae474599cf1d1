// Choice between the fastest code for a processor and results that do not depend on the processor.
#pragma once

namespace host {

/// True when the environment variable LUMENARA_PORTABLE asks for it: set, neither empty nor "0". Read once.
/// Any thread.
bool wantsPortableResults() noexcept;

} // namespace host
