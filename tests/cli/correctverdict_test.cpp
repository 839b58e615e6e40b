#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "support/jsonfile.h"
#include "support/niftifiles.h"

namespace mirel {

// What "mirel correct" says of pairs that belong together, and of such that do not.

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using Change = Volume<float> (*)(const Volume<float>&);

Volume<float> asItIs(const Volume<float>& image) { return image; }

template <int axis>
Volume<float> mirrored(const Volume<float>& image) {
  const glm::ivec3 n = image.dimensions();
  Volume<float> result(n);
  for (int z = 0; z < n.z; ++z)
    for (int y = 0; y < n.y; ++y)
      for (int x = 0; x < n.x; ++x) {
        glm::ivec3 from(x, y, z);
        from[axis] = n[axis] - 1 - from[axis];
        result.at(x, y, z) = image[from];
      }
  return result;
}

// Magnitude of complex noise, as strong as the image.
Volume<float> noise(const Volume<float>& image) {
  std::mt19937 generator(5);
  std::normal_distribution<float> normal(0.0f, image.max() / 4);
  Volume<float> result(image.dimensions());
  for (int i = 0; i < result.size(); ++i)
    result.data()[i] = std::hypot(normal(generator), normal(generator));
  return result;
}

// The image with complex noise of 15 % of its mean intensity, weighted with the intensity.
Volume<float> withNoise(const Volume<float>& image) {
  double sum = 0, squares = 0;
  for (int i = 0; i < image.size(); ++i) {
    const double v = static_cast<double>(image.data()[i]);
    sum += v;
    squares += v * v;
  }
  std::mt19937 generator(static_cast<unsigned>(sum));
  std::normal_distribution<float> normal(0.0f, static_cast<float>(0.15 * squares / sum));
  Volume<float> result = image;
  for (int i = 0; i < result.size(); ++i)
    result.data()[i] = std::hypot(result.data()[i] + normal(generator), normal(generator));
  return result;
}

class CorrectVerdict : public CorrectPair {
 protected:
  /// A changed copy of volume t of an image, with its sidecar, on the grid of `like`.
  std::string changed(const std::string& image, const std::string& name, Change change,
                      const std::string& like, int t = 0) const {
    nifti::Reader reader(image);
    const nifti::Header header = nifti::floatMapLike(nifti::Reader(like).header());
    nifti::Writer writer(file(name + ".nii.gz"), header);
    const Volume<float> result = change(reader.readVolume(t));
    Volume<float> onGrid(header.dims);
    const glm::ivec3 n = header.dims, m = result.dimensions();
    for (int z = 0; z < n.z; ++z)
      for (int y = 0; y < n.y; ++y)
        for (int x = 0; x < n.x; ++x)
          onGrid.at(x, y, z) = result.at(x * m.x / n.x, y * m.y / n.y, z * m.z / n.z);
    writer.write(onGrid);
    writer.finish();
    return file(name + ".nii.gz");
  }
  ProgramResult correctAs(const std::string& a, const std::string& b,
                          const std::vector<std::string>& options) const {
    std::vector<std::string> words = {"correct", a, b, "--overwrite", "--no-report", "-o", out()};
    words.insert(words.end(), options.begin(), options.end());
    return runMirel(words);
  }
  static std::vector<std::string> acquired(const char* axis, const char* readout) {
    return {"--pe-a", std::string(axis) + "-", "--pe-b", axis, "--readout", readout};
  }
  /// Both images changed and corrected, which prints the figures; the summary.
  json verdictOf(const std::string& what, const std::string& a, const std::string& b,
                 std::vector<std::string> options) const {
    options.push_back("--json");
    const ProgramResult result = correctAs(a, b, options);
    EXPECT_EQ(result.status, 0) << result.err;
    const json verdict = json::parse(result.out)["verdict"];
    std::printf("%-34s %-12s totals %.3f residual %.3f of noise %.3f field %5.1f Hz\n",
                what.c_str(), verdict["trust"].get<std::string>().c_str(),
                verdict["columnTotals"].get<double>(), verdict["residual"].get<double>(),
                verdict["residualOfNoise"].get<double>(), verdict["fieldHz"].get<double>());
    return verdict;
  }
};

TEST_F(CorrectVerdict, SaysNothingAgainstAGoodPair) {
  const ProgramResult result = correct({"--strict", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, AllOf(HasSubstr("Verdict: nothing speaks against this result\n"),
                                Not(HasSubstr("Warning"))));
  const json verdict = json::parse(result.out)["verdict"];
  EXPECT_EQ(verdict["trust"], "trusted");
  EXPECT_EQ(verdict["reasons"], json::array());
  const json record = jsonOf(out("sub-phantom_desc-preproc_fieldmap.json"))["Mirel"]["Verdict"];
  EXPECT_EQ(record["Trust"], "trusted");
  EXPECT_EQ(record["Residual"], verdict["residual"]);
  EXPECT_EQ(record["FieldHz"], verdict["fieldHz"]);
}

TEST_F(CorrectVerdict, APairThatDoesNotBelongTogetherIsNotToBeTrusted) {
  const struct {
    const char* what;
    Change change;
  } cases[] = {{"mirrored along y", mirrored<1>}, {"upside down", mirrored<2>}, {"noise", noise}};
  for (const auto& [what, change] : cases) {
    SCOPED_TRACE(what);
    const std::string b = changed(pa(), "sub-phantom_dir-PA_epi", change, pa());
    std::vector<std::string> options = acquired("j", "0.04");
    options.push_back("--quiet");
    const ProgramResult result = correctAs(ap(), b, options);
    EXPECT_EQ(result.status, 0) << "only a warning";
    EXPECT_THAT(result.err, AllOf(HasSubstr("Warning: "), HasSubstr("do not trust this result")));
    options.push_back("--strict");
    const ProgramResult strict = correctAs(ap(), b, options);
    EXPECT_EQ(strict.status, 1);
    EXPECT_EQ(strict.err, result.err);
    EXPECT_THAT(strict.out, HasSubstr("sub-phantom_desc-preproc_fieldmap.nii.gz"))
        << "all the same";
    const json record = jsonOf(out("sub-phantom_desc-preproc_fieldmap.json"))["Mirel"];
    EXPECT_EQ(record["Verdict"]["Trust"], "do not trust");
    EXPECT_EQ(record["Warnings"], record["Verdict"]["Reasons"]);
  }
}

TEST_F(CorrectVerdict, ACopySaysWhatItIs) {
  std::vector<std::string> options = acquired("j", "0.04");
  options.push_back("--strict");
  const ProgramResult copy =
      correctAs(ap(), changed(ap(), "sub-1_dir-PA_epi", asItIs, ap()), options);
  EXPECT_EQ(copy.status, 1);
  EXPECT_THAT(copy.err,
              AllOf(HasSubstr("sub-1_dir-PA_epi.nii.gz shows the same as " + ap()),
                    HasSubstr("it is a copy"), HasSubstr("Verdict: do not trust this result")));
  const std::string bold = input("sub-phantom_task-rest_dir-AP_bold.nii.gz");
  options.insert(options.end(), {"--volume", "0", "--volume-b", "1"});
  const ProgramResult same = correctAs(bold, bold, options);
  EXPECT_EQ(same.status, 0) << "a pair without distortion would be a good one";
  EXPECT_THAT(same.err, AllOf(HasSubstr("seem to have the same phase-encoding direction"),
                              HasSubstr("Verdict: doubtful")));
}

// On 20 x 24 x 14 voxels out of the middle of the brain the quick estimate along j has columns that
// do not converge.
TEST_F(CorrectVerdict, TheAxisIsNotAccusedWhereItCouldNotBeChecked) {
  const auto middleOf = [&](const std::string& image, const std::string& name) {
    nifti::Header header = nifti::floatMapLike(nifti::Reader(image).header());
    Volume<float> middle = imageIn(image);
    header.dims = {20, 24, 14};
    middle.resize(header.dims);
    nifti::Writer writer(file(name), header);
    writer.write(middle);
    writer.finish();
    return file(name);
  };
  std::vector<std::string> options = acquired("j", "0.04");
  options.push_back("--json");
  const ProgramResult result =
      correctAs(middleOf(ap(), "a.nii.gz"), middleOf(pa(), "b.nii.gz"), options);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, Not(HasSubstr("CHECK THE AXIS")));
  const json summary = json::parse(result.out);
  EXPECT_TRUE(summary["pairCorrelation"]["fastAlongAxis"].is_null());
  EXPECT_TRUE(summary["pairCorrelation"]["fastAcross"].is_number());
  EXPECT_THAT(summary["notes"].dump(),
              HasSubstr("runs along j could not be checked: the quick estimate along j failed"));
}

class CorrectVerdictOfRealPairs : public CorrectVerdict {
 protected:
  void SetUp() override {
    data = niftifiles::dataFolder();
    if (data.empty()) GTEST_SKIP() << "no folder with real images (MIREL_TEST_DATA)";
  }
  struct Pair {
    std::string a, b;
    const char *axis, *readout;
  };
  std::vector<Pair> pairs() const {
    const std::string siemens = data + "/siemens_prisma_dwi_bold_fmap/dwi/sub-01_dir-";
    const std::string uih = data + "/uih_umr770_dwi/dwi/sub-01_dir-";
    const std::string sphere = data + "/phantom_prisma_4way/acq-";
    return {{siemens + "AP_b0.nii.gz", siemens + "PA_b0.nii.gz", "j", "0.0475693"},
            {uih + "AP_b0.nii.gz", uih + "PA_b0.nii.gz", "j", "0.021"},
            {sphere + "base_dir-AP_epi.nii.gz", sphere + "base_dir-PA_epi.nii.gz", "j", "0.0525"},
            {sphere + "lr_dir-LR_epi.nii.gz", sphere + "lr_dir-RL_epi.nii.gz", "i", "0.0534"}};
  }
  std::string data;
};

TEST_F(CorrectVerdictOfRealPairs, NoGoodOneIsDoubted) {
  for (const Pair& pair : pairs()) {
    const std::vector<std::string> options = acquired(pair.axis, pair.readout);
    EXPECT_EQ(verdictOf(pair.a.substr(data.size()), pair.a, pair.b, options)["trust"], "trusted");
    const std::string a = changed(pair.a, "noisy_a", withNoise, pair.a);
    const std::string b = changed(pair.b, "noisy_b", withNoise, pair.b);
    EXPECT_EQ(verdictOf("  with noise", a, b, options)["trust"], "trusted");
  }
}

TEST_F(CorrectVerdictOfRealPairs, NoDiffusionVolumesAreDoubted) {
  for (std::size_t n = 0; n < 2; ++n) {
    const Pair pair = pairs()[n];
    std::vector<std::string> options = acquired(pair.axis, pair.readout);
    options.insert(options.end(), {"--volume", "7"});
    std::string a = pair.a, b = pair.b;
    a.replace(a.find("_b0."), 3, "_dwi");
    b.replace(b.find("_b0."), 3, "_dwi");
    EXPECT_EQ(verdictOf("diffusion", a, b, options)["trust"], "trusted");
  }
}

TEST_F(CorrectVerdictOfRealPairs, WhatDoesNotBelongTogetherIsNotTrusted) {
  const std::vector<Pair> all = pairs();
  for (std::size_t n = 0; n < 2; ++n) {
    const Pair& pair = all[n];
    const std::vector<std::string> options = acquired(pair.axis, pair.readout);
    const auto expectUntrusted = [&](const std::string& what, const std::string& b, Change change) {
      EXPECT_EQ(verdictOf(what, pair.a, changed(b, "b", change, pair.a), options)["trust"],
                "do not trust")
          << pair.a << " " << what;
    };
    expectUntrusted("mirrored along y", pair.b, mirrored<1>);
    expectUntrusted("mirrored along x", pair.b, mirrored<0>);
    expectUntrusted("upside down", pair.b, mirrored<2>);
    expectUntrusted("noise", pair.b, noise);
    expectUntrusted("another subject", all[1 - n].b, asItIs);
    expectUntrusted("a copy", pair.a, asItIs);
  }
  EXPECT_EQ(verdictOf("sphere upside down", all[2].a, changed(all[2].b, "b", mirrored<2>, all[2].a),
                      acquired("j", "0.0525"))["trust"],
            "do not trust");
}

}  // namespace

}  // namespace mirel
