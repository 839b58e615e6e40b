#include "jobs/estimateprojects.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <sstream>

#include "base/error.h"
#include "files/mapfile.h"
#include "files/project.h"
#include "masspreserving/masspreserving.h"
#include "numerics/volumegauss.h"
#include "support/projectfiles.h"

namespace mirel {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

/// A textured ball of 16 x 20 x 12 voxels, stretched by `shift` voxels around its middle.
ProjectSketch ball(float shift) {
  ProjectSketch sketch;
  sketch.dims = {16, 20, 12};
  sketch.voxel = [shift](int column, int row, int slice, int t) {
    const float x = static_cast<float>(column) - 7.5f, z = static_cast<float>(slice) - 5.5f;
    const float at = static_cast<float>(row) - 9.5f;
    const float bell = std::exp(-(x * x + at * at + z * z) / 40.0f);
    const float y = at + shift * bell;
    const float radius = std::sqrt(x * x / 36 + y * y / 64 + z * z / 20);
    const float signal = 900.0f / (1.0f + std::exp(12.0f * (radius - 1.0f)));
    return signal * (1.0f + 0.2f * std::sin(1.1f * y)) * (1.0f - shift * at / 20.0f * bell) +
           static_cast<float>(t);
  };
  return sketch;
}

class EstimateProjects : public testing::Test {
 protected:
  EstimateProjects() {
    pair.files[0] = folder.file("a.fmr");
    pair.files[1] = folder.file("b.dmr");
    writeFmr(pair.files[0], ball(1));
    writeDmr(pair.files[1], ball(-1));
  }

  /// The map of the first project in the orientation in which it is estimated.
  Volume<float> expected(bool estimateMotion) const {
    const Project a(pair.files[0], ProjectContent::withData);
    const Project b(pair.files[1], ProjectContent::withData);
    MassPreservingOptions options;
    options.estimateMotion = estimateMotion;
    if (!pair.rllr)
      return estimateMassPreserving(a.volumes()[0], b.volumes()[0], {2, 3, 3}, options).shiftVoxels;
    return estimateMassPreserving(a.volumes()[0].transposeXY(), b.volumes()[0].transposeXY(),
                                  {3, 2, 3}, options)
        .shiftVoxels;
  }

  void expectFile(const std::string& name, const Volume<float>& values, float param1,
                  float param2) const {
    const Map map = readMapFile(folder.file(name));
    EXPECT_EQ(volumeOf(map), values) << name;
    EXPECT_EQ(map.header.kind, 1);
    EXPECT_EQ(map.header.param1, param1);
    EXPECT_EQ(map.header.param2, param2);
    EXPECT_EQ(map.header.reserved, 0u);
    EXPECT_EQ(map.header.flag, 0);
  }

  TemporaryFolder folder;
  ProjectPair pair;
  std::ostringstream log;
};

}  // namespace

TEST_F(EstimateProjects, WritesMapsDerivativesAndCopies) {
  pair.saveDerivative = true;
  pair.applyToInput = true;
  estimateProjectsMassPreserving(pair, /*estimateMotion=*/false, log);
  const Volume<float> map = expected(false);
  EXPECT_LT(map.at(8, 10, 6), -0.5f);
  expectFile("a_vdm.map", map, 1, 5);
  expectFile("b_vdm.map", map * -1.0f, 1, 5);
  expectFile("a_vdmderiv.map", getSimpleYDerivative(map), 0.1f, 1);
  expectFile("b_vdmderiv.map", getSimpleYDerivative(map) * -1.0f, 0.1f, 1);
  EXPECT_TRUE(fileExists(folder.file("a_undist.stc")));
  EXPECT_TRUE(fileExists(folder.file("b_undist.dwi")));
  EXPECT_EQ(log.str(),
            "Estimating voxel displacement maps..."
            "Saving voxel displacement maps to .map files..."
            "Applying voxel displacement maps...Done.");
}

TEST_F(EstimateProjects, StoresTheMapInTheProjectsOrientationWithRllr) {
  pair.rllr = true;
  estimateProjectsMassPreserving(pair, /*estimateMotion=*/false, log);
  expectFile("a_vdm.map", expected(false).transposeXY(), 1, 5);
}

TEST_F(EstimateProjects, TellsOfTheMotionBetweenEstimatingAndSaving) {
  estimateProjectsMassPreserving(pair, /*estimateMotion=*/true, log);
  EXPECT_THAT(log.str(), MatchesRegex("Estimating voxel displacement maps\\.\\.\\.N?o? ?[Mm]otion "
                                      "of the head between the images.*\\.Saving voxel.*Done\\."));
  expectFile("a_vdm.map", expected(true), 1, 5);
}

TEST_F(EstimateProjects, AMapThatCannotBeWrittenEndsIt) {
  std::filesystem::create_directory(folder.file("b_vdm.map"));
  pair.applyToInput = true;
  try {
    estimateProjectsMassPreserving(pair, /*estimateMotion=*/false, log);
    FAIL();
  } catch (const Error& failure) {
    EXPECT_THAT(failure.what(), HasSubstr(folder.file("b_vdm.map")));
  }
  EXPECT_FALSE(fileExists(folder.file("a_vdm.map"))) << "both or none";
  EXPECT_FALSE(fileExists(folder.file("a_undist.fmr")));
  EXPECT_THAT(log.str(), Not(HasSubstr("Done.")));
}

}  // namespace mirel
