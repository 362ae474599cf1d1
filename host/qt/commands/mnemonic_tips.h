// Tool tips that say the underlined letters. Main thread.
#pragma once

class QWidget;

namespace host {

/// Adds "(Alt+S)" to the tool tips of all buttons below `window` whose text underlines a letter, and of
/// fields whose label does. A tip that names its key stays as it is; a button without a tip gets its text.
void tellMnemonics(QWidget& window);

} // namespace host
