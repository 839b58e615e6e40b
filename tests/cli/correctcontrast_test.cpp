#include <gmock/gmock.h>

#include <glm/geometric.hpp>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "phantom/distort.h"
#include "phantom/object.h"
#include "phantom/phantom.h"

// What mirel correct says of a pair whose first image has another contrast, as a volume from before
// the steady state has, or lost signal.

namespace mirel {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class CorrectContrast : public CorrectPair {
 protected:
  /// The first image of the pair with other factors of its tissues' signal and without signal in a
  /// ball about the middle of the head, as "mirel phantom" made it otherwise.
  std::string apWith(const TissueContrast& contrast, double lostMm = 0.0) const {
    PhantomOptions options;
    options.size = {40, 48, 28};
    options.voxelMm = glm::dvec3(4.5);
    options.readoutSeconds = 0.04;
    options.maxShiftVoxels = 3.0;
    const Phantom phantom = makePhantom(options);
    HeadObject head = sampleHead({options.size, options.voxelMm}, options.seed, {}, contrast);
    lose(head.density, options.voxelMm, lostMm);
    const Volume<float> signal =
        distort(head.density, phantom.shiftVoxels, options.axis, HeadObject::cellsPerVoxel);
    nifti::Writer writer(file("changed.nii.gz"), nifti::floatMapLike(nifti::Reader(ap()).header()));
    writer.write(addRicianNoise(signal, phantom.noiseSigma, options.seed, 1));
    writer.finish();
    return file("changed.nii.gz");
  }
  /// The first image with a ghost of 8 %, half a field of view away, in phase with it or across.
  enum class Ghost { inPhase, across };
  ProgramResult correctWithGhost(Ghost ghost) const {
    nifti::Reader reader(ap());
    const Volume<float> image = reader.readVolume(0);
    nifti::Writer writer(file("changed.nii.gz"), nifti::floatMapLike(reader.header()));
    Volume<float> ghosted = image;
    for (int z = 0; z < image.nz(); ++z)
      for (int y = 0; y < image.ny(); ++y)
        for (int x = 0; x < image.nx(); ++x)
          ghosted.at(x, y, z) = sum(ghost, image.at(x, y, z),
                                    0.08F * image.at(x, (y + image.ny() / 2) % image.ny(), z));
    writer.write(ghosted);
    writer.finish();
    return runMirel(
        {"correct", file("changed.nii.gz"), pa(), "--pe-a", "j-", "--json", "-o", out()});
  }
  ProgramResult correctWith(const TissueContrast& contrast, double lostMm = 0.0) const {
    return runMirel(
        {"correct", apWith(contrast, lostMm), pa(), "--pe-a", "j-", "--json", "-o", out()});
  }

 private:
  static float sum(Ghost ghost, float own, float other) {
    return ghost == Ghost::inPhase ? own + other : std::hypot(own, other);
  }
  static void lose(Volume<float>& density, glm::dvec3 voxelMm, double radiusMm) {
    const glm::dvec3 cellMm =
        voxelMm / glm::dvec3(HeadObject::cellsPerVoxel, HeadObject::cellsPerVoxel, 1);
    const glm::dvec3 middle = 0.5 * glm::dvec3(density.dimensions());
    for (int z = 0; z < density.nz(); ++z)
      for (int y = 0; y < density.ny(); ++y)
        for (int x = 0; x < density.nx(); ++x)
          if (glm::length((glm::dvec3(x, y, z) - middle) * cellMm) < radiusMm)
            density.at(x, y, z) = 0.0F;
  }
};

TEST_F(CorrectContrast, AnotherContrastIsWarnedOfWithWhatToTry) {
  const ProgramResult result = correctWith({1.4F, 1.0F, 1.0F});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("Warning: "));
  EXPECT_THAT(result.err, HasSubstr("differ in contrast"));
  EXPECT_THAT(result.err, HasSubstr("before the steady state"));
  EXPECT_THAT(result.err, HasSubstr("--volume"));
  const json summary = json::parse(result.out);
  EXPECT_EQ(summary["intensityRatioVaries"]["Contrast"], true);
  EXPECT_THAT(summary["warnings"].dump(), HasSubstr("differ in contrast"));
}

TEST_F(CorrectContrast, NothingIsSaidOfTheSameContrast) {
  const ProgramResult result = correctWith({});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, Not(HasSubstr("contrast")));
  EXPECT_TRUE(json::parse(result.out)["intensityRatioVaries"].is_null());
}

TEST_F(CorrectContrast, LostSignalIsWarnedOfWithHowMuch) {
  const ProgramResult result = correctWith({}, 22.0);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("do not show the same"));
  const json summary = json::parse(result.out);
  EXPECT_GT(summary["shareOut"], 0.003);
  EXPECT_LT(summary["shareOut"], 0.2);
  EXPECT_THAT(summary["warnings"].dump(), HasSubstr("% of the signal"));
  EXPECT_EQ(summary["verdict"]["sliceResiduals"].size(), 28U);
}

TEST_F(CorrectContrast, AGhostIsWarnedOfAndRecorded) {
  const ProgramResult result = correctWithGhost(Ghost::inPhase);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("holds a ghost of itself"));
  EXPECT_THAT(result.err, HasSubstr("the corrected images still hold it"));
  const json ghosts = json::parse(result.out)["ghosts"];
  // More than 8, for the noise, which is positive in a magnitude, came in with the ghost.
  EXPECT_GT(ghosts["Percent"][0], 8.0);
  EXPECT_LT(ghosts["Percent"][0], 13.0);
  EXPECT_EQ(ghosts["Percent"][1], 0.0);
  EXPECT_GE(ghosts["PhaseCosine"], 0.5);
  EXPECT_TRUE(json::parse(result.out)["ghostsLeft"].is_null());
  EXPECT_THAT(result.err, Not(HasSubstr("left in")));
}

TEST_F(CorrectContrast, AGhostThatIsLeftInIsWarnedOfAndRecorded) {
  const ProgramResult result = correctWithGhost(Ghost::across);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("changed.nii.gz holds a ghost of itself, half a field of view "
                                    "away (of 8"));
  EXPECT_THAT(result.err, HasSubstr("left in, ghosts of 5 to 10 % made the field"));
  const json summary = json::parse(result.out);
  EXPECT_TRUE(summary["ghosts"].is_null());
  EXPECT_NEAR(summary["ghostsLeft"]["Percent"][0], 8.0, 2.0);
  EXPECT_EQ(summary["ghostsLeft"]["Percent"][1], 0.0);
  EXPECT_EQ(summary["verdict"]["trust"], "trusted");
}

TEST_F(CorrectContrast, NothingIsSaidOfAWholePair) {
  const ProgramResult result = correctWith({});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(json::parse(result.out)["shareOut"], 0.0);
  EXPECT_TRUE(json::parse(result.out)["ghosts"].is_null());
  EXPECT_TRUE(json::parse(result.out)["ghostsLeft"].is_null());
  EXPECT_THAT(result.err, Not(HasSubstr("ghost")));
  EXPECT_EQ(json::parse(result.out)["verdict"]["trust"], "trusted");
}

}  // namespace

}  // namespace mirel
