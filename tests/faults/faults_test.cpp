// Faults of the system at any call of whole runs: the outputs are all old or all new, the inputs
// are what they were, and the user gets a sentence.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>

#include "cli/program.h"
#include "faults/snapshot.h"
#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
namespace fs = std::filesystem;

/// A command that works in a folder of its own, on inputs that all share.
struct Command {
  const char* name;
  std::vector<std::string> arguments;  ///< "IN/" and "OUT/" stand for the folders
  /// Makes older results, other than those of the command.
  std::vector<std::string> earlier;
  /// Works beside its inputs, of which OUT/ holds copies.
  bool besideInputs = false;
  /// Replaces its files one by one, each whole, rather than all in one step.
  bool fileByFile = false;
};

void PrintTo(const Command& command, std::ostream* os) { *os << command.name; }

const Command commands[] = {
    {"correct",
     {"correct", "IN/sub-phantom_dir-AP_epi.nii.gz", "IN/sub-phantom_dir-PA_epi.nii.gz", "--apply",
      "IN/sub-phantom_task-rest_dir-AP_bold.nii.gz", "-o", "OUT/"},
     {"correct", "IN/sub-phantom_dir-AP_epi.nii.gz", "IN/sub-phantom_dir-PA_epi.nii.gz",
      "--estimator", "search", "--fast", "--apply", "IN/sub-phantom_task-rest_dir-AP_bold.nii.gz",
      "-o", "OUT/"}},
    {"apply",
     {"apply", "--field", "IN/sub-phantom_desc-truth_fieldmap.nii.gz",
      "IN/sub-phantom_task-rest_dir-AP_bold.nii.gz", "-o", "OUT/"},
     {"apply", "--field", "IN/sub-phantom_desc-truth_fieldmap.nii.gz", "--float",
      "IN/sub-phantom_task-rest_dir-AP_bold.nii.gz", "-o", "OUT/"}},
    {"convert", {"convert", "IN/sub-phantom_task-rest_dir-AP_bold.nii.gz", "OUT/bold.fmr"}, {}},
    {"convertBack",
     {"convert", "IN/run.dmr", "OUT/x.nii"},
     {"convert", "IN/other.dmr", "OUT/x.nii"}},
    {"picture",
     {"picture", "IN/sub-phantom_dir-AP_epi.nii.gz", "-o", "OUT/a.png"},
     {"picture", "IN/sub-phantom_dir-PA_epi.nii.gz", "-o", "OUT/a.png"}},
    {"field",
     {"field", "--from-fieldmap", "IN/sub-phantom_desc-truth_fieldmap.nii.gz", "--magnitude",
      "IN/sub-phantom_dir-AP_epi.nii.gz", "-o", "OUT/f.nii.gz"},
     {"field", "--from-fieldmap", "IN/sub-phantom_desc-truth_fieldmap.nii.gz", "--magnitude",
      "IN/sub-phantom_dir-PA_epi.nii.gz", "-o", "OUT/f.nii.gz"}},
    {"phantom",
     {"phantom", "OUT/", "--size", "12", "14", "8", "--volumes", "2"},
     {"phantom", "OUT/", "--size", "12", "14", "8", "--volumes", "3", "--seed", "2"}},
    {"estimate",
     {"estimate", "OUT/sub-phantom_dir-AP_epi.fmr", "OUT/sub-phantom_dir-PA_epi.fmr"},
     {"estimate", "OUT/sub-phantom_dir-AP_epi.fmr", "OUT/sub-phantom_dir-PA_epi.fmr", "--fast"},
     true},
    {"applyToProject",
     {"apply", "--vdm", "IN/sub-phantom_dir-AP_epi_vdm.map", "OUT/run.dmr"},
     {"apply", "--vdm", "IN/sub-phantom_dir-PA_epi_vdm.map", "OUT/run.dmr"},
     true,
     true},
};

