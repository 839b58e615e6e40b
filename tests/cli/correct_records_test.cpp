#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "cli/axespair.h"
#include "support/jsonfile.h"

namespace mirel {

// What "mirel correct" and "mirel apply" write down about a result: every record and every file
// that goes along, field by field.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

const json everyField = {{"PhaseEncodingDirection", "j-"},
                         {"TotalReadoutTime", 0.04},
                         {"RepetitionTime", 2.5},
                         {"EchoTime", 0.03},
                         {"FlipAngle", 77},
                         {"SliceTiming", {0.0, 1.5, 0.5}},
                         {"TaskName", "rest"},
                         {"MagneticFieldStrength", 7},
                         {"Manufacturer", "somebody"},
                         {"Modality", "MR"},
                         {"EffectiveEchoSpacing", 0.00129},
                         {"IntendedFor", "another.nii.gz"},
                         {"B0FieldSource", "pepolar"},
                         {"SkullStripped", true},
                         {"Units", "arbitrary"},
                         {"Mirel", {{"Version", "of an earlier run"}}},
                         {"SomethingElse", {1, 2}}};
// What describes the distortion, or the image as a file, is told as what was before.
const char* const outdatedFields[] = {"PhaseEncodingDirection", "TotalReadoutTime",
                                      "EffectiveEchoSpacing",   "IntendedFor",
                                      "B0FieldSource",          "Mirel"};
constexpr const char* directions = "0 0.6\n0 -0.8\n1 0.123456789\n";
constexpr const char* bValues = "0 1000\n";

class Records : public AxesPair {
 protected:
  /// The series along j as run_dwi.nii.gz, with a sidecar of every field and gradient files.
  std::string runWithAll() const {
    fs::copy(bold('j'), file("sub-1_dwi.nii.gz"));
    write("sub-1_dwi.json", everyField.dump());
    write("sub-1_dwi.bvec", directions);
    write("sub-1_dwi.bval", bValues);
    return file("sub-1_dwi.nii.gz");
  }
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name)) << text;
  }

  static void expectKeptFields(const json& sidecar) {
    json before, own = sidecar;
    for (const char* name : {"Description", "Sources", "Mirel", "DistortionCorrection"}) {
      EXPECT_EQ(own.erase(name), 1U) << name;
    }
    json kept = everyField;
    for (const char* name : outdatedFields) {
      before[name] = everyField[name];
      kept.erase(name);
    }
    EXPECT_EQ(own, kept);
    EXPECT_EQ(sidecar["DistortionCorrection"]["FieldsBefore"], before);
    EXPECT_EQ(sidecar["Mirel"].contains("Series"), true) << "of this run";
  }
};

TEST_F(Records, ASeriesKeepsItsSidecarFieldsAndGradientFiles) {
  const std::string run = runWithAll();
  const ProgramResult result = correct('j', {"--fast", "--apply", run}, "out");
  const std::string stem = file("out/sub-1_desc-preproc_dwi");
  expectKeptFields(jsonOf(stem + ".json"));
  EXPECT_EQ(textOf(stem + ".bvec"), directions);
  EXPECT_EQ(textOf(stem + ".bval"), bValues);
  for (const char* end : {".nii.gz", ".json", ".bvec", ".bval"})
    EXPECT_THAT(result.out, HasSubstr(stem + end + "\n"));
}

TEST_F(Records, AnAppliedFieldKeepsSidecarFieldsAndGradientFilesToo) {
  const std::string run = runWithAll(), field = input('j', "desc-truth_fieldmap.nii.gz");
  for (const std::string& output : {file("out"), file("clean.nii.gz")}) {
    const ProgramResult result = runMirel({"apply", "--field", field, run, "-o", output});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string stem =
        output == file("out") ? file("out/sub-1_desc-preproc_dwi") : file("clean");
    expectKeptFields(jsonOf(stem + ".json"));
    EXPECT_EQ(textOf(stem + ".bvec"), directions);
    EXPECT_EQ(textOf(stem + ".bval"), bValues);
    for (const char* end : {".nii.gz", ".json", ".bvec", ".bval"})
      EXPECT_THAT(result.out, HasSubstr(stem + end + "\n"));
  }
}

// By the system's own tool.
std::string checksumOf(const std::string& fileName) {
  return runProgram("/usr/bin/sha256sum", {fileName}, "/").out.substr(0, 64);
}

