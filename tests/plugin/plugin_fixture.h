// A running host with the plug-in's units linked in, not yet started.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "host_fixture.h"

/// A core message, as received.
struct Message {
  LONG id = 0;
  ULLONG p1 = 0, p2 = 0;
  friend bool operator==(const Message&, const Message&) = default;
};

/// Records special events after its construction.
class MessageLog final : public host::CoreListener {
 public:
  MessageLog() { host::mainLoop().add(this); }
  ~MessageLog() { host::mainLoop().remove(this); }
  void coreMessage(LONG id, const BaseContainer& message) override;
  std::vector<Message> messages;
};

class PluginFixture : public HostFixture {
 protected:
  PluginFixture();
  void SetUp() override;
  const host::PluginUnit& unit() const { return unit_; }

  /// Starts the plug-in as a program does: message entry, then start entry.
  bool startPlugin();
  void endProgram() { stopHost(); }
  /// The plug-in's stored settings, read by another host if none runs.
  BaseContainer storedSettings();

  /// Runs a function as if the host called the plug-in.
  void callAsPlugin(const std::function<void()>& function);
  Filename pluginFolder() const { return folder / "plugin"; }
  void removeResources();

  void runMainLoop() { runAll(); }
  void restoreDialog(LONG pluginId);
  std::vector<host::DialogPlacement> openedDialogs() const;
  const std::vector<std::string>& messages() const { return ui.messages; }
  void clearMessages() { ui.messages.clear(); }
  void touch(const Filename& file);
  void setLocalTime(int year, int month, int day, int hour, int minute, int second);

 private:
  host::PluginUnit unit_;
};

bool pixelIs(const BaseBitmap& bitmap, LONG x, LONG y, LONG r, LONG g, LONG b);
void expectPixel(const BaseBitmap& bitmap, LONG x, LONG y, LONG r, LONG g, LONG b);
