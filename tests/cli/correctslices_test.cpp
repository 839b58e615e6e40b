#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "support/jsonfile.h"

// What "mirel correct" says of pairs in which some slices of one image are spoiled.

namespace mirel {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

// Of an image at a voxel of a spoiled slice.
using Value = std::function<float(const Volume<float>&, int x, int y, int z)>;

constexpr int firstSpoiled = 12, lastSpoiled = 14;

class CorrectSlices : public CorrectPair {
 protected:
  /// The first image with other values in some of its slices.
  std::string spoiled(const Value& value, int from = firstSpoiled, int to = lastSpoiled) const {
    nifti::Reader reader(ap());
    Volume<float> image = reader.readVolume(0);
    const Volume<float> good = image;
    for (int z = from; z <= to; ++z)
      for (int y = 0; y < image.ny(); ++y)
        for (int x = 0; x < image.nx(); ++x) image.at(x, y, z) = value(good, x, y, z);
    nifti::Writer writer(file("spoiled.nii.gz"), nifti::floatMapLike(reader.header()));
    writer.write(image);
    writer.finish();
    return file("spoiled.nii.gz");
  }
  ProgramResult correctSpoiled(const Value& value, int from = firstSpoiled,
                               int to = lastSpoiled) const {
    return runMirel({"correct", spoiled(value, from, to), pa(), "--pe-a", "j-", "--readout", "0.04",
                     "--json", "--overwrite", "--no-report", "-o", out()});
  }
};

TEST_F(CorrectSlices, ThatAreSpoiledAreNamed) {
  const std::vector<std::pair<const char*, Value>> cases = {
      {"lost signal", [](const auto& i, int x, int y, int z) { return 0.6F * i.at(x, y, z); }},
      {"stripes of a spike",
       [](const auto& i, int x, int y, int z) {
         return std::abs(i.at(x, y, z) + 400.0F * std::cos(0.9F * static_cast<float>(x + 2 * y)));
       }},
      {"other slices", [](const auto& i, int x, int y, int z) { return i.at(x, y, z - 7); }},
      {"shifted", [](const auto& i, int x, int y, int z) { return i.get(x - 2, y, z); }}};
  for (const auto& [what, value] : cases) {
    SCOPED_TRACE(what);
    const ProgramResult result = correctSpoiled(value);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("in slices 12 to 14 (counted from 0) "));
    const json verdict = json::parse(result.out)["verdict"];
    EXPECT_NE(verdict["trust"], "trusted");
    const std::vector<double> misfits = verdict["sliceMisfits"];
    ASSERT_EQ(misfits.size(), 28U);
    EXPECT_GT(misfits[13], 2.0);
    EXPECT_LT(misfits[20], 1.5);
  }
}

TEST_F(CorrectSlices, ThatOneImageLostAtTheEdgeOfTheHeadAreNamed) {
  for (const int lost : {0, 23})
    for (const float left : {0.0F, 0.1F}) {
      SCOPED_TRACE(testing::Message() << "slice " << lost << ", " << left << " of it left");
      const ProgramResult result =
          correctSpoiled([=](const auto& i, int x, int y,
                             int z) { return (z == lost ? left : 1.0F) * i.at(x, y, z); },
                         0, 27);
      ASSERT_EQ(result.status, 0) << result.err;
      EXPECT_THAT(result.err, HasSubstr("spoiled.nii.gz has next to no signal in slice " +
                                        std::to_string(lost)));
      const json verdict = json::parse(result.out)["verdict"];
      EXPECT_NE(verdict["trust"], "trusted");
      const std::vector<double> misfits = verdict["sliceMisfits"];
      EXPECT_GT(misfits[static_cast<std::size_t>(lost)], 2.0);
    }
}

TEST_F(CorrectSlices, ThatDifferAsImagesDoAreNot) {
  const std::vector<std::pair<const char*, Value>> cases = {
      {"as it was", [](const auto& i, int x, int y, int z) { return i.at(x, y, z); }},
      {"a little darker",
       [](const auto& i, int x, int y, int z) { return 0.93F * i.at(x, y, z); }}};
  for (const auto& [what, value] : cases) {
    SCOPED_TRACE(what);
    const ProgramResult result = correctSpoiled(value);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, Not(HasSubstr("in slices")));
    EXPECT_EQ(json::parse(result.out)["verdict"]["trust"], "trusted");
  }
}

TEST_F(CorrectSlices, AreThoseOfTheSidecar) {
  const std::string image =
      spoiled([](const auto& i, int x, int y, int z) { return i.at(x, y, z); });
  std::ofstream(file("spoiled.json")) << R"({"PhaseEncodingDirection": "j-",
    "TotalReadoutTime": 0.04, "SliceEncodingDirection": "i-"})";
  const ProgramResult result =
      runMirel({"correct", image, pa(), "--no-report", "--quiet", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  const json found = jsonOf(out("spoiled_desc-voxels_vdm.json"))["Mirel"];
  EXPECT_EQ(found["Verdict"]["SliceAxis"], "i");
  EXPECT_EQ(found["Verdict"]["SliceResiduals"].size(), 40U);
  EXPECT_EQ(found["Verdict"]["SliceMisfits"].size(), 40U);
  // 3 % of the brain's mean; the fluid and the scalp are brighter.
  EXPECT_GT(found["Options"]["ResidualNoise"]["OfSignal"], 0.005);
  EXPECT_LT(found["Options"]["ResidualNoise"]["OfSignal"], 0.05);
  const json tails = found["Options"]["ResidualNoise"]["Tails"];
  EXPECT_TRUE(tails.is_null() || tails >= 3.0) << tails;
}

}  // namespace

}  // namespace mirel