void expectChecksums(const json& record, const std::string& image, const std::string& sidecar) {
  EXPECT_EQ(record["File"], image);
  EXPECT_EQ(record["SHA256"], checksumOf(image));
  EXPECT_EQ(record["Sidecar"], sidecar);
  EXPECT_EQ(record["SidecarSHA256"], checksumOf(sidecar));
}

TEST_F(Records, EveryInputIsNamedWithItsChecksum) {
  const auto sidecarOf = [](const std::string& image) {
    return image.substr(0, image.size() - std::string(".nii.gz").size()) + ".json";
  };
  const std::string field = input('j', "desc-truth_fieldmap.nii.gz");
  const std::string name = "sub-phantom_task-rest_dir-AP_desc-preproc_bold.json";
  correct('j', {"--ssd", "--no-ic", "--float", "--apply", bold('j')}, "out");
  const json record = jsonOf(file("out/" + name))["Mirel"];
  expectChecksums(record["Inputs"][0], ap('j'), sidecarOf(ap('j')));
  expectChecksums(record["Inputs"][1], pa('j'), sidecarOf(pa('j')));
  expectChecksums(record["Series"], bold('j'), sidecarOf(bold('j')));
  EXPECT_EQ(record["Options"]["Estimator"], "search");
  EXPECT_EQ(record["Options"]["Measure"], "SSD");
  EXPECT_EQ(record["Options"]["IntensityCorrection"], false);
  EXPECT_EQ(record["Options"]["Modulation"], false);
  EXPECT_EQ(record["Options"]["FloatOutput"], true);
  ASSERT_EQ(runMirel({"apply", "--field", field, bold('j'), "-o", file("applied")}).status, 0);
  const json applied = jsonOf(file("applied/" + name))["Mirel"];
  expectChecksums(applied["Series"], bold('j'), sidecarOf(bold('j')));
  expectChecksums(applied["Field"], field, sidecarOf(field));
  EXPECT_EQ(applied["Field"]["Units"], "Hz");
  EXPECT_EQ(applied["Field"]["UnitsSource"], sidecarOf(field));
}

TEST_F(Records, EverySidecarHasTheAgreementOfThePair) {
  const ProgramResult result = correct('j', {"--json", "--apply", bold('j')}, "out");
  const json summary = json::parse(result.out), told = summary["pairCorrelation"];
  EXPECT_GT(told["after"], told["before"]);
  EXPECT_GT(told["after"], 0.9);
  EXPECT_LT(told["negated"], told["before"]);
  EXPECT_GT(told["fastAlongAxis"], told["fastAcross"]);
  int seen = 0;
  for (const auto& entry : fs::directory_iterator(file("out"))) {
    if (entry.path().extension() != ".json") continue;
    const json sidecar = jsonOf(entry.path());
    if (!sidecar.contains("Mirel")) continue;  // dataset_description.json
    EXPECT_EQ(sidecar["Mirel"]["PairCorrelation"],
              json({{"Before", told["before"]}, {"After", told["after"]}}))
        << entry.path();
    ++seen;
  }
  EXPECT_EQ(seen, 9);
  char text[80];
  std::snprintf(text, sizeof text, "in the head: %.3f before, %.3f after, as written",
                told["before"].get<double>(), told["after"].get<double>());
  EXPECT_THAT(result.err, HasSubstr(text));
}

double partAbove(double threshold, const std::string& image) {
  double above = 0;
  const std::vector<float> values = PlainImage(image).values();
  for (const float value : values) above += static_cast<double>(value) > threshold;
  return above / static_cast<double>(values.size());
}

