// Tensor archives: the real ones, and damaged ones.
#include "weights.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "archive_writer.h"

namespace host::denoise {
namespace {

std::string fileText(const std::string& name) {
  std::ifstream stream(std::string(LUMENARA_SOURCE_DIR) + "/res/denoise/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

Weights read(const std::string& bytes) {
  return Weights(std::as_bytes(std::span(bytes)));
}

std::string clauseOf(const std::string& bytes) {
  try {
    read(bytes);
  } catch (const WeightsError& error) {
    return error.what();
  }
  return "read";
}

TEST(Weights, OurNetworks) {
  const Weights color = read(fileText("rt_hdr.tza"));
  EXPECT_EQ(color.inputs(), 3);
  EXPECT_EQ(color["dec_conv1a"].inputs, 67);
  EXPECT_EQ(color["dec_conv0"].outputs, 3);
  EXPECT_EQ(color["enc_conv5a"].kernel.size(), 96u * 80u * 9u);

  const Weights small = read(fileText("rt_hdr_alb_nrm_small.tza"));
  EXPECT_EQ(small.inputs(), 9);
  EXPECT_EQ(small["enc_conv5b"].outputs, 32);
  EXPECT_EQ(read(fileText("rt_hdr_alb_nrm.tza")).inputs(), 9);
  EXPECT_EQ(read(fileText("rt_hdr_calb_cnrm.tza")).inputs(), 9);
}

// Halves of every kind, and floats.
TEST(Weights, Numbers) {
  ArchiveWriter archive;
  archive.halves["enc_conv0.bias"] = {0x3C00, 0xC000, 0x0001, 0x8001, 0x0000, 0x7BFF, 0x3555, 0x0400};
  const Weights halves = read(archive.write());
  const std::vector<float> expected = {1.0f, -2.0f,    0x1p-24f,    -0x1p-24f,
                                       0.0f, 65504.0f, 0x1.554p-2f, 0x1p-14f};
  EXPECT_EQ(halves["enc_conv0"].bias, expected);

  ArchiveWriter floats;
  floats.type = 'f';
  floats.floats["enc_conv0.bias"] = {1.5f, -2.25f, 1e-30f, 3e30f, 0, 0, 0, 0};
  EXPECT_EQ(read(floats.write())["enc_conv0"].bias, floats.floats["enc_conv0.bias"]);
}

TEST(Weights, CutShortAnywhere) {
  const std::string whole = ArchiveWriter().write();
  ASSERT_EQ(clauseOf(whole), "read");
  for (std::size_t length = 0; length < whole.size(); length += length < 64 ? 1 : 97)
    EXPECT_EQ(clauseOf(whole.substr(0, length)), "is cut short") << length;
}

TEST(Weights, Damaged) {
  const auto with = [](auto&& change) {
    ArchiveWriter archive;
    change(archive);
    return clauseOf(archive.write());
  };
  EXPECT_EQ(with([](ArchiveWriter& a) { a.magic = 0x41D8; }), "is not a tensor archive");
  EXPECT_EQ(with([](ArchiveWriter& a) { a.version = 3; }), "has another version");
  EXPECT_EQ(with([](ArchiveWriter& a) { a.type = 'd'; }), "holds numbers of an unknown type");
  EXPECT_EQ(with([](ArchiveWriter& a) { a.layout = "ohwi"; }), "holds a tensor of an unknown layout");
  EXPECT_EQ(with([](ArchiveWriter& a) { a.count = 0xFFFFFFFF; }), "lists too many tensors");
  EXPECT_EQ(with([](ArchiveWriter& a) { a.tableOffset = ~0ull; }), "is cut short");
  EXPECT_EQ(with([](ArchiveWriter& a) { a.dataOffset = ~0ull - 5; }), "is cut short");
  EXPECT_EQ(with([](ArchiveWriter& a) {
              a.sizes["enc_conv2.weight"] = {0, 8, 3, 3};
            }),
            "holds a tensor of an impossible size");
  EXPECT_EQ(with([](ArchiveWriter& a) {
              a.sizes["enc_conv2.weight"] = {4096, 4096, 4096, 4096};
            }),
            "is cut short");
  EXPECT_EQ(with([](ArchiveWriter& a) {
              a.sizes["enc_conv2.weight"] = {8, 8, 5, 3};
            }),
            "has tensors of the wrong size for enc_conv2");
  EXPECT_EQ(with([](ArchiveWriter& a) {
              a.sizes["enc_conv2.weight"] = {8, 7, 3, 3};
            }),
            "holds another network");
  EXPECT_EQ(with([](ArchiveWriter& a) {
              a.sizes["dec_conv0.weight"] = {4, 8, 3, 3}, a.sizes["dec_conv0.bias"] = {4};
            }),
            "holds another network");
  EXPECT_EQ(with([](ArchiveWriter& a) { a.sizes.erase("dec_conv1b.bias"); }),
            "lacks the tensors of dec_conv1b");
}

} // namespace
} // namespace host::denoise
