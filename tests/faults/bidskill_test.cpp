#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "cli/program.h"
#include "faults/snapshot.h"
#include "support/temporaryfolder.h"

namespace mirel {

// A dataset's run that is killed before any of its renames, and the run that follows.

namespace fs = std::filesystem;

namespace {

class BidsKillAtRename : public testing::Test {
 protected:
  void SetUp() override {
    const ProgramResult made =
        runMirel({"phantom", folder.file("raw"), "--bids", "--subjects", "1", "--size", "16", "18",
                  "10", "--voxel", "12", "--volumes", "2"});
    ASSERT_EQ(made.status, 0) << made.err;
  }

  // Pages are moved last and looked for first: without them a set may seem whole that is not.
  ProgramResult run(const std::string& fault = "") const {
    std::vector<std::string> environment;
    if (!fault.empty()) environment = {"LD_PRELOAD=" MIREL_FAILING_CALLS, fault};
    return runMirel({"bids", folder.file("raw"), folder.file("out"), "participant", "--no-reports"},
                    environment);
  }

  /// All results but logs, whose tables tell what this run did.
  Snapshot results() const {
    Snapshot files;
    for (const auto& [name, content] : snapshotOf(folder.file("out")))
      files[name] = name.starts_with("logs/") ? "" : content;
    return files;
  }

  TemporaryFolder folder;
};

}  // namespace

TEST_F(BidsKillAtRename, IsMendedByTheNextRun) {
  ASSERT_EQ(run("MIREL_FAULT_COUNT=" + folder.file("counts")).status, 0);
  const Snapshot expected = results();
  std::istringstream counts(textOf(folder.file("counts")));
  std::string kind;
  long renames = 0;
  for (long count = 0; counts >> kind >> count;)
    if (kind == "rename") renames = count;
  ASSERT_GT(renames, 20);
  for (long call = 1; call <= renames; ++call) {
    SCOPED_TRACE(call);
    fs::remove_all(folder.file("out"));
    EXPECT_EQ(run("MIREL_FAULT=rename:" + std::to_string(call) + ":kill").status, 1009);
    const ProgramResult next = run();
    EXPECT_EQ(next.status, 0) << next.err;
    const Snapshot now = results();
    EXPECT_TRUE(now == expected) << namesOf(now);
  }
}

}  // namespace mirel
