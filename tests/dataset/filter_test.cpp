#include "dataset/filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataset/planned.h"
#include "support/messageof.h"
#include "support/temporaryfolder.h"

namespace mirel::dataset {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Filters : public testing::Test {
 protected:
  ImageFilter filter(const std::string& json) const {
    return ImageFilter(folder.write("filter.json", json));
  }
  bool wants(const std::string& json, const std::string& path) const {
    return filter(json).whyNot(facts(path, "j").image).empty();
  }
  std::string refusalOf(const std::string& json) const {
    return messageOf<WrongSelection>([&] { filter(json); });
  }

  TemporaryFolder folder;
  const std::string rest = "sub-01/func/sub-01_task-rest_run-01_bold.nii.gz";
  const std::string high = "sub-01/fmap/sub-01_acq-high_dir-AP_epi.nii.gz";
  const std::string plain = "sub-01/fmap/sub-01_dir-AP_epi.nii.gz";
};

}  // namespace

TEST_F(Filters, ValuesListsAndNull) {
  EXPECT_TRUE(wants(R"({"bold": {"task": "rest"}})", rest));
  EXPECT_FALSE(wants(R"({"bold": {"task": "nback"}})", rest));
  EXPECT_TRUE(wants(R"({"bold": {"task": ["nback", "rest"]}})", rest));
  EXPECT_FALSE(wants(R"({"bold": {"task": null}})", rest));
  EXPECT_TRUE(wants(R"({"bold": {"acquisition": null}})", rest));
  EXPECT_TRUE(wants(R"({"bold": {"acq": [null, "a"]}})", rest));
  EXPECT_FALSE(wants(R"({"bold": {"acq": "*"}})", rest));
  EXPECT_TRUE(wants(R"({"bold": {"task": "*"}})", rest));
  EXPECT_FALSE(wants(R"({"bold": {"task": "rest", "direction": "AP"}})", rest));
}

TEST_F(Filters, IndicesAreNumbersAndLabelsAreNot) {
  for (const char* run : {"1", "\"1\"", "\"01\"", "[2, 1]"})
    EXPECT_TRUE(wants(R"({"bold": {"run": )" + std::string(run) + "}}", rest)) << run;
  EXPECT_FALSE(wants(R"({"bold": {"run": 10}})", rest));
  EXPECT_FALSE(wants(R"({"bold": {"subject": "1"}})", rest));
}

TEST_F(Filters, KeysThatAreNoEntities) {
  EXPECT_TRUE(wants(R"({"bold": {"extension": "nii.gz", "datatype": "func"}})", rest));
  EXPECT_FALSE(wants(R"({"bold": {"extension": ".nii"}})", rest));
  EXPECT_FALSE(wants(R"({"fmap": {"suffix": "phasediff"}})", plain));
}

TEST_F(Filters, HoldForTheirKindAlone) {
  EXPECT_TRUE(wants(R"({"dwi": {"direction": "PA"}, "t1w": {"session": "x"}})", rest));
  EXPECT_TRUE(wants(R"({"fmap": {"acquisition": "high"}})", high));
  EXPECT_FALSE(wants(R"({"fmap": {"acquisition": "high"}})", plain));
  EXPECT_FALSE(wants(R"({"fmap": {"run": 1}})", "sub-01/fmap/sub-01_dir-AP_m0scan.nii.gz"));
  EXPECT_TRUE(wants(R"({"m0scan": {"run": 1}})", "sub-01/fmap/sub-01_dir-AP_m0scan.nii.gz"));
  EXPECT_FALSE(wants(R"({"perf": {"run": 1}})", "sub-01/perf/sub-01_asl.nii.gz"));
}

TEST_F(Filters, TellWhatTheyLeaveOut) {
  EXPECT_EQ(filter(R"({"bold": {"task": ["a", "b"]}})").whyNot(facts(rest, "j").image),
            "left out by " + folder.file("filter.json") + ", whose filter bold asks for task a, b");
  const auto warnings =
      filter(R"({"bold": {"task": "a"}, "dwi": {"run": 1}})").warnings({facts(rest, "j").image});
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_THAT(warnings[0].text, StartsWith("the filter bold in"));
}

TEST_F(Filters, AreRefusedWhereTheyAreNotUnderstood) {
  EXPECT_THAT(refusalOf("{"), EndsWith("filter.json is not valid JSON"));
  EXPECT_THAT(refusalOf("[]"), HasSubstr("not an object with named filters"));
  EXPECT_THAT(refusalOf(R"({"func": {}})"), HasSubstr("has a filter func: there are bold, sbref"));
  EXPECT_THAT(refusalOf(R"({"bold": {"taks": "a"}})"),
              HasSubstr("has a key taks in its filter bold: there are subject, session"));
  EXPECT_THAT(refusalOf(R"({"t1w": {"taks": "a"}})"), HasSubstr("has a key taks"));
  EXPECT_THAT(refusalOf(R"({"bold": {"task": true}})"), HasSubstr("has a value of task"));
  EXPECT_THAT(refusalOf(R"({"bold": {"task": []}})"), HasSubstr("has an empty list of task"));
  EXPECT_THAT(refusalOf(R"({"bold": "rest"})"), HasSubstr("is no object of keys"));
  EXPECT_THAT(messageOf<WrongSelection>([&] { ImageFilter(folder.file("absent.json")); }),
              HasSubstr("absent.json"));
}

}  // namespace mirel::dataset
