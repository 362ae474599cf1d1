#include "theme.h"

#include <cmath>

#include "desktop_scheme.h"
#include "display_transform.h"
#include "gadget_actions.h"
#include "style_sheet.h"

namespace host {

namespace {

std::optional<Theme> fixedTheme;
Theme current = Theme::dark;
bool installed = false;
DesktopScheme* desktopScheme = nullptr; // null: no bus to ask

// WCAG 2.1, "relative luminance".
double luminance(const QColor& color) {
  return 0.2126 * srgbToLinear(color.redF()) + 0.7152 * srgbToLinear(color.greenF()) +
         0.0722 * srgbToLinear(color.blueF());
}

std::optional<Theme> themeOfEnvironment() {
  const QByteArray name = qgetenv("LUMENARA_THEME").toLower();
  if (name == "dark") return Theme::dark;
  if (name == "light") return Theme::light;
  return {};
}

// The settings service answers directly.
std::optional<Theme> themeOfService() {
  if (!desktopScheme || !desktopScheme->scheme()) return {};
  return *desktopScheme->scheme() == Scheme::dark ? Theme::dark : Theme::light;
}

// Without our palette the application's is the desktop's, laid over the style's own. When both are equal, the
// desktop has no preference.
std::optional<Theme> themeOfDesktop() {
  QApplication::setPalette(QPalette());
  const QPalette palette = QApplication::palette();
  const QColor window = palette.color(QPalette::Window), text = palette.color(QPalette::WindowText);
  const QPalette own = QApplication::style()->standardPalette();
  if (window == own.color(QPalette::Window) && text == own.color(QPalette::WindowText)) return {};
  return luminance(window) < luminance(text) ? Theme::dark : Theme::light;
}

Theme wantedTheme() {
  if (fixedTheme) return *fixedTheme;
  if (const auto named = themeOfEnvironment()) return *named;
  if (const auto told = themeOfService()) return *told;
  return themeOfDesktop().value_or(Theme::dark);
}

QPalette paletteOf(const Tokens& t) {
  QPalette palette;
  const auto set = [&](QPalette::ColorRole role, const QColor& color) { palette.setColor(role, color); };
  set(QPalette::Window, t.window);
  set(QPalette::WindowText, t.text);
  set(QPalette::Base, t.field);
  set(QPalette::AlternateBase, t.panel);
  set(QPalette::Text, t.text);
  set(QPalette::PlaceholderText, t.dim);
  set(QPalette::Button, t.raised);
  set(QPalette::ButtonText, t.text);
  set(QPalette::BrightText, t.errorText);
  set(QPalette::ToolTipBase, t.panel);
  set(QPalette::ToolTipText, t.text);
  set(QPalette::Highlight, t.accent);
  set(QPalette::HighlightedText, t.onAccent);
  set(QPalette::Link, t.warningText);
  set(QPalette::LinkVisited, t.dim);
  set(QPalette::Light, t.hover);
  set(QPalette::Midlight, t.raised);
  set(QPalette::Mid, t.line);
  set(QPalette::Dark, t.line);
  set(QPalette::Shadow, t.field);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    palette.setColor(QPalette::Disabled, role, t.disabled);
  palette.setColor(QPalette::Disabled, QPalette::Highlight, t.line);
  palette.setColor(QPalette::Disabled, QPalette::HighlightedText, t.disabled);
  return palette;
}

bool hasTabularFigures(const QFont& font) {
  const QFontMetricsF metrics(font);
  const qreal width = metrics.horizontalAdvance(QLatin1Char('0'));
  for (char digit = '1'; digit <= '9'; ++digit)
    if (std::abs(metrics.horizontalAdvance(QLatin1Char(digit)) - width) > 0.01) return false;
  return true;
}

// The desktop's font when its figures have one width, else the first of these that has such figures.
QFont chooseFont() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
  font.setPixelSize(metrics::fontPixels);
  if (hasTabularFigures(font)) return font;
  for (const char* family : {"Noto Sans", "Segoe UI", "Cantarell", "DejaVu Sans", "Liberation Sans"}) {
    if (!QFontDatabase::hasFamily(QLatin1String(family))) continue;
    QFont other(QString::fromLatin1(family));
    other.setPixelSize(metrics::fontPixels);
    if (hasTabularFigures(other)) return other;
  }
  return font;
}

void applyTheme() {
  current = wantedTheme();
  const Tokens& t = tokens();
  QApplication::setPalette(paletteOf(t));
  qApp->setStyleSheet(styleSheet(t));
  setWindowColor(t.window.rgb());
  emit ThemeNotifier::instance().changed();
}

void forgetService() {
  desktopScheme = nullptr;
  installed = false;
}

// On platforms with a screen and a message bus.
void askService() {
  const QString platform = QGuiApplication::platformName();
  const bool screen = platform != QLatin1String("offscreen") && platform != QLatin1String("minimal");
  if (!screen || !sessionHasBus()) return;
  desktopScheme = new DesktopScheme(QDBusConnection::sessionBus(), qApp);
  QObject::connect(desktopScheme, &DesktopScheme::changed, qApp, applyTheme);
  QObject::connect(desktopScheme, &QObject::destroyed, forgetService);
}

// Follows a change of the desktop's colours.
class ThemeFollower : public QObject {
 public:
  using QObject::QObject;
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::ThemeChange && watched->isWindowType() && !waiting_) {
      waiting_ = true;
      QTimer::singleShot(0, this, [this] {
        applyTheme();
        waiting_ = false;
      });
    }
    return false;
  }

 private:
  bool waiting_ = false;
};

} // namespace

