#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

// What "mirel correct" does with bad input: one sentence, status 1 and no output.

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class CorrectFaults : public CorrectPair {
 protected:
  void SetUp() override {
    fs::copy(ap(), bad);
    fs::copy(input("sub-phantom_dir-AP_epi.json"), file("bad.json"));
  }
  void write(const std::string& text) const { std::ofstream(bad, std::ios::binary) << text; }
  void writeSidecar(const std::string& text) const { std::ofstream(file("bad.json")) << text; }

  /// Corrects with `bad` for A; the sentence.
  std::string fault(const std::vector<std::string>& options = {}) const {
    std::vector<std::string> words = {"correct", bad, pa(), "--quiet", "-o", out()};
    words.insert(words.end(), options.begin(), options.end());
    return sentenceOf(runMirel(words));
  }
  std::string sentenceOf(const ProgramResult& result) const {
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("Error: "));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_FALSE(fs::exists(out())) << "an output was left";
    return result.err;
  }

  const std::string bad = file("bad.nii.gz");
};

TEST_F(CorrectFaults, ATruncatedGzip) {
  const std::string whole = textOf(bad);
  write(whole.substr(0, whole.size() / 2));
  EXPECT_THAT(fault(), AllOf(HasSubstr("bad.nii.gz"), HasSubstr("truncated")));
}

TEST_F(CorrectFaults, ImpossibleDimensions) {
  niftifiles::Raw raw;
  raw.dim = {3, 32000, 32000, 32000};
  niftifiles::writeBytes(bad, niftifiles::gzipped(niftifiles::bytesOf(raw)));
  EXPECT_THAT(fault(), HasSubstr("bad.nii.gz"));
}

TEST_F(CorrectFaults, NoNiftiAtAllADirectoryAndNothing) {
  write("no image");
  EXPECT_THAT(fault(), HasSubstr("bad.nii.gz"));
  fs::remove(bad);
  EXPECT_THAT(fault(), HasSubstr("bad.nii.gz"));
  fs::create_directory(bad);
  EXPECT_THAT(fault(), HasSubstr("bad.nii.gz"));
}

TEST_F(CorrectFaults, VoxelsThatAreNotNumbers) {
  nifti::Header header = nifti::Reader(ap()).header();
  header.type = nifti::DataType::float32;
  Volume<float> image = imageIn(ap());
  image.data()[5] = std::nanf("");
  nifti::Writer writer(bad, header);
  writer.write(image);
  writer.finish();
  EXPECT_THAT(fault(), AllOf(HasSubstr("bad.nii.gz"), HasSubstr("NaN")));
}

TEST_F(CorrectFaults, VoxelsThatFloatsDoNotHold) {
  const Volume<float> image = imageIn(ap());
  std::vector<double> values(image.data(), image.data() + image.size());
  for (double& value : values) value = 1e300 * (value + 1);
  niftifiles::Raw raw;
  raw.dim = {3, 40, 48, 28};
  raw.datatype = 64;
  raw.sampleBytes = 8;
  const auto expectFault = [&](const char* what) {
    raw.data = niftifiles::samples(values);
    niftifiles::writeBytes(bad, niftifiles::gzipped(niftifiles::bytesOf(raw)));
    EXPECT_THAT(fault(), HasSubstr(what));
  };
  expectFault("has 53760 voxels that are beyond the range of 32-bit floats (3.4e38)");
  values[7] = std::nan("");
  expectFault("has 53760 voxels that are NaN, infinite or beyond the range of 32-bit floats");
}

TEST_F(CorrectFaults, AnImageOfOneSlice) {
  niftifiles::Raw raw;
  raw.dim = {3, 40, 48, 1};
  raw.data = niftifiles::samples(std::vector<std::int16_t>(40 * 48, 7));
  niftifiles::writeBytes(bad, niftifiles::gzipped(niftifiles::bytesOf(raw)));
  EXPECT_THAT(fault(), HasSubstr("40 x 48 x 1"));
}

