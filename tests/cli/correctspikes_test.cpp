#include <gmock/gmock.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "nifti/image.h"

namespace mirel {

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Broken voxels far beyond all others.
class CorrectSpikes : public CorrectPair {
 protected:
  static constexpr const char* map = "sub-phantom_dir-AP_desc-voxels_vdm.nii.gz";

  // AP with a value at each of the places, as 16-bit integers or floats; its name.
  std::string spoiled(const std::vector<int>& places, float value, nifti::DataType type) const {
    nifti::Reader reader(ap());
    nifti::Header header = reader.header();
    header.type = type;
    header.slope = 1;
    header.inter = 0;
    Volume<float> image = reader.readVolume(0);
    for (const int place : places) image.data()[place] = value;
    const std::string name = file("sub-phantom_dir-AP_epi.nii.gz");
    nifti::Writer writer(name, header);
    writer.write(image);
    writer.finish();
    return name;
  }

  json correctSpoiled(const std::string& image, const std::string& to) const {
    const ProgramResult result = runMirel({"correct", image, pa(), "--pe-a", "j-", "--readout",
                                           "0.04", "--json", "--quiet", "-o", file(to)});
    EXPECT_EQ(result.status, 0) << result.err;
    return json::parse(result.out);
  }

  // Root mean square of what the map in the brain differs by from that of the image as it was.
  double mapChange(const std::string& from) const {
    if (!fileExists(file("clean"))) {
      EXPECT_EQ(correct({"--quiet"}, "clean").status, 0);
    }
    return rmsInBrain(imageIn(file(from + "/" + map)), imageIn(file("clean/" + std::string(map))));
  }
};

TEST_F(CorrectSpikes, OneOfAnySizeLeavesTheMapAlone) {
  const int corner = 0, head = 20 + 40 * (24 + 48 * 14);
  for (const int place : {corner, head})
    for (const float value : {4000.0f, 3e4f, 1e6f, 1e15f, 1e30f, -1e30f}) {
      const bool whole = value < 32768 && value > -32768;
      const json run = correctSpoiled(
          spoiled({place}, value, whole ? nifti::DataType::int16 : nifti::DataType::float32),
          "out");
      EXPECT_LT(mapChange("out"), 0.01) << value << " at " << place;
      EXPECT_THAT(run["warnings"],
                  ElementsAre(AllOf(HasSubstr("has 1 voxel that stands far out of all others"),
                                    HasSubstr("sub-phantom_dir-AP_epi.nii.gz"))));
      EXPECT_EQ(run["verdict"]["trust"], "trusted");
      std::filesystem::remove_all(out());
    }
}

TEST_F(CorrectSpikes, TenLeaveTheMapAloneAndAreCounted) {
  std::vector<int> places;
  for (int n = 0; n < 10; ++n) places.push_back(5000 * n + 777);
  for (const float value : {3e4f, 1e15f, 1e30f}) {
    const json run = correctSpoiled(spoiled(places, value, nifti::DataType::float32), "out");
    EXPECT_LT(mapChange("out"), 0.01) << value;
    ASSERT_EQ(run["warnings"].size(), 1u);
    const std::string largest = value == 3e4f ? "30000" : value == 1e15f ? "1e+15" : "1e+30";
    EXPECT_THAT(run["warnings"][0].get<std::string>(),
                AllOf(HasSubstr("has 10 voxels that stand far out"),
                      HasSubstr("the largest value is " + largest)));
    std::filesystem::remove_all(out());
  }
}

// Everything else that is found about the pair is as it is without the spike, too.
TEST_F(CorrectSpikes, TheFiguresAreThoseOfTheRest) {
  const ProgramResult clean = correct({"--json", "--quiet"}, "clean");
  const json before = json::parse(clean.out);
  const json run = correctSpoiled(spoiled({0}, 1e15f, nifti::DataType::float32), "out");
  EXPECT_THAT(before["warnings"], IsEmpty());
  for (const char* name : {"intensityScale", "foregroundThreshold", "intensityRatio"})
    EXPECT_NEAR(run[name].get<double>(), before[name].get<double>(),
                1e-4 * before[name].get<double>())
        << name;
  EXPECT_EQ(run["background"], before["background"]);
  for (const auto& [name, value] : before["pairCorrelation"].items())
    EXPECT_NEAR(run["pairCorrelation"][name].get<double>(), value.get<double>(), 1e-3) << name;
  for (const char* name : {"columnTotals", "columnTotalsOfNoise", "residual", "residualOfNoise"})
    EXPECT_NEAR(run["verdict"][name].get<double>(), before["verdict"][name].get<double>(), 1e-3)
        << name;
}

TEST_F(CorrectSpikes, TheCorrectedImageKeepsThemAndTheRecordTellsOfThem) {
  correctSpoiled(spoiled({0}, 1e6f, nifti::DataType::float32), "out");
  const std::string stem = out("sub-phantom_dir-AP_desc-preproc_epi");
  EXPECT_GT(imageIn(stem + ".nii.gz").max(), 5e5f);
  const json record = json::parse(textOf(stem + ".json"));
  EXPECT_EQ(record["Mirel"]["Inputs"][0]["Spikes"]["Voxels"], 1);
  EXPECT_EQ(record["Mirel"]["Inputs"][0]["Spikes"]["Largest"], 1e6);
  EXPECT_FALSE(record["Mirel"]["Inputs"][1].contains("Spikes"));
}

// The sign of a series is judged by the corrected pair, which must not be one spike and nothing.
TEST_F(CorrectSpikes, TheSignOfASeriesIsStillFound) {
  const std::string image = spoiled({0}, 1e15f, nifti::DataType::float32);
  const ProgramResult result =
      runMirel({"correct", image, pa(), "--pe-a", "j-", "--readout", "0.04", "--json", "--quiet",
                "--apply", input("sub-phantom_task-rest_dir-AP_bold.nii.gz"), "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(json::parse(result.out)["series"][0]["signCheck"], "right");
}

}  // namespace

}  // namespace mirel
