#include "cli/installation.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "support/projectfiles.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

TEST_F(Installation, TheProgramRunsFromThePathAndFindsItsPlugin) {
  EXPECT_EQ(shell("mirel --version").out, "mirel " MIREL_VERSION "\n");
  const TemporaryFolder folder;
  writeFmr(folder.file("one.fmr"), {});
  // A check is the plugin's work.
  const ProgramResult check = shell("mirel check " + folder.file("one.fmr"));
  EXPECT_EQ(check.status, 0) << check.err;
}

TEST_F(Installation, ThePluginIsFoundThroughALinkToTheProgram) {
  const TemporaryFolder folder;
  writeFmr(folder.file("one.fmr"), {});
  fs::create_symlink(installed("bin/mirel"), folder.file("mirel"));
  const ProgramResult check = shell(folder.file("mirel") + " check " + folder.file("one.fmr"));
  EXPECT_EQ(check.status, 0) << check.err;
}

/// Where the links of a document lead, but for those into the web.
std::vector<std::string> linksOf(const fs::path& document) {
  std::vector<std::string> links;
  const std::regex link(R"(\]\(([^)#]+)[^)]*\))");
  std::ifstream is(document);
  for (std::string line; std::getline(is, line);)
    for (std::sregex_iterator it(line.begin(), line.end(), link), end; it != end; ++it)
      if (!(*it)[1].str().starts_with("http")) links.push_back((*it)[1]);
  return links;
}

TEST_F(Installation, EveryLinkOfTheDocumentsLeadsSomewhere) {
  int documents = 0, links = 0;
  const fs::path folder = installed(MIREL_DOC_FOLDER);
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".md") continue;
    ++documents;
    for (const std::string& link : linksOf(entry.path())) {
      ++links;
      EXPECT_TRUE(fs::exists(entry.path().parent_path() / link)) << entry.path() << ": " << link;
    }
  }
  EXPECT_GE(documents, 10);
  EXPECT_GE(links, 15);
  EXPECT_TRUE(fs::exists(folder / "README.md"));
  EXPECT_TRUE(fs::exists(folder / "docs" / "images" / "before_and_after.png"));
}

std::string contentOf(const std::string& file) {
  std::ifstream is(file);
  return {std::istreambuf_iterator<char>(is), {}};
}

TEST_F(Installation, EveryCommandHasAManualPageWithItsOptions) {
  const std::vector<std::string> names = commands();
  ASSERT_GE(names.size(), 11U);
  for (const std::string& name : names) {
    const std::string page = contentOf(installed("share/man/man1/mirel-" + name + ".1"));
    std::size_t at = 0;
    for (const char* section :
         {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS", "SEE ALSO"}) {
      at = page.find(std::string("\n.SH ") + section + "\n", at);
      ASSERT_NE(at, std::string::npos) << name << " lacks " << section;
    }
    const auto options = optionsOf(name);
    EXPECT_GE(options.size(), 2U) << name;
    for (const std::string& option : options) {
      const std::string inRoff = std::regex_replace(option, std::regex("-"), "\\-");
      EXPECT_THAT(page, HasSubstr("\\fB" + inRoff + "\\fR")) << name;
    }
  }
  const std::string page = contentOf(installed("share/man/man1/mirel.1"));
  for (const std::string& name : names)
    EXPECT_THAT(page, HasSubstr("\\fBmirel\\-" + name + "\\fR(1)"));
  EXPECT_FALSE(fs::exists(installed("share/man/man1/mirel-generate.1")));
}

TEST_F(Installation, ManShowsThePagesWithoutWarnings) {
  if (!has("man")) GTEST_SKIP() << "man is not installed (Debian package man-db)";
  const ProgramResult found = shell("man -w mirel-correct");
  EXPECT_EQ(found.out, fs::canonical(installed("share/man/man1/mirel-correct.1")).string() + "\n");
  for (const auto& entry : fs::directory_iterator(installed("share/man/man1"))) {
    const ProgramResult page =
        shell("LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l " + entry.path().string());
    EXPECT_EQ(page.status, 0) << entry.path();
    EXPECT_EQ(page.err, "") << entry.path();
    EXPECT_THAT(page.out, HasSubstr("EXIT STATUS"));
  }
  const std::string page = shell("MANWIDTH=80 man mirel-correct").out;
  EXPECT_THAT(page, HasSubstr("mirel correct [options] A [B] -o DIR"));
  EXPECT_THAT(page, HasSubstr("--apply RUN ..."));
}

}  // namespace

}  // namespace mirel