TEST_F(CorrectFaults, AnotherGrid) {
  ASSERT_EQ(runMirel({"phantom", file("other"), "--size", "24", "28", "20", "--voxel", "8",
                      "--volumes", "0"})
                .status,
            0);
  fs::copy(file("other/sub-phantom_dir-AP_epi.nii.gz"), bad, fs::copy_options::overwrite_existing);
  EXPECT_THAT(fault(), AllOf(HasSubstr("24 x 28 x 20"), HasSubstr("40 x 48 x 28")));
}

TEST_F(CorrectFaults, SidecarsThatAreNotJsonOrLackFields) {
  writeSidecar("{\"PhaseEncodingDirection\": \"j-\",");
  EXPECT_THAT(fault(), HasSubstr("bad.json is not valid JSON"));
  writeSidecar("{}");
  EXPECT_THAT(fault(), HasSubstr("bad.json has no PhaseEncodingDirection"));
  writeSidecar("{\"PhaseEncodingDirection\": \"j\", \"TotalReadoutTime\": 0.04}");
  EXPECT_THAT(fault(), AllOf(HasSubstr("opposite"), HasSubstr("bad.json")));
}

TEST_F(CorrectFaults, TwoSidecarsInOneFolderOfWhichNoneIsMoreSpecific) {
  const std::string image = file("sub-1_acq-x_epi.nii.gz");
  fs::copy(bad, image);
  for (const char* name : {"sub-1_epi.json", "acq-x_epi.json"})
    fs::copy(file("bad.json"), file(name));
  EXPECT_THAT(sentenceOf(runMirel({"correct", image, pa(), "--quiet", "-o", out()})),
              AllOf(HasSubstr(file("acq-x_epi.json") + " and " + file("sub-1_epi.json")),
                    HasSubstr("both describe " + image)));
}

