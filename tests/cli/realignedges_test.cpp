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
  // Neither of these has a part in the check, though they are left where they are.
  const auto check =
      nlohmann::json::parse(folder.read("r.json"))["Mirel"]["Series"]["Motion"]["Check"];
  EXPECT_EQ(check.at("Verdict"), "right") << check;
  const std::vector<glm::dmat4> motion = found();
  for (const std::size_t t : {0U, 1U, 3U, 4U, 6U}) EXPECT_EQ(motion[t], glm::dmat4(1.0)) << t;
  for (const std::size_t t : {2U, 5U}) EXPECT_NE(motion[t], glm::dmat4(1.0)) << t;
}

// Two places of the head in one volume are near to the mean of a series that shows both.
TEST_F(RealignEdges, AVolumeOfTwoPlacesIsNoReference) {
  nifti::Reader reader(series());
  const Volume<float> one = reader.readVolume(1), other = reader.readVolume(2);
  const auto mix = [&](int n, Volume<float>& volume) {
    if (n != 2) return;
    for (int i = 0; i < volume.size(); ++i)
      volume.data()[i] = 0.5F * (one.data()[i] + other.data()[i]);
  };
  const std::string image = write("mixed", {1, 2, 1, 1, 2, 2}, mix);
  const ProgramResult result = applyTo(image, {"--realign"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(realignment().at("ReferenceVolume"), 2);
}

// Of most volumes there is nothing, or nothing but noise.
TEST_F(RealignEdges, AVolumeWithoutAHeadIsNoReference) {
  for (const float noise : {0.0F, 5.0F, 30.0F}) {
    const auto spoil = [&](int n, Volume<float>& volume) {
      if (n == 1 || n == 3) return;
      for (int i = 0; i < volume.size(); ++i) volume.data()[i] = 0;
      if (noise > 0) volume = addRicianNoise(volume, noise, 3, static_cast<std::uint64_t>(n));
    };
    const std::string image = write("empty", {0, 0, 0, 1, 0, 0, 0, 0}, spoil);
    const ProgramResult result = applyTo(image, {"--realign"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("for volumes 0, 2, 4 to 7 of " + image + " is not credible"));
    EXPECT_EQ(realignment().at("VolumesMoved"), 1) << realignment();
  }
}

// Shading is taken for motion in part.
TEST_F(RealignEdges, NamesAVolumeThatIsLessLikeTheReference) {
  const auto shade = [](int n, Volume<float>& volume) {
    for (int i = 0; n == 3 && i < volume.size(); ++i)
      volume.data()[i] *=
          0.5F + static_cast<float>(i % volume.nx()) / static_cast<float>(volume.nx());
  };
  const std::vector<int> volumes = {0, 1, 0, 1, 2, 0};
  const std::string shaded = write("shaded", volumes, shade), whole = write("whole", volumes);
  const ProgramResult result = applyTo(shaded, {"--realign"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("Warning: volume 3 of " + shaded + " resembles volume "));
  EXPECT_EQ(realignment().at("VolumesUnlike"), std::vector<int>{3});
  EXPECT_THAT(applyTo(whole, {"--realign"}).err, testing::Not(HasSubstr("resembles")));
  EXPECT_FALSE(realignment().contains("VolumesUnlike"));
}

TEST_F(RealignEdges, TwoVolumesWithHoles) {
  // Floats, which hold what is not finite.
  const std::string image = write("two", {0, 1});
  nifti::Reader reader(image);
  nifti::Header header = reader.header();
  header.type = nifti::DataType::float32;
  const std::string holes = file("holes.nii.gz");
  nifti::Writer writer(holes, header);
  for (int t = 0; t < 2; ++t) {
    Volume<float> volume = reader.readVolume(t);
    volume.at(20, 24, 14) = std::numeric_limits<float>::quiet_NaN();
    volume.at(22, 20, 12 + t) = std::numeric_limits<float>::infinity();
    writer.write(volume);
  }
  writer.finish();
  std::filesystem::copy(file("two.json"), file("holes.json"));
  ASSERT_EQ(applyTo(image, {"--realign"}).status, 0);
  const std::vector<glm::dmat4> whole = found();
  ASSERT_EQ(applyTo(holes, {"--realign"}).status, 0);
  EXPECT_EQ(realignment().at("VolumesMoved"), 1);
  const std::size_t moved = whole[0] == glm::dmat4(1.0) ? 1 : 0;
  for (int axis = 0; axis < 3; ++axis)
    EXPECT_NEAR(found()[moved][3][axis], whole[moved][3][axis], 0.02) << axis;
}

TEST_F(RealignEdges, DiffusionSeriesNeedTheirTable) {
  const std::string image = write("x_dwi", {0, 1, 0});
  const ProgramResult result = applyTo(image, {"--realign"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("no motion was looked for within " + image +
                                    ", since no .bval beside it tells"));
}

// Of b = 0 are volumes 0, 2 and 6.
TEST_F(RealignEdges, WeightedVolumesGetTheMotionBetween) {
  const std::string image = write("dwi", {0, 0, 0, 0, 1, 2, 1}, [](int n, Volume<float>& volume) {
    if (n % 2 == 1 || n == 4) volume *= 0.3F;
  });
  folder.write("dwi.bvec", "0 1 0 1 1 1 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n");
  folder.write("dwi.bval", "0 1000 5 1000 1000 1000 0\n");
  const ProgramResult result = applyTo(image, {"--realign"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("with diffusion gradients (b > 100 s/mm^2) are not realigned "
                                    "themselves: they get the motion between"));
  EXPECT_EQ(realignment().at("VolumesCompared"), 3);
  EXPECT_EQ(realignment().at("VolumesBetween"), 4);
  const std::vector<glm::dmat4> motion = found();
  // The head is at the reference until volume 2, and half of the way to volume 6 in volume 4.
  for (const std::size_t t : {0U, 1U, 2U}) EXPECT_EQ(motion[t], glm::dmat4(1.0)) << t;
  for (int axis = 0; axis < 3; ++axis)
    EXPECT_NEAR(motion[4][3][axis], 0.5 * motions[1].translationMm[axis], 0.1) << axis;
  std::istringstream row(folder.read("r.bvec"));
  double x[7];
  for (double& one : x) row >> one;
  EXPECT_EQ(x[1], 1);
  EXPECT_LT(x[5], 1);
  // Asked for, volume 4 is where the head is rather than half of the way.
  const ProgramResult all = applyTo(image, {"--realign", "--realign-weighted"});
  ASSERT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(realignment().at("VolumesAcrossContrasts"), 4);
  for (int axis = 0; axis < 3; ++axis)
    EXPECT_NEAR(found()[4][3][axis], motions[1].translationMm[axis], 0.4) << axis;
  EXPECT_EQ(applyTo(image, {"--realign-weighted"}).status, 2);
}

}  // namespace mirel
