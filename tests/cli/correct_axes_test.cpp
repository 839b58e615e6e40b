#include <gmock/gmock.h>

#include <cmath>

#include "cli/axespair.h"

namespace mirel {

// Phase encoding along each axis of voxels with three different sizes, as a user corrects it.

namespace {

using nlohmann::json;
using testing::HasSubstr;

using Values = std::vector<float>;

class EachAxis : public AxesPair, public testing::WithParamInterface<char> {
 protected:
  char axis() const { return GetParam(); }
  /// A result along j, its axes exchanged as those of the inputs were.
  Values asAlongJ(const std::string& folderName, const std::string& name) const {
    return PlainImage(file(folderName + "/sub-phantom_" + name))
        .withExchanged(1, indexOf(axis()))
        .values();
  }
  Values result(const std::string& folderName, const std::string& name) const {
    return PlainImage(file(folderName + "/sub-phantom_" + name)).values();
  }
};

using EachOtherAxis = EachAxis;

INSTANTIATE_TEST_SUITE_P(Axes, EachAxis, testing::Values('i', 'j', 'k'),
                         [](const auto& each) { return std::string(1, each.param); });
INSTANTIATE_TEST_SUITE_P(Axes, EachOtherAxis, testing::Values('i', 'k'),
                         [](const auto& each) { return std::string(1, each.param); });

float sixDigitsOf(float size) {
  char text[20];
  std::snprintf(text, sizeof text, "%.6g", static_cast<double>(size));
  return std::stof(text);
}

const std::vector<std::string> images = {"dir-AP_desc-preproc_epi.nii.gz",
                                         "dir-PA_desc-preproc_epi.nii.gz",
                                         "desc-preproc_magnitude.nii.gz",
                                         "dir-AP_desc-voxels_vdm.nii.gz",
                                         "dir-AP_desc-mm_vdm.nii.gz",
                                         "desc-preproc_fieldmap.nii.gz",
                                         "task-rest_dir-AP_desc-preproc_bold.nii.gz"};

// But for a series that is aligned: its samples are taken in the order in which voxels are stored.
// Without the pair's motion the series is near the border of what counts as moved.
TEST_P(EachOtherAxis, GivesTheBitsOfTheSamePairAlongJ) {
  const std::vector<std::vector<std::string>> methods = {
      {}, {"--ic"}, {"--ssd", "--no-ic"}, {"--fast", "--modulate"}, {"--no-motion", "--no-align"}};
  for (const std::vector<std::string>& method : methods) {
    std::vector<std::string> options = method;
    options.insert(options.end(), {"--apply", ""});
    const auto corrected = [&](char along) {
      options.back() = bold(along);
      return correct(along, options, std::string(1, along));
    };
    corrected('j');
    corrected(axis());
    for (const std::string& name : images)
      EXPECT_TRUE(result(std::string(1, axis()), name) == asAlongJ("j", name))
          << name << " with " << testing::PrintToString(method);
    for (const char* name : {"dir-AP_from-orig_to-undistorted_mode-image_xfm.nii.gz",
                             "dir-PA_from-orig_to-undistorted_mode-image_xfm.nii.gz"})
      EXPECT_LT(largestDifference(result(std::string(1, axis()), name), asAlongJ("j", name)), 1e-4)
          << name << " with " << testing::PrintToString(method);
  }
}

TEST_P(EachAxis, MapMillimetresFieldAndWarpBelongTogether) {
  correct(axis(), {}, "out");
  const PlainImage map(file("out/sub-phantom_dir-AP_desc-voxels_vdm.nii.gz"));
  const Values voxels = map.values(), mm = result("out", "dir-AP_desc-mm_vdm.nii.gz"),
               hz = result("out", "desc-preproc_fieldmap.nii.gz"),
               warp = result("out", "dir-AP_from-orig_to-undistorted_mode-image_xfm.nii.gz");
  const int along = indexOf(axis());
  ASSERT_EQ(mm.size(), voxels.size());
  ASSERT_EQ(hz.size(), voxels.size());
  ASSERT_EQ(warp.size(), 3 * voxels.size());
  ASSERT_NE(map.size(0), map.size(1));
  ASSERT_NE(map.size(1), map.size(2));
  for (std::size_t n = 0; n < voxels.size(); ++n) {
    ASSERT_EQ(mm[n], voxels[n] * map.size(along)) << n;
    ASSERT_NEAR(hz[n], voxels[n] / -0.04f, 1e-4f) << n;  // A has the minus
    for (int row = 0; row < 3; ++row) {
      const float towards = row < 2 ? -1.0f : 1.0f;  // left, back, up
      ASSERT_NEAR(warp[static_cast<std::size_t>(row) * voxels.size() + n],
                  towards * map.sform(row, along) * voxels[n], 1e-5f);
    }
  }
}

// Back to the second image as it came leads its displacement, which is the first one's negated, and
// the motion of the head: about the middle of the image, along and about i, j and k.
TEST_P(EachAxis, TheWarpOfTheSecondImageHoldsTheMotionToo) {
  const json motion = json::parse(correct(axis(), {"--json"}, "out").out)["headMotion"];
  ASSERT_FALSE(motion.is_null());
  std::vector<double> t = motion["TranslationMm"], angle = motion["RotationDegrees"];
  for (double& each : angle) each *= M_PI / 180;
  const PlainImage map(file("out/sub-phantom_dir-AP_desc-voxels_vdm.nii.gz"));
  const Values voxels = map.values(),
               warp = result("out", "dir-PA_from-orig_to-undistorted_mode-image_xfm.nii.gz");
  const int along = indexOf(axis());
  // What is left out is below the angle squared times the radius: 0.036 rad, 142 mm.
  double largestMove = 0;
  for (int n = 0; n < static_cast<int>(voxels.size()); n += 41) {
    const int at[] = {n % map.dim(1), n / map.dim(1) % map.dim(2), n / map.dim(1) / map.dim(2)};
    double mm[3], move[3];
    for (int k = 0; k < 3; ++k) mm[k] = (at[k] - 0.5 * (map.dim(1 + k) - 1)) * map.size(k);
    for (std::size_t k = 0; k < 3; ++k) {
      const std::size_t next = (k + 1) % 3, last = (k + 2) % 3;
      move[k] = t[k] + angle[next] * mm[last] - angle[last] * mm[next];
      largestMove = std::max(largestMove, std::abs(move[k]));
    }
    move[along] -= voxels[static_cast<std::size_t>(n)] * map.size(along);
    for (int row = 0; row < 3; ++row) {
      double expected = 0;
      for (int k = 0; k < 3; ++k) expected += map.sform(row, k) / map.size(k) * move[k];
      const float found =
          warp[static_cast<std::size_t>(row) * voxels.size() + static_cast<std::size_t>(n)];
      ASSERT_NEAR(found, row < 2 ? -expected : expected, 0.2) << n;
    }
  }
  EXPECT_GT(largestMove, 2.0);
}

TEST_P(EachAxis, TheTrueFieldIsFound) {
  correct(axis(), {"--quiet"}, "out");
  const Values found = result("out", "desc-preproc_fieldmap.nii.gz");
  const Values truth = PlainImage(input(axis(), "desc-truth_fieldmap.nii.gz")).values();
  const Values brain = PlainImage(input(axis(), "desc-brain_mask.nii.gz")).values();
  double wrong = 0, all = 0;
  for (std::size_t n = 0; n < brain.size(); ++n) {
    if (brain[n] == 0) continue;
    wrong += std::pow(static_cast<double>(found[n] - truth[n]), 2);
    all += std::pow(static_cast<double>(truth[n]), 2);
  }
  EXPECT_LT(std::sqrt(wrong), 0.35 * std::sqrt(all));
}

// What the last digits of a size change is tiny, but it is there.
TEST_P(EachAxis, EveryDigitOfTheVoxelSizesCounts) {
  std::vector<float> rounded;
  PlainImage a(ap(axis())), b(pa(axis()));
  for (int n = 0; n < 3; ++n) {
    rounded.push_back(sixDigitsOf(a.size(n)));
    ASSERT_NE(rounded.back(), a.size(n));
    for (PlainImage* image : {&a, &b}) image->setSize(n, rounded.back());
  }
  a.write(file("a.nii.gz"));
  b.write(file("b.nii.gz"));
  const std::string direction(1, axis());
  for (const std::vector<std::string>& method :
       {std::vector<std::string>{"--no-motion"}, {"--ic", "--intensity-scale", "1"}}) {
    correct(axis(), method, "out");
    std::vector<std::string> words = {"correct",      file("a.nii.gz"), file("b.nii.gz"),
                                      "--pe-a",       direction + "-",  "-o",
                                      file("rounded")};
    words.insert(words.end(), method.begin(), method.end());
    ASSERT_EQ(runMirel(words).status, 0);
    const Values exact = result("out", "dir-AP_desc-voxels_vdm.nii.gz");
    const Values other = PlainImage(file("rounded/a_desc-voxels_vdm.nii.gz")).values();
    EXPECT_FALSE(exact == other) << testing::PrintToString(method);
    EXPECT_LT(largestDifference(exact, other), 0.05) << testing::PrintToString(method);
  }
}

// Projects know no phase encoding along z.
class ProjectsAlong : public AxesPair, public testing::WithParamInterface<char> {
 protected:
  char axis() const { return GetParam(); }
  /// The first project's map of "mirel estimate", in voxels.
  Values estimated(const std::vector<std::string>& options) const {
    std::vector<std::string> words = {"estimate", file("a.fmr"), file("b.fmr")};
    if (axis() == 'i') words.push_back("--rllr");
    words.insert(words.end(), options.begin(), options.end());
    const ProgramResult done = runMirel(words);
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_EQ(runMirel({"convert", file("a_vdm.map"), file("map.nii.gz")}).status, 0);
    return PlainImage(file("map.nii.gz")).values();
  }
  /// The pair as images a and b and as projects, with voxel sizes of the six digits that a project
  /// has.
  void convertPair() const {
    for (const auto& [from, to] : {std::pair{ap(axis()), file("a")}, {pa(axis()), file("b")}}) {
      PlainImage image(from);
      for (int n = 0; n < 3; ++n) image.setSize(n, sixDigitsOf(image.size(n)));
      image.write(to + ".nii.gz");
      ASSERT_EQ(runMirel({"convert", to + ".nii.gz", to + ".fmr"}).status, 0);
    }
  }
  ProgramResult corrected(const std::vector<std::string>& options) const {
    const std::string direction(1, axis());
    std::vector<std::string> words = {"correct",  file("a.nii.gz"), file("b.nii.gz"),
                                      "--pe-a",   direction + "-",  "-o",
                                      file("out")};
    words.insert(words.end(), options.begin(), options.end());
    ProgramResult result = runMirel(words);
    EXPECT_EQ(result.status, 0) << result.err;
    return result;
  }
};

INSTANTIATE_TEST_SUITE_P(Axes, ProjectsAlong, testing::Values('i', 'j'),
                         [](const auto& each) { return std::string(1, each.param); });

TEST_P(ProjectsAlong, HaveTheMapOfTheImages) {
  convertPair();
  const struct {
    std::vector<std::string> estimate, correct;
  } methods[] = {{{"--ic"}, {"--ic"}},
                 {{"--ssd"}, {"--ssd", "--no-ic"}},
                 {{"--fast"}, {"--fast"}},
                 {{"--estimator", "mass-preserving"}, {}},
                 {{"--estimator", "mass-preserving", "--no-motion"}, {"--no-motion"}}};
  for (const auto& method : methods) {
    std::vector<std::string> options = method.correct;
    options.insert(options.end(), {"--intensity-scale", "1", "--quiet"});
    corrected(options);
    EXPECT_TRUE(estimated(method.estimate) ==
                PlainImage(file("out/a_desc-voxels_vdm.nii.gz")).values())
        << testing::PrintToString(method.estimate);
  }
}

TEST_P(ProjectsAlong, TheWayThereAndBackKeepsEveryDigitOfTheVoxelSizes) {
  const PlainImage image(ap(axis()));
  const ProgramResult told = runMirel({"info", ap(axis()), "--json"});
  ASSERT_EQ(told.status, 0) << told.err;
  ASSERT_EQ(runMirel({"convert", ap(axis()), file("a.fmr")}).status, 0);
  ASSERT_EQ(runMirel({"convert", file("a.fmr"), file("back.nii.gz")}).status, 0);
  const PlainImage back(file("back.nii.gz"));
  for (int n = 0; n < 3; ++n) {
    EXPECT_EQ(json::parse(told.out)["voxelSizeMm"][static_cast<std::size_t>(n)].get<float>(),
              image.size(n));
    EXPECT_EQ(back.size(n), image.size(n));
    for (int row = 0; row < 3; ++row) EXPECT_EQ(back.sform(row, n), image.sform(row, n));
  }
}

TEST_P(ProjectsAlong, TheHeadsMotionIsToldAlongTheirAxes) {
  convertPair();
  const ProgramResult done =
      runMirel(axis() == 'i' ? std::vector<std::string>{"estimate", file("a.fmr"), file("b.fmr"),
                                                        "--rllr", "--estimator", "mass-preserving"}
                             : std::vector<std::string>{"estimate", file("a.fmr"), file("b.fmr"),
                                                        "--estimator", "mass-preserving"});
  const ProgramResult asImages = corrected({});
  const std::string lead = "between the images: ", tail = " mm along and ";
  const auto translation = [&](const std::string& text) {
    const std::size_t begin = text.find(lead);
    return begin == std::string::npos
               ? "none"
               : text.substr(begin + lead.size(), text.find(tail) - begin - lead.size());
  };
  EXPECT_THAT(done.err, HasSubstr(tail));
  EXPECT_EQ(translation(done.err), translation(asImages.err));
}

}  // namespace

}  // namespace mirel
