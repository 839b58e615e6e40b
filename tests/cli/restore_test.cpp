#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

// Two diffusion series of opposite directions, joined by "mirel correct --restore" as a user does.

namespace {

using niftifiles::readBytes;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct Table {
  std::string bval, bvec;
};

class Restore : public CorrectPair {
 protected:
  /// Volumes that are the pair's image times a factor each, with the pair's sidecar.
  std::string writeSeries(const std::string& name, const std::string& image,
                          const std::vector<float>& factors, const Table& table) const {
    nifti::Reader reader(image);
    nifti::Header header = reader.header();
    header.volumes = static_cast<int>(factors.size());
    nifti::Writer writer(file(name + ".nii.gz"), header);
    for (const float factor : factors) writer.write(reader.readVolume(0) * factor);
    writer.finish();
    const std::string stem = image.substr(0, image.size() - 7);
    std::filesystem::copy_file(stem + ".json", file(name + ".json"));
    std::ofstream(file(name + ".bval")) << table.bval << "\n";
    std::ofstream(file(name + ".bvec")) << table.bvec;
    return file(name + ".nii.gz");
  }
  void SetUp() override {
    first = writeSeries("sub-1_dir-AP_dwi", ap(), {1, 0.5f, 0.4f, 0.9f},
                        {"0 1000 1000 0", "0 1 0 0\n0 0 0.6 0\n0 0 0.8 0\n"});
    second = writeSeries("sub-1_dir-PA_dwi", pa(), {0.4f, 1, 0.3f, 0.5f},
                         {"1005 0 2000 995", "0 0 0 -1\n-0.6 0 1 0\n-0.8 0 0 0\n"});
  }
  ProgramResult restore(std::vector<std::string> options = {},
                        const std::string& where = "out") const {
    options.insert(options.end(),
                   {"--restore", "--apply", first, "--apply", second, "--quiet", "--no-viewer"});
    return correct(options, where);
  }
  Volume<float> volume(const std::string& name, int t) const {
    return nifti::Reader(out(name)).readVolume(t);
  }
  std::string first, second;
};

}  // namespace

TEST_F(Restore, JoinsWhatMatchesAndCorrectsTheRestAlone) {
  const ProgramResult result = restore();
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, AllOf(HasSubstr("sub-1_desc-restored_dwi.nii.gz"),
                                HasSubstr("sub-1_dir-AP_desc-preprocUnmatched_dwi.nii.gz"),
                                HasSubstr("sub-1_dir-PA_desc-preprocUnmatched_dwi.bvec")));
  EXPECT_THAT(result.err, AllOf(HasSubstr("volume 3 of"), HasSubstr("volume 2 of"),
                                HasSubstr("has no partner of the same gradient")));
  EXPECT_THAT(namesInOut(), Not(Contains("sub-1_dir-AP_desc-preproc_dwi.nii.gz")));
  EXPECT_EQ(textOf(out("sub-1_desc-restored_dwi.bval")), "0 997.5 1002.5\n");
  EXPECT_EQ(textOf(out("sub-1_desc-restored_dwi.bvec")), "0 1 0\n0 0 0.6\n0 0 0.8\n");
  EXPECT_EQ(textOf(out("sub-1_dir-PA_desc-preprocUnmatched_dwi.bval")), "2000\n");
  EXPECT_EQ(textOf(out("sub-1_dir-PA_desc-preprocUnmatched_dwi.bvec")), "0\n1\n0\n");
  EXPECT_EQ(nifti::Reader(out("sub-1_desc-restored_dwi.nii.gz")).header().volumes, 3);
  EXPECT_EQ(nifti::Reader(out("sub-1_dir-AP_desc-preprocUnmatched_dwi.nii.gz")).header().volumes,
            1);
}

