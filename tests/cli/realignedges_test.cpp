#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/movedhead.h"
#include "motion/scannertransforms.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

/// Series made of volumes of the simulated head that moves; r.nii.gz is what becomes of them.
class RealignEdges : public MovedHead {
 protected:
  /// A series of these volumes, `change`d, with new noise in each.
  std::string write(const std::string& name, const std::vector<int>& volumes,
                    const std::function<void(int, Volume<float>&)>& change = {}) const {
    nifti::Reader reader(series());
    nifti::Header header = reader.header();
    header.volumes = static_cast<int>(volumes.size());
    nifti::Writer writer(file(name + ".nii.gz"), header);
    for (std::size_t n = 0; n < volumes.size(); ++n) {
      Volume<float> volume = addRicianNoise(reader.readVolume(volumes[n]), 20, 1, n);
      if (change) change(static_cast<int>(n), volume);
      writer.write(volume);
    }
    writer.finish();
    folder.write(name + ".json", R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.04})");
    return file(name + ".nii.gz");
  }

  ProgramResult applyTo(const std::string& image, const std::vector<std::string>& more) const {
    std::vector<std::string> words = {
        "apply",       "--field",    head("sub-phantom_desc-truth_fieldmap.nii.gz"),
        image,         "-o",         file("r.nii.gz"),
        "--no-report", "--overwrite"};
    words.insert(words.end(), more.begin(), more.end());
    return runMirel(words);
  }

  std::vector<glm::dmat4> found() const {
    return readItkTransforms(file("r_from-orig_to-reference_mode-image_desc-hmc_xfm.txt"));
  }
  nlohmann::json realignment() const {
    return nlohmann::json::parse(folder.read("r.json")).at("Mirel").at("Series").at("Realignment");
  }
};

}  // namespace

TEST_F(RealignEdges, AStillHeadKeepsEveryBit) {
  const std::string still = write("still", {0, 0, 0, 0, 0, 0});
  for (const std::vector<std::string>& more :
       {std::vector<std::string>{}, {"--modulate", "--reference", truth(), "--align"}}) {
    ASSERT_EQ(applyTo(still, more).status, 0);
    const std::string without = folder.read("r.nii.gz");
    std::vector<std::string> realigned = more;
    realigned.emplace_back("--realign");
    const ProgramResult result = applyTo(still, realigned);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(folder.read("r.nii.gz"), without);
    EXPECT_THAT(result.err, HasSubstr("in none of 6 volumes the head has moved against volume "));
  }
  EXPECT_EQ(found(), std::vector<glm::dmat4>(6, glm::dmat4(1.0)));
  EXPECT_EQ(realignment().at("VolumesMoved"), 0);
}

TEST_F(RealignEdges, NamesVolumesThatShowNoHead) {
  const auto spoil = [](int n, Volume<float>& volume) {
    for (int i = 0; i < volume.size(); ++i) {
      if (n == 1) volume.data()[i] = 0;
      if (n == 4) volume.data()[i] = 700;
    }
    if (n == 5)
      for (int z = 0; z < 8; ++z) volume.at(20, 24, 10 + z) = 30000;
  };
  const std::string image = write("spoiled", {0, 0, 1, 0, 0, 1, 0}, spoil);
  const ProgramResult result = applyTo(image, {"--realign"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("the motion that was found for volumes 1, 4 of " + image +
                                    " is not credible, since it does not resemble the reference"));
  EXPECT_EQ(realignment().at("VolumesMoved"), 2);
  EXPECT_EQ(realignment().at("VolumesRefused").size(), 2U);
  const std::vector<glm::dmat4> motion = found();
  for (const std::size_t t : {0U, 1U, 3U, 4U, 6U}) EXPECT_EQ(motion[t], glm::dmat4(1.0)) << t;
  for (const std::size_t t : {2U, 5U}) EXPECT_NE(motion[t], glm::dmat4(1.0)) << t;
}

}  // namespace mirel