class Faults : public testing::TestWithParam<Command> {
 protected:
  static void SetUpTestSuite() {
    inputs = std::make_unique<TemporaryFolder>();
    const ProgramResult made =
        runMirel({"phantom", inputs->file("in"), "--size", "16", "18", "10", "--volumes", "2"});
    ASSERT_EQ(made.status, 0) << made.err;
    makeProject("run", "1 0\n0 1\n0 0\n", "700 800\n");
    makeProject("other", "0 0\n0 1\n1 0\n", "900 1000\n");
    const ProgramResult maps = runMirel({"estimate", inputs->file("in/sub-phantom_dir-AP_epi.fmr"),
                                         inputs->file("in/sub-phantom_dir-PA_epi.fmr"), "--fast"});
    ASSERT_EQ(maps.status, 0) << maps.err;
  }
  /// A diffusion project of the series, with a gradient table.
  static void makeProject(const std::string& name, const std::string& directions,
                          const std::string& bValues) {
    const std::string bvec = inputs->file(name + ".bvec"), bval = inputs->file(name + ".bval");
    std::ofstream(bvec) << directions;
    std::ofstream(bval) << bValues;
    const ProgramResult made =
        runMirel({"convert", inputs->file("in/sub-phantom_task-rest_dir-AP_bold.nii.gz"),
                  inputs->file("in/" + name + ".dmr"), "--bvec", bvec, "--bval", bval});
    ASSERT_EQ(made.status, 0) << made.err;
  }
  static void TearDownTestSuite() { inputs.reset(); }

  void SetUp() override {
    fs::create_directory(folder.file("out"));
    if (GetParam().besideInputs)
      for (const char* name : {"sub-phantom_dir-AP_epi", "sub-phantom_dir-PA_epi", "run"})
        for (const char* extension : {".fmr", ".dmr", ".stc", ".dwi"})
          if (fs::exists(inputs->file(std::string("in/") + name + extension)))
            fs::copy(inputs->file(std::string("in/") + name + extension), folder.file("out"));
    if (!GetParam().earlier.empty()) {
      const ProgramResult made = run(GetParam().earlier, {});
      ASSERT_EQ(made.status, 0) << made.err;
    }
    fs::copy(folder.file("out"), folder.file("old"), fs::copy_options::recursive);
    old = snapshotOf(folder.file("old"));
    before = snapshotOf(inputs->file("in"));
    const ProgramResult whole =
        run(GetParam().arguments, {"MIREL_FAULT_COUNT=" + folder.file("counts")});
    ASSERT_EQ(whole.status, 0) << whole.err;
    fresh = snapshotOf(folder.file("out"));
    std::istringstream is(textOf(folder.file("counts")));
    std::string kind;
    for (long count = 0; is >> kind >> count;) counts[kind] = count;
    ASSERT_GT(counts["open"], 0) << "nothing was counted: is the library preloaded?";
  }

  ProgramResult run(std::vector<std::string> arguments,
                    std::vector<std::string> environment) const {
    for (std::string& word : arguments) {
      if (word.starts_with("IN/")) word = inputs->file("in/") + word.substr(3);
      if (word.starts_with("OUT/")) word = folder.file("out/") + word.substr(4);
    }
    environment.emplace_back("LD_PRELOAD=" MIREL_FAILING_CALLS);
    return runMirel(arguments, environment);
  }

  /// The command with one fault, in a folder with the older results.
  ProgramResult runWith(const std::string& kind, long when, const std::string& error) const {
    fs::remove_all(folder.file("out"));
    fs::copy(folder.file("old"), folder.file("out"), fs::copy_options::recursive);
    return run(GetParam().arguments,
               {"MIREL_FAULT=" + kind + ":" + std::to_string(when) + ":" + error});
  }