TEST_F(Restore, IsCloserToTheTruthThanTheMeanOfBoth) {
  ASSERT_EQ(restore({"--float"}).status, 0);
  const Volume<float> truth = imageIn(input("sub-phantom_desc-undistorted_epi.nii.gz"));
  const Volume<float> mean = imageIn(out("sub-phantom_desc-preproc_magnitude.nii.gz"));
  const double ofMean = rmsInBrain(mean, truth);
  EXPECT_LT(rmsInBrain(volume("sub-1_desc-restored_dwi.nii.gz", 0), truth), ofMean);
  for (const auto& [t, factor] : {std::pair{1, 0.5f}, {2, 0.4f}})
    EXPECT_LT(rmsInBrain(volume("sub-1_desc-restored_dwi.nii.gz", t) / factor, truth), ofMean) << t;
}

// The field stays where the pair has its head.
TEST_F(Restore, DoubtsAHeadThatMovedSinceThePair) {
  EXPECT_THAT(restore({}, "still").err, Not(HasSubstr("the head moved")));
  for (const std::string& series : {first, second}) {
    nifti::Reader reader(series);
    const nifti::Header header = reader.header();
    std::vector<Volume<float>> volumes;
    for (int t = 0; t < header.volumes; ++t) volumes.push_back(reader.readVolume(t));
    nifti::Writer writer(series, header);
    for (Volume<float>& volume : volumes) {
      std::move_backward(volume.data(), volume.data() + volume.size() - 2,
                         volume.data() + volume.size());  // two voxels along x
      writer.write(volume);
    }
    writer.finish();
  }
  EXPECT_THAT(restore({}, "moved").err,
              AllOf(HasSubstr("the head moved by "), HasSubstr(" mm between "),
                    HasSubstr("joining does not carry the field along")));
  EXPECT_THAT(restore({"--no-align"}, "unasked").err, Not(HasSubstr("the head moved")));
}

TEST_F(Restore, GivesEqualBytesInAnyNumberOfThreads) {
  ASSERT_EQ(restore({"--threads", "1"}, "one").status, 0);
  ASSERT_EQ(restore({"--threads", "3"}, "three").status, 0);
  for (const char* name : {"sub-1_desc-restored_dwi.nii.gz", "sub-1_desc-restored_dwi.json",
                           "sub-1_dir-AP_desc-preprocUnmatched_dwi.nii.gz"})
    EXPECT_EQ(readBytes(file("one/" + std::string(name))),
              readBytes(file("three/" + std::string(name))))
        << name;
}

TEST_F(Restore, SaysInItsRecordWhatWasJoined) {
  ASSERT_EQ(restore().status, 0);
  const auto json = nlohmann::json::parse(textOf(out("sub-1_desc-restored_dwi.json")));
  ASSERT_EQ(json["Sources"].size(), 4U);
  EXPECT_THAT(json["Sources"][0].get<std::string>(), HasSubstr("sub-1_dir-AP_dwi.nii.gz"));
  EXPECT_THAT(json["Sources"][1].get<std::string>(), HasSubstr("sub-1_dir-PA_dwi.nii.gz"));
  EXPECT_FALSE(json.contains("PhaseEncodingDirection"));
  const auto& mirel = json["Mirel"];
  EXPECT_THAT(mirel["Series"]["Volumes"], ElementsAre(0, 1, 2));
  EXPECT_THAT(mirel["Partner"]["Volumes"], ElementsAre(1, 3, 0));
  EXPECT_EQ(mirel["Partner"]["SHA256"].get<std::string>().size(), 64U);
  EXPECT_EQ(mirel["Series"]["SignCheck"]["Verdict"], "right");
  EXPECT_EQ(mirel["Partner"]["SignCheck"]["Verdict"], "right");
  ASSERT_EQ(mirel["Joining"]["Residuals"].size(), 3U);
  EXPECT_LT(mirel["Joining"]["Residuals"][0].get<double>(), 2);
  EXPECT_EQ(mirel["Joining"]["ContradictedVoxels"].size(), 3U);
}

TEST_F(Restore, ReplacesResultsOfTheSameSeriesOnly) {
  ASSERT_EQ(restore().status, 0);
  EXPECT_EQ(restore().status, 0);
  std::filesystem::create_directory(file("other"));
  for (const char* end : {".nii.gz", ".json", ".bval", ".bvec"})
    std::filesystem::copy_file(file("sub-1_dir-AP_dwi") + end,
                               file("other/sub-1_dir-AP_dwi") + end);
  first = file("other/sub-1_dir-AP_dwi.nii.gz");
  nifti::Writer writer(first, nifti::Reader(second).header());
  for (int t = 0; t < 4; ++t) writer.write(imageIn(ap()));
  writer.finish();
  const ProgramResult refused = restore();
  EXPECT_NE(refused.status, 0);
  EXPECT_THAT(refused.err, HasSubstr("was made of other images"));
}

