// The look: readable colours, icons in the theme's colours, heights on the grid.
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>

#include "icons.h"
#include "number_field.h"
#include "qt_fixture.h"
#include "style_sheet.h"
#include "theme.h"

namespace {

using host::contrast;
using host::Theme;
using host::Tokens;

class DialogTheme : public QtFixture {
 public:
  ~DialogTheme() override { host::setTheme(std::nullopt); }
};

// The color that most of the picture's opaque pixels have.
QColor mainColor(const QImage& picture) {
  QHash<QRgb, int> counts;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x)
      if (qAlpha(picture.pixel(x, y)) == 255) ++counts[picture.pixel(x, y)];
  QRgb best = 0;
  for (auto one = counts.begin(); one != counts.end(); ++one)
    if (one.value() > counts.value(best)) best = one.key();
  return QColor::fromRgb(best);
}

TEST_F(DialogTheme, ContrastIsThatOfTheStandard) {
  EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 1e-9);
  EXPECT_NEAR(contrast(Qt::white, Qt::white), 1, 1e-9);
  EXPECT_NEAR(contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.478, 0.001); // the known grey just below 4.5
}

TEST_F(DialogTheme, TextsAreReadableOnEveryGround) {
  for (const Theme theme : {Theme::dark, Theme::light}) {
    const Tokens& t = host::tokens(theme);
    for (const QColor& ground : {t.window, t.panel, t.field})
      for (const QColor& text : {t.text, t.dim, t.warningText, t.errorText})
        EXPECT_GE(contrast(text, ground), 4.5)
            << text.name().toStdString() << " on " << ground.name().toStdString();
    for (const QColor& ground : {t.raised, t.hover, t.pressed, t.accentSoft})
      EXPECT_GE(contrast(t.text, ground), 4.5) << ground.name().toStdString();
    EXPECT_GE(contrast(t.onAccent, t.accent), 4.5);
    for (const QColor& mark : {t.warning, t.error, t.good})
      EXPECT_GE(contrast(mark, t.window), 3) << mark.name().toStdString();
  }
}

TEST_F(DialogTheme, SheetHasNoTokenLeftOver) {
  for (const Theme theme : {Theme::dark, Theme::light})
    EXPECT_FALSE(host::styleSheet(host::tokens(theme)).contains('@'));
}

TEST_F(DialogTheme, EveryWindowChangesAtOnce) {
  int changes = 0;
  QObject::connect(&host::ThemeNotifier::instance(), &host::ThemeNotifier::changed, qApp, [&] { ++changes; });
  QWidget window;
  window.resize(20, 20);
  host::setTheme(Theme::dark);
  EXPECT_EQ(window.grab().toImage().pixelColor(10, 10), host::tokens(Theme::dark).window);
  host::setTheme(Theme::light);
  EXPECT_EQ(window.grab().toImage().pixelColor(10, 10), host::tokens(Theme::light).window);
  EXPECT_EQ(host::theme(), Theme::light);
  EXPECT_EQ(changes, 2);
  QObject::disconnect(&host::ThemeNotifier::instance(), nullptr, qApp, nullptr);
}

TEST_F(DialogTheme, EnvironmentChoosesUnlessTheProgramDoes) {
  qputenv("LUMENARA_THEME", "light");
  host::setTheme(std::nullopt);
  EXPECT_EQ(host::theme(), Theme::light);
  host::setTheme(Theme::dark);
  EXPECT_EQ(host::theme(), Theme::dark);
  qunsetenv("LUMENARA_THEME");
  host::setTheme(std::nullopt);
  EXPECT_EQ(host::theme(), Theme::dark); // this desktop has no preference
}

TEST_F(DialogTheme, FiguresHaveOneWidth) {
  const QFontMetricsF metrics(host::interfaceFont());
  for (const char figure : {'1', '4', '7', '9'})
    EXPECT_EQ(metrics.horizontalAdvance(QLatin1Char(figure)), metrics.horizontalAdvance(QLatin1Char('0')));
  EXPECT_EQ(host::interfaceFont().pixelSize(), 13);
}

TEST_F(DialogTheme, ControlsAreTwentyFourHigh) {
  QPushButton button("Text");
  QComboBox combo;
  QLineEdit edit;
  host::NumberField number;
  for (QWidget* widget : {static_cast<QWidget*>(&button), static_cast<QWidget*>(&combo),
                          static_cast<QWidget*>(&edit), static_cast<QWidget*>(&number)}) {
    widget->ensurePolished();
    EXPECT_EQ(widget->sizeHint().height(), 24) << widget->metaObject()->className();
  }
}

TEST_F(DialogTheme, IconsHaveTheColorsOfTheirState) {
  for (const Theme theme : {Theme::dark, Theme::light}) {
    host::setTheme(theme);
    const Tokens& t = host::tokens();
    const QIcon icon = host::icon("stop");
    const auto color = [&](QIcon::Mode mode, QIcon::State state) {
      return mainColor(icon.pixmap(QSize(32, 32), mode, state).toImage());
    };
    EXPECT_EQ(color(QIcon::Normal, QIcon::Off), t.text);
    EXPECT_EQ(color(QIcon::Disabled, QIcon::Off), t.disabled);
    EXPECT_EQ(color(QIcon::Normal, QIcon::On), t.accent);
  }
}

TEST_F(DialogTheme, IconsAreSharpOnDenseScreens) {
  const QPixmap picture = host::icon("open").pixmap(QSize(16, 16), 2.0);
  EXPECT_EQ(picture.width(), 32);
  EXPECT_EQ(picture.devicePixelRatio(), 2);
  EXPECT_EQ(host::iconPixmap("open", 16, Qt::red, 2).width(), 32);
}

TEST_F(DialogTheme, ButtonsOfBoxesHaveWordsOnly) {
  QDialogButtonBox box(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  box.show();
  settle();
  for (const QAbstractButton* button : box.buttons())
    EXPECT_TRUE(button->icon().isNull()) << button->text().toStdString();
}

TEST_F(DialogTheme, MissingIconIsEmpty) {
  EXPECT_TRUE(host::icon("no-such-icon").isNull());
  EXPECT_TRUE(host::iconPixmap("no-such-icon", 16).isNull());
  EXPECT_FALSE(host::hasIcon("../style/check"));
  EXPECT_TRUE(host::hasIcon("open"));
}

TEST_F(DialogTheme, EveryPictureOfTheSetCanBeDrawn) {
  const QStringList names = QDir(":/icons").entryList();
  ASSERT_GT(names.size(), 30);
  for (const QString& name : names) {
    const QImage picture = host::iconPixmap(name.chopped(4), 32).toImage();
    bool drawn = false;
    for (int y = 0; y < picture.height(); ++y)
      for (int x = 0; x < picture.width(); ++x)
        drawn = drawn || qAlpha(picture.pixel(x, y)) > 0;
    EXPECT_TRUE(drawn) << name.toStdString();
  }
  for (const QString& name : QDir(":/style").entryList())
    EXPECT_FALSE(QImage(":/style/" + name).isNull()) << name.toStdString();
}

} // namespace
