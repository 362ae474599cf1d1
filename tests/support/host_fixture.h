// A host for one test: a home of its own, a scripted user interface, a clock that the test advances, and the
// console's lines.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "main_loop.h"
#include "program.h"
#include "scripted_ui.h"
#include "temporary_folder.h"
#include "test_clock.h"

/// The test starts the program, and may start it again in the same home after `stopHost`.
class HostFixture : public ::testing::Test {
 public:
  HostFixture();
  ~HostFixture() override; // stops it

  TemporaryFolder folder;
  ScriptedUi ui;
  TestClock clock;
  std::vector<std::string> console; // lines so far

  /// Passed on by `startHost`: home and start-up path lie in `folder`, no modules are loaded.
  host::ProgramOptions options;

  /// Starts the program and its linked plug-ins.
  host::Program& startHost();
  void stopHost();
  host::Program& program() { return *program_; }
  bool isRunning() const { return program_ != nullptr; }

  Filename home() const { return folder / "home"; }

  /// Runs everything that is due until nothing is. Returns the number of calls.
  int runAll();
  /// Advances the clock in steps and runs what is due after each.
  void advance(host::Milliseconds by, host::Milliseconds step = 10);

 private:
  std::unique_ptr<host::Program> program_;
  std::uint64_t listener_ = 0;
};
