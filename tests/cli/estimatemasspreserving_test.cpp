#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "cli/program.h"
#include "files/mapfile.h"
#include "files/myfmr.h"
#include "masspreserving/masspreserving.h"
#include "numerics/volumegauss.h"
#include "vdm/vdm.h"

namespace mirel {

// "mirel estimate --estimator mass-preserving" on projects.

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// The ball with its signal conserved: what is stretched thins.
ProjectSketch conservedBall(float shiftVoxels) {
  ProjectSketch sketch = distortedBall(shiftVoxels);
  sketch.voxel = [intensity = sketch.voxel, shiftVoxels](int column, int row, int slice, int t) {
    const float x = static_cast<float>(column) - 11.5f;
    const float y = static_cast<float>(row) - 13.5f;
    const float z = static_cast<float>(slice) - 9.5f;
    const float slope = -shiftVoxels * y / 30.0f * std::exp(-(x * x + y * y + z * z) / 60.0f);
    return std::round(intensity(column, row, slice, t) * (1.0f + slope));
  };
  return sketch;
}

class EstimateMassPreserving : public testing::Test {
 protected:
  void SetUp() override {
    writeFmr(ap, conservedBall(1.5f));
    writeFmr(pa, conservedBall(-1.5f));
  }

  ProgramResult estimate(const std::vector<std::string>& options) const {
    std::vector<std::string> words = {"estimate", ap, pa, "--estimator", "mass-preserving"};
    words.insert(words.end(), options.begin(), options.end());
    return runMirel(words);
  }

  /// The result for the pair's volumes, in the projects' orientation.
  Volume<float> expectedShift(bool rllr = false) const {
    const FMR first(ap, true), second(pa, true);
    glm::dvec3 mm(first.InplaneResolutionX.value(), first.InplaneResolutionY.value(),
                  static_cast<double>(first.SliceThickness.value() + first.SliceGap.value()));
    if (!rllr) return estimateMassPreserving(first.stcData[0], second.stcData[0], mm).shiftVoxels;
    std::swap(mm.x, mm.y);
    return estimateMassPreserving(first.stcData[0].transposeXY(), second.stcData[0].transposeXY(),
                                  mm)
        .shiftVoxels.transposeXY();
  }

  void expectStored(const std::string& name, const Volume<float>& expected) const {
    const Map map = readMapFile(folder.file(name));
    ASSERT_EQ(map.values.size(), static_cast<std::size_t>(expected.size()));
    EXPECT_TRUE(std::equal(map.values.begin(), map.values.end(), expected.data())) << name;
  }

  void expectRefused(const std::vector<std::string>& words, const std::string& sentence) const {
    std::vector<std::string> all = {"estimate", ap, pa};
    all.insert(all.end(), words.begin(), words.end());
    const ProgramResult result = runMirel(all);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr(sentence));
    EXPECT_FALSE(fileExists(folder.file("ap_vdm.map")));
  }

  TemporaryFolder folder;
  const std::string ap = folder.file("ap.fmr");
  const std::string pa = folder.file("pa.fmr");
};

TEST_F(EstimateMassPreserving, StoresTheEstimateBitForBitAndItsNegative) {
  const ProgramResult result = estimate({});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, folder.file("ap_vdm.map\n") + folder.file("pa_vdm.map\n"));
  EXPECT_THAT(result.err, AllOf(HasSubstr("Estimating voxel displacement maps..."),
                                HasSubstr("otion of the head between the images"),
                                HasSubstr("Saving voxel displacement maps to .map files...\nDone."),
                                Not(HasSubstr("Finished iteration"))));
  const Volume<float> expected = expectedShift();
  EXPECT_NEAR(expected.at(12, 14, 10), -1.5f, 0.3f);
  expectStored("ap_vdm.map", expected);
  expectStored("pa_vdm.map", expected * -1.0f);
}

TEST_F(EstimateMassPreserving, ExchangesTheAxesWithRllr) {
  ASSERT_EQ(estimate({"--rllr"}).status, 0);
  expectStored("ap_vdm.map", expectedShift(true));
  EXPECT_EQ(readMapFile(folder.file("ap_vdm.map")).header.dimX, 24);
}

TEST_F(EstimateMassPreserving, StoresDerivativesOnRequest) {
  EXPECT_EQ(estimate({}).status, 0);
  EXPECT_FALSE(fileExists(folder.file("ap_vdmderiv.map")));
  ASSERT_EQ(estimate({"--save-derivative"}).status, 0);
  const Volume<float> derivative = getSimpleYDerivative(expectedShift());
  expectStored("ap_vdmderiv.map", derivative);
  expectStored("pa_vdmderiv.map", derivative * -1.0f);
}

