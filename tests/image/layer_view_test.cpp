// Layers of a film as users see them: the list, the colours, the values at a pixel.
#include <gtest/gtest.h>

#include <limits>
#include <map>

#include "cryptomatte.h"
#include "layer_rows.h"
#include "pixel_probe.h"

using namespace host;

namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();

void set(Film& film, const char* layer, const char* channels, int x, int y, std::vector<float> values) {
  film.addLayer(layer, channels)->set(film.pixelAt(x, y), values.data());
}

std::array<int, 3> seen(const std::shared_ptr<Film>& film, const char* layer, int x, int y) {
  LayerRows rows(film, layer);
  EXPECT_TRUE(rows.isThere());
  rows.keep();
  std::vector<unsigned char> row(static_cast<std::size_t>(film->width()) * 3);
  rows.read(ViewTransform(), y, row.data());
  const unsigned char* p = row.data() + 3 * static_cast<std::size_t>(x);
  return {p[0], p[1], p[2]};
}

using Color = std::array<int, 3>;

TEST(ShownLayers, AreGroupedInTheTablesOrder) {
  Film film(4, 2);
  for (const auto& [name, channels] : {std::pair{"zebra", "RGB"},
                                       {"lightgroup_key", "RGB"},
                                       {"depth", "Z"},
                                       {"crypto_object01", "RGBA"},
                                       {"crypto_object00", "RGBA"},
                                       {"emission", "RGB"},
                                       {"diffuse_direct", "RGB"},
                                       {"normal", "XYZ"},
                                       {"object_id", "V"},
                                       {"noise", "V"},
                                       {"apple", "RGB"}})
    film.addLayer(name, channels);
  film.addLayer("sky", "RGB", true);
  std::string list;
  for (const ShownLayer& layer : shownLayers(film))
    list += layer.group + "/" + layer.name + "/" + std::to_string(static_cast<int>(layer.kind)) + " ";
  EXPECT_EQ(
      list,
      "Light//0 Light/diffuse_direct/0 Light/emission/0 Surfaces and numbers/normal/1 "
      "Surfaces and numbers/depth/2 Surfaces and numbers/object_id/4 Surfaces and numbers/noise/3 "
      "Light groups/lightgroup_key/0 Other layers/apple/0 Other layers/zebra/0 Mattes/crypto_object/5 ");
  EXPECT_EQ(shownLayers(film).back().label, "Object Matte");
  film.addLayer("denoised", "RGB");
  EXPECT_EQ(shownLayers(film)[1].name, "beauty");
}

TEST(LayerRows, NumbersFillTheirRange) {
  const auto film = std::make_shared<Film>(4, 1);
  for (int x = 0; x < 4; ++x)
    set(*film, "depth", "Z", x, 0, {2.0f + static_cast<float>(x)});
  EXPECT_EQ(seen(film, "depth", 0, 0), (Color{0, 0, 0}));
  EXPECT_EQ(seen(film, "depth", 1, 0), (Color{85, 85, 85}));
  EXPECT_EQ(seen(film, "depth", 3, 0), (Color{255, 255, 255}));
  set(*film, "depth", "Z", 3, 0, {1e10f}); // nothing there
  EXPECT_EQ(seen(film, "depth", 2, 0), (Color{255, 255, 255})) << "far values do not stretch the range";
  EXPECT_EQ(seen(film, "depth", 3, 0), (Color{255, 255, 255}));
}

TEST(LayerRows, NormalsIdsNoiseAndMattes) {
  const auto film = std::make_shared<Film>(3, 1);
  set(*film, "normal", "XYZ", 0, 0, {-1, 0, 1});
  EXPECT_EQ(seen(film, "normal", 0, 0), (Color{0, 128, 255}));
  set(*film, "object_id", "V", 1, 0, {7});
  set(*film, "object_id", "V", 2, 0, {8});
  EXPECT_EQ(seen(film, "object_id", 0, 0), (Color{0, 0, 0}));
  EXPECT_EQ(seen(film, "object_id", 1, 0), seen(film, "object_id", 1, 0));
  EXPECT_NE(seen(film, "object_id", 1, 0), seen(film, "object_id", 2, 0));
  for (const float id : {1.0f, 2.0f, 3.0f, 1000.0f, 1e-30f})
    for (const float part : idColor(id))
      EXPECT_TRUE(part >= 0 && part <= 1) << id;

  set(*film, "noise", "V", 1, 0, {0.5f});
  set(*film, "noise", "V", 2, 0, {0.5f});
  EXPECT_EQ(seen(film, "noise", 0, 0), (Color{0, 0, 0}));
  EXPECT_EQ(seen(film, "noise", 2, 0), (Color{255, 255, 255}));
  EXPECT_EQ(heatColor(0.5f), (std::array<float, 3>{0, 1, 0}));

  const float one = matteNumber("Box"), two = matteNumber("Floor");
  set(*film, "crypto_object00", "RGBA", 0, 0, {one, 0.75f, two, 0.25f});
  film->addLayer("crypto_object01", "RGBA");
  const auto a = idColor(one), b = idColor(two);
  const Color mixed = seen(film, "crypto_object", 0, 0);
  for (std::size_t c = 0; c < 3; ++c)
    EXPECT_NEAR(mixed[c], 255 * (0.75f * a[c] + 0.25f * b[c]), 1) << c;
}

