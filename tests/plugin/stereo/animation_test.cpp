// Animations: the range of frames, the files, the overwrite question, stamps, the end.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "failures.h"
#include "lm_stamps.h"
#include "movie_options.h"
#include "thread_fixture.h"

namespace {

class AnimationTest : public ThreadFixture {
 protected:
  void SetUp() override {
    ThreadFixture::SetUp();
    ASSERT_EQ(bitmap->Init(32, 24, 24), IMAGERESULT_OK);
    out = folder.makeFolder("out");
    running = 1;
    thread.animation = 1;
    thread.animationRunning = &running;
    thread.format = 7;
    thread.frameFrom = 0;
    thread.frameTo = 1;
    thread.frameStep = 1;
    thread.jpegQuality = 95;
    thread.outputFile = out + "shot";
  }
  void runAnimation() {
    thread.animation = 1;
    running = 1;
    runJob();
  }
  std::vector<std::string> written() const {
    std::vector<std::string> names;
    AutoAlloc<BrowseFiles> browser;
    browser->Init(out);
    while (browser->GetNext())
      names.push_back(browser->GetFilename().GetString().GetUTF8());
    return names;
  }

  Filename out;
  std::atomic<LONG> running{0};
};

using Names = std::vector<std::string>;

TEST_F(AnimationTest, RendersEveryStepOfTheRangeAndCountsAllFrames) {
  thread.frameTo = 10;
  thread.frameStep = 3;
  runAnimation();
  ASSERT_EQ(probe->renders.size(), 4u);
  const LONG frames[] = {0, 3, 6, 9};
  for (std::size_t i = 0; i < 4; ++i) {
    const ProbedRender& render = probe->renders[i];
    EXPECT_EQ(render.statusText, "Lumenara (" + std::to_string(frames[i] + 1) + "/11)");
    EXPECT_EQ(render.settings.GetTime(5017), BaseTime(frames[i], 30));
    EXPECT_EQ(render.settings.GetTime(5018), BaseTime(frames[i], 30));
    EXPECT_EQ(render.documentTime, BaseTime(frames[i], 30));
  }
  EXPECT_EQ(written(), (Names{"shot0000.tif", "shot0003.tif", "shot0006.tif", "shot0009.tif"}));
}

TEST_F(AnimationTest, EveryImageFormatHasItsSuffix) {
  const std::pair<LONG, const char*> formats[] = {
      {6, "bmp"}, {7, "tif"}, {8, "jpg"}, {9, "psd"}, {10, "b3d"}};
  thread.frameTo = 0;
  for (const auto& [format, suffix] : formats) {
    thread.format = format;
    thread.outputFile = out + (std::string("f") + std::to_string(format)).c_str();
    runAnimation();
    const Filename file = out + ("f" + std::to_string(format) + "0000." + suffix).c_str();
    EXPECT_TRUE(GeFExist(file)) << suffix;
    EXPECT_TRUE(thread.outputFile.CheckSuffix(suffix));
  }
}

TEST_F(AnimationTest, MoviesAreAviButForFour) {
  for (const LONG format : {0, 1, 2, 3, 4, 5}) {
    SCOPED_TRACE(format);
    thread.format = format;
    thread.outputFile = out + ("m" + std::to_string(format)).c_str();
    runAnimation();
    const std::string file = readText(thread.outputFile);
    ASSERT_GT(file.size(), 100u);
    EXPECT_TRUE(thread.outputFile.CheckSuffix(format == 4 ? "mov" : "avi"));
    EXPECT_EQ(file.substr(8, 4) == "AVI ", format != 4);
    EXPECT_EQ(file.substr(4, 4) == "ftyp", format == 4);
  }
  EXPECT_EQ(probe->renders.size(), 12u);
}

TEST_F(AnimationTest, AnotherFormatIsAnImageSequenceThatNoFilterWrites) {
  thread.format = 11;
  runAnimation();
  EXPECT_TRUE(written().empty());
  EXPECT_TRUE(thread.outputFile.CheckSuffix("mov"));
  EXPECT_EQ(probe->renders.size(), 2u);
  EXPECT_EQ(status.rendering, 0);
}

TEST_F(AnimationTest, JpegTakesItsQuality) {
  probe->finished = [](BaseBitmap& picture, std::size_t) {
    for (LONG y = 0; y < picture.GetBh(); ++y) {
      for (LONG x = 0; x < picture.GetBw(); ++x)
        picture.SetPixel(x, y, (x * 37 + y * 91) % 256, (x * 53) % 256, (y * 71) % 256);
    }
  };
  thread.frameTo = 0;
  thread.format = 8;
  std::size_t sizes[2];
  for (const LONG quality : {10, 95}) {
    thread.jpegQuality = quality;
    runAnimation();
    sizes[quality == 95] = readText(out + "shot0000.jpg").size();
  }
  EXPECT_LT(sizes[0] * 2, sizes[1]);
}

TEST_F(AnimationTest, ASuffixIsReplaced) {
  thread.outputFile = out + "shot.png";
  runAnimation();
  EXPECT_EQ(written(), (Names{"shot0000.tif", "shot0001.tif"}));
}

TEST_F(AnimationTest, AsksOnlyForTheBaseName) {
  folder.write("out/shot0000.tif", "old");
  runAnimation();
  EXPECT_TRUE(ui.questions.empty());
  EXPECT_NE(readText(out + "shot0000.tif"), "old");

  folder.write("out/shot.tif", "old");
  ui.answers = {true};
  runAnimation();
  EXPECT_EQ(ui.questions,
            Names{"Are you sure you want to overwrite '" + (out + "shot.tif").GetString().GetUTF8() + "'?"});
  EXPECT_FALSE(GeFExist(out + "shot.tif"));
  EXPECT_EQ(written(), (Names{"shot0000.tif", "shot0001.tif"}));
}

TEST_F(AnimationTest, ADeclinedOverwriteRendersNothing) {
  for (const LONG format : {7, 4}) {
    SCOPED_TRACE(format);
    const char* name = format == 7 ? "out/shot.tif" : "out/shot.mov";
    folder.write(name, "old");
    ui.answers = {false};
    thread.format = format;
    thread.outputFile = out + "shot";
    bitmap->Clear(9, 9, 9);
    runAnimation();
    EXPECT_TRUE(probe->renders.empty());
    EXPECT_EQ(thread.stop, 1);
    EXPECT_EQ(status.result, RENDERRESULT_OK);
    EXPECT_EQ(status.rendering, 0);
    EXPECT_EQ(status.progress, 1.0);
    EXPECT_EQ(running, 0);
    EXPECT_EQ(thread.animation, 0);
    expectPixel(*bitmap, 5, 5, 9, 9, 9);
    EXPECT_EQ(readText(folder / name), "old");
  }
}

TEST_F(AnimationTest, AMissingFolderSendsTheOutputToTheStartupFolder) {
  document->SetDocumentName("walk.glb");
  thread.outputFile = out + "nowhere" + "shot";
  GeFCreateDirRec(GeGetStartupPath());
  runAnimation();
  EXPECT_EQ(thread.outputFile, GeGetStartupPath() + "walk.tif");
  EXPECT_TRUE(GeFExist(GeGetStartupPath() + "walk0001.tif"));
}

TEST_F(AnimationTest, TheEndClearsBothFlags) {
  runAnimation();
  EXPECT_EQ(thread.animation, 0);
  EXPECT_EQ(running, 0);
  EXPECT_EQ(status.rendering, 0);
  EXPECT_EQ(status.progress, 1.0);
}

TEST_F(AnimationTest, AFinishedMovieIsOpenedWhenAsked) {
  thread.format = 4;
  runAnimation();
  runAll();
  EXPECT_EQ(ui.openedFiles, Names{(out + "shot.mov").GetString().GetUTF8()});

  ui.openedFiles.clear();
  settings.SetValue(LM_ANIM_LAUNCH, 0);
  ui.answers = {true};
  runAnimation();
  runAll();
  EXPECT_TRUE(ui.openedFiles.empty());

  settings.SetValue(LM_ANIM_LAUNCH, 1);
  thread.format = 7;
  runAnimation();
  runAll();
  EXPECT_TRUE(ui.openedFiles.empty());
}

TEST_F(AnimationTest, TheMovieTakesTheStoredChoices) {
  BaseContainer choices;
  choices.SetLong(host::movieCodecKey, host::movieCodecPng);
  settings.SetValue(LM_ANIM_MOVIE_OPTIONS, choices);
  thread.format = 4;
  runAnimation();
  EXPECT_NE(readText(out + "shot.mov").find("png "), std::string::npos);
  EXPECT_EQ(readText(out + "shot.mov").find("avc1"), std::string::npos);
}

TEST_F(AnimationTest, ABreakEndsTheLoop) {
  thread.frameTo = 50;
  probe->during = [&](BaseDocument&, VideoPostStruct&) {
    if (probe->renders.size() == 3) thread.CancelRender();
  };
  runAnimation();
  EXPECT_EQ(probe->renders.size(), 3u);
  EXPECT_EQ(status.result, RENDERRESULT_USERBREAK);
  EXPECT_EQ(running, 0);
}

TEST_F(AnimationTest, ABackwardRangeRendersNothing) {
  thread.frameFrom = 5;
  thread.frameTo = 2;
  runAnimation();
  EXPECT_TRUE(probe->renders.empty());
  EXPECT_TRUE(written().empty());
  EXPECT_EQ(status.rendering, 0);
}

TEST_F(AnimationTest, StampsShowEachFramesTime) {
  for (const LONG key : {LM_STAMP_RENDER_TIME, LM_STAMP_TIMECODE})
    settings.SetValue(key, key == LM_STAMP_TIMECODE);
  settings.SetValue(LM_STAMP_TIMECODE_H, 0);
  settings.SetValue(LM_STAMP_TIMECODE_V, 0);
  ASSERT_EQ(bitmap->Init(160, 60, 24), IMAGERESULT_OK);
  probe->finished = [](BaseBitmap& picture, std::size_t) { picture.Clear(40, 40, 40); };
  status.stampsPending = 1;
  thread.stamps = 1;
  thread.frameFrom = 29;
  thread.frameTo = 30;
  runAnimation();
  EXPECT_EQ(status.stampsPending, 0);

  for (const auto& [frame, code] : {std::pair<int, const char*>{29, "00:00:29"}, {30, "00:01:00"}}) {
    SCOPED_TRACE(code);
    AutoAlloc<BaseBitmap> expected, saved;
    ASSERT_EQ(expected->Init(160, 60, 24), IMAGERESULT_OK);
    expected->Clear(40, 40, 40);
    LMTHREAD_DATA facts;
    facts.frameTime = BaseTime(frame, 30);
    facts.fps = 30;
    EXPECT_EQ(GetTimeCode(facts.frameTime, 30), String(code));
    DrawStamps(expected, &settings, 160, 60, &facts);
    ASSERT_EQ(saved->Init(FileFromFrameOut(out + "shot.tif", frame, 4)), IMAGERESULT_OK);
    LONG differing = 0;
    for (LONG y = 0; y < 60; ++y) {
      for (LONG x = 0; x < 160; ++x) {
        UWORD r, g, b;
        expected->GetPixel(x, y, &r, &g, &b);
        differing += !pixelIs(*saved, x, y, r, g, b);
      }
    }
    EXPECT_EQ(differing, 0);
  }
}

TEST_F(AnimationTest, TheRenderTimeOfAStampIsTheFrames) {
  thread.stamps = 1;
  std::vector<double> times;
  probe->during = [&](BaseDocument&, VideoPostStruct&) {
    times.push_back(status.renderTime);
    advanceClock(2500);
  };
  runAnimation();
  EXPECT_EQ(times, (std::vector<double>{0.0, 2.5}));
  EXPECT_DOUBLE_EQ(status.renderTime, 5.0); // at the end the whole job's
}

TEST_F(AnimationTest, WithoutStampsThePictureStaysClean) {
  settings.SetValue(LM_STAMP_RENDER_TIME, 1);
  probe->finished = [](BaseBitmap& picture, std::size_t) { picture.Clear(40, 40, 40); };
  runAnimation();
  expectPixel(*bitmap, 8, 10, 40, 40, 40);
  AutoAlloc<BaseBitmap> saved;
  ASSERT_EQ(saved->Init(out + "shot0001.tif"), IMAGERESULT_OK);
  for (LONG x = 0; x < 32; ++x)
    expectPixel(*saved, x, 12, 40, 40, 40);
}

// ---- Unusual jobs

TEST_F(AnimationTest, AFormatBelowZeroIsAQuickTimeMovie) {
  thread.format = -1;
  runAnimation();
  EXPECT_EQ(written(), Names{"shot.mov"});
  EXPECT_EQ(readText(out + "shot.mov").substr(4, 4), "ftyp");
}

// A file in the folder's place does not count as a folder.
TEST_F(AnimationTest, AFileInTheFoldersPlaceRedirectsToo) {
  document->SetDocumentName("walk.glb");
  folder.write("out/place", "a file");
  GeFCreateDirRec(GeGetStartupPath());
  thread.outputFile = out + "place" + "shot";
  runAnimation();
  EXPECT_EQ(thread.outputFile, GeGetStartupPath() + "walk.tif");
  EXPECT_TRUE(GeFExist(GeGetStartupPath() + "walk0000.tif"));
  EXPECT_EQ(readText(out + "place"), "a file");
}

TEST_F(AnimationTest, TheQuestionIsAboutTheFileThatIsWritten) {
  document->SetDocumentName("walk.glb");
  GeFCreateDirRec(GeGetStartupPath());
  const Filename there = GeGetStartupPath() + "walk.tif";
  touch(there);
  thread.outputFile = out + "nowhere" + "shot";
  runAnimation();
  EXPECT_EQ(ui.questions, Names{"Are you sure you want to overwrite '" + there.GetString().GetUTF8() + "'?"});
  EXPECT_TRUE(probe->renders.empty());
}

TEST_F(AnimationTest, TheLastFramesThatANumberCanName) {
  thread.frameFrom = 2147483646;
  thread.frameTo = 2147483647;
  runAnimation();
  ASSERT_EQ(probe->renders.size(), 2u);
  EXPECT_EQ(probe->renders[1].statusText, "Lumenara (2147483648/2)");
  EXPECT_EQ(written(), (Names{"shot2147483646.tif", "shot2147483647.tif"}));
}

TEST_F(AnimationTest, AnInvalidStepStillAdvances) {
  for (const LONG step : {0, -3}) {
    thread.frameStep = step;
    runAnimation();
  }
  EXPECT_EQ(probe->renders.size(), 4u); // two frames a job
}

TEST_F(AnimationTest, OnlyIntegersAreTakenFromTheChoices) {
  BaseContainer choices;
  choices.SetReal(host::movieCodecKey, host::movieCodecPng);
  settings.SetValue(LM_ANIM_MOVIE_OPTIONS, choices);
  thread.format = 4;
  runAnimation();
  EXPECT_EQ(readText(out + "shot.mov").find("png "), std::string::npos);
}

// The stored options are for movies; pictures get theirs from the job.
TEST_F(AnimationTest, ThePicturesQualityIsTheJobs) {
  BaseContainer choices;
  choices.SetLong(JPGSAVER_QUALITY, 1);
  settings.SetValue(LM_ANIM_MOVIE_OPTIONS, choices);
  probe->finished = [](BaseBitmap& picture, std::size_t) {
    for (LONG y = 0; y < picture.GetBh(); ++y) {
      for (LONG x = 0; x < picture.GetBw(); ++x)
        picture.SetPixel(x, y, (x * 37 + y * 91) % 256, (x * 53) % 256, (y * 71) % 256);
    }
  };
  thread.format = 8;
  thread.frameTo = 0;
  runAnimation();
  const std::string given = readText(out + "shot0000.jpg");
  settings.SetValue(LM_ANIM_MOVIE_OPTIONS, BaseContainer());
  runAnimation();
  EXPECT_EQ(readText(out + "shot0000.jpg"), given);
}

TEST_F(AnimationTest, TheMovieRunsAtTheDocumentsRate) {
  if (std::system("ffprobe -version > /dev/null 2>&1") != 0) GTEST_SKIP() << "ffprobe is not installed";
  document->SetFps(24);
  thread.format = 4;
  thread.frameTo = 11;
  runAnimation();
  const std::string command =
      "ffprobe -v error -count_frames -show_entries stream=r_frame_rate,nb_read_frames " +
      std::string("-show_entries format=duration -of csv=p=0 '") + thread.outputFile.GetString().GetUTF8() +
      "'";
  std::string said(200, 0);
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  said.resize(fread(said.data(), 1, said.size(), pipe));
  pclose(pipe);
  EXPECT_EQ(said, "24/1,12\n0.500000\n");
  EXPECT_EQ(probe->renders[11].settings.GetTime(5017), BaseTime(11, 24));
}

TEST_F(AnimationTest, StampsNeedTheRecord) {
  thread.stamps = 1;
  thread.data = nullptr;
  runAnimation();
  EXPECT_EQ(written().size(), 2u);
}

// The incomplete picture of a failed frame is written; the host's record names the frame.
TEST_F(AnimationTest, AFrameThatFailsInsideTheRangeIsRecorded) {
  document->SetDocumentName("walk.glb");
  thread.frameTo = 4;
  probe->during = [&](BaseDocument&, VideoPostStruct& call) {
    if (probe->renders.size() == 3) *call.error = RENDERRESULT_OUTOFMEMORY;
  };
  host::takeFailures();
  runAnimation();
  EXPECT_EQ(status.result, RENDERRESULT_OK); // the last frame's
  EXPECT_EQ(probe->renders.size(), 5u);
  const std::vector<host::Failure> failures = host::takeFailures();
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_EQ(failures[0].frame, 2);
  EXPECT_EQ(failures[0].file, Filename("walk.glb"));
  EXPECT_EQ(failures[0].sentence, "Frame 2 of \"walk.glb\" was not rendered completely: there was not enough "
                                  "memory. Use a smaller picture or a simpler scene.");
}

TEST_F(AnimationTest, BreaksAndMissingPicturesAreNotRecorded) {
  host::takeFailures();
  for (const RENDERRESULT result : {RENDERRESULT_ASSETMISSING, RENDERRESULT_USERBREAK}) {
    probe->result = result;
    runAnimation();
  }
  EXPECT_EQ(host::failureCount(), 0u);
  probe->result = static_cast<RENDERRESULT>(5);
  runAnimation();
  const std::vector<host::Failure> failures = host::takeFailures();
  ASSERT_EQ(failures.size(), 2u);
  EXPECT_NE(failures[1].sentence.find("result 5"), std::string::npos) << failures[1].sentence;
  EXPECT_EQ(failures[1].frame, 1);
}

} // namespace
