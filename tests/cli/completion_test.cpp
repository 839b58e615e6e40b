#include <gmock/gmock.h>

#include <sstream>

#include "cli/installation.h"

namespace mirel {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Completion : public Installation {
 protected:
  void SetUp() override {
    if (!has("bash")) GTEST_SKIP() << "bash is not installed";
  }

  static std::string script() { return installed("share/bash-completion/completions/mirel"); }

  /// What bash offers for the last of these words. Its own "compopt", which works while somebody
  /// types only, says what it is told instead.
  static std::vector<std::string> offered(const std::string& words) {
    const ProgramResult result = shell("source " + script() +
                                           "\ncompopt() { echo \"compopt $*\"; }\n"
                                           "COMP_WORDS=(" +
                                           words +
                                           ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                           "set -u\n_mirel\n"
                                           "((${#COMPREPLY[@]})) && printf '%s\\n' "
                                           "\"${COMPREPLY[@]}\"\ntrue",
                                       program("bash"));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    std::vector<std::string> lines;
    std::istringstream is(result.out);
    for (std::string line; std::getline(is, line);) lines.push_back(line);
    return lines;
  }

  static constexpr const char* noFiles = "compopt +o default";
};

TEST_F(Completion, BashOffersTheCommands) {
  std::vector<std::string> expected = commands();
  expected.insert(expected.begin(), noFiles);
  EXPECT_THAT(offered("mirel ''"), testing::UnorderedElementsAreArray(expected));
  EXPECT_THAT(offered("mirel corr"), ElementsAre(noFiles, "correct"));
  EXPECT_THAT(offered("mirel --plugin x.so comp"), ElementsAre(noFiles, "compare"));
}

TEST_F(Completion, BashOffersEveryOptionOfEveryCommand) {
  for (const std::string& option : optionsOf("")) EXPECT_THAT(offered("mirel -"), Contains(option));
  for (const std::string& command : commands()) {
    const std::vector<std::string> found = offered("mirel " + command + " -");
    for (const std::string& option : optionsOf(command))
      EXPECT_THAT(found, Contains(option)) << command;
    EXPECT_EQ(found.size(), optionsOf(command).size() + 1) << command;
  }
  EXPECT_THAT(offered("mirel correct a.nii b.nii --read"),
              ElementsAre(noFiles, "--readout", "--readout-b"));
}

TEST_F(Completion, BashOffersTheWordsThatAnOptionTakes) {
  EXPECT_THAT(offered("mirel correct --pe-a ''"),
              ElementsAre(noFiles, "i", "i-", "j", "j-", "k", "k-"));
  EXPECT_THAT(offered("mirel correct --estimator s"), ElementsAre(noFiles, "search"));
  // As bash cuts "--pe-a=j".
  EXPECT_THAT(offered("mirel correct --pe-a = j"), ElementsAre(noFiles, "j", "j-"));
  EXPECT_THAT(offered("mirel correct --pe-a ="),
              ElementsAre(noFiles, "i", "i-", "j", "j-", "k", "k-"));
}

TEST_F(Completion, BashOffersNothingForNumbersAndLeavesFilesToItself) {
  EXPECT_THAT(offered("mirel correct --threads ''"), ElementsAre(noFiles));
  EXPECT_THAT(offered("mirel correct -o ''"), IsEmpty());
  EXPECT_THAT(offered("mirel correct one.nii ''"), IsEmpty());
  EXPECT_THAT(offered("mirel --plugin ''"), IsEmpty());
  EXPECT_THAT(shell("source " + script() + "\ncomplete -p mirel", program("bash")).out,
              HasSubstr("-o default"));
}

TEST_F(Completion, ZshOffersCommandsOptionsAndWords) {
  if (!has("zsh")) GTEST_SKIP() << "zsh is not installed";
  // A shell in a terminal of its own, into which somebody types; each answer is read until what is
  // expected is there.
  const TemporaryFolder folder;
  folder.write("type.zsh",
               "zmodload zsh/zpty\nzpty z zsh -f -i\n"
               "answer() { zpty -w -n z $1; zpty -r -m z shown \"*$2*\"; print -r -- $shown }\n"
               "answer $'PS1=; stty cols 200 rows 100; fpath=(" +
                   installed("share/zsh/site-functions") +
                   " $fpath); autoload -Uz compinit; compinit -u -D; print REA\\\\DY\\n' READY\n"
                   "answer $'mirel corr\\t--pe-a \\t\\t' 'i   i-  j   j-  k   k-'\n"
                   "answer $'\\x15mirel compare --\\t' '--volume-b *-- Volume of B'\n");
  const ProgramResult answers = shell("timeout 60 zsh -f " + folder.file("type.zsh"));
  EXPECT_EQ(answers.status, 0) << "after 60 s there is no more than " << answers.out;
  for (const std::string& option : optionsOf("compare"))
    if (option.starts_with("--")) {
      EXPECT_THAT(answers.out, testing::ContainsRegex(option + " +-- "));
    }
}

}  // namespace

}  // namespace mirel
