#include <gmock/gmock.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "cli/fieldfiles.h"

// mirel correct with what the user knows of a pair: where it counts, and what its field is about.

namespace mirel {

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class CorrectMask : public FieldFiles {
 protected:
  static std::string headMask() { return input("sub-phantom_desc-head_mask.nii.gz"); }

  /// Refused before anything was written.
  void expectRefused(const std::vector<std::string>& options, const std::string& sentence) const {
    const ProgramResult result = correct(options);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(sentence));
    EXPECT_FALSE(std::filesystem::exists(out()));
  }
  json record(const std::string& folderName = "out") const {
    return json::parse(
        std::ifstream(file(folderName + "/sub-phantom_desc-preproc_fieldmap.json")))["Mirel"];
  }
  Volume<float> fieldIn(const std::string& folderName) const {
    return imageIn(file(folderName + "/sub-phantom_desc-preproc_fieldmap.nii.gz"));
  }
};

using CorrectInitialField = CorrectMask;

TEST_F(CorrectMask, IsRecordedWithWhatItTakesOfTheHead) {
  ASSERT_EQ(correct({"--mask", headMask()}).status, 0);
  const json mask = record().at("Mask");
  EXPECT_EQ(mask["File"], headMask());
  EXPECT_EQ(mask["SHA256"].get<std::string>().size(), 64U);
  EXPECT_GT(mask["PartOfHead"].get<double>(), 0.95);
  EXPECT_LT(rmsInBrain(fieldIn("out"), imageIn(field())), 4.0);
}

TEST_F(CorrectMask, OfOneEverywhereChangesNothing) {
  const std::string whole = changed(headMask(), "whole.nii.gz", [](float) { return 1.0F; });
  ASSERT_EQ(correct({"--mask", whole}, "masked").status, 0);
  ASSERT_EQ(correct({}, "plain").status, 0);
  EXPECT_EQ(fieldIn("masked"), fieldIn("plain"));
  EXPECT_EQ(record("masked")["PairCorrelation"], record("plain")["PairCorrelation"]);
  EXPECT_EQ(record("masked")["Verdict"], record("plain")["Verdict"]);
  EXPECT_FALSE(record("plain").contains("Mask"));
  EXPECT_FALSE(record("plain").contains("InitialField"));
}

TEST_F(CorrectMask, ThatTakesHardlyAnythingOfTheHeadIsDoubted) {
  int voxel = 0;
  const std::string corner = changed(headMask(), "corner.nii.gz",
                                     [&](float v) { return ++voxel < 3000 ? 1.0F : 0.01F * v; });
  const ProgramResult result = correct({"--mask", corner});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("corner.nii.gz takes only"));
}

TEST_F(CorrectMask, OfTheBrainIsDoubtedSinceTheHeadsBorderIsLost) {
  const ProgramResult result = correct({"--mask", truth("brain_mask.nii.gz")});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("brain_mask.nii.gz cuts through"));
  EXPECT_THAT(correct({"--mask", headMask()}, "head").err, Not(HasSubstr("cuts through")));
}

TEST_F(CorrectMask, ThatEndsOnTheHeadsBorderIsWarnedOf) {
  EXPECT_THAT(correct({"--mask", headMask()}, "tight").err,
              HasSubstr("head_mask.nii.gz ends where there still is signal ("));
  const Volume<float> head = imageIn(headMask());
  int voxel = 0;
  const int nx = head.nx(), slice = nx * head.ny();
  const auto inHead = [&](int i) { return i >= 0 && i < head.size() && head.data()[i] > 0.0F; };
  const std::string wide = changed(headMask(), "wide.nii.gz", [&](float v) {
    const int i = voxel++;
    for (const int step : {1, nx, slice})
      if (inHead(i - step) || inHead(i + step)) return 1.0F;
    return v;
  });
  EXPECT_THAT(correct({"--mask", wide}, "wide").err, Not(HasSubstr("still is signal")));
}

TEST_F(CorrectMask, OfAnotherGridIsRefused) {
  const std::string moved = changed(
      headMask(), "moved.nii.gz", [](float v) { return v; },
      [](nifti::Header& header) {
        glm::dmat4 affine = header.affine();
        affine[3][2] += 5.0;
        header.setAffine(affine, 1);
      });
  expectRefused({"--mask", moved}, "moved.nii.gz lies at another place than");
  expectRefused({"--mask", ap()}, "a mask holds 0 to 1");
  expectRefused({"--mask", file("none.nii.gz")}, "none.nii.gz");
}

TEST_F(CorrectMask, IsNotKnownToTheSearch) {
  const ProgramResult mask = correct({"--mask", headMask(), "--fast"});
  EXPECT_EQ(mask.status, 2);
  EXPECT_THAT(mask.err, HasSubstr("the search, which takes all voxels alike"));
  const ProgramResult start = correct({"--initial-field", field(), "--estimator", "search"});
  EXPECT_EQ(start.status, 2);
  EXPECT_THAT(start.err, HasSubstr("the search, which has a start of its own"));
}

