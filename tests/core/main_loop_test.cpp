// Events, tasks, timers and calls to the main thread, with a clock that the test moves.
#include "main_loop.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "c4d_events.h"
#include "c4d_file.h"
#include "console.h"
#include "host_fixture.h"
#include "status_bar.h"

namespace {

using host::mainLoop;
using host::Urgency;

// Records the core messages.
struct Recorder final : host::CoreListener {
  std::vector<std::string> heard;
  std::function<void(LONG)> also;

  Recorder() { mainLoop().add(this); }
  ~Recorder() { mainLoop().remove(this); }
  void coreMessage(LONG id, const BaseContainer& message) override {
    std::string text = std::to_string(id);
    if (message.FindIndex(BFM_CORE_ID) >= 0)
      text += ":" + std::to_string(message.GetLong(BFM_CORE_ID)) + "," +
              std::to_string(message.GetLLong(BFM_CORE_PAR1)) + "," +
              std::to_string(message.GetLong(BFM_CORE_PAR2));
    heard.push_back(text);
    if (also) also(id);
  }
};

class MainLoopTest : public HostFixture {
 protected:
  MainLoopTest() { startHost(); }
  std::vector<std::string> ran;
  auto note(const char* what) {
    return [this, what] { ran.push_back(what); };
  }
};

TEST_F(MainLoopTest, EventsArriveInOrderAndOnlySceneChangesCoalesce) {
  Recorder recorder;
  SpecialEventAdd(100, 1, static_cast<ULLONG>(-5));
  EventAdd();
  SpecialEventAdd(100, 1, static_cast<ULLONG>(-5));
  EventAdd();
  SpecialEventAdd(200);
  EventAdd();
  EXPECT_TRUE(recorder.heard.empty()) << "nothing runs inside the call";
  runAll();
  EXPECT_EQ(recorder.heard, (std::vector<std::string>{"100:100,1,-5", "604", "100:100,1,-5", "200:200,0,0"}));
  EventAdd();
  runAll();
  EXPECT_EQ(recorder.heard.size(), 5u) << "a change after delivery is a new event";
}

TEST_F(MainLoopTest, EveryListenerHearsAndMayGoAwayMeanwhile) {
  Recorder first, last;
  auto middle = std::make_unique<Recorder>();
  std::unique_ptr<Recorder> late;
  first.also = [&](LONG) {
    middle.reset();
    if (!late) late = std::make_unique<Recorder>();
  };
  SpecialEventAdd(1);
  runAll();
  EXPECT_EQ(first.heard.size(), 1u);
  EXPECT_EQ(last.heard.size(), 1u);
  ASSERT_NE(late, nullptr);
  EXPECT_TRUE(late->heard.empty()) << "it came after the event";
}

TEST_F(MainLoopTest, TasksThatATaskPostsWaitForTheNextRound) {
  mainLoop().post([this] {
    ran.push_back("a");
    mainLoop().post(note("b"));
  });
  EXPECT_EQ(mainLoop().runDue(), 1);
  EXPECT_EQ(ran, std::vector<std::string>{"a"});
  EXPECT_EQ(mainLoop().nextDeadline(), clock.now());
  EXPECT_EQ(mainLoop().runDue(), 1);
  EXPECT_EQ(mainLoop().nextDeadline(), std::nullopt);
}

TEST_F(MainLoopTest, AnExceptionIsALineAndTheRestGoesOn) {
  mainLoop().post([] { throw std::runtime_error("broken"); });
  mainLoop().post(note("after"));
  runAll();
  EXPECT_EQ(ran, std::vector<std::string>{"after"});
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("broken"), std::string::npos);
}

TEST_F(MainLoopTest, EventsOfManyThreadsKeepEachThreadsOrder) {
  Recorder recorder;
  std::vector<std::thread> threads;
  for (ULLONG t = 0; t < 4; ++t)
    threads.emplace_back([t] {
      for (ULLONG i = 0; i < 200; ++i)
        SpecialEventAdd(static_cast<LONG>(1 + t), i);
    });
  for (std::thread& thread : threads)
    thread.join();
  std::array<LONG, 5> next{};
  recorder.also = [&](LONG id) {
    EXPECT_EQ(recorder.heard.back(),
              std::to_string(id) + ":" + std::to_string(id) + "," + std::to_string(next[id]++) + ",0");
  };
  runAll();
  EXPECT_EQ(recorder.heard.size(), 800u);
}

