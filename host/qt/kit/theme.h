// The look of every window: colours, fonts, sizes. One table of tokens a theme; the palette and the style
// sheet are made from it, and nothing else draws colours of its own. Main thread.
#pragma once

#include <QColor>
#include <QObject>
#include <QString>
#include <optional>

class QFont;
class QWidget;

namespace host {

enum class Theme { dark, light };

/// The colours of a theme. `accent` stands for selection, focus and the running render, nothing else; text on
/// it has the colour `onAccent`. Every text colour keeps a contrast of 4.5 to 1 against `window`, `panel` and
/// `field`, `disabled` excepted.
struct Tokens {
  QColor window, panel, field, line;
  QColor raised, hover, pressed; // a button: at rest, under the pointer, held
  QColor text, dim, disabled;
  QColor accent, onAccent, accentSoft; // soft: behind a selected row
  QColor warning, error, good;         // marks and lines
  QColor warningText, errorText;       // words
};

// Lengths in logical pixels.
namespace metrics {
inline constexpr int grid = 4;
inline constexpr int groupSpace = 8; // between groups
inline constexpr int control = 24;   // height of a button, a field, a row
inline constexpr int icon = 16;
inline constexpr int fontPixels = 13;
inline constexpr int smallFontPixels = 12;
inline constexpr int radius = 4;
} // namespace metrics

/// Installs style, palette, style sheet and fonts: once, after the QApplication was made. The theme is that
/// of `setTheme`, else of LUMENARA_THEME ("dark", "light") in the environment, else the desktop's; dark when
/// the desktop has no preference.
void installTheme();
/// Sets the theme of every window at once; an empty value follows the desktop again.
void setTheme(std::optional<Theme> theme);
Theme theme();

/// The colours of the current theme.
const Tokens& tokens();
const Tokens& tokens(Theme theme);

/// The interface font with tabular figures; `pixels` 0: the usual size.
QFont interfaceFont(int pixels = 0);
/// A font of fixed width, for the console and pixel values.
QFont fixedFont();

/// From 1 (no difference) to 21 (black on white): WCAG 2.1, "contrast ratio". Alpha is ignored.
double contrast(const QColor& one, const QColor& other);

/// Signals a change of the theme, to those that keep pictures made from tokens.
class ThemeNotifier : public QObject {
  Q_OBJECT
 public:
  static ThemeNotifier& instance();
 signals:
  void changed();
};

// Roles that the style sheet knows, set on a widget:
//   setRole(label, "dim")      secondary text           setRole(button, "primary")  the answer that Enter
//   gives setRole(label, "title")    heading of a group       setRole(button, "flat")     no frame at rest
//   (tool bars) setRole(label, "error")    a field's complaint      setRole(frame, "panel")     a raised area
//   setRole(label, "large")    an empty state's sentence
void setRole(QWidget* widget, const char* role);

} // namespace host
