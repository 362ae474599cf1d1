#include "user_interface.h"

#include <atomic>

#include "console.h"

namespace host {

UserInterface::~UserInterface() = default;

void UserInterface::message(const String& text) {
  printLine(text);
}

bool UserInterface::question(const String& text) {
  printLine(text + " (answered no: nobody is there to ask)");
  return false;
}

bool UserInterface::selectFile(const FileRequest& /*request*/, Filename& /*chosen*/) {
  return false;
}

LONG UserInterface::popup(const BaseContainer& /*entries*/, LONG /*x*/, LONG /*y*/) {
  return 0;
}

bool UserInterface::editMovieOptions(LONG /*format*/, BaseContainer& /*options*/) {
  return false;
}

bool UserInterface::showBitmap(const BaseBitmap& /*bitmap*/) {
  return false;
}

bool UserInterface::openFile(const Filename& /*file*/) {
  return false;
}

bool UserInterface::openAddress(const String& /*address*/) {
  return false;
}

bool UserInterface::drawViews(LONG /*flags*/) {
  return false;
}

bool UserInterface::openDialog(GeDialog& /*dialog*/, const DialogPlacement& /*placement*/) {
  return false;
}

bool UserInterface::restoredPlacement(LONG /*pluginId*/, LONG /*subId*/, void* /*secret*/,
                                      DialogPlacement& /*placement*/) {
  return false;
}

void UserInterface::closeDialog(GeDialog& /*dialog*/) {
}

namespace {
std::atomic<UserInterface*> current{nullptr};
}

UserInterface& userInterface() noexcept {
  static UserInterface& console = *new UserInterface;
  UserInterface* set = current.load(std::memory_order_acquire);
  return set ? *set : console;
}

void setUserInterface(UserInterface* ui) noexcept {
  current.store(ui, std::memory_order_release);
}

bool hasUserInterface() noexcept {
  return current.load(std::memory_order_acquire) != nullptr;
}

} // namespace host
