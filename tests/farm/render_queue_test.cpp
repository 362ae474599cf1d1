// The render queue, with a script in the place of `lumenara`.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "job_folder.h"
#include "main_loop.h"
#include "queue_file.h"
#include "render_queue.h"
#include "scene_file.h"

using namespace host;
using namespace host::farm;

namespace {

namespace fs = std::filesystem;

class RenderQueueTest : public testing::Test {
 protected:
  RenderQueueTest() {
    fs::create_directories(folder);
    script("");
  }
  ~RenderQueueTest() override {
    queue.reset();
    fs::remove_all(folder);
  }

  std::string path(const std::string& name) const { return (folder / name).string(); }
  /// Notes its arguments, then goes on with these lines.
  void script(const std::string& lines) {
    std::ofstream(path("program")) << "#!/bin/sh\necho \"$@\" >> \"" << path("calls") << "\"\n"
                                   << lines << "\n";
    fs::permissions(path("program"), fs::perms::owner_all);
  }
  std::string textOfFile(const std::string& name) const {
    std::ifstream file(path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }
  AnimationOrder order(const char* name) const {
    AnimationOrder made;
    made.output = path(name);
    made.frames = "0:3";
    return made;
  }
  void open() {
    queue.reset();
    queue = std::make_unique<RenderQueue>(path("program"), path("home"));
  }
  std::string add(const char* name) {
    std::string error = "not called";
    queue->add(newDocument(), "robot", order(name), [&error](const std::string& text) { error = text; });
    queue->finish();
    return error;
  }
  bool until(const std::function<bool()>& reached) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!reached() && std::chrono::steady_clock::now() < limit)
      mainLoop().waitAndRun(host::clock().now() + 20);
    return reached();
  }
  QueueState stateOf(int id) const { return queue->row(id)->state; }
  bool becomes(int id, QueueState state) {
    return until([this, id, state] { return stateOf(id) == state; });
  }

  fs::path folder = fs::temp_directory_path() / ("render-queue-" + uniqueWord());
  std::unique_ptr<RenderQueue> queue = std::make_unique<RenderQueue>(path("program"), path("home"));
};

TEST_F(RenderQueueTest, AnimationsAreRenderedInOrderEachFromItsOwnScene) {
  script(R"(cp "$2" "$2.seen"; echo '{"event":"begin","frames":4,"kept":1}'
echo '{"event":"progress","part":0.5,"frame":2}'; echo '{"event":"end"}')");
  EXPECT_EQ(add("a.png"), "");
  EXPECT_EQ(add("b.mp4"), "");
  EXPECT_TRUE(becomes(2, QueueState::done));
  EXPECT_EQ(stateOf(1), QueueState::done);
  EXPECT_EQ(queue->left(), 0);
  const QueueRow& row = *queue->row(1);
  EXPECT_EQ(row.scene, "robot");
  EXPECT_EQ(row.frames, 4);
  EXPECT_EQ(row.kept, 1);
  EXPECT_EQ(row.frame, 2);
  EXPECT_EQ(row.part, 1);
  const std::string home = path("home");
  const auto line = [&home, this](const char* id, const char* output) {
    const std::string base = home + "/queue/" + id;
    return "animate " + base + ".glb --output=" + path(output) + " --frames=0:3 --home=" + home +
           " --json --quiet --preview=" + base + ".jpg\n";
  };
  EXPECT_EQ(textOfFile("calls"), line("1", "a.png") + line("2", "b.mp4"));
  EXPECT_TRUE(loadDocument(Filename(String(home + "/queue/1.glb.seen"))).document);
}

TEST_F(RenderQueueTest, AFailureIsNamedAndDoesNotHoldUpTheRest) {
  script(R"(case "$3" in *a.png) echo 'note' >&2
echo 'lumenara: no space left; afterwards the same command with --resume renders the rest' >&2; exit 4;; esac)");
  add("a.png");
  add("b.png");
  EXPECT_TRUE(becomes(2, QueueState::done));
  EXPECT_EQ(stateOf(1), QueueState::failed);
  EXPECT_EQ(queue->row(1)->problem, R"(No space left; afterwards "Render Again" renders the rest.)");
  // Again: what is there is kept.
  fs::remove(path("calls"));
  script("");
  queue->retry(1);
  EXPECT_TRUE(becomes(1, QueueState::done));
  EXPECT_EQ(queue->row(1)->problem, "");
  EXPECT_NE(textOfFile("calls").find(" --keep "), std::string::npos) << textOfFile("calls");
  queue->removeAllOver();
  EXPECT_TRUE(queue->rows().empty());
  EXPECT_FALSE(fs::exists(path("home/queue/1.glb")));
}

