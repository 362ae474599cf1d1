#include "tool_windows.h"

#include "about_dialog.h"
#include "command_table.h"
#include "desk_panels.h"
#include "frame_buffer.h"
#include "render_settings_dialog.h"
#include "shortcuts_dialog.h"

namespace host {

namespace {

void present(QWidget& window) {
  window.show();
  window.raise();
  window.activateWindow();
}

} // namespace

ToolWindows::ToolWindows(Session& session, CommandTable& commands, QWidget& window)
    : QObject(&window), session_(session), commands_(commands), window_(window) {
}

ToolWindows::~ToolWindows() = default;

FrameBuffer& ToolWindows::frameBuffer() {
  if (!frame_) {
    frame_ = new FrameBuffer(session_);
    new DeskPanels(session_, *frame_);
    connect(frame_, &FrameBuffer::renderWanted, commands_.action(QStringLiteral("render.picture")),
            &QAction::trigger);
    frame_->addAction(commands_.action(QStringLiteral("file.quit")));
  }
  return *frame_;
}

void ToolWindows::showFrameBuffer() {
  frameBuffer().present();
}

void ToolWindows::showRenderSettings() {
  if (!settings_) {
    settings_ = new RenderSettingsDialog(session_, &window_);
    connect(settings_, &RenderSettingsDialog::renderWanted,
            commands_.action(QStringLiteral("render.picture")), &QAction::trigger);
  }
  present(*settings_);
}

void ToolWindows::showShortcuts() {
  if (!shortcuts_) {
    shortcuts_ = new ShortcutsDialog(commands_, &window_);
    QList<QAction*> actions = frameBuffer().actions();
    actions.removeOne(commands_.action(QStringLiteral("file.quit"))); // listed with its menu
    shortcuts_->addActions(tr("Frame Buffer"), actions);
  }
  present(*shortcuts_);
}

void ToolWindows::showAbout() {
  auto* about = new AboutDialog(&window_);
  about->setAttribute(Qt::WA_DeleteOnClose);
  about->open();
}

void ToolWindows::shutDown() {
  delete frame_;
  delete settings_;
  delete shortcuts_;
}

} // namespace host