TEST_F(CorrectFaults, ASeriesThatCannotBeCorrected) {
  const std::string series = file("run.nii.gz");
  fs::copy(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"), series);
  std::ofstream(file("run.json")) << "{}";
  EXPECT_THAT(fault({"--apply", series}), HasSubstr("run.json has no PhaseEncodingDirection"));
  fs::remove(file("run.json"));
  const std::string whole = textOf(series);
  std::ofstream(series, std::ios::binary) << whole.substr(0, whole.size() * 9 / 10);
  EXPECT_THAT(fault({"--apply", series}), AllOf(HasSubstr("run.nii.gz"), HasSubstr("truncated")));
}

TEST_F(CorrectFaults, AnOutputFolderThatCannotBeMade) {
  std::ofstream(file("plain")) << "x";
  EXPECT_THAT(sentenceOf(correct({"--quiet"}, "plain")), HasSubstr("is a file, not a folder"));
  EXPECT_THAT(sentenceOf(correct({"--quiet"}, "plain/sub")), HasSubstr("cannot be made"));
}

// Folders of the system's process table take no files, not even the superuser's.
TEST_F(CorrectFaults, AnOutputFolderThatTakesNoFiles) {
  for (const std::string place : {"/proc/self", "/proc/self/sub"}) {
    const ProgramResult result = runMirel({"correct", ap(), pa(), "--quiet", "-o", place});
    EXPECT_THAT(sentenceOf(result), AllOf(HasSubstr("the output folder " + place),
                                          HasSubstr("no permission to write")));
  }
}

TEST_F(CorrectFaults, AnOutputFolderOfSomebodyElse) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser may write to every folder";
  fs::create_directory(file("theirs"));
  fs::permissions(file("theirs"), fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_THAT(sentenceOf(correct({"--quiet"}, "theirs")), HasSubstr("no permission to write"));
  EXPECT_THAT(sentenceOf(correct({"--quiet"}, "theirs/sub")), HasSubstr("no permission to write"));
  fs::permissions(file("theirs"), fs::perms::owner_all);
}

TEST_F(CorrectFaults, ASeriesThatLiesElsewhere) {
  const std::string series = file("run.nii.gz");
  nifti::Reader bold(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"));
  const auto placed = [&](const glm::dmat4& affine) {
    nifti::Header header = bold.header();
    header.volumes = 1;
    header.sform = affine;
    header.sformCode = 1;
    header.qformCode = 0;
    nifti::Writer writer(series, header);
    writer.write(bold.readVolume(0));
    writer.finish();
  };
  glm::dmat4 affine = bold.header().affine();
  affine[3].x += 5000;
  placed(affine);
  EXPECT_THAT(fault({"--apply", series}),
              AllOf(HasSubstr("run.nii.gz"), HasSubstr("have no place in common")));
  affine = bold.header().affine();
  affine[2] = affine[1];
  placed(affine);
  EXPECT_THAT(fault({"--apply", series}),
              HasSubstr("run.nii.gz has an orientation matrix that is singular"));
}

TEST_F(CorrectFaults, ImagesThatTheSeriesTookForItself) {
  const ProgramResult result = runMirel({"correct", "--apply", ap(), ap(), pa(), "-o", out()});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, AllOf(HasSubstr("A is required"),
                                HasSubstr("--apply takes every name that follows it")));
}

TEST_F(CorrectFaults, AnOutputThatWouldOverwriteAnInput) {
  // A series that stands where the corrected A is to go.
  const std::string inTheWay = file("sub-phantom_dir-AP_desc-preproc_epi.nii.gz");
  fs::copy(ap(), inTheWay);
  const std::string before = textOf(inTheWay);
  const ProgramResult result = correct({"--quiet", "--apply", inTheWay}, ".");
  EXPECT_THAT(sentenceOf(result), HasSubstr("would overwrite an input"));
  EXPECT_EQ(textOf(inTheWay), before);
}

TEST_F(CorrectFaults, AFullDisk) {
  const niftifiles::FileSizeLimit limit(20000);
  EXPECT_THAT(fault(), AllOf(HasSubstr(out() + "/"), HasSubstr("cannot be written")));
}

TEST_F(CorrectFaults, OptionsThatMakeNoSense) {
  for (const std::vector<std::string>& options : {std::vector<std::string>{"--volume", "-1"},
                                                  {"--pe-a", "y"},
                                                  {"--readout", "0"},
                                                  {"--readout", "x"},
                                                  {"--threads", "0"},
                                                  {"--estimator", "none"},
                                                  {"--ssd", "--ncc"},
                                                  {"--estimator", "mass-preserving", "--fast"},
                                                  {"--ic", "--no-ic"},
                                                  {"--mean", "0"},
                                                  {"--intensity-scale", "-1"}}) {
    const ProgramResult result = correct(options);
    EXPECT_EQ(result.status, 2) << options[0];
    EXPECT_FALSE(fs::exists(out()));
  }
  EXPECT_EQ(runMirel({"correct", ap(), pa()}).status, 2) << "no output folder";
  EXPECT_THAT(sentenceOf(correct({"--quiet", "--volume", "7"})), HasSubstr("is no volume 7"));
}

// Ctrl-C while the results are being written.
TEST_F(CorrectFaults, AnInterruptLeavesNothing) {
  // A series that takes long enough to be interrupted.
  const std::string longSeries = file("long.nii.gz");
  {
    nifti::Header header = nifti::Reader(ap()).header();
    header.volumes = 400;
    nifti::Writer writer(longSeries, header);
    const Volume<float> volume = imageIn(ap());
    for (int t = 0; t < header.volumes; ++t) writer.write(volume);
    writer.finish();
  }
  const std::vector<std::string> words = {MIREL_PROGRAM, "correct", ap(),      pa(), "--apply",
                                          longSeries,    "--fast",  "--quiet", "-o", out()};
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDERR_FILENO);
    execv(MIREL_PROGRAM, argv.data());
    _exit(127);
  }
  for (int tries = 0; tries < 6000 && !fs::exists(out()); ++tries)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ASSERT_TRUE(fs::exists(out())) << "it never began to write";
  kill(child, SIGINT);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 130);
  EXPECT_FALSE(fs::exists(out()));
}

}  // namespace

}  // namespace mirel
