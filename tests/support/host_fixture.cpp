#include "host_fixture.h"

#include <algorithm>

#include "console.h"

HostFixture::HostFixture() {
  options.home = folder / "home";
  options.startupPath = folder.makeFolder("program");
  options.ui = &ui;
  options.clock = &clock;
  options.cpuCount = 2;
  options.loadModules = false;
  options.consoleEcho = nullptr;
  listener_ = host::addConsoleListener([this](const String& line) { console.push_back(line.GetUTF8()); });
}

HostFixture::~HostFixture() {
  stopHost();
  host::removeConsoleListener(listener_);
}

host::Program& HostFixture::startHost() {
  stopHost();
  program_ = std::make_unique<host::Program>(options);
  program_->startPlugins();
  return *program_;
}

void HostFixture::stopHost() {
  program_.reset();
}

int HostFixture::runAll() {
  int count = 0;
  for (int ran = 1; ran > 0 && count < 100000; count += ran)
    ran = host::mainLoop().runDue();
  return count;
}

void HostFixture::advance(host::Milliseconds by, host::Milliseconds step) {
  runAll();
  for (host::Milliseconds left = by; left > 0; left -= step) {
    clock.advance(std::min(left, step));
    runAll();
  }
}