TEST(LayerRows, FaultsAreMarkedAndCounted) {
  const auto film = std::make_shared<Film>(4, 1);
  set(*film, "albedo", "RGB", 0, 0, {0.5f, nan, 0});
  set(*film, "albedo", "RGB", 1, 0, {inf, 0, 0});
  set(*film, "albedo", "RGB", 2, 0, {-inf, 0, 0});
  set(*film, "albedo", "RGB", 3, 0, {1, 1, 1});
  set(*film, "depth", "Z", 0, 0, {nan});
  set(*film, "depth", "Z", 3, 0, {4});
  EXPECT_EQ(seen(film, "albedo", 0, 0), (Color{255, 0, 255}));
  EXPECT_EQ(seen(film, "albedo", 1, 0), (Color{0, 255, 255}));
  EXPECT_EQ(seen(film, "albedo", 2, 0), (Color{0, 255, 255}));
  EXPECT_EQ(seen(film, "albedo", 3, 0), (Color{255, 255, 255}));
  EXPECT_EQ(seen(film, "depth", 0, 0), (Color{255, 0, 255}));
  EXPECT_EQ(seen(film, "depth", 3, 0), (Color{255, 255, 255})) << "the range is that of the numbers";
  LayerRows rows(film, "albedo");
  rows.keep();
  EXPECT_EQ(rows.faults().nan, 1u);
  EXPECT_EQ(rows.faults().infinite, 2u);
  LayerRows missing(film, "no such layer");
  EXPECT_FALSE(missing.isThere());
}

TEST(PixelProbe, HasEveryLayerWithItsNames) {
  Film film(4, 2);
  const float rgba[4] = {1.5f, 0.25f, 0.125f, 1};
  film.setColor(1, 1, rgba);
  set(film, "object_id", "V", 1, 1, {2});
  film.setNote("object_id/names", R"({"1":"Floor","2":"A \"Box\""})");
  set(film, "crypto_object00", "RGBA", 1, 1, {matteNumber("Box"), 0.75f, matteNumber("Floor"), 0.25f});
  for (const auto& [key, text] : matteAttributes("crypto_object", {"Box", "Floor"}))
    film.setNote(key, text);
  const auto row = [rows = probePixel(film, FilmNames(film), 1, 1)](const char* layer) {
    for (const ProbeRow& one : rows)
      if (one.layer == layer) return one;
    ADD_FAILURE() << layer;
    return ProbeRow();
  };
  EXPECT_EQ(row("").values, (std::vector<float>{1.5f, 0.25f, 0.125f, 1}));
  EXPECT_EQ(row("object_id").values, std::vector<float>{2});
  EXPECT_EQ(row("object_id").names, "A \"Box\"");
  EXPECT_EQ(row("crypto_object").names, "Box 75 %, Floor 25 %");
}

TEST(PixelProbe, LightGroupsSayTheirShare) {
  Film film(4, 1);
  set(film, "lightgroup_key", "RGB", 0, 0, {3, 3, 3});
  set(film, "lightgroup_sky", "RGB", 0, 0, {1, 1, 1});
  set(film, "lightgroup_fill", "RGB", 0, 0, {nan, 0, -2});
  set(film, "lightgroup_key", "RGB", 1, 0, {0, 1, 0});
  const auto shares = [](const std::vector<ProbeRow>& rows) {
    std::map<std::string, std::string> all;
    for (const ProbeRow& row : rows)
      if (!row.names.empty()) all[row.label] = row.names;
    return all;
  };
  using Shares = std::map<std::string, std::string>;
  EXPECT_EQ(shares(probePixel(film, {}, 0, 0)), (Shares{{"key", "75 %"}, {"sky", "25 %"}, {"fill", "0 %"}}));
  EXPECT_EQ(shares(probePixel(film, {}, 3, 0)), Shares()) << "no light, no share";
  // Means of the two pixels: 1.5 + 0.7152 / 2 and 0.5.
  EXPECT_EQ(shares(probeRect(film, {0, 0, 2, 1})),
            (Shares{{"key", "79 %"}, {"sky", "21 %"}, {"fill", "0 %"}}));
}

TEST(PixelProbe, RectanglesHaveMeansOfFiniteValues) {
  Film film(4, 4);
  set(film, "albedo", "RGB", 1, 1, {1, 2, nan});
  set(film, "albedo", "RGB", 2, 1, {3, inf, 5});
  film.addLayer("crypto_object00", "RGBA");
  const std::vector<ProbeRow> rows = probeRect(film, {1, 1, 2, 1});
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[1].layer, "albedo");
  EXPECT_EQ(rows[1].values, (std::vector<float>{2, 2, 5}));
  EXPECT_EQ(rows[1].least, (std::vector<float>{1, 2, 5}));
  EXPECT_EQ(rows[1].most, (std::vector<float>{3, 2, 5}));
  EXPECT_TRUE(probeRect(film, {4, 0, 3, 3}).empty());
  EXPECT_EQ(probeRect(film, {-5, -5, 100, 100}).size(), 2u) << "cut to the film";
}

TEST(PixelProbe, DamagedTextsAreHarmless) {
  EXPECT_TRUE(flatJson("").empty());
  EXPECT_TRUE(flatJson("{\"a").empty());
  EXPECT_TRUE(flatJson("{\"a\":").empty());
  EXPECT_EQ(flatJson("{\"a\":\"b\\").size(), 1u);
  EXPECT_EQ(flatJson("{\"a\":\"\\u0041\\n\",\"c\":3,\"d\":\"e\"}").at("a"), "A\n");
  EXPECT_EQ(flatJson("{\"a\":\"\\u00").size(), 1u);
}

} // namespace
