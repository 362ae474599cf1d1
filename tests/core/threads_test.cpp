// Threads of plug-ins, and the workers of the renderer.
#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

#include "c4d_events.h"
#include "c4d_file.h"
#include "c4d_threading.h"
#include "host_fixture.h"
#include "thread_context.h"
#include "worker_threads.h"

namespace {

class TestThread : public C4DThread {
 public:
  std::function<void(TestThread&)> body;
  std::atomic<LONG> stop{0};

  explicit TestThread(std::function<void(TestThread&)> work = {}) : body(std::move(work)) {}
  ~TestThread() override { End(TRUE); }
  Bool TestDBreak() override { return stop; }
  void Main() override {
    if (body) body(*this);
  }
  const CHAR* GetThreadName() override { return reinterpret_cast<const CHAR*>("test thread"); }
};

void untilBroken(TestThread& thread) {
  while (!thread.TestBreak())
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

class ThreadTest : public HostFixture {
 protected:
  ThreadTest() { startHost(); }
};

TEST_F(ThreadTest, RunsElsewhereAndEnds) {
  std::atomic<bool> main{true};
  TestThread thread([&](TestThread&) { main = GeIsMainThread() != FALSE; });
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_TRUE(GeIsMainThread());
  ASSERT_TRUE(thread.Start());
  thread.Wait(TRUE);
  EXPECT_FALSE(main);
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_TRUE(thread.Start()) << "again";
  thread.End();
}

TEST_F(ThreadTest, RunsHereWhenSynchronous) {
  bool main = false;
  TestThread thread([&](TestThread& self) {
    main = GeIsMainThread() != FALSE;
    EXPECT_TRUE(self.IsRunning());
    self.Wait(TRUE); // for itself: returns at once
    self.End(TRUE);
    EXPECT_TRUE(self.TestBreak());
  });
  EXPECT_TRUE(thread.Start(THREADMODE_SYNCHRONOUS));
  EXPECT_TRUE(main);
  EXPECT_FALSE(thread.IsRunning());
}

TEST_F(ThreadTest, BreaksOnRequestOrWhenItsOwnerSaysSo) {
  TestThread thread(untilBroken);
  EXPECT_FALSE(thread.TestBreak());
  ASSERT_TRUE(thread.Start(THREADMODE_ASYNC, THREADPRIORITY_BELOW));
  EXPECT_FALSE(thread.Start()) << "it runs already";
  EXPECT_FALSE(thread.Get()->TestBreak());
  thread.stop = 1;
  EXPECT_TRUE(thread.Get()->TestBreak());
  thread.Wait(FALSE);
  EXPECT_FALSE(thread.IsRunning());
  thread.stop = 0;
  ASSERT_TRUE(thread.Start());
  EXPECT_FALSE(thread.TestBreak()) << "a start forgets the old request";
  thread.End(FALSE);
  EXPECT_TRUE(thread.TestBreak());
  thread.End(TRUE);
  EXPECT_FALSE(thread.IsRunning());
}

TEST_F(ThreadTest, AnExceptionEndsItWithALine) {
  TestThread thread([](TestThread&) { throw std::runtime_error("out of luck"); });
  thread.Start();
  thread.Wait(TRUE);
  runAll();
  ASSERT_EQ(console.size(), 1u);
  EXPECT_EQ(console[0], "The thread \"test thread\" stopped with an error: out of luck");
}

TEST_F(ThreadTest, WaitServesItsQuestions) {
  ui.answers = {true, false};
  std::vector<bool> answers;
  bool onMain = false;
  ui.whileBoxIsOpen = [&] { onMain = GeIsMainThread() != FALSE; };
  TestThread thread([&](TestThread&) {
    answers.push_back(QuestionDialog("first?"));
    answers.push_back(QuestionDialog("second?"));
    MessageDialog("done");
  });
  thread.Start();
  thread.Wait(TRUE);
  EXPECT_EQ(answers, (std::vector<bool>{true, false}));
  EXPECT_TRUE(onMain);
  EXPECT_EQ(ui.record, (std::vector<std::string>{"question: first?", "question: second?", "message: done"}));
}

TEST_F(ThreadTest, TheLoopServesItsQuestions) {
  ui.answers = {true};
  std::atomic<bool> yes{false};
  TestThread thread([&](TestThread&) { yes = QuestionDialog("?") != FALSE; });
  thread.Start();
  while (thread.IsRunning())
    host::mainLoop().waitAndRun(clock.now());
  EXPECT_TRUE(yes);
}

// A thread that asks, or is about to, is told to end: the answer is no, no box opens, nothing hangs.
TEST_F(ThreadTest, OnceToldToEndQuestionsAnswerNo) {
  ui.defaultAnswer = true;
  for (int round = 0; round < 50; ++round) {
    std::atomic<bool> asking{false}, yes{false};
    TestThread thread([&](TestThread& self) {
      if (round % 2) untilBroken(self);
      asking = true;
      yes = QuestionDialog("overwrite?") != FALSE;
      MessageDialog("never seen");
    });
    thread.Start();
    while (round % 2 == 0 && !asking)
      std::this_thread::yield();
    if (round % 4 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    thread.End(TRUE);
    EXPECT_FALSE(yes);
  }
  EXPECT_TRUE(ui.record.empty());
}

TEST_F(ThreadTest, WaitingWithoutServingRefusesBoxesInsteadOfHanging) {
  ui.defaultAnswer = true;
  std::atomic<bool> yes{true};
  TestThread thread([&](TestThread&) { yes = QuestionDialog("?") != FALSE; });
  thread.Start();
  thread.Wait(FALSE);
  EXPECT_FALSE(yes);
  EXPECT_TRUE(ui.record.empty());
}

// The main thread ends one thread that waits for another, which asks a question.
TEST_F(ThreadTest, EndServesTheCallsOfOthers) {
  ui.defaultAnswer = true;
  std::atomic<bool> yes{false};
  TestThread inner([&](TestThread&) { yes = QuestionDialog("?") != FALSE; });
  TestThread outer([&](TestThread&) {
    inner.Start();
    inner.Wait(TRUE);
  });
  outer.Start();
  outer.Wait(TRUE);
  EXPECT_TRUE(yes);
}

TEST_F(ThreadTest, WorkersBelongToTheThreadThatUsesThem) {
  ui.defaultAnswer = true;
  std::atomic<int> no{0};
  TestThread thread([&](TestThread& self) {
    untilBroken(self);
    host::runOnWorkers(3, [&](int) {
      if (host::toldToEnd() && !QuestionDialog("?")) ++no;
    });
  });
  thread.Start();
  thread.End(TRUE);
  EXPECT_EQ(no, 3);
}

TEST_F(ThreadTest, KnowsItsPluginsFolder) {
  host::PluginUnit unit;
  unit.folder = "/plugins/one";
  std::vector<Filename> folders(4);
  std::unique_ptr<TestThread> thread;
  {
    const host::PluginScope scope(&unit);
    thread = std::make_unique<TestThread>([&](TestThread&) {
      folders[0] = GeGetPluginPath();
      host::runOnWorkers(3, [&](int i) { folders[static_cast<std::size_t>(i) + 1] = GeGetPluginPath(); });
    });
  }
  EXPECT_EQ(GeGetPluginPath(), Filename()) << "no plug-in is being called";
  thread->Start();
  thread->Wait(TRUE);
  EXPECT_EQ(folders, std::vector<Filename>(4, Filename("/plugins/one")));
}

TEST(Workers, RunEachPartOnceAtTheSameTime) {
  for (const int count : {1, 2, 5, 16}) {
    std::atomic<int> here{0};
    std::vector<std::atomic<int>> ran(static_cast<std::size_t>(count));
    host::runOnWorkers(count, [&](int i) {
      ++ran[static_cast<std::size_t>(i)];
      ++here;
      while (here < count) // all must run at the same time
        std::this_thread::yield();
    });
    for (const auto& times : ran)
      EXPECT_EQ(times, 1);
  }
  host::runOnWorkers(0, [](int) { FAIL(); });
  host::runOnWorkers(-1, [](int) { FAIL(); });
}

TEST(Workers, NestAndServeSeveralCallers) {
  std::atomic<int> sum{0};
  std::vector<std::thread> callers;
  for (int c = 0; c < 3; ++c)
    callers.emplace_back([&] {
      for (int round = 0; round < 20; ++round)
        host::runOnWorkers(2, [&](int) { host::runOnWorkers(2, [&](int i) { sum += i + 1; }); });
    });
  for (std::thread& caller : callers)
    caller.join();
  EXPECT_EQ(sum, 3 * 20 * 2 * (1 + 2));
}

TEST(Workers, HandOverData) {
  std::vector<int> values(1000, 0);
  for (int round = 1; round <= 20; ++round)
    host::runOnWorkers(4, [&](int i) {
      for (std::size_t k = static_cast<std::size_t>(i); k < values.size(); k += 4)
        values[k] += round;
    });
  EXPECT_EQ(values, std::vector<int>(1000, 210));
}

TEST(Workers, PassOnTheFirstException) {
  std::atomic<int> finished{0};
  EXPECT_THROW(host::runOnWorkers(4,
                                  [&](int i) {
                                    if (i == 2) throw std::bad_alloc();
                                    ++finished;
                                  }),
               std::bad_alloc);
  EXPECT_EQ(finished, 3) << "the others went on to their end";
}

TEST(Workers, CountIsTheOneThatWasSet) {
  host::setWorkerCount(3);
  EXPECT_EQ(GeGetCPUCount(), 3);
  host::setWorkerCount(0);
  EXPECT_EQ(GeGetCPUCount(), static_cast<LONG>(std::thread::hardware_concurrency()));
}

} // namespace
