#include <gmock/gmock.h>

#include <ostream>
#include <string>

#include "plugin/loadedplugin.h"
#include "plugin/testhost.h"

namespace mirel {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

TEST(EntryPoints, AnswerBeforeAnythingIsInitialised) {
  EXPECT_STREQ(pluginText("getPluginName"), "Mirel (v0.5)");
  EXPECT_STREQ(pluginText("getHelpFile"), "MirelPluginHelp/index.html");
  EXPECT_STREQ(pluginText("getPluginVersion"), "0.5");
  EXPECT_STREQ(pluginText("getGUIScript"), "MIREL_v05.js");
}

TEST(EntryPoints, AuthorIsOneLineInItalics) {
  const std::string author = pluginText("getAuthor");
  EXPECT_THAT(author, StartsWith("<i>"));
  EXPECT_THAT(author, EndsWith("</i>"));
  EXPECT_EQ(author.find('\n'), std::string::npos);
}

TEST(EntryPoints, DescriptionKeepsTheParenthesisThatIsLeftOpen) {
  const std::string description = pluginText("getPluginDescription");
  EXPECT_THAT(description, StartsWith("~~ "));
  EXPECT_THAT(
      description,
      EndsWith(" (MIREL) (v0.5) ~~<BR>This plugin corrects EPI data from reverse phase-encoded "
               "data (anterior to posterior (AP) and posterior to anterior (PA).<BR>The manual can "
               "be found <b><a href=\"MirelPluginHelp/index.html\">here</a>.</b><br>"));
}

TEST(EntryPoints, CreatePluginMakesAnObjectWithoutALog) {
  testHost() = {};
  createdPlugin().reset();
  EXPECT_THAT(testHost().calls, testing::IsEmpty());
}

struct VersionCase {
  int major, minor, revision;
  bool accepted;
};

std::ostream& operator<<(std::ostream& os, const VersionCase& c) {
  return os << c.major << "." << c.minor << "." << c.revision;
}

class HostVersion : public testing::TestWithParam<VersionCase> {};

TEST_P(HostVersion, DecidesInitPlugin) {
  testHost() = {};
  testHost().major = GetParam().major;
  testHost().minor = GetParam().minor;
  testHost().revision = GetParam().revision;
  EXPECT_EQ(createdPlugin()->initPlugin(), GetParam().accepted);
  if (GetParam().accepted)
    EXPECT_THAT(testHost().boxes, testing::IsEmpty());
  else
    EXPECT_THAT(testHost().boxes,
                testing::ElementsAre("Error: Corvana ZT version 2.6 or higher required."));
}

INSTANTIATE_TEST_SUITE_P(Versions, HostVersion,
                         testing::Values(VersionCase{2, 6, 0, true}, VersionCase{2, 7, 0, true},
                                         VersionCase{2, 7, -3, true}, VersionCase{3, 0, 0, true},
                                         VersionCase{2, 5, 9, false}, VersionCase{1, 9, 9, false},
                                         VersionCase{2, 6, -1, false}));

TEST(InitPlugin, RunTwiceReplacesTheLog) {
  testHost() = {};
  auto plugin = createdPlugin();
  EXPECT_TRUE(plugin->initPlugin());
  EXPECT_TRUE(plugin->initPlugin());
  EXPECT_THAT(testHost().logLines, testing::ElementsAre(""));  // the first log's last flush
  plugin.reset();
  EXPECT_THAT(testHost().logLines, testing::ElementsAre("", ""));
}

}  // namespace mirel
