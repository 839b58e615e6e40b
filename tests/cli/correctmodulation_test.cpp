#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "support/jsonfile.h"

namespace mirel {

// Whether corrected images are scaled by the local density change, who says so, and that the
// correlation which is told is that of the files.

namespace {

using testing::AllOf;
using testing::HasSubstr;

const std::vector<std::string> images = {"dir-AP_desc-preproc_epi", "dir-PA_desc-preproc_epi",
                                         "desc-preproc_magnitude",
                                         "task-rest_dir-AP_desc-preproc_bold"};

class CorrectModulation : public CorrectPair {
 protected:
  nlohmann::json corrected(std::vector<std::string> options, const std::string& folderName) {
    options.insert(options.end(),
                   {"--json", "--apply", input("sub-phantom_task-rest_dir-AP_bold.nii.gz")});
    const ProgramResult result = correct(options, folderName);
    EXPECT_EQ(result.status, 0) << result.err;
    text = result.err;
    return nlohmann::json::parse(result.out);
  }
  std::string result(const std::string& folderName, const std::string& name) const {
    return file(folderName + "/sub-phantom_" + name);
  }
  /// What every file of a run says of it.
  void expectSaid(const std::string& folderName, bool modulated, const std::string& words) const {
    EXPECT_THAT(text, HasSubstr(" after, as written (" + words));
    for (const std::string& name : images)
      EXPECT_EQ(jsonOf(result(folderName, name + ".json"))["Mirel"]["Options"]["Modulation"],
                modulated)
          << name;
  }
  /// The correlation of two images of a run in what the record calls head.
  double correlationOf(const Volume<float>& a, const Volume<float>& b, double threshold) const {
    const Volume<float> mean = (imageIn(ap()) + imageIn(pa())) * 0.5f;
    double n = 0, sa = 0, sb = 0, aa = 0, bb = 0, ab = 0;
    for (int i = 0; i < mean.size(); ++i) {
      if (static_cast<double>(mean.data()[i]) <= threshold) continue;
      const double p = static_cast<double>(a.data()[i]), q = static_cast<double>(b.data()[i]);
      n += 1, sa += p, sb += q, aa += p * p, bb += q * q, ab += p * q;
    }
    return (n * ab - sa * sb) / std::sqrt((n * aa - sa * sa) * (n * bb - sb * sb));
  }
  std::string text;
};

TEST_F(CorrectModulation, IsTheDefaultOfTheMassPreservingEstimate) {
  EXPECT_EQ(corrected({}, "out")["modulation"], true);
  expectSaid("out", true, "modulated: ");
  EXPECT_EQ(corrected({"--modulate"}, "asked")["modulation"], true);
  expectSaid("asked", true, "modulated: ");
  EXPECT_EQ(corrected({"--no-modulate"}, "moved")["modulation"], false);
  expectSaid("moved", false, "not modulated: ");
  for (const std::string& name : images) {
    const Volume<float> image = imageIn(result("out", name + ".nii.gz"));
    EXPECT_EQ(image, imageIn(result("asked", name + ".nii.gz"))) << name;
    EXPECT_NE(image, imageIn(result("moved", name + ".nii.gz"))) << name;
  }
  EXPECT_THAT(jsonOf(result("out", images[0] + ".json"))["Description"].get<std::string>(),
              HasSubstr("multiplied by the local density change"));
}

TEST_F(CorrectModulation, IsNotThatOfTheSearch) {
  EXPECT_EQ(corrected({"--fast"}, "out")["modulation"], false);
  expectSaid("out", false, "not modulated: ");
  EXPECT_EQ(corrected({"--fast", "--modulate"}, "asked")["modulation"], true);
  expectSaid("asked", true, "modulated: ");
}

TEST_F(CorrectModulation, BringsThePairAndTheSeriesCloserToTheTruth) {
  corrected({}, "out");
  corrected({"--no-modulate"}, "moved");
  const Volume<float> truth = imageIn(input("sub-phantom_desc-undistorted_epi.nii.gz"));
  for (const std::string& name : images) {
    const double off = rmsInBrain(imageIn(result("moved", name + ".nii.gz")), truth);
    const double on = rmsInBrain(imageIn(result("out", name + ".nii.gz")), truth);
    EXPECT_LT(on, 0.9 * off) << name;
  }
}

TEST_F(CorrectModulation, TheCorrelationToldIsThatOfTheFiles) {
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{}, {"--no-modulate"}, {"--fast"}, {"--fast", "--modulate"}}) {
    SCOPED_TRACE(testing::PrintToString(options));
    const nlohmann::json summary = corrected(options, "out");
    const nlohmann::json record = jsonOf(result("out", images[0] + ".json"))["Mirel"];
    const double threshold = record["Options"]["ForegroundThreshold"];
    const double before = correlationOf(imageIn(ap()), imageIn(pa()), threshold);
    const double after = correlationOf(imageIn(result("out", images[0] + ".nii.gz")),
                                       imageIn(result("out", images[1] + ".nii.gz")), threshold);
    EXPECT_NEAR(record["PairCorrelation"]["Before"], before, 1e-6);
    // It is found before what is below 0 is written as 0.
    EXPECT_NEAR(record["PairCorrelation"]["After"], after, 1e-5);
    EXPECT_EQ(summary["pairCorrelation"]["after"], record["PairCorrelation"]["After"]);
    char told[80];
    std::snprintf(told, sizeof told, "%.3f before, %.3f after, as written", before, after);
    EXPECT_THAT(text, HasSubstr(told));
  }
}

TEST_F(CorrectModulation, OnAndOffAtATimeIsRefused) {
  const ProgramResult result = correct({"--modulate", "--no-modulate"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, AllOf(HasSubstr("--no-modulate"), HasSubstr("--modulate")));
}

}  // namespace

}  // namespace mirel
