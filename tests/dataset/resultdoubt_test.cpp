#include "dataset/resultdoubt.h"

#include <gmock/gmock.h>

#include "dataset/plantable.h"
#include "support/temporaryfolder.h"

namespace mirel::dataset {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

SubjectResult subjectWith(const std::string& label, const std::vector<ResultDoubt>& doubts) {
  SubjectResult subject;
  subject.plan.subject = label;
  for (const ResultDoubt& doubt : doubts)
    subject.outcomes.push_back({Status::corrected, "", "", {}, doubt});
  return subject;
}

const ResultDoubt fine = {"trusted", "", ""}, doubtful = {"doubtful", "it hardly differs", ""},
                  untrusted = {"do not trust", "it is a copy", "CHECK THE SIGN"},
                  wrongSign = {"doubtful", "it hardly differs", "CHECK THE SIGN"};

}  // namespace

TEST(ResultDoubt, OfRecordsIsTheVerdictOfTheFieldAndWhatIsToBeChecked) {
  const TemporaryFolder folder;
  folder.write("pair.json",
               R"({"Mirel": {"Verdict": {"Trust": "doubtful", "Reasons": ["one", "two"]},
                             "Warnings": ["CHECK THE AXIS"]}})");
  folder.write("measured.json", R"({"Mirel": {"Warnings": ["other", "CHECK THE FIELD"]}})");
  folder.write("series.json",
               R"({"Mirel": {"Series": {"Warnings": ["other", "CHECK THE SIGN in x"]}}})");
  folder.write("broken.json", "{");
  const auto about = [&](const std::string& image, const std::string& field) {
    const ResultDoubt doubt = doubtAbout(folder.file(image), folder.file(field));
    return doubt.trust + "|" + doubt.reason + "|" + doubt.check;
  };
  EXPECT_EQ(about("series", "pair"), "doubtful|one|CHECK THE SIGN in x");
  EXPECT_EQ(about("pair", "pair"), "doubtful|one|");
  folder.write("axis.json", R"({"Mirel": {"Verdict": {"Trust": "do not trust",
                                                      "Reasons": ["one", "CHECK THE AXIS"]}}})");
  EXPECT_EQ(about("axis", "axis"), "do not trust|CHECK THE AXIS|");
  EXPECT_EQ(about("broken", "measured"), "||CHECK THE FIELD");
  EXPECT_EQ(about("none", "broken"), "||");
}

TEST(ResultDoubt, ALineForEachSubjectHasItsGravestSentence) {
  const std::vector<SubjectResult> subjects = {
      subjectWith("a", {fine, fine}), subjectWith("b", {fine, doubtful, wrongSign}),
      subjectWith("c", {wrongSign, untrusted, fine}), subjectWith("d", {doubtful})};
  EXPECT_THAT(doubtLines(subjects, "logs"),
              ElementsAre("sub-b (2 images): CHECK THE SIGN", "sub-c (2 images): it is a copy",
                          "sub-d (1 image): it hardly differs"));
  EXPECT_EQ(doubtCounts(subjects).text(),
            "1 not to be trusted, 4 doubtful, 3 with a warning to CHECK");
  EXPECT_THAT(doubtLines({subjectWith("a", {fine})}, "logs"), IsEmpty());
  EXPECT_EQ(doubtCounts({subjectWith("a", {fine})}).text(), "");
}

TEST(ResultDoubt, OfMoreThanTenSubjectsTenAreNamed) {
  std::vector<SubjectResult> subjects;
  for (int n = 0; n < 10; ++n) subjects.push_back(subjectWith(std::to_string(n), {doubtful}));
  EXPECT_THAT(doubtLines(subjects, "logs"), SizeIs(10));
  for (int n = 10; n < 13; ++n) subjects.push_back(subjectWith(std::to_string(n), {doubtful}));
  const std::vector<std::string> lines = doubtLines(subjects, "out/logs");
  ASSERT_THAT(lines, SizeIs(11));
  EXPECT_THAT(lines[9], StartsWith("sub-9 "));
  EXPECT_EQ(lines[10], "and 3 more subjects: see out/logs");
}

}  // namespace mirel::dataset