TEST_F(RenderQueueTest, AProgramThatIsMissingOrKilledIsToldSo) {
  script("kill -9 $$");
  add("a.png");
  EXPECT_TRUE(becomes(1, QueueState::failed));
  EXPECT_TRUE(queue->row(1)->problem.starts_with("The program that rendered ended with code 137."))
      << queue->row(1)->problem;
  fs::remove(path("program"));
  add("b.png");
  EXPECT_TRUE(becomes(2, QueueState::failed));
  EXPECT_NE(queue->row(2)->problem.find("cannot be started"), std::string::npos);
}

TEST_F(RenderQueueTest, PauseHaltsTheProgramAndStartsNothing) {
  // Counts as long as it may run.
  script("i=0; while [ ! -e \"" + path("go") + "\" ]; do i=$((i+1)); echo $i > \"" + path("count") +
         "\"; sleep 0.02; done");
  queue->pause(true);
  add("a.png");
  EXPECT_EQ(stateOf(1), QueueState::waiting);
  queue->pause(false);
  EXPECT_TRUE(becomes(1, QueueState::rendering));
  EXPECT_TRUE(until([this] { return !textOfFile("count").empty(); }));
  queue->pause(true);
  // A halted program is "T" in the system's list.
  EXPECT_TRUE(until([this] {
    for (const auto& entry : fs::directory_iterator("/proc")) {
      std::ifstream stat(entry.path() / "stat"), command(entry.path() / "cmdline");
      const std::string words{std::istreambuf_iterator<char>(command), {}};
      if (words.find(path("program")) == std::string::npos) continue;
      std::string number, name, state;
      stat >> number >> name >> state;
      if (state == "T") return true;
    }
    return false;
  }));
  const double seconds = queue->row(1)->seconds;
  std::ofstream(path("go"));
  add("b.png");
  EXPECT_EQ(stateOf(1), QueueState::rendering);
  EXPECT_EQ(stateOf(2), QueueState::waiting);
  EXPECT_EQ(queue->row(1)->seconds, seconds) << "pauses do not count";
  queue->pause(false);
  EXPECT_TRUE(becomes(2, QueueState::done));
  EXPECT_EQ(stateOf(1), QueueState::done);
}

TEST_F(RenderQueueTest, CancelEndsARunningAndAHaltedProgram) {
  script("exec sleep 1000");
  for (const bool halted : {false, true}) {
    add("a.png");
    const int id = queue->rows().back().id;
    EXPECT_TRUE(becomes(id, QueueState::rendering));
    queue->remove(id);
    ASSERT_TRUE(queue->row(id)) << "it is rendering";
    queue->pause(halted);
    queue->cancel(id);
    EXPECT_TRUE(becomes(id, QueueState::cancelled));
  }
  add("b.png"); // the queue is paused
  queue->cancel(3);
  EXPECT_EQ(stateOf(3), QueueState::cancelled);
  EXPECT_EQ(queue->left(), 0);
}

TEST_F(RenderQueueTest, ANewSessionGoesOnAfterTheUserSaysSo) {
  script("exec sleep 1000");
  add("a.png");
  add("b.png");
  add("c.png");
  queue->moveUp(3);
  EXPECT_TRUE(becomes(1, QueueState::rendering));
  script("");
  open();
  EXPECT_TRUE(queue->isPaused());
  ASSERT_EQ(queue->rows().size(), 3u);
  EXPECT_EQ(queue->rows()[1].id, 3);
  EXPECT_EQ(queue->rows()[0].order, order("a.png"));
  EXPECT_EQ(queue->left(), 3);
  fs::remove(path("calls"));
  queue->pause(false);
  EXPECT_TRUE(becomes(2, QueueState::done));
  add("d.png");
  EXPECT_TRUE(queue->row(4)) << "numbers go on";
  EXPECT_TRUE(becomes(4, QueueState::done));
  open();
  EXPECT_FALSE(queue->isPaused());
  EXPECT_EQ(stateOf(1), QueueState::done);
}

