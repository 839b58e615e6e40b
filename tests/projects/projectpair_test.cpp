#include "projects/projectpair.h"

#include <gmock/gmock.h>

#include <map>
#include <sstream>

#include "files/ioerror.h"
#include "files/project.h"
#include "numerics/volumegauss.h"
#include "support/projectfiles.h"
#include "vdm/vdm.h"

namespace mirel {

using testing::ElementsAre;

namespace {

/// Takes down every flushed message.
class EventLog : public std::ostream {
 public:
  explicit EventLog(std::vector<std::string>& events) : std::ostream(nullptr), buffer(events) {
    rdbuf(&buffer);
  }

 private:
  class Buffer : public std::stringbuf {
   public:
    explicit Buffer(std::vector<std::string>& list) : events(list) {}

   protected:
    int sync() override {
      events.push_back(str());
      str("");
      return 0;
    }

   private:
    std::vector<std::string>& events;
  };

  Buffer buffer;
};

/// Two projects with a voxel of three sizes, an estimator and a store of maps that write down what
/// they are given.
class ProjectPairs : public testing::Test {
 protected:
  ProjectPairs() {
    writeFmr(folder.file("a.fmr"), {});
    ProjectSketch other;
    other.voxelSizeX = 9;  // the second project's sizes do not count
    other.voxel = [](int x, int y, int z, int t) { return static_cast<float>(x + y * z - t); };
    writeDmr(folder.file("b.dmr"), other);
    pair.files[0] = folder.file("a.fmr");
    pair.files[1] = folder.file("b.dmr");
  }

  /// The map that the estimator finds: a different value in every voxel.
  static Volume<float> mapFor(glm::ivec3 dims) {
    Volume<float> map(dims);
    for (int i = 0; i < map.size(); ++i) map.data()[i] = 0.003f * static_cast<float>(i % 101);
    return map;
  }

  void estimate() {
    EventLog log(events);
    const PairEstimator estimator = [this](const Volume<float>& a, const Volume<float>& b,
                                           const glm::dvec3& mm, std::ostream& text) {
      first = a;
      second = b;
      voxelMm = mm;
      text << "estimator" << std::flush;
      return mapFor(a.dimensions());
    };
    const MapWriter writer = [this](const Volume<float>& map, bool transpose, float param1,
                                    float param2, const std::string& fileName) {
      std::ostringstream event;
      event << fileName.substr(folder.file("").size()) << (transpose ? " transposed " : " ")
            << param1 << " " << param2;
      events.push_back(event.str());
      maps[fileName.substr(folder.file("").size())] = map;
    };
    estimateProjectPair(pair, estimator, writer, log);
  }

  std::string refusal() {
    try {
      estimate();
    } catch (const std::runtime_error& failure) {
      return failure.what();
    }
    return "nothing";
  }

  TemporaryFolder folder;
  ProjectPair pair;
  Volume<float> first, second;
  glm::dvec3 voxelMm{0};
  std::vector<std::string> events;
  std::map<std::string, Volume<float>> maps;
};

}  // namespace

TEST_F(ProjectPairs, EstimatesFromTheChosenVolumesAndStoresTheMapAndItsNegative) {
  pair.volumes[0] = 1;
  estimate();
  EXPECT_EQ(first, Project(pair.files[0], ProjectContent::withData).volumes()[1]);
  EXPECT_EQ(second, Project(pair.files[1], ProjectContent::withData).volumes()[0]);
  EXPECT_EQ(voxelMm, glm::dvec3(2, 3, 3));
  EXPECT_THAT(events, ElementsAre("Estimating voxel displacement maps...", "estimator",
                                  "Saving voxel displacement maps to .map files...",
                                  "a_vdm.map 1 5", "b_vdm.map 1 5", "Done."));
  EXPECT_EQ(maps["a_vdm.map"], mapFor({6, 8, 4}));
  EXPECT_EQ(maps["b_vdm.map"], mapFor({6, 8, 4}) * -1.0f);
  EXPECT_FALSE(fileExists(folder.file("a_undist.fmr")));
}

TEST_F(ProjectPairs, WithRllrTheEstimatorSeesXAndYExchanged) {
  pair.rllr = true;
  estimate();
  EXPECT_EQ(first, Project(pair.files[0], ProjectContent::withData).volumes()[0].transposeXY());
  EXPECT_EQ(second.dimensions(), glm::ivec3(8, 6, 4));
  EXPECT_EQ(voxelMm, glm::dvec3(3, 2, 3));
  EXPECT_THAT(events, testing::Contains("a_vdm.map transposed 1 5"));
  EXPECT_EQ(maps["a_vdm.map"], mapFor({8, 6, 4}));
}

TEST_F(ProjectPairs, StoresDerivativesAndCopiesOnRequest) {
  pair.saveDerivative = true;
  pair.applyToInput = true;
  estimate();
  EXPECT_THAT(events,
              ElementsAre("Estimating voxel displacement maps...", "estimator",
                          "Saving voxel displacement maps to .map files...", "a_vdm.map 1 5",
                          "b_vdm.map 1 5", "a_vdmderiv.map 0.1 1", "b_vdmderiv.map 0.1 1",
                          "Applying voxel displacement maps...", "Done."));
  const Volume<float> map = mapFor({6, 8, 4});
  EXPECT_EQ(maps["a_vdmderiv.map"], getSimpleYDerivative(map));
  EXPECT_EQ(maps["b_vdmderiv.map"], getSimpleYDerivative(map) * -1.0f);
  const auto expectCorrected = [&](const std::string& name, const std::string& copyName,
                                   const Volume<float>& shift) {
    const Project before(folder.file(name), ProjectContent::withData);
    const Project copy(folder.file(copyName), ProjectContent::withData);
    ASSERT_EQ(copy.volumes().size(), 2u);
    for (std::size_t t = 0; t < 2; ++t)
      EXPECT_EQ(copy.volumes()[t], applyVdm(shift, before.volumes()[t], false, false)) << name;
  };
  expectCorrected("a.fmr", "a_undist.fmr", map);
  expectCorrected("b.dmr", "b_undist.dmr", map * -1.0f);
}

TEST_F(ProjectPairs, RefusesVolumesThatAreNotThereBeforeItSaysAnything) {
  pair.volumes[1] = 2;
  EXPECT_EQ(refusal(),
            "Cannot use volume 2 of file " + pair.files[1] + ", which has only 2 volumes.");
  pair.volumes[0] = -1;
  EXPECT_EQ(refusal(), "Cannot use volume 4294967295 of file " + pair.files[0] +
                           ", which has only 2 volumes.");
  ProjectSketch other;
  other.dims.y = 7;
  writeDmr(pair.files[1], other);
  EXPECT_EQ(refusal(), "All datasets must have the same dimensions!");
  EXPECT_THAT(events, testing::IsEmpty());
}

TEST_F(ProjectPairs, ReadsBothProjectsFirst) {
  pair.volumes[0] = 99;
  pair.files[1] = folder.file("none.txt");
  EXPECT_EQ(refusal(), "Failed opening for reading: " + pair.files[1]);
}

}  // namespace mirel
