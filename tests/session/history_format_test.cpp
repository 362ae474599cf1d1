// The parts of the history's files: hashes, pieces, films, entries.
#include <random>

#include "content_chunks.h"
#include "film_bytes.h"
#include "history_entry.h"
#include "history_kit.h"

namespace {

using namespace host;

std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

// The examples of FIPS 180-4's author, NIST.
TEST(HistoryFormatTest, HashesAreTheStandardsOwn) {
  EXPECT_EQ(hashOf({}).text(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(hashOf(bytesOf("abc")).text(),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(hashOf(bytesOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")).text(),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(hashOf(bytesOf(std::string(1'000'000, 'a'))).text(),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
  for (const std::size_t size : {1U, 55U, 56U, 63U, 64U, 65U, 127U, 128U, 1000U}) {
    std::string text(size, 'x');
    for (std::size_t i = 0; i < size; ++i)
      text[i] = static_cast<char>(31 * i);
    EXPECT_EQ(hashOf(bytesOf(text)), portableHashOf(bytesOf(text))) << size;
  }
  EXPECT_EQ(portableHashOf(bytesOf("abc")).text(),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  const ContentHash hash = hashOf(bytesOf("abc"));
  EXPECT_EQ(ContentHash::fromText(hash.text()), hash);
  EXPECT_FALSE(ContentHash::fromText(hash.text().substr(1)));
  EXPECT_FALSE(ContentHash::fromText(std::string(64, 'g')));
}

TEST(HistoryFormatTest, AnInsertionChangesFewPieces) {
  std::mt19937 random(5);
  std::vector<std::byte> bytes(400'000);
  for (std::byte& byte : bytes)
    byte = static_cast<std::byte>(random());
  const auto pieces = chunksOf(bytes, 4096);
  std::size_t at = 0;
  std::set<ContentHash> hashes;
  for (const auto piece : pieces) {
    EXPECT_EQ(piece.data(), bytes.data() + at);
    EXPECT_LE(piece.size(), 4 * 4096u);
    const bool last = piece.data() + piece.size() == bytes.data() + bytes.size();
    EXPECT_TRUE(last || piece.size() >= 1024u);
    at += piece.size();
    hashes.insert(hashOf(piece));
  }
  EXPECT_EQ(at, bytes.size());
  EXPECT_GT(pieces.size(), 50u);
  EXPECT_LT(pieces.size(), 200u);
  bytes.insert(bytes.begin() + 200'000, 37, std::byte{1});
  std::size_t changed = 0;
  for (const auto piece : chunksOf(bytes, 4096))
    changed += hashes.contains(hashOf(piece)) ? 0 : 1;
  EXPECT_LE(changed, 3u);
  EXPECT_TRUE(chunksOf({}, 4096).empty());
}

TEST(HistoryFormatTest, AFilmComesBackToTheBit) {
  const auto film = smallFilm();
  const auto bytes = filmToBytes(*film);
  const auto again = filmFromBytes(bytes);
  ASSERT_TRUE(again);
  expectSameFilm(*film, *again);
}

TEST(HistoryFormatTest, ACopyOfAFilmIsItsOwn) {
  const auto film = smallFilm();
  const auto copy = copyOf(*film);
  expectSameFilm(*film, *copy);
  const float other[] = {9, 9, 9, 1};
  film->setColor(3, 2, other);
  float rgba[4];
  copy->getColor(3, 2, rgba);
  EXPECT_EQ(rgba[0], 15);
}

TEST(HistoryFormatTest, ACutFilmIsNone) {
  const auto bytes = filmToBytes(*smallFilm());
  for (std::size_t size = 0; size < bytes.size(); ++size)
    ASSERT_FALSE(filmFromBytes(std::span(bytes).first(size))) << size;
  auto longer = bytes;
  longer.push_back(std::byte{0});
  EXPECT_FALSE(filmFromBytes(longer));
}

// Each word of the header replaced by a huge one: nothing is allocated on its word, nothing is read behind
// the end.
TEST(HistoryFormatTest, AFilmWithWrongSizesIsNone) {
  const auto bytes = filmToBytes(*smallFilm());
  for (std::size_t word = 8; word < 28; word += 4) {
    auto damaged = bytes;
    std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(word), 4, std::byte{0x7f});
    EXPECT_FALSE(filmFromBytes(damaged)) << word;
  }
}

HistoryEntry fullEntry() {
  HistoryEntry entry;
  entry.id = 18'446'744'073'709'551'000u;
  entry.name = "room \"night\" \n2";
  entry.note = "warmer";
  entry.starred = true;
  entry.scene = "room.glb";
  entry.camera = "front";
  entry.sceneFolder = "/home/me/scenes";
  entry.time = 1'790'000'000;
  entry.width = 1280;
  entry.height = 720;
  entry.samples = 64;
  entry.frame = 7;
  entry.seconds = 12.0625;
  entry.byPlugin = true;
  entry.settings.SetLong(RDATA_MAXSAMPLES, 64);
  entry.source = {"room[001].tif", 1'789'999'999, 123'456};
  entry.film = {hashOf(bytesOf("film")), 4};
  entry.thumbnail = {hashOf(bytesOf("small")), 5};
  entry.picture = {hashOf(bytesOf("picture")), 7};
  entry.pictureSuffix = "tif";
  entry.sceneStart = {{hashOf(bytesOf("a")), 1}, {hashOf(bytesOf("bc")), 2}};
  entry.sceneRest = {hashOf(bytesOf("rest")), 4};
  return entry;
}

TEST(HistoryFormatTest, AnEntryComesBackWhole) {
  HistoryEntry entry = fullEntry();
  for (int i = 0; i < 3 * HistoryEntry::samplesAcross * HistoryEntry::samplesAcross; ++i)
    entry.pictureSamples.push_back(static_cast<unsigned char>(7 * i));
  const auto again = entryFromText(entryToText(entry));
  ASSERT_TRUE(again);
  EXPECT_EQ(again->pictureSamples, entry.pictureSamples);
  entry.pictureSamples.pop_back();
  EXPECT_TRUE(entryFromText(entryToText(entry))->pictureSamples.empty()) << "another size is none";
  EXPECT_EQ(again->id, entry.id);
  EXPECT_EQ(again->name, entry.name);
  EXPECT_EQ(again->note, entry.note);
  EXPECT_TRUE(again->starred);
  EXPECT_EQ(again->scene, entry.scene);
  EXPECT_EQ(again->camera, entry.camera);
  EXPECT_EQ(again->sceneFolder, entry.sceneFolder);
  EXPECT_EQ(again->time, entry.time);
  EXPECT_EQ(again->width, 1280);
  EXPECT_EQ(again->height, 720);
  EXPECT_EQ(again->samples, 64);
  EXPECT_EQ(again->frame, 7);
  EXPECT_EQ(again->seconds, 12.0625);
  EXPECT_TRUE(again->byPlugin);
  EXPECT_TRUE(again->settings == entry.settings);
  EXPECT_EQ(again->source, entry.source);
  EXPECT_EQ(again->film, entry.film);
  EXPECT_EQ(again->thumbnail, entry.thumbnail);
  EXPECT_EQ(again->picture, entry.picture);
  EXPECT_EQ(again->pictureSuffix, "tif");
  EXPECT_EQ(again->sceneStart, entry.sceneStart);
  EXPECT_EQ(again->sceneRest, entry.sceneRest);
}

TEST(HistoryFormatTest, AnEntryWithOneOtherByteIsNone) {
  const std::string text = entryToText(fullEntry());
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string damaged = text;
    damaged[i] ^= 1;
    ASSERT_FALSE(entryFromText(damaged)) << i;
  }
  for (const std::size_t size : {std::size_t{0}, std::size_t{10}, text.size() / 2, text.size() - 1})
    EXPECT_FALSE(entryFromText(text.substr(0, size))) << size;
}

// The hash holds, but the values are not ones that this program writes.
TEST(HistoryFormatTest, AnEntryOutOfRangeIsNone) {
  const auto rejected = [](auto change) {
    HistoryEntry entry = fullEntry();
    change(entry);
    return !entryFromText(entryToText(entry));
  };
  EXPECT_FALSE(rejected([](HistoryEntry&) {}));
  EXPECT_TRUE(rejected([](HistoryEntry& e) { e.id = 0; }));
  EXPECT_TRUE(rejected([](HistoryEntry& e) { e.width = -1; }));
  EXPECT_TRUE(rejected([](HistoryEntry& e) { e.height = 40'000; }));
  EXPECT_TRUE(rejected([](HistoryEntry& e) { e.samples = -1; }));
  EXPECT_TRUE(rejected([](HistoryEntry& e) { e.seconds = std::numeric_limits<double>::infinity(); }));
  EXPECT_TRUE(rejected([](HistoryEntry& e) { e.pictureSuffix = "../x"; }));
  EXPECT_TRUE(rejected([](HistoryEntry& e) { e.film = e.picture = {}; }));
}

TEST(HistoryFormatTest, ListsOfContentsComeBack) {
  const std::vector<Blob> blobs = fullEntry().sceneStart;
  auto bytes = blobList(blobs);
  EXPECT_EQ(blobsFromList(bytes), blobs);
  bytes.pop_back();
  EXPECT_FALSE(blobsFromList(bytes));
}

} // namespace