ThemeNotifier& ThemeNotifier::instance() {
  static ThemeNotifier notifier;
  return notifier;
}

const Tokens& tokens(Theme theme) {
  static const auto rgb = [](QRgb value) { return QColor::fromRgb(value); };
  static const Tokens dark = {
      .window = rgb(0x2b2b2e),
      .panel = rgb(0x333337),
      .field = rgb(0x232326),
      .line = rgb(0x3f3f45),
      .raised = rgb(0x3d3d42),
      .hover = rgb(0x47474d),
      .pressed = rgb(0x29292c),
      .text = rgb(0xd8d8dc),
      .dim = rgb(0x9c9ca4),
      .disabled = rgb(0x6a6a72),
      .accent = rgb(0xe0a030),
      .onAccent = rgb(0x1c1c1e),
      .accentSoft = rgb(0x54472f),
      .warning = rgb(0xd9822b),
      .error = rgb(0xd25050),
      .good = rgb(0x6fae6f),
      .warningText = rgb(0xe5994a),
      .errorText = rgb(0xf08a84),
  };
  static const Tokens light = {
      .window = rgb(0xececef),
      .panel = rgb(0xf5f5f7),
      .field = rgb(0xffffff),
      .line = rgb(0xc6c6cd),
      .raised = rgb(0xfafafc),
      .hover = rgb(0xffffff),
      .pressed = rgb(0xdcdce1),
      .text = rgb(0x242428),
      .dim = rgb(0x5f5f67),
      .disabled = rgb(0xa2a2aa),
      .accent = rgb(0xd0901c),
      .onAccent = rgb(0x1c1c1e),
      .accentSoft = rgb(0xf5e3bf),
      .warning = rgb(0xc46a14),
      .error = rgb(0xc64040),
      .good = rgb(0x3f8a45),
      .warningText = rgb(0x8f4a05),
      .errorText = rgb(0xa82c2c),
  };
  return theme == Theme::dark ? dark : light;
}

const Tokens& tokens() {
  return tokens(current);
}

Theme theme() {
  return current;
}

void installTheme() {
  if (!installed) {
    qApp->setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    qApp->setFont(interfaceFont());
    qApp->installEventFilter(new ThemeFollower(qApp));
    askService();
    installed = true;
  }
  applyTheme();
}

void setTheme(std::optional<Theme> theme) {
  fixedTheme = theme;
  if (installed) applyTheme();
}

QFont interfaceFont(int pixels) {
  static const QFont usual = chooseFont();
  QFont font = usual;
  if (pixels > 0) font.setPixelSize(pixels);
  return font;
}

QFont fixedFont() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(metrics::smallFontPixels);
  return font;
}

double contrast(const QColor& one, const QColor& other) {
  const double a = luminance(one), b = luminance(other);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

void setRole(QWidget* widget, const char* role) {
  widget->setProperty("role", QString::fromLatin1(role));
  widget->style()->unpolish(widget);
  widget->style()->polish(widget);
}

} // namespace host
