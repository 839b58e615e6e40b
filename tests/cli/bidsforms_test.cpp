#include <map>
#include <nlohmann/json.hpp>

#include "cli/tinystudy.h"

namespace mirel {

// Generated datasets in which every subject is linked in another way, with and without sessions:
// one command finds the field of every image by the rule that its README tells.

using nlohmann::json;

namespace {

class BidsForms : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    const ProgramResult made = runMirel({"phantom", "--bids", folder.file("raw"), "--subjects", "4",
                                         "--sessions", std::to_string(GetParam()), "--size", "20",
                                         "24", "12", "--voxel", "10", "--volumes", "2"});
    ASSERT_EQ(made.status, 0) << made.err;
  }
  ProgramResult bids(const std::string& level, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"bids", folder.file("raw"), folder.file("out"), level};
    words.insert(words.end(), more.begin(), more.end());
    return runMirel(words);
  }
  /// How many images of a subject were corrected by each rule.
  std::map<std::string, int> rulesOf(const std::string& subject) const {
    const json plan = json::parse(textOf(folder.file("out/logs/sub-" + subject + "_plan.json")));
    std::map<std::string, int> rules;
    for (const json& image : plan["Images"]) {
      EXPECT_EQ(image["Status"], "corrected") << image;
      ++rules[image.value("Rule", "none")];
    }
    return rules;
  }

  TemporaryFolder folder;
};

using Rules = std::map<std::string, int>;

TEST_P(BidsForms, EachIsFoundByItsRule) {
  const ProgramResult result = bids("participant", {"--strict", "--no-reports"});
  ASSERT_EQ(result.status, 0) << result.out << result.err;
  // A pair, a series with its reference, one or two diffusion series in each session.
  const int sessions = std::max(1, GetParam());
  EXPECT_EQ(rulesOf("01"), (Rules{{"B0FieldIdentifier", 5 * sessions}}));
  EXPECT_EQ(rulesOf("02"), (Rules{{"IntendedFor", 6 * sessions}}));
  EXPECT_EQ(rulesOf("03"), (Rules{{"IntendedFor", 5 * sessions}}));
  EXPECT_EQ(rulesOf("04"), (Rules{{"images", 5 * sessions}}));
  EXPECT_EQ(bids("group", {"--no-reports"}).status, 0);
}

INSTANTIATE_TEST_SUITE_P(Sessions, BidsForms, testing::Values(0, 2));

}  // namespace

}  // namespace mirel
