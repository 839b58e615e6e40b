#include "dataset/facts.h"

#include <gmock/gmock.h>

#include "dataset/plan.h"
#include "dataset/scantime.h"
#include "dataset/tinydataset.h"

namespace mirel::dataset {

using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {
constexpr const char* bold = "sub-01/func/sub-01_task-a_bold";
const std::string image = std::string(bold) + ".nii.gz";
}  // namespace

TEST(Facts, AreReadFromSidecarsAndHeader) {
  const TinyDataset data;
  data.text("task-a_bold.json", R"({"PhaseEncodingDirection": "j-", "EffectiveEchoSpacing": 0.01,
                                    "B0FieldSource": "x", "AcquisitionTime": "12:09:5.5"})");
  data.image(bold, R"({"B0FieldSource": ["a", "b", 3, ""], "B0FieldIdentifier": "own",
                       "IntendedFor": null, "ShimSetting": [1, -2, 3]})",
             3);
  const ImageFacts facts = data.facts(image);
  EXPECT_EQ(facts.fault, "");
  EXPECT_EQ(nameOf(*facts.direction), "j-");
  EXPECT_DOUBLE_EQ(*facts.readoutSeconds, 0.04) << "five lines";
  EXPECT_THAT(facts.fieldSources, ElementsAre("a", "b"));
  EXPECT_THAT(facts.identifiers, ElementsAre("own"));
  EXPECT_THAT(facts.intendedFor, IsEmpty());
  EXPECT_THAT(facts.shim, ElementsAre(1, -2, 3));
  EXPECT_DOUBLE_EQ(*facts.acquiredSeconds, 12 * 3600 + 9 * 60 + 5.5);
  EXPECT_EQ(facts.volumes, 3);
  EXPECT_EQ(facts.grid->dims, glm::ivec3(4, 5, 6));
}

TEST(Facts, OfAMoreSpecificNameAreNotThoseOfTheImageBesideIt) {
  const TinyDataset data;
  const std::string special = "sub-01/func/sub-01_task-a_acq-x_bold";
  data.image(bold, R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.05})");
  data.image(special, R"({"PhaseEncodingDirection": "j-"})");
  EXPECT_EQ(nameOf(*data.facts(image).direction), "j");
  EXPECT_THAT(data.facts(image).notes, IsEmpty());
  const ImageFacts facts = data.facts(special + ".nii.gz");
  EXPECT_EQ(nameOf(*facts.direction), "j-");
  EXPECT_FALSE(facts.readoutSeconds);
  EXPECT_THAT(planSubject(data.index(), "01").warnings,
              ElementsAre(Field(&Remark::text, HasSubstr("told nowhere else, TotalReadoutTime"))));
}

TEST(Facts, TheTableOfScansTellsTheTimeWhereSidecarsDoNot) {
  const TinyDataset data;
  data.image(bold, "{}");
  data.text("sub-01/sub-01_scans.tsv",
            "acq_time\tfilename\r\n2020-01-01T23:00:01\tfunc/sub-01_task-a_bold.nii.gz\r\n");
  EXPECT_DOUBLE_EQ(*data.facts(image).acquiredSeconds, 23 * 3600 + 1);
}

TEST(Facts, BValuesTellTheFirstVolumeWithoutWeighting) {
  const TinyDataset data;
  data.image("sub-01/dwi/sub-01_dwi", "{}", 4);
  const auto unweighted = [&](const std::string& values) {
    data.text("sub-01/dwi/sub-01_dwi.bval", values);
    return data.facts("sub-01/dwi/sub-01_dwi.nii.gz");
  };
  EXPECT_EQ(data.facts("sub-01/dwi/sub-01_dwi.nii.gz").unweightedVolumes, std::nullopt);
  EXPECT_EQ(unweighted("1000 5 0 2000").unweightedVolume, 1);
  EXPECT_EQ(unweighted("1000 5 0 2000").unweightedVolumes, 2);
  EXPECT_EQ(unweighted("1000 500 700 2000").unweightedVolume, -1);
  EXPECT_THAT(unweighted("0 1000").fault, HasSubstr("sub-01_dwi.bval"));
}

TEST(Facts, WhatIsWrongIsOneSentence) {
  const TinyDataset data;
  data.image(bold, "{\"broken\": ");
  EXPECT_THAT(data.facts(image).fault, HasSubstr("sub-01_task-a_bold.json"));
  data.text(image, "no image");
  EXPECT_THAT(data.facts(image).fault, HasSubstr("sub-01_task-a_bold.nii.gz"));
}

TEST(Facts, EpiIsToldByFolderAndSuffix) {
  const auto of = [](const std::string& datatype, const std::string& file) {
    return IndexedImage{"", bids::Name::of(file), "", "", datatype, ""};
  };
  EXPECT_TRUE(isEpi(of("func", "sub-1_sbref.nii")));
  EXPECT_TRUE(isEpi(of("perf", "sub-1_m0scan.nii")));
  EXPECT_FALSE(isEpi(of("anat", "sub-1_T1w.nii")));
  EXPECT_FALSE(isEpi(of("", "sub-1_bold.nii")));
  EXPECT_TRUE(isOtherField(of("fmap", "sub-1_phasediff.nii")));
  EXPECT_FALSE(isOtherField(of("fmap", "sub-1_magnitude1.nii")));
  EXPECT_TRUE(isPartOfComplex(of("func", "sub-1_part-phase_bold.nii")));
  EXPECT_FALSE(isPartOfComplex(of("func", "sub-1_part-mag_bold.nii")));
}

TEST(Facts, TimesOfTheDayAreReadInAllSpellings) {
  EXPECT_DOUBLE_EQ(*secondsOfDay("00:00:01"), 1);
  EXPECT_DOUBLE_EQ(*secondsOfDay("2020-02-01T01:00:00.250Z"), 3600.25);
  EXPECT_FALSE(secondsOfDay("n/a"));
  EXPECT_FALSE(secondsOfDay("25:00:00"));
}

}  // namespace mirel::dataset
