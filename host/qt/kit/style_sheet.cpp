#include "style_sheet.h"

namespace host {

namespace {

// The text between two @ is a token. Boxes are 24 high: 22 inside and a line above and below.
const char* const sheet = R"(
QToolTip { background: @panel@; color: @text@; border: 1px solid @line@; padding: 3px 6px; }

QMainWindow, QDialog, QDockWidget { background: @window@; }
QMainWindow::separator { background: @window@; width: 4px; height: 4px; }
QMainWindow::separator:hover { background: @accent@; }
QSplitter::handle { background: @window@; }
QSplitter::handle:horizontal { width: 4px; }
QSplitter::handle:vertical { height: 4px; }
QSplitter::handle:hover { background: @accent@; }
QDockWidget { titlebar-close-icon: url(:/style/close.svg); titlebar-normal-icon: url(:/style/float.svg); }
QDockWidget::title { background: @window@; padding: 4px 8px; text-align: left; }
QDockWidget::close-button, QDockWidget::float-button { border: none; padding: 1px; background: transparent; }
QDockWidget::close-button:hover, QDockWidget::float-button:hover { background: @hover@; border-radius: 3px; }

QLabel[role="dim"], QCheckBox[role="dim"] { color: @dim@; }
QLabel[role="title"] { color: @dim@; font-weight: 600; }
QLabel[role="error"] { color: @errorText@; }
QLabel[role="warning"] { color: @warningText@; }
QLabel[role="sentence"] { font-size: 15px; font-weight: 600; }
QLabel[role="large"] { font-size: 16px; color: @dim@; }
QFrame[role="panel"], QWidget[role="panel"] { background: @panel@; border-radius: 4px; }
QFrame#palette { background: @panel@; border: 1px solid @disabled@; }
QFrame[role="line-h"] { background: @line@; border: none; min-height: 1px; max-height: 1px; }
QFrame[role="line-v"] { background: @line@; border: none; min-width: 1px; max-width: 1px; }

QPushButton { background: @raised@; color: @text@; border: 1px solid @line@; border-radius: 4px;
              padding: 0 10px; min-height: 22px; }
QPushButton:hover { background: @hover@; }
QPushButton:pressed, QPushButton:checked { background: @pressed@; }
QPushButton:focus { border-color: @accent@; }
QPushButton:disabled { color: @disabled@; background: @window@; }
QPushButton:default, QPushButton[role="primary"] { border-color: @dim@; }
QPushButton:default:focus, QPushButton[role="primary"]:focus { border-color: @accent@; }
QPushButton[role="flat"] { background: transparent; border-color: transparent; }
QPushButton[role="flat"]:hover { background: @hover@; }
QPushButton::menu-indicator { image: url(:/style/down.svg); subcontrol-position: right center; right: 4px; }

QToolButton { background: transparent; color: @text@; border: 1px solid transparent; border-radius: 4px;
              padding: 3px; }
QToolButton:hover { background: @hover@; }
QToolButton:pressed, QToolButton:checked { background: @pressed@; border-color: @line@; }
QToolButton:focus { border-color: @accent@; }
QToolButton:disabled { color: @disabled@; }
QToolButton::menu-indicator { image: url(:/style/down.svg); subcontrol-position: right center; right: 1px; }
QToolButton[popupMode="1"], QToolButton#zoomButton { padding-right: 14px; }
QToolButton#layerChoice { background: @raised@; border-color: @line@; }
QToolButton#layerChoice:hover { background: @hover@; }
QToolButton#layerChoice:focus { border-color: @accent@; }
QToolButton#layerChoice:disabled { background: @window@; }
QToolButton::menu-button { border: none; width: 12px; }
QToolButton::menu-arrow { image: url(:/style/down.svg); width: 9px; height: 9px; }
QToolButton[role="step"] { padding: 0; border: none; border-radius: 0; }
QToolButton#qt_toolbar_ext_button { padding: 0; border: none; }
QToolBar { background: @window@; border: none; spacing: 2px; padding: 2px 4px; }
QToolBar::separator { background: @line@; width: 1px; margin: 4px; }
QToolBar::handle { width: 6px; }

QLineEdit, QAbstractSpinBox { background: @field@; color: @text@; border: 1px solid @line@; border-radius: 4px;
            padding: 0 5px; min-height: 22px; selection-background-color: @accent@;
            selection-color: @onAccent@; }
QLineEdit:hover, QAbstractSpinBox:hover { border-color: @disabled@; }
QLineEdit:focus, QAbstractSpinBox:focus { border-color: @accent@; }
QLineEdit:disabled, QAbstractSpinBox:disabled { color: @disabled@; background: @window@; }
QAbstractSpinBox { padding: 0 18px 0 5px; }
QAbstractSpinBox::up-button, QAbstractSpinBox::down-button { subcontrol-origin: border; width: 16px; border: none; }
QAbstractSpinBox::up-button { subcontrol-position: top right; }
QAbstractSpinBox::down-button { subcontrol-position: bottom right; }
QAbstractSpinBox::up-arrow { image: url(:/style/up.svg); width: 9px; height: 9px; }
QAbstractSpinBox::down-arrow { image: url(:/style/down.svg); width: 9px; height: 9px; }
QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }
QLineEdit[complaint="true"] { border-color: @error@; color: @errorText@; }
QPlainTextEdit, QTextEdit { background: @field@; color: @text@; border: 1px solid @line@; border-radius: 4px;
            selection-background-color: @accent@; selection-color: @onAccent@; }
QPlainTextEdit:focus, QTextEdit:focus { border-color: @accent@; }

QComboBox { background: @raised@; color: @text@; border: 1px solid @line@; border-radius: 4px;
            padding: 0 4px 0 7px; min-height: 22px; }
QComboBox:hover { background: @hover@; }
QComboBox:focus { border-color: @accent@; }
QComboBox:disabled { color: @disabled@; background: @window@; }
QComboBox::drop-down { border: none; width: 18px; }
QComboBox::down-arrow { image: url(:/style/down.svg); width: 9px; height: 9px; }
QComboBox QAbstractItemView { background: @panel@; color: @text@; border: 1px solid @line@; padding: 2px;
            selection-background-color: @accentSoft@; selection-color: @text@; outline: none; }
QComboBox QAbstractItemView::item { min-height: 22px; padding: 0 4px; }

QCheckBox, QRadioButton { spacing: 6px; min-height: 24px; }
QCheckBox:disabled, QRadioButton:disabled { color: @disabled@; }
QCheckBox::indicator, QGroupBox::indicator, QListView::indicator { width: 14px; height: 14px; border: 1px solid @dim@;
            border-radius: 3px; background: @field@; }
QCheckBox::indicator:hover { border-color: @text@; }
QCheckBox::indicator:focus { border-color: @accent@; }
QCheckBox::indicator:checked, QListView::indicator:checked { background: @accent@; border-color: @accent@; image: url(:/style/check.svg); }
QCheckBox::indicator:indeterminate { background: @field@; image: url(:/style/part.svg); }
QCheckBox::indicator:disabled { border-color: @line@; background: @window@; }
QCheckBox::indicator:checked:disabled { background: @disabled@; border-color: @disabled@; }
QRadioButton::indicator { width: 13px; height: 13px; border: 1px solid @dim@; border-radius: 7px;
            background: @field@; }
QRadioButton::indicator:focus { border-color: @accent@; }
QRadioButton::indicator:checked { background: @accent@; border: 4px solid @field@; width: 7px; height: 7px; }

QSlider { min-height: 24px; }
QSlider:vertical { min-height: 0; min-width: 24px; }
QSlider::groove:horizontal { height: 4px; background: @line@; border-radius: 2px; }
QSlider::sub-page:horizontal { height: 4px; background: @dim@; border-radius: 2px; }
QSlider::handle:horizontal { width: 12px; height: 12px; margin: -4px 0; border-radius: 6px; background: @text@; }
QSlider::groove:vertical { width: 4px; background: @line@; border-radius: 2px; }
QSlider::handle:vertical { width: 12px; height: 12px; margin: 0 -4px; border-radius: 6px; background: @text@; }
QSlider::handle:hover, QSlider::handle:focus { background: @accent@; }
QSlider::handle:disabled { background: @disabled@; }
QSlider::sub-page:disabled { background: @disabled@; }

QGroupBox { border: 1px solid @line@; border-radius: 4px; margin-top: 9px; padding-top: 6px; }
QGroupBox::title { subcontrol-origin: margin; left: 8px; padding: 0 4px; color: @dim@; }
QGroupBox[titled="false"] { margin-top: 0; padding-top: 0; }

QMenuBar { background: @window@; border: none; padding: 1px 2px; }
QMenuBar::item { padding: 3px 8px; border-radius: 4px; background: transparent; }
QMenuBar::item:selected, QMenuBar::item:pressed { background: @hover@; }
QMenuBar::item:disabled { color: @disabled@; }
QMenu { background: @panel@; color: @text@; border: 1px solid @line@; padding: 4px; menu-scrollable: 1; }
QMenu::item { padding: 4px 24px 4px 26px; border-radius: 3px; min-height: 16px; }
QMenu::item:selected { background: @accentSoft@; }
QMenu::item:disabled { color: @disabled@; background: transparent; }
QMenu::separator { height: 1px; background: @line@; margin: 4px 6px; }
QMenu::icon { left: 6px; }
QMenu::indicator { width: 14px; height: 14px; left: 6px; }
QMenu::indicator:checked { image: url(:/style/tick.svg); }
QMenu::right-arrow { image: url(:/style/right.svg); width: 9px; height: 9px; right: 6px; }
QMenu::scroller { height: 16px; }

QTabBar { qproperty-drawBase: 0; }
QTabBar::tab { background: transparent; color: @dim@; padding: 4px 12px; border: none;
            border-bottom: 2px solid transparent; }
QTabBar::tab:hover { color: @text@; }
QTabBar::tab:selected { color: @text@; border-bottom-color: @accent@; }
QTabWidget::pane { border: none; border-top: 1px solid @line@; }

QAbstractItemView { background: @field@; alternate-background-color: @window@; color: @text@;
            border: 1px solid @line@; border-radius: 4px; outline: none;
            selection-background-color: @accentSoft@; selection-color: @text@; }
QAbstractItemView:focus { border-color: @accent@; }
QTreeView::item, QListView::item, QTableView::item { min-height: 22px; }
QTreeView::item:hover, QListView::item:hover { background: @panel@; }
QTreeView::item:selected, QListView::item:selected, QTableView::item:selected { background: @accentSoft@;
            color: @text@; }
QTreeView::branch { background: transparent; }
QTreeView::branch:has-children:!has-siblings:closed, QTreeView::branch:closed:has-children:has-siblings {
            border-image: none; image: url(:/style/right.svg); }
QTreeView::branch:open:has-children:!has-siblings, QTreeView::branch:open:has-children:has-siblings {
            border-image: none; image: url(:/style/down.svg); }
QHeaderView { background: @window@; border: none; }
QHeaderView::section { background: @window@; color: @dim@; border: none; border-right: 1px solid @line@;
            border-bottom: 1px solid @line@; padding: 3px 6px; }

QScrollArea { border: none; background: transparent; }
QScrollArea > QWidget > QWidget[role="scrolled"] { background: transparent; }
QAbstractScrollArea::corner { background: transparent; }
QScrollBar { background: transparent; border: none; }
QScrollBar:vertical { width: 10px; }
QScrollBar:horizontal { height: 10px; }
QScrollBar::handle { background: @hover@; border-radius: 3px; margin: 2px; }
QScrollBar::handle:vertical { min-height: 24px; }
QScrollBar::handle:horizontal { min-width: 24px; }
QScrollBar::handle:hover { background: @dim@; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }

QProgressBar { background: @field@; border: 1px solid @line@; border-radius: 4px; color: @text@;
            text-align: center; min-height: 14px; max-height: 14px; }
QProgressBar::chunk { background: @accent@; border-radius: 3px; }
QStatusBar { background: @window@; border-top: 1px solid @line@; }
QStatusBar::item { border: none; }
)";

} // namespace

QString styleSheet(const Tokens& t) {
  const std::pair<const char*, QColor> values[] = {
      {"window", t.window},
      {"panel", t.panel},
      {"field", t.field},
      {"line", t.line},
      {"raised", t.raised},
      {"hover", t.hover},
      {"pressed", t.pressed},
      {"text", t.text},
      {"dim", t.dim},
      {"disabled", t.disabled},
      {"accent", t.accent},
      {"onAccent", t.onAccent},
      {"accentSoft", t.accentSoft},
      {"warningText", t.warningText},
      {"error", t.error},
      {"errorText", t.errorText},
  };
  QString text = QString::fromLatin1(sheet);
  for (const auto& [name, color] : values)
    text.replace(QLatin1Char('@') + QLatin1String(name) + QLatin1Char('@'), color.name());
  return text;
}

} // namespace host
