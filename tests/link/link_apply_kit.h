// A session that takes scenes of the live link without a connection.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>

#include "link_applier.h"
#include "link_kit.h"
#include "link_stage.h"
#include "session_fixture.h"

class LinkApplyTest : public SessionFixture {
 protected:
  host::LinkStage stage;
  std::unique_ptr<host::LinkApplier> applier = std::make_unique<host::LinkApplier>(*session);

  void apply(std::initializer_list<linkkit::Message> messages) {
    for (const linkkit::Message& message : messages) {
      const host::LinkScenePtr scene = stage.take(message);
      const bool done = !scene || applier->apply(scene);
      EXPECT_TRUE(done);
    }
    runAll();
  }
  template <class... Args>
  static linkkit::Message thing(Args... args) {
    return linkkit::object(args...);
  }
  linkkit::Message begin() { return linkkit::Message(host::Json{{"type", "scene_begin"}, {"name", "s"}}); }
  linkkit::Message end() { return linkkit::Message(linkkit::typed("scene_end")); }
};