  /// Numbers of calls to try: all where they are few, else spread over the run, the last included.
  std::vector<long> calls(const std::string& kind, long most) const {
    const long count = counts.at(kind);
    std::vector<long> result;
    for (long n = 0; n < std::min(count, most); ++n)
      result.push_back(count <= most ? n + 1 : 1 + n * (count - 1) / (most - 1));
    return result;
  }

  // No file is half of one.
  void expectWholeFiles(const Snapshot& now) const {
    for (const auto& [name, content] : now) {
      if (name.starts_with(".")) continue;
      EXPECT_TRUE((old.contains(name) && content == old.at(name)) ||
                  (fresh.contains(name) && content == fresh.at(name)))
          << name;
    }
  }

  void expectAllOrNothing(const ProgramResult& result) const {
    const Snapshot now = snapshotOf(folder.file("out"));
    EXPECT_LT(result.status, 1000) << "ended by a signal";
    if (result.status == 0) {
      EXPECT_TRUE(now == fresh) << namesOf(now);
    } else {
      if (GetParam().fileByFile)
        expectWholeFiles(now);
      else
        EXPECT_TRUE(now == old || now == fresh) << namesOf(now);
      EXPECT_NE(result.err.find("rror"), std::string::npos) << result.err;
    }
    EXPECT_TRUE(snapshotOf(inputs->file("in")) == before) << "an input has changed";
  }

  static std::unique_ptr<TemporaryFolder> inputs;
  TemporaryFolder folder;
  Snapshot old, fresh, before;
  std::map<std::string, long> counts;
};

std::unique_ptr<TemporaryFolder> Faults::inputs;

/// How many calls of a kind to try; all with MIREL_FAULT_SWEEP=all.
long thoroughness(const std::string& kind) {
  const char* sweep = std::getenv("MIREL_FAULT_SWEEP");
  if (sweep != nullptr && std::string(sweep) == "all") return 100000;
  return kind == "rename" ? 16 : kind == "alloc" ? 12 : 6;
}

TEST_P(Faults, OfOneCallLeaveAllOrNothing) {
  const std::pair<const char*, int> faults[] = {
      {"open", EACCES},  {"read", EIO},  {"write", ENOSPC}, {"close", EIO},
      {"rename", EPERM}, {"fsync", EIO}, {"mkdir", EACCES}};
  for (const auto& [kind, error] : faults)
    for (const long call : calls(kind, thoroughness(kind))) {
      SCOPED_TRACE(kind + (" " + std::to_string(call)));
      expectAllOrNothing(runWith(kind, call, std::to_string(error)));
    }
}

TEST_P(Faults, OfADiskThatStaysFullLeaveAllOrNothing) {
  for (const long call : calls("write", thoroughness("write"))) {
    SCOPED_TRACE(call);
    expectAllOrNothing(runWith("write", call, std::to_string(ENOSPC) + "+"));
  }
}

TEST_P(Faults, OfMemoryLeaveAllOrNothing) {
  for (const long call : calls("alloc", thoroughness("alloc"))) {
    if (call == 1) continue;  // before main, where nobody can catch it (of the C++ library)
    SCOPED_TRACE(call);
    expectAllOrNothing(runWith("alloc", call, std::to_string(ENOMEM)));
  }
}

TEST_P(Faults, AKillIsMendedByTheNextRun) {
  for (const char* kind : {"rename", "write"})
    for (const long call : calls(kind, thoroughness(kind))) {
      SCOPED_TRACE(kind + (" " + std::to_string(call)));
      const ProgramResult killed = runWith(kind, call, "kill");
      EXPECT_EQ(killed.status, 1009);
      expectWholeFiles(snapshotOf(folder.file("out")));
      const ProgramResult next = run(GetParam().arguments, {});
      EXPECT_EQ(next.status, 0) << next.err;
      const Snapshot now = snapshotOf(folder.file("out"));
      EXPECT_TRUE(now == fresh) << namesOf(now);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Faults, testing::ValuesIn(commands),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