TEST_F(RenderQueueTest, TwoProgramsDoNotShareAQueue) {
  RenderQueue other(path("program"), path("home"));
  EXPECT_TRUE(other.problem().starts_with("Another Lumenara Studio has the render queue."));
  std::string error;
  other.add(newDocument(), "robot", order("a.png"), [&error](const std::string& text) { error = text; });
  EXPECT_EQ(error, other.problem());
  EXPECT_EQ(queue->problem(), "");
}

TEST_F(RenderQueueTest, DamagedListsAndMissingScenesAreSaid) {
  queue->pause(true);
  add("a.png");
  add("b.png");
  queue.reset();
  fs::remove(path("home/queue/1.glb"));
  open();
  EXPECT_EQ(stateOf(1), QueueState::failed);
  EXPECT_TRUE(queue->row(1)->problem.starts_with("The queue's copy of the scene is missing."));
  EXPECT_EQ(stateOf(2), QueueState::waiting);
  queue->retry(1);
  EXPECT_EQ(stateOf(1), QueueState::failed);
  queue.reset();
  std::ofstream(path("home/queue/queue.json")) << "[{\"id\":";
  open();
  EXPECT_TRUE(queue->rows().empty());
  EXPECT_TRUE(fs::exists(path("home/queue/queue.json.damaged")));
  EXPECT_EQ(queue->problem(), "");
  EXPECT_EQ(add("c.png"), "");
}

TEST_F(RenderQueueTest, AFolderThatCannotBeMadeIsSaid) {
  std::ofstream(path("file"));
  RenderQueue blocked(path("program"), path("file"));
  EXPECT_TRUE(blocked.problem().find("cannot be made") != std::string::npos) << blocked.problem();
}

TEST(QueueFile, EntriesOfStrangersAreChecked) {
  int damaged = 0;
  EXPECT_FALSE(queueRowsOf("", damaged));
  EXPECT_FALSE(queueRowsOf("{}", damaged));
  const std::string order = R"("order":{"output":"/a.png","frames":"1"})";
  const auto rows =
      queueRowsOf("[7,{},{\"id\":1},{\"id\":2,\"state\":\"done\"," + order +
                      "},{\"id\":2,\"state\":" + "\"waiting\"," + order + "},{\"id\":-3,\"state\":\"done\"," +
                      order + "},{\"id\":4,\"state\":\"rendering\",\"part\":7," + order +
                      "},{\"id\":5,\"state\":\"done\",\"part\":7,\"frames\":-4," + order + "}]",
                  damaged);
  ASSERT_TRUE(rows);
  EXPECT_EQ(damaged, 5);
  ASSERT_EQ(rows->size(), 3u);
  EXPECT_EQ(rows->at(0).state, QueueState::done);
  EXPECT_EQ(rows->at(1).state, QueueState::waiting) << "begins anew";
  EXPECT_EQ(rows->at(1).part, 0);
  EXPECT_EQ(rows->at(2).part, 1);
  EXPECT_EQ(rows->at(2).frames, 0);
}

TEST(QueueFile, ProgressNeverGoesBackAndOtherLinesAreIgnored) {
  QueueRow row;
  for (const char* line :
       {"", "x", "[1]", R"({"event":7})", R"({"event":"progress","part":"x"})",
        R"({"event":"progress","part":0.5,"frame":3})", R"({"event":"progress","part":0.25,"frame":4})"})
    takeProgressLine(line, row);
  EXPECT_EQ(row.part, 0.5);
  EXPECT_EQ(row.frame, 4);
}

TEST(QueueRow, TimeLeftIsExtrapolated) {
  QueueRow row;
  row.state = QueueState::rendering;
  row.seconds = 30;
  EXPECT_FALSE(row.secondsLeft());
  row.part = 0.25;
  EXPECT_DOUBLE_EQ(row.secondsLeft().value(), 90);
  row.state = QueueState::done;
  EXPECT_FALSE(row.secondsLeft());
}

} // namespace
