#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "phantom/phantom.h"
#include "support/niftifiles.h"

// mirel correct --volumes: several volumes of each direction joined to one image.

namespace mirel {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class CorrectVolumes : public CorrectPair {
 protected:
  /// Volumes of a direction with noise of their own beside its sidecar.
  std::string several(const std::string& direction, int count) const {
    const std::string source = direction == "AP" ? ap() : pa();
    const std::string name = "sub-phantom_dir-" + direction + "_epi";
    nifti::Header header = nifti::Reader(source).header();
    header.volumes = count;
    nifti::Writer writer(file(name + ".nii.gz"), header);
    for (int n = 0; n < count; ++n) writer.write(noisy(imageIn(source), n));
    writer.finish();
    std::filesystem::copy(input(name + ".json"), file(name + ".json"),
                          std::filesystem::copy_options::overwrite_existing);
    return file(name + ".nii.gz");
  }
  virtual Volume<float> noisy(const Volume<float>& image, int n) const {
    return addRicianNoise(image, 100, 3, static_cast<std::uint64_t>(n));
  }
  ProgramResult run(const std::string& a, const std::string& b,
                    const std::vector<std::string>& options,
                    const std::string& outputFolder = "out") const {
    std::vector<std::string> words = {"correct", a, b, "--no-report"};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), {"-o", file(outputFolder)});
    return runMirel(words);
  }
  /// What the noise that was added does to the field: the rest of the error is that of this grid.
  double errorIn(const std::string& folderName) const {
    const std::string field = "/sub-phantom_desc-preproc_fieldmap.nii.gz";
    if (!std::filesystem::exists(file("quiet"))) correct({"--no-report"}, "quiet");
    return rmsInBrain(imageIn(file(folderName + field)), imageIn(file("quiet" + field)));
  }
  static json recordIn(const std::string& sidecar) {
    return json::parse(std::ifstream(sidecar))["Mirel"];
  }
  void expectRefused(const ProgramResult& result, const std::string& sentence) const {
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(sentence));
    EXPECT_FALSE(std::filesystem::exists(out()));
  }
};

TEST_F(CorrectVolumes, OfAStillHeadGiveTheMeanAndABetterField) {
  const std::string a = several("AP", 4), b = several("PA", 4);
  const ProgramResult joinedRun = run(a, b, {"--volumes", "all", "--quiet"});
  ASSERT_EQ(joinedRun.status, 0) << joinedRun.err;
  const std::string field = "sub-phantom_desc-preproc_fieldmap.nii.gz";
  ASSERT_EQ(run(a, b, {"--mean", "4"}, "mean").status, 0);
  EXPECT_TRUE(imageIn(out(field)) == imageIn(file("mean/" + field)));
  EXPECT_EQ(joinedRun.err, "");
  ASSERT_EQ(run(a, b, {}, "one").status, 0);
  EXPECT_LT(errorIn("out"), 0.9 * errorIn("one"));
  const json input = recordIn(out("sub-phantom_desc-preproc_fieldmap.json"))["Inputs"][0];
  EXPECT_THAT(input["JoinedVolumes"], ElementsAre(0, 1, 2, 3));
  EXPECT_EQ(input["Joined"][3]["Outcome"], "counted");
  EXPECT_FALSE(input.contains("Volume"));
  // The results are those of these volumes: others do not replace them.
  EXPECT_EQ(run(a, b, {"--volumes", "0-3"}).status, 0);
  EXPECT_THAT(run(a, b, {"--volumes", "0-2"}).err,
              HasSubstr("was made of other images or volumes"));
}

class CorrectSpoiltVolumes : public CorrectVolumes {
 protected:
  Volume<float> noisy(const Volume<float>& image, int n) const override {
    Volume<float> volume = CorrectVolumes::noisy(image, n);
    if (n != 2 || spoilt) return volume;
    spoilt = true;  // of the first image alone
    for (int z = 10; z < 14; ++z)
      for (int y = 0; y < volume.ny(); ++y)
        for (int x = 0; x < volume.nx(); ++x) volume.at(x, y, z) *= 0.4F;
    return volume;
  }

 private:
  mutable bool spoilt = false;
};

TEST_F(CorrectSpoiltVolumes, CostLittleAndAreNamed) {
  const std::string a = several("AP", 4), b = several("PA", 4);
  const ProgramResult result = run(a, b, {"--volumes", "all"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err,
              HasSubstr("Warning: slices 10 to 13 (counted from 0) of volume 2 of " + a));
  ASSERT_EQ(run(a, b, {"--volumes", "0,1,3"}, "good").status, 0);
  ASSERT_EQ(run(a, b, {"--mean", "4"}, "mean").status, 0);
  EXPECT_LT(errorIn("out"), 1.05 * errorIn("good"));
  EXPECT_LT(errorIn("out"), 0.95 * errorIn("mean"));
}

TEST_F(CorrectVolumes, AreChosenByTheirBValues) {
  const std::string a = several("AP", 3), b = several("PA", 3);
  niftifiles::writeText(file("sub-phantom_dir-AP_epi.bval"), "0 1000 0\n");
  niftifiles::writeText(file("sub-phantom_dir-PA_epi.bval"), "1000 5 1000\n");
  const ProgramResult result = run(a, b, {"--volumes", "b0", "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const json summary = json::parse(result.out);
  ASSERT_EQ(summary["a"]["joined"].size(), 2U);
  EXPECT_EQ(summary["a"]["joined"][1]["volume"], 2);
  ASSERT_EQ(summary["b"]["joined"].size(), 1U);
  EXPECT_THAT(result.err, Not(HasSubstr("diffusion-weighted")));
}

TEST_F(CorrectVolumes, AreRefusedWhereTheyCannotBeJoined) {
  const std::string a = several("AP", 3), b = several("PA", 3);
  expectRefused(run(a, b, {"--volumes", "1-3"}), "AP_epi.nii.gz has 3 volumes, counted from 0");
  expectRefused(run(a, b, {"--volumes", "b0"}), "AP_epi.nii.gz has no .bval file beside it");
  niftifiles::writeText(file("sub-phantom_dir-PA_epi.bval"), "0 1000 1000\n");
  expectRefused(run(a, b, {"--volumes", "all"}), "PA_epi.nii.gz has diffusion weighting in 2");
  expectRefused(run(a, a, {"--volumes", "0,1", "--volumes-b", "1,2"}), "both images of the pair");
  EXPECT_EQ(run(a, b, {"--volumes", "b1000"}).status, 2);
  EXPECT_EQ(run(a, b, {"--volumes", "all", "--mean", "2"}).status, 2);
  EXPECT_EQ(run(a, b, {"--volumes-b", "all"}).status, 2);
}

}  // namespace

}  // namespace mirel
