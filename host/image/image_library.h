// The image library's process-wide settings. Private to host/image.
#pragma once

namespace host {

/// Sets them, once; called before every use of the library. Any thread.
void prepareImageLibrary();

} // namespace host