TEST_F(EstimateMassPreserving, AppliesTheMaps) {
  const ProgramResult result = estimate({"--apply"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr(folder.file("pa_undist.stc\n")));
  // The copies hold integers.
  const auto expectCorrected = [&](const std::string& name, const Volume<float>& map) {
    const FMR before(folder.file(name + ".fmr"), true),
        after(folder.file(name + "_undist.fmr"), true);
    ASSERT_EQ(after.stcData.size(), 2u);
    for (std::size_t t = 0; t < 2; ++t) {
      const Volume<float> rest = after.stcData[t] - applyVdm(map, before.stcData[t], false, false);
      EXPECT_LE(rest.max(), 1.0f) << name;
      EXPECT_GE(rest.min(), -1.0f) << name;
    }
  };
  const Volume<float> map = expectedShift();
  expectCorrected("ap", map);
  expectCorrected("pa", map * -1.0f);
}

TEST_F(EstimateMassPreserving, TakesTheVolumesThatAreNamed) {
  EXPECT_EQ(estimate({"--volume0", "1", "--volume1", "0"}).status, 0);
  const ProgramResult beyond = estimate({"--volume1", "2"});
  EXPECT_EQ(beyond.status, 1);
  EXPECT_THAT(beyond.err, HasSubstr("Error: Cannot use volume 2 of file " + pa));
}

TEST_F(EstimateMassPreserving, LooksForNoMotionWhenTold) {
  const ProgramResult result = estimate({"--no-motion"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, Not(HasSubstr("otion of the head")));
}

TEST_F(EstimateMassPreserving, SaysHowTheHeadMoved) {
  // A step of a column and a slice, for a ball with structure along all axes.
  const auto moved = [](ProjectSketch sketch, int columns, int slices) {
    sketch.dataType = 1;
    sketch.voxel = [voxel = sketch.voxel, columns, slices](int x, int y, int z, int t) {
      const float stripes = 1.0f + 0.3f * std::sin(0.8f * static_cast<float>(x - columns)) *
                                       std::cos(0.9f * static_cast<float>(z - slices));
      return std::round(voxel(x - columns, y, z - slices, t) * stripes);
    };
    return sketch;
  };
  writeFmr(ap, moved(conservedBall(0.5f), 0, 0));
  writeFmr(pa, moved(conservedBall(-0.5f), 1, -1));
  const FMR project(ap, false);
  const ProgramResult result = estimate({});
  ASSERT_EQ(result.status, 0) << result.err;
  double x = 0, y = 0, z = 0;
  const std::size_t at = result.err.find("Motion of the head between the images: ");
  ASSERT_NE(at, std::string::npos) << result.err;
  ASSERT_EQ(std::sscanf(result.err.c_str() + at,
                        "Motion of the head between the images: %lf, %lf, %lf mm", &x, &y, &z),
            3);
  EXPECT_NEAR(x, project.InplaneResolutionX.value(), 0.3);
  EXPECT_NEAR(z, -static_cast<double>(project.SliceThickness.value() + project.SliceGap.value()),
              0.3);
}

TEST_F(EstimateMassPreserving, RefusesOptionsOfTheOtherMethod) {
  for (const char* option : {"--ic", "--ssd", "--ncc", "--fast"})
    expectRefused({"--estimator", "mass-preserving", option},
                  "--ic, --ssd, --ncc and --fast, which are of the search");
  expectRefused({"--no-motion"}, "--no-motion excludes the search, which knows no motion");
  expectRefused({"--no-motion", "--estimator", "search"},
                "--no-motion excludes the search, which knows no motion");
  expectRefused({"--estimator", "best"}, "best");
}

TEST_F(EstimateMassPreserving, NeedsVoxelSizes) {
  ProjectSketch sketch = conservedBall(1.5f);
  sketch.voxelSizeY = 0;
  writeFmr(ap, sketch);
  const ProgramResult result = estimate({});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: " + ap +
                            ": the header gives no voxel size, which the mass-preserving estimate "
                            "needs\n");
  EXPECT_FALSE(fileExists(folder.file("ap_vdm.map")));
}

TEST_F(EstimateMassPreserving, TheSearchIsTheDefault) {
  EXPECT_THAT(runMirel({"estimate", ap, pa}).err, HasSubstr("Finished iteration with NCC"));
  const Map map = readMapFile(folder.file("ap_vdm.map"));
  EXPECT_THAT(runMirel({"estimate", ap, pa, "--estimator", "search"}).err,
              HasSubstr("Finished iteration with NCC"));
  EXPECT_EQ(readMapFile(folder.file("ap_vdm.map")).values, map.values);
}

}  // namespace

}  // namespace mirel