TEST_F(MainLoopTest, TimersKeepTheirPeriod) {
  mainLoop().addTimer(100, note("hundred"));
  const host::TimerId fast = mainLoop().addTimer(30, note("thirty"));
  EXPECT_EQ(mainLoop().nextDeadline(), clock.now() + 30);
  clock.advance(29);
  EXPECT_EQ(mainLoop().runDue(), 0);
  clock.advance(1);
  EXPECT_EQ(mainLoop().runDue(), 1);
  EXPECT_EQ(mainLoop().nextDeadline(), clock.now() + 30);
  mainLoop().removeTimer(fast);
  EXPECT_EQ(mainLoop().nextDeadline(), clock.now() + 70);
  advance(1000);
  EXPECT_EQ(std::count(ran.begin(), ran.end(), "hundred"), 10);
  EXPECT_EQ(std::count(ran.begin(), ran.end(), "thirty"), 1);
}

TEST_F(MainLoopTest, ALateTimerRunsOnceAndCountsOnFromNow) {
  const host::TimerId timer = mainLoop().addTimer(100, note("tick"));
  clock.advance(1050);
  EXPECT_EQ(mainLoop().runDue(), 1);
  EXPECT_EQ(mainLoop().runDue(), 0);
  EXPECT_EQ(mainLoop().nextDeadline(), clock.now() + 100);
  clock.advance(110);
  EXPECT_EQ(mainLoop().runDue(), 1);
  EXPECT_EQ(mainLoop().nextDeadline(), clock.now() + 90) << "a little late keeps the rhythm";
  mainLoop().removeTimer(timer);
}

TEST_F(MainLoopTest, ATimerMayRemoveItselfAndOthers) {
  host::TimerId one = 0, two = 0;
  one = mainLoop().addTimer(10, [&] {
    ran.push_back("one");
    mainLoop().removeTimer(one);
    mainLoop().removeTimer(two);
  });
  two = mainLoop().addTimer(10, note("two"));
  advance(100);
  EXPECT_EQ(ran, std::vector<std::string>{"one"});
  mainLoop().removeTimer(0);
  mainLoop().removeTimer(9999);
}

TEST_F(MainLoopTest, WhileABoxIsOpenPaintingGoesOnAndTheRestWaits) {
  Recorder recorder;
  int dialog = 0, box = 0;
  const host::TimerId timers[] = {mainLoop().addTimer(10, note("dialog"), Urgency::normal, &dialog),
                                  mainLoop().addTimer(10, note("area"), Urgency::painting, &dialog),
                                  mainLoop().addTimer(10, note("box"), Urgency::normal, &box)};
  {
    host::ModalScope modal(&box);
    EXPECT_TRUE(mainLoop().inModal());
    SpecialEventAdd(1);
    mainLoop().post(note("task"));
    mainLoop().post(note("paint"), Urgency::painting);
    EXPECT_EQ(mainLoop().nextDeadline(), clock.now());
    advance(10);
    EXPECT_EQ(ran, (std::vector<std::string>{"paint", "area", "box"}));
    EXPECT_TRUE(recorder.heard.empty());
    {
      host::ModalScope inner;
      advance(10);
      EXPECT_EQ(ran.size(), 4u) << "under a second box only the area paints";
      EXPECT_EQ(ran.back(), "area");
    }
    EXPECT_EQ(mainLoop().nextDeadline(), clock.now()) << "the box's own timer is due";
  }
  ran.clear();
  runAll();
  EXPECT_EQ(recorder.heard.size(), 1u);
  EXPECT_EQ(ran, (std::vector<std::string>{"task", "dialog", "box"}));
  for (const host::TimerId timer : timers)
    mainLoop().removeTimer(timer);
}

TEST_F(MainLoopTest, BoxesOfTheHostAreModal) {
  Recorder recorder;
  bool seen = false;
  ui.whileBoxIsOpen = [&] {
    seen = mainLoop().inModal();
    runAll();
  };
  SpecialEventAdd(1);
  MessageDialog("hello");
  EXPECT_TRUE(seen);
  EXPECT_TRUE(recorder.heard.empty());
  EXPECT_FALSE(mainLoop().inModal());
  runAll();
  EXPECT_EQ(recorder.heard.size(), 1u);
}

TEST_F(MainLoopTest, WaitingWakesForATaskOrEndsAtTheDeadline) {
  host::setClock(nullptr); // real time, to test sleeping
  EXPECT_FALSE(mainLoop().waitAndRun(host::clock().now() + 5));
  std::thread poster([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    mainLoop().post(note("posted"));
  });
  EXPECT_TRUE(mainLoop().waitAndRun(std::nullopt));
  poster.join();
  EXPECT_EQ(ran, std::vector<std::string>{"posted"});
  const host::Milliseconds before = host::clock().now();
  const host::TimerId timer = mainLoop().addTimer(20, note("timer"));
  EXPECT_TRUE(mainLoop().waitAndRun(std::nullopt));
  EXPECT_GE(host::clock().now() - before, 20);
  mainLoop().removeTimer(timer);
  host::setClock(&clock);
}