TEST_F(Restore, DoubtsVolumesThatShowDifferentThings) {
  nifti::Reader reader(ap());
  Volume<float> moved = reader.readVolume(0), still = moved;
  for (int n = 0; n + 3 < moved.size(); ++n) moved.data()[n] = still.data()[n + 3];
  nifti::Header header = reader.header();
  header.volumes = 4;
  nifti::Writer writer(first, header);
  for (const int t : {0, 1, 2, 3}) writer.write(t == 3 ? moved : still);
  writer.finish();
  std::ofstream(file("sub-1_dir-AP_dwi.bval")) << "0 0 0 0\n";
  std::ofstream(file("sub-1_dir-PA_dwi.bval")) << "0 0 0 0\n";
  nifti::Writer other(second, header);
  for (int t = 0; t < 4; ++t) other.write(imageIn(pa()));
  other.finish();
  const ProgramResult result = restore();
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("in volume 3 of sub-1_desc-restored_dwi"));
}

TEST_F(Restore, RefusesWhatCannotBeJoined) {
  const auto refusal = [&](const std::vector<std::string>& options) {
    const ProgramResult result = correct(options);
    EXPECT_NE(result.status, 0);
    EXPECT_FALSE(std::filesystem::exists(out()));
    return result.err;
  };
  EXPECT_THAT(refusal({"--restore", "--apply", first}),
              HasSubstr("--restore requires two diffusion series"));
  EXPECT_THAT(refusal({"--restore", "--apply", first, "--apply", pa()}),
              HasSubstr("of those given 1 has both"));
  EXPECT_THAT(refusal({"--restore", "--no-modulate", "--apply", first, "--apply", second}),
              HasSubstr("--no-modulate"));
  EXPECT_THAT(refusal({"--restore", "--fast", "--apply", first, "--apply", second}),
              HasSubstr("--modulate"));
  EXPECT_THAT(refusal({"--restore", "--apply-pe", "j", "--apply", first, "--apply", second}),
              HasSubstr("do not have opposite phase-encoding directions"));
  std::ofstream(file("sub-1_dir-PA_dwi.bval")) << "3000 3000 3000 3000\n";
  EXPECT_THAT(refusal({"--restore", "--apply", first, "--apply", second}),
              HasSubstr("there is nothing to join"));
  std::ofstream(file("sub-1_dir-PA_dwi.bval")) << "0 1000 1000 0\n";
  auto sidecar = nlohmann::json::parse(textOf(file("sub-1_dir-PA_dwi.json")));
  const auto ofFirst = nlohmann::json::parse(textOf(file("sub-1_dir-AP_dwi.json")));
  sidecar["EchoTime"] = 2 * ofFirst.value("EchoTime", 0.03);
  std::ofstream(file("sub-1_dir-PA_dwi.json")) << sidecar.dump();
  EXPECT_THAT(refusal({"--restore", "--apply", first, "--apply", second}), HasSubstr("echo time"));
  nifti::Header header = nifti::Reader(second).header();
  header.setAffine(glm::dmat4(1.0), 1);
  nifti::Writer writer(second, header);
  for (int t = 0; t < 4; ++t) writer.write(imageIn(pa()));
  writer.finish();
  EXPECT_THAT(refusal({"--restore", "--apply", first, "--apply", second}),
              HasSubstr("lie at different places"));
}

TEST_F(Restore, WritesAWarpForEachOfBothSeries) {
  ASSERT_EQ(restore({"--warp"}).status, 0);
  for (const char* direction : {"AP", "PA"})
    for (const char* end : {".nii.gz", ".json"})
      EXPECT_TRUE(std::filesystem::exists(out("sub-1_dir-" + std::string(direction) +
                                              "_from-orig_to-undistorted_mode-image_xfm" + end)))
          << direction;
}

}  // namespace mirel