TEST_F(Records, TheForegroundIsThatOfTheImages) {
  for (const char axis : {'i', 'j', 'k'}) {
    // A darker first image, of which visibly less is foreground.
    PlainImage darker(ap(axis));
    darker.setSlope(0.4f);
    const std::string a = file(std::string("sub-phantom_acq-dark") + axis + "_epi.nii.gz");
    darker.write(a);
    const std::string direction = std::string(1, axis) + "-";
    const std::string results = file(std::string("out-") + axis);
    const ProgramResult result =
        runMirel({"correct", a, pa(axis), "--pe-a", direction, "--fast", "--json", "-o", results});
    ASSERT_EQ(result.status, 0) << result.err;
    const json summary = json::parse(result.out);
    const double threshold = summary["foregroundThreshold"], scale = summary["intensityScale"];
    EXPECT_NEAR(threshold * scale, 100, 1e-9);
    EXPECT_THAT(summary["foreground"],
                ElementsAre(partAbove(threshold, a), partAbove(threshold, pa(axis))));
    ASSERT_LT(summary["foreground"][0], 0.9 * summary["foreground"][1].get<double>());
    char text[120];
    std::snprintf(text, sizeof text,
                  "Head above an intensity of %.4g (intensity scale %.4g, %.0f and %.0f %% of the",
                  threshold, scale, 100 * summary["foreground"][0].get<double>(),
                  100 * summary["foreground"][1].get<double>());
    EXPECT_THAT(result.err, HasSubstr(text));
    const std::string map = std::string("/sub-phantom_acq-dark") + axis + "_desc-mm_vdm.json";
    const json options = jsonOf(results + map)["Mirel"]["Options"];
    EXPECT_EQ(options["ForegroundThreshold"], threshold);
    EXPECT_EQ(options["IntensityScale"], scale);
  }
}

TEST_F(Records, WhetherTheFieldWasResampledIsSaid) {
  ASSERT_EQ(runMirel({"phantom", file("other"), "--size", "20", "22", "14", "--voxel", "8.5", "8",
                      "9", "--volumes", "2", "--readout", "0.04"})
                .status,
            0);
  const std::string other = file("other/sub-phantom_task-rest_dir-AP_bold.nii.gz");
  fs::copy(bold('j'), file("own_bold.nii.gz"));
  fs::copy(input('j', "task-rest_dir-AP_bold.json"), file("own_bold.json"));
  const std::vector<std::string> runs = {other, file("own_bold.nii.gz")};
  const ProgramResult result = correct('j', {"--fast", "--json", "--apply", runs[0], runs[1]}, "a");
  const ProgramResult applied =
      runMirel({"apply", "--field", input('j', "desc-truth_fieldmap.nii.gz"), runs[0], runs[1],
                "-o", file("b")});
  ASSERT_EQ(applied.status, 0) << applied.err;
  const json series = json::parse(result.out)["series"];
  const std::string names[] = {"sub-phantom_task-rest_dir-AP_desc-preproc_bold.json",
                               "own_desc-preproc_bold.json"};
  for (std::size_t n = 0; n < 2; ++n) {
    const bool resampled = n == 0;
    EXPECT_EQ(series[n]["fieldResampled"], resampled);
    for (const char* out : {"a/", "b/"}) {
      const std::string sidecar = file(out + (n == 0 ? names[0] : "own_bold_desc-preproc.json"));
      const json record =
          jsonOf(fs::exists(sidecar) ? sidecar : file(out + names[1]))["Mirel"]["Series"];
      EXPECT_EQ(record["FieldResampled"], resampled) << sidecar;
    }
    for (const ProgramResult* one : {&result, &applied}) {
      const std::size_t line = one->err.find(runs[n] + ": 2 volumes");
      ASSERT_NE(line, std::string::npos) << one->err;
      const std::string sentence = one->err.substr(line, one->err.find('\n', line) - line);
      EXPECT_EQ(sentence.find("field resampled to its grid") != std::string::npos, resampled)
          << sentence;
    }
  }
}

TEST_F(Records, WarningsStandInTheSidecarsTheyConcern) {
  const ProgramResult result = correct(
      'j', {"--json", "--intensity-scale", "0.00001", "--apply", bold('j'), "--apply-pe", "j"},
      "out");
  const json all = json::parse(result.out)["warnings"];
  ASSERT_GE(all.size(), 3U);
  for (const json& warning : all)
    EXPECT_THAT(result.err, HasSubstr("Warning: " + warning.get<std::string>()));
  const json record =
      jsonOf(file("out/sub-phantom_task-rest_dir-AP_desc-preproc_bold.json"))["Mirel"];
  json recorded = record["Warnings"];
  for (const json& warning : record["Series"]["Warnings"]) recorded.push_back(warning);
  EXPECT_EQ(recorded, all);
  EXPECT_EQ(jsonOf(file("out/sub-phantom_desc-preproc_fieldmap.json"))["Mirel"]["Warnings"],
            record["Warnings"]);
}

}  // namespace

}  // namespace mirel
