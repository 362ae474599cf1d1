// Pictures and text in several threads at once.
#include <thread>

#include "display_transform.h"
#include "film.h"
#include "picture_fixture.h"

using namespace picture_fixture;

TEST(ImageThreads, TextIsTheSameInEveryThread) {
  const auto draw = [](std::vector<Rgba>* pixels) {
    for (int round = 0; round < 5; ++round) {
      AutoAlloc<GeClipMap> map;
      ASSERT_EQ(map->Init(160, 30), IMAGERESULT_OK);
      map->BeginDraw();
      map->SetDrawMode(GE_CM_DRAWMODE_BLEND);
      map->SetFontSize(12 + round);
      map->TextAt(0, 0, String("Frame ") + LongToString(round) + " \xce\xa9 \xf0\x9d\x92\x9c");
      for (LONG y = 0; y < 30; ++y)
        for (LONG x = 0; x < 160; ++x)
          pixels->push_back(at(*map, x, y));
    }
  };
  std::vector<Rgba> results[3];
  std::vector<std::thread> threads;
  for (std::vector<Rgba>& result : results)
    threads.emplace_back(draw, &result);
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(results[0], results[1]);
  EXPECT_EQ(results[0], results[2]);
}

TEST(ImageThreads, SavingAndLoadingAtOnce) {
  Folder folder;
  const auto work = [&folder](int number) {
    AutoAlloc<BaseBitmap> bitmap, loaded;
    ASSERT_EQ(bitmap->Init(50 + number, 40, 24), IMAGERESULT_OK);
    fillPattern(*bitmap);
    for (const LONG format : {FILTER_PNG, FILTER_TIF, FILTER_EXR, FILTER_BMP}) {
      const Filename name = folder.file(std::to_string(number) + "-" + std::to_string(format));
      ASSERT_EQ(bitmap->Save(name, format), IMAGERESULT_OK);
      ASSERT_EQ(loaded->Init(name), IMAGERESULT_OK);
      ASSERT_EQ(loaded->GetBw(), 50 + number);
      Rgba wanted = patternAt(30, 30);
      wanted.a = 255;
      EXPECT_EQ(at(*loaded, 30, 30), wanted);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back(work, i);
  for (std::thread& thread : threads)
    thread.join();
}

TEST(ImageThreads, ASaveWhileTheRendererWrites) {
  Folder folder;
  AutoAlloc<BaseBitmap> bitmap;
  ASSERT_EQ(bitmap->Init(60, 40, 32), IMAGERESULT_OK);
  const auto film = std::make_shared<host::Film>(60, 40);
  BaseBitmap* shared = bitmap;
  std::thread renderer([&film, shared] {
    host::setFilm(*shared, film);
    for (int round = 0; round < 20; ++round)
      for (LONG y = 0; y < 40; ++y)
        for (LONG x = 0; x < 60; ++x) {
          const float value[4] = {static_cast<float>(round) * 0.05f, 0.5f, 0.25f, 1};
          film->setColor(x, y, value);
          shared->SetPixel(x, y, host::toDisplay(value[0]), 188, 137);
        }
  });
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(shared->Save(folder.file("a.exr"), FILTER_EXR), IMAGERESULT_OK);
  renderer.join();
}