TEST_F(MainLoopTest, TheWakeHookIsCalledForEveryPost) {
  std::atomic<int> wakes{0};
  mainLoop().setWakeHook([&] { ++wakes; });
  mainLoop().post([] {});
  std::thread([] { SpecialEventAdd(1); }).join();
  EXPECT_EQ(wakes, 2);
  mainLoop().setWakeHook(nullptr);
  runAll();
}

TEST_F(MainLoopTest, CallsFromThreadsRunOnTheMainThread) {
  bool onMain = false, answered = false;
  std::thread thread(
      [&] { answered = mainLoop().call([&] { onMain = host::onMainThread(); }, host::CallKind::work); });
  while (!onMain)
    mainLoop().waitAndRun(clock.now() + 1000);
  thread.join();
  EXPECT_TRUE(answered);
  EXPECT_TRUE(mainLoop().call([&] { ran.push_back("at once"); }, host::CallKind::box));
  EXPECT_EQ(ran.size(), 1u);
}

TEST_F(MainLoopTest, AStoppedLoopRefusesCallsAndDropsEvents) {
  Recorder recorder;
  std::atomic<int> refused{0};
  std::atomic<bool> asking{false};
  std::thread waiting([&] {
    asking = true;
    if (!mainLoop().call([] {}, host::CallKind::work)) ++refused;
  });
  while (!asking)
    std::this_thread::yield();
  SpecialEventAdd(1);
  mainLoop().stop();
  waiting.join();
  std::thread([&] {
    if (!mainLoop().call([] {}, host::CallKind::work)) ++refused;
    if (!QuestionDialog("?")) ++refused;
    SpecialEventAdd(2);
  }).join();
  EXPECT_EQ(refused, 3);
  runAll();
  EXPECT_TRUE(recorder.heard.empty());
  mainLoop().reset();
  SpecialEventAdd(3);
  runAll();
  EXPECT_EQ(recorder.heard.size(), 1u);
}

TEST_F(MainLoopTest, ConsoleLinesOfAllThreadsComeInOrderOnTheMainThread) {
  GePrint("one");
  EXPECT_EQ(console, std::vector<std::string>{"one"}) << "at once on the main thread";
  std::thread([] {
    GePrint("two");
    GePrint("three");
  }).join();
  EXPECT_EQ(console.size(), 1u) << "posted";
  GePrint("four");
  EXPECT_EQ(console, (std::vector<std::string>{"one", "two", "three", "four"}));
  const std::uint64_t echo = host::addConsoleListener([](const String& line) {
    if (line == String("ask")) GePrint("answer");
  });
  GePrint("ask");
  EXPECT_EQ(console.back(), "answer") << "a listener may print";
  host::removeConsoleListener(echo);
  runAll();
  EXPECT_EQ(console.size(), 6u);
}

TEST_F(MainLoopTest, TheStatusBarCoalescesChanges) {
  std::vector<host::StatusState> shown;
  host::setStatusListener([&](const host::StatusState& state) { shown.push_back(state); });
  StatusClear();
  runAll();
  shown.clear();
  std::thread([] {
    StatusSetText("Lumenara Rendering...");
    for (int i = 0; i < 100; ++i)
      StatusSetSpin();
  }).join();
  EXPECT_EQ(host::statusState().text, String("Lumenara Rendering..."));
  EXPECT_TRUE(host::statusState().spinning);
  EXPECT_TRUE(shown.empty());
  runAll();
  EXPECT_EQ(shown.size(), 1u);
  StatusSetBar(150);
  EXPECT_EQ(host::statusState().percent, 100);
  EXPECT_FALSE(host::statusState().spinning);
  StatusSetBar(-3);
  EXPECT_EQ(host::statusState().percent, 0);
  StatusClear();
  EXPECT_EQ(host::statusState().percent, -1);
  EXPECT_EQ(host::statusState().text, String());
  runAll();
  host::setStatusListener(nullptr);
}

TEST_F(MainLoopTest, ViewsAndFilesOfOtherThreadsArePosted) {
  EXPECT_TRUE(DrawViews(0x40502));
  EXPECT_EQ(ui.drawnViews, std::vector<LONG>{0x40502});
  std::thread([] {
    EXPECT_TRUE(DrawViews(266498));
    EXPECT_TRUE(GeExecuteFile("/m.mov"));
  }).join();
  EXPECT_EQ(ui.drawnViews.size(), 1u);
  runAll();
  EXPECT_EQ(ui.drawnViews.back(), 266498);
  EXPECT_EQ(ui.openedFiles, std::vector<std::string>{"/m.mov"});
}

} // namespace