TEST_F(CorrectMask, OfTheHeadIsWrittenOnRequest) {
  ASSERT_EQ(correct({"--head-mask"}).status, 0);
  const Volume<float> found = imageIn(out("sub-phantom_desc-head_mask.nii.gz"));
  const Volume<float> truth = imageIn(headMask());
  double both = 0, all = 0;
  for (int i = 0; i < found.size(); ++i) {
    ASSERT_TRUE(found.data()[i] == 0.0F || found.data()[i] == 1.0F);
    both += static_cast<double>(found.data()[i] * truth.data()[i]);
    all += static_cast<double>(found.data()[i] + truth.data()[i]);
  }
  EXPECT_GT(2 * both / all, 0.95);
  const json sidecar = json::parse(std::ifstream(out("sub-phantom_desc-head_mask.json")));
  EXPECT_EQ(sidecar["Type"], "ROI");
  ASSERT_EQ(correct({}, "plain").status, 0);
  EXPECT_FALSE(std::filesystem::exists(file("plain/sub-phantom_desc-head_mask.nii.gz")));
  EXPECT_EQ(fieldIn("out"), fieldIn("plain"));
}

TEST_F(CorrectInitialField, IsRecordedAndLeadsToTheSameField) {
  ASSERT_EQ(correct({"--initial-field", field()}).status, 0);
  EXPECT_EQ(record()["InitialField"]["File"], field());
  EXPECT_EQ(record()["InitialField"]["Units"], "Hz");
  ASSERT_EQ(correct({}, "plain").status, 0);
  EXPECT_LT(rmsInBrain(fieldIn("out"), fieldIn("plain")), 0.5);
}

TEST_F(CorrectInitialField, IsComparedWithTheFieldOfThePair) {
  const ProgramResult result = correct({"--initial-field", field()});
  EXPECT_THAT(result.err, AllOf(HasSubstr("Note: the field of the pair less that of " + field()),
                                HasSubstr("(correlation 1.00)")));
  EXPECT_THAT(result.err, Not(HasSubstr("Warning")));
  const json agreement = record()["InitialField"]["Agreement"];
  EXPECT_GT(agreement["Correlation"].get<double>(), 0.99);
  EXPECT_LT(std::abs(agreement["MedianHz"].get<double>()), 1.0);
  const std::string turned = scaled(field(), "turned.nii.gz", -1);
  EXPECT_THAT(correct({"--initial-field", turned}, "turned").err,
              HasSubstr("it may have the opposite sign"));
}

TEST_F(CorrectInitialField, MayBeAPriorThatNoisyImagesFollow) {
  ASSERT_EQ(correct({"--prior-field", field()}, "prior").status, 0);
  ASSERT_EQ(correct({}, "plain").status, 0);
  const Volume<float> truthHz = imageIn(field());
  EXPECT_LT(rmsInBrain(fieldIn("prior"), truthHz), 0.65 * rmsInBrain(fieldIn("plain"), truthHz));
  EXPECT_EQ(record("prior")["PriorField"]["File"], field());
  EXPECT_FALSE(record("prior").contains("InitialField"));
}

TEST_F(CorrectInitialField, ThatWasMaskedIsDoubtedAsPrior) {
  const Volume<float> brain = imageIn(truth("brain_mask.nii.gz"));
  int voxel = 0;
  const std::string masked = changed(
      field(), "masked.nii.gz", [&](float v) { return brain.data()[voxel++] > 0.0F ? v : 0.0F; });
  EXPECT_THAT(correct({"--prior-field", masked}).err, HasSubstr("masked.nii.gz is 0 in"));
  EXPECT_THAT(correct({"--initial-field", masked}, "start").err, Not(HasSubstr("is 0 in")));
}

TEST_F(CorrectInitialField, AndPriorAreNotTwo) {
  const ProgramResult result = correct({"--initial-field", field(), "--prior-field", field()});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, HasSubstr("--prior-field excludes --initial-field"));
}

TEST_F(CorrectInitialField, NeedsToDisplaceSomething) {
  expectRefused({"--initial-field", map()}, "not a field in Hz");
  const std::string away = changed(
      field(), "away.nii.gz", [](float v) { return v; },
      [](nifti::Header& header) {
        glm::dmat4 affine = header.affine();
        affine[3][2] += 5000.0;
        header.setAffine(affine, 1);
      });
  expectRefused({"--initial-field", away}, "does not overlap");
  const ProgramResult result = runMirel({"correct", bare(ap(), "a.nii.gz"), bare(pa(), "b.nii.gz"),
                                         "-o", out(), "--initial-field", field()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("a.nii.gz has no known readout time"));
}

}  // namespace

}  // namespace mirel
