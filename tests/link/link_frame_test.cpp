#include <gtest/gtest.h>

#include "link_frame.h"

using namespace host;

namespace {

std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text));
}

std::string head(std::uint32_t json, std::uint64_t body) {
  std::string text = "LMLK";
  for (int i = 0; i < 4; ++i)
    text += static_cast<char>(json >> (8 * i) & 0xff);
  for (int i = 0; i < 8; ++i)
    text += static_cast<char>(body >> (8 * i) & 0xff);
  return text;
}

} // namespace

TEST(LinkFrameTest, FramesComeBackWhereverTheBytesAreCut) {
  const std::string body = "12345678abc";
  const std::string stream = packFrame({{"type", "ping"}, {"id", 7}}) +
                             packFrame({{"type", "mesh"}, {"key", "m"}}, bytesOf(body)) +
                             packFrame({{"type", "bye"}});
  for (std::size_t step = 1; step <= stream.size(); ++step) {
    LinkParser parser;
    std::vector<LinkFrame> frames;
    for (std::size_t at = 0; at < stream.size(); at += step)
      parser.feed(bytesOf(stream).subspan(at, std::min(step, stream.size() - at)),
                  [&](LinkFrame&& frame) { frames.push_back(std::move(frame)); });
    ASSERT_EQ(frames.size(), 3U) << step;
    EXPECT_EQ(frames[0].json["id"], 7);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(frames[1].body.data()), frames[1].body.size()), body);
    EXPECT_EQ(frames[2].json["type"], "bye");
    EXPECT_FALSE(parser.isInside());
  }
}

TEST(LinkFrameTest, BrokenFramesEndTheStream) {
  const std::string list = "[1]";
  for (const std::string& bad : {std::string("GET / HTTP/1.1\r\n"), head(17U << 20, 0), head(2, 9ULL << 30),
                                 head(3, 0) + "{,}", head(3, 0) + list, head(2, 0) + "{}"}) {
    LinkParser parser;
    EXPECT_THROW(parser.feed(bytesOf(bad), [](LinkFrame&&) { FAIL(); }), LinkBroken) << bad;
  }
}

TEST(LinkFrameTest, AnAnnouncedSizeTakesNoMemory) {
  LinkParser parser;
  const std::string start = head(16, 8ULL << 30) + R"({"type": "mesh"})" + "12345678";
  parser.feed(bytesOf(start), [](LinkFrame&&) { FAIL(); });
  EXPECT_TRUE(parser.isInside());
}
