#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "phantom/phantom.h"
#include "support/niftifiles.h"

// mirel correct --more: further images of a session, of the same directions or along another axis.

namespace mirel {

namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::string stem = "sub-phantom_dir-", end = "_epi.nii.gz";
const std::string fieldName = "sub-phantom_desc-preproc_fieldmap.nii.gz";

/// The same head encoded along both axes, and copies of its images with noise of their own.
class CorrectMore : public CorrectPair {
 protected:
  void SetUp() override {
    for (const char* direction : {"i", "j"})
      ASSERT_EQ(runMirel({"phantom", file(direction), "--size", "40", "48", "28", "--voxel", "4.5",
                          "--readout", "0.04", "--max-shift", "1.5", "--volumes", "0", "--noise",
                          "0.03", "--direction", direction})
                    .status,
                0);
    for (const char* direction : {"AP", "PA"}) bring("j/" + stem + direction, direction);
    for (const char* direction : {"RL", "LR"}) bring("i/" + stem + direction, direction);
  }

  /// Copies an image and its sidecar, with more noise and a field of its sidecar changed.
  std::string bring(const std::string& from, const std::string& name, double noise = 0,
                    const std::string& field = {}, const json& value = nullptr) const {
    const std::string to = file(stem + name + end);
    nifti::Reader reader(file(from + end));
    nifti::Writer writer(to, reader.header());
    const std::uint64_t stream = std::hash<std::string>{}(name) % 1000;
    writer.write(addRicianNoise(reader.readVolume(0), noise, 5, stream));
    writer.finish();
    json sidecar = json::parse(std::ifstream(file(from + "_epi.json")));
    sidecar.erase("IntendedFor");
    if (!field.empty()) sidecar[field] = value;
    if (value.is_null() && !field.empty()) sidecar.erase(field);
    std::ofstream(file(stem + name + "_epi.json")) << sidecar.dump();
    return to;
  }
  std::string image(const std::string& name) const { return file(stem + name + end); }
  ProgramResult run(const std::vector<std::string>& options,
                    const std::string& outputFolder = "out") const {
    std::vector<std::string> words = {"correct", image("AP"), image("PA"), "--no-report"};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), {"-o", file(outputFolder)});
    return runMirel(words);
  }
  double errorIn(const std::string& folderName) const {
    return rmsInBrain(imageIn(file(folderName + "/" + fieldName)),
                      imageIn(file("j/sub-phantom_desc-truth_fieldmap.nii.gz")));
  }
  void expectRefused(const std::string& name, const std::string& sentence) const {
    const ProgramResult result = run({"--more", image(name)});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(sentence));
    EXPECT_FALSE(std::filesystem::exists(out()));
  }
};

TEST_F(CorrectMore, JoinsImagesOfADirection) {
  const std::string a = bring("j/" + stem + "AP", "AP2", 30),
                    b = bring("j/" + stem + "AP", "AP3", 30);
  const ProgramResult result =
      run({"--more", a, "--more", b, "--more", bring("j/" + stem + "PA", "PA2", 30), "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const json summary = json::parse(result.out);
  EXPECT_EQ(summary["a"]["joined"].size(), 3U);
  EXPECT_EQ(summary["a"]["joined"][2]["file"], b);
  EXPECT_EQ(summary["b"]["joined"].size(), 2U);
  const json sidecar = json::parse(std::ifstream(out("sub-phantom_desc-preproc_fieldmap.json")));
  EXPECT_EQ(sidecar["Sources"].size(), 5U);
  EXPECT_EQ(sidecar["Mirel"]["Inputs"].size(), 5U);
  // The same images again replace their results, the pair alone does not.
  EXPECT_EQ(run({"--more", a, "--more", b, "--more", image("PA2")}).status, 0);
  EXPECT_THAT(run({}).err, HasSubstr("was made of other images or volumes"));
}

TEST_F(CorrectMore, TakesAnotherAxisIntoAccount) {
  const ProgramResult result = run({"--more", image("RL"), "--more", image("LR"), "--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(json::parse(result.out)["otherAxis"]["used"], true);
  ASSERT_EQ(run({}, "alone").status, 0);
  EXPECT_LT(errorIn("out"), 0.9 * errorIn("alone"));
  const json record =
      json::parse(std::ifstream(out("sub-phantom_desc-preproc_fieldmap.json")))["Mirel"];
  EXPECT_EQ(record["Inputs"].size(), 4U);
  EXPECT_GT(record["OtherAxis"]["Correlation"], 0.9);
}

TEST_F(CorrectMore, RefusesWhatCannotBeTakenTogether) {
  expectRefused("RL", "is encoded along i-, but no image along the opposite direction is given");
  expectRefused("AP", "is given twice");
  bring("j/" + stem + "AP", "other", 0, "TotalReadoutTime", 0.03);
  expectRefused("other", "has a readout time of 0.03 s and");
  bring("j/" + stem + "AP", "silent", 0, "PhaseEncodingDirection", nullptr);
  expectRefused("silent", "has no sidecar that tells its phase-encoding direction");
  EXPECT_EQ(run({"--more", image("RL"), "--datain", image("AP")}).status, 2);
}

}  // namespace

}  // namespace mirel
