#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "cli/axespair.h"
#include "support/jsonfile.h"

namespace mirel {

// Where each command takes phase encoding, readout time and volumes from, and that all commands
// mean the same by them, along each axis.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

using Values = std::vector<float>;

class Acquisition : public AxesPair, public testing::WithParamInterface<char> {
 protected:
  char axis() const { return GetParam(); }
  std::string plus() const { return std::string(1, axis()); }
  std::string minus() const { return plus() + "-"; }
  void write(const std::string& name, const json& text) const {
    std::ofstream(file(name)) << text.dump();
  }
  std::string copied(const std::string& image, const std::string& name) const {
    fs::copy(image, file(name));
    return file(name);
  }
  static Values valuesOf(const std::string& fileName) { return PlainImage(fileName).values(); }
  void run(const std::vector<std::string>& words) const {
    const ProgramResult result = runMirel(words);
    ASSERT_EQ(result.status, 0) << result.err;
  }
};

INSTANTIATE_TEST_SUITE_P(Axes, Acquisition, testing::Values('i', 'j', 'k'),
                         [](const auto& each) { return std::string(1, each.param); });

Values negated(Values values) {
  for (float& value : values) value = -value;
  return values;
}

double largestDifference(const Values& a, const Values& b) {
  if (a.size() != b.size()) return INFINITY;
  double largest = 0;
  for (std::size_t n = 0; n < a.size(); ++n)
    largest = std::max(largest, std::abs(static_cast<double>(a[n]) - static_cast<double>(b[n])));
  return largest;
}

double largestOf(const Values& values) {
  return largestDifference(values, Values(values.size(), 0.0f));
}

TEST_P(Acquisition, EchoSpacingCountsTheLinesOfItsAxisInEveryCommand) {
  const std::string a = copied(ap(axis()), "a.nii.gz"), b = copied(pa(axis()), "b.nii.gz"),
                    run1 = copied(bold(axis()), "run.nii.gz");
  const int lines = PlainImage(a).dim(1 + indexOf(axis()));
  const double seconds = 0.001 * (lines - 1);
  for (const char* name : {"a.json", "run.json"})
    write(name, {{"PhaseEncodingDirection", minus()}, {"EffectiveEchoSpacing", 0.001}});
  write("b.json", {{"PhaseEncodingDirection", plus()}, {"EffectiveEchoSpacing", 0.001}});
  const ProgramResult result =
      runMirel({"correct", a, b, "--fast", "--json", "--apply", run1, "-o", file("out")});
  ASSERT_EQ(result.status, 0) << result.err;
  const json summary = json::parse(result.out);
  for (const json& readout :
       {summary["a"]["readout"], summary["b"]["readout"], summary["series"][0]["readout"]}) {
    EXPECT_DOUBLE_EQ(readout["seconds"], seconds);
    EXPECT_EQ(readout["source"], "EffectiveEchoSpacing times (lines - 1)");
  }
  const std::string field = file("out/a_b_desc-preproc_fieldmap.nii.gz");
  run({"apply", "--field", field, run1, "-o", file("applied")});
  EXPECT_DOUBLE_EQ(
      jsonOf(
          file("applied/run_desc-preproc.json"))["Mirel"]["Series"]["TotalReadoutTime"]["Seconds"],
      seconds);
  // The map of an image is the field times the readout time, for the minus with its sign changed.
  for (const auto& [image, factor] : {std::pair{a, -seconds}, {b, seconds}}) {
    run({"field", "--to-map", field, "--reference", image, "-o", file("m.map")});
    run({"convert", file("m.map"), file("m.nii.gz"), "--reference", image});
    Values expected = valuesOf(field);
    for (float& value : expected) value = static_cast<float>(factor * static_cast<double>(value));
    EXPECT_LT(largestDifference(valuesOf(file("m.nii.gz")), expected), 1e-5);
  }
}

TEST_P(Acquisition, OptionsComeBeforeSidecars) {
  write("other.json", {{"PhaseEncodingDirection", plus()}, {"TotalReadoutTime", 0.02}});
  write("another.json", {{"PhaseEncodingDirection", minus()}, {"TotalReadoutTime", 0.02}});
  const auto summaryWith = [&](const std::vector<std::string>& options) {
    std::vector<std::string> words = options;
    words.insert(words.end(), {"--fast", "--json", "--apply", bold(axis())});
    return json::parse(correct(axis(), words, "out").out);
  };
  const json turned = summaryWith({"--pe-a", plus(), "--pe-b", minus(), "--apply-pe", plus()});
  EXPECT_EQ(turned["a"]["direction"], plus());
  EXPECT_EQ(turned["b"]["direction"], minus());
  EXPECT_EQ(turned["series"][0]["direction"], plus());
  const json times =
      summaryWith({"--readout", "0.05", "--readout-b", "0.0501", "--apply-readout", "0.07"});
  EXPECT_EQ(times["a"]["readout"]["seconds"], 0.05);
  EXPECT_EQ(times["b"]["readout"]["seconds"], 0.0501);
  EXPECT_EQ(times["series"][0]["readout"]["seconds"], 0.07);
  for (const char* which : {"a", "b"}) EXPECT_EQ(times[which]["readout"]["source"], "option");
  EXPECT_EQ(summaryWith({"--readout", "0.05"})["b"]["readout"]["seconds"], 0.05);
  const json named =
      summaryWith({"--sidecar-a", file("other.json"), "--sidecar-b", file("another.json")});
  EXPECT_EQ(named["a"]["direction"], plus());
  EXPECT_EQ(named["b"]["direction"], minus());
  EXPECT_EQ(named["a"]["readout"]["file"], file("other.json"));
  EXPECT_EQ(named["b"]["readout"]["file"], file("another.json"));
}

TEST_P(Acquisition, TheFieldTakesTheMeanOfReadoutTimesThatAgree) {
  correct(axis(), {"--fast", "--readout", "0.05"}, "equal");
  correct(axis(), {"--fast", "--readout", "0.0499", "--readout-b", "0.0501"}, "mean");
  const std::string name = "/sub-phantom_desc-preproc_fieldmap.nii.gz";
  EXPECT_TRUE(valuesOf(file("equal" + name)) == valuesOf(file("mean" + name)));
}

TEST_P(Acquisition, TheEstimatedFieldAppliedGivesTheSameImages) {
  correct(axis(), {"--fast", "--float", "--apply", bold(axis())}, "out");
  const std::string field = file("out/sub-phantom_desc-preproc_fieldmap.nii.gz");
  run({"apply", "--field", field, ap(axis()), pa(axis()), bold(axis()), "--float", "-o",
       file("applied")});
  for (const char* name : {"dir-AP_desc-preproc_epi", "dir-PA_desc-preproc_epi",
                           "task-rest_dir-AP_desc-preproc_bold"}) {
    const std::string image = std::string("/sub-phantom_") + name + ".nii.gz";
    const Values one = valuesOf(file("out" + image));
    EXPECT_LT(largestDifference(one, valuesOf(file("applied" + image))), 1e-4 * largestOf(one))
        << name;
  }
}

TEST_P(Acquisition, AReadoutTimeOfTheSeriesScalesItsShift) {
  correct(axis(), {"--fast", "--float", "--apply", bold(axis()), "--apply-readout", "0.08"}, "out");
  // Twice the field for the time of the pair.
  const std::string field = file("out/sub-phantom_desc-preproc_fieldmap.nii.gz");
  run({"apply", "--field", field, bold(axis()), "--float", "--readout", "0.08", "-o",
       file("applied")});
  const std::string image = "/sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz";
  const Values one = valuesOf(file("out" + image));
  EXPECT_LT(largestDifference(one, valuesOf(file("applied" + image))), 1e-4 * largestOf(one));
  run({"apply", "--field", field, bold(axis()), "--float", "-o", file("unscaled")});
  EXPECT_GT(largestDifference(one, valuesOf(file("unscaled" + image))), 0.05 * largestOf(one));
}

TEST_P(Acquisition, ModulationIsTheDensityAlongItsAxis) {
  correct(axis(), {"--fast", "--float", "--apply", bold(axis())}, "plain");
  correct(axis(), {"--fast", "--float", "--apply", bold(axis()), "--modulate"}, "scaled");
  const std::string mapName = "/sub-phantom_dir-AP_desc-voxels_vdm.nii.gz";
  const PlainImage map(file("scaled" + mapName));
  const Values shift = map.values();
  EXPECT_TRUE(shift == valuesOf(file("plain" + mapName)));
  const int along = indexOf(axis()), last = map.dim(1 + along) - 1;
  const int stride = along == 0 ? 1 : along == 1 ? map.dim(1) : map.dim(1) * map.dim(2);
  for (const auto& [name, sign] : {std::pair{"dir-AP_desc-preproc_epi", 1.0f},
                                   {"dir-PA_desc-preproc_epi", -1.0f},
                                   {"task-rest_dir-AP_desc-preproc_bold", 1.0f}}) {
    const std::string image = std::string("/sub-phantom_") + name + ".nii.gz";
    const Values plain = valuesOf(file("plain" + image)), scaled = valuesOf(file("scaled" + image));
    for (std::size_t n = 0; n < shift.size(); ++n) {
      const int at = static_cast<int>(n) / stride % (last + 1);
      const auto below = n - static_cast<std::size_t>(at > 0 ? stride : 0);
      const auto above = n + static_cast<std::size_t>(at < last ? stride : 0);
      const float slope = (shift[above] - shift[below]) / (at > 0 && at < last ? 2.0f : 1.0f);
      const float density = std::max(1.0f + sign * slope, 0.0f);
      ASSERT_NEAR(scaled[n], plain[n] * density, 1e-3f + 1e-5f * std::abs(plain[n]))
          << name << " at " << n;
    }
  }
}

TEST_P(Acquisition, AVolumeAndAMeanAreThoseThatAreNamed) {
  const PlainImage series(bold(axis()));
  series.onlyVolume(1).write(file("second.nii.gz"));
  const auto mapOf = [&](const std::vector<std::string>& words, const std::string& name) {
    std::vector<std::string> all = {"correct"};
    all.insert(all.end(), words.begin(), words.end());
    all.insert(all.end(), {"--pe-a", minus(), "--pe-b", plus(), "--readout", "0.04", "--fast",
                           "--quiet", "-o", file(name)});
    const ProgramResult result = runMirel(all);
    EXPECT_EQ(result.status, 0) << result.err;
    const fs::path folderName = file(name);
    for (const auto& entry : fs::directory_iterator(folderName))
      if (const std::string map = entry.path().filename().string();
          map.find("desc-voxels") != std::string::npos && map.ends_with("_vdm.nii.gz"))
        return valuesOf(entry.path());
    return Values();
  };
  const Values first = mapOf({bold(axis()), pa(axis()), "--volume-b", "0"}, "first");
  const Values second =
      mapOf({bold(axis()), pa(axis()), "--volume", "1", "--volume-b", "0"}, "second");
  EXPECT_FALSE(first == second);
  EXPECT_TRUE(second == mapOf({file("second.nii.gz"), pa(axis())}, "alone"));
  const Values mean = mapOf({bold(axis()), pa(axis()), "--mean", "2", "--mean-b", "1"}, "mean");
  EXPECT_FALSE(mean == first);
  EXPECT_FALSE(mean == second);
  // The same the other way round: B has the volumes.
  const Values b = mapOf({ap(axis()), bold(axis()), "--volume", "0", "--volume-b", "1"}, "b");
  EXPECT_TRUE(b == mapOf({ap(axis()), file("second.nii.gz")}, "b-alone"));
}

class MapsAndProjects : public Acquisition {};
INSTANTIATE_TEST_SUITE_P(Axes, MapsAndProjects, testing::Values('i', 'j'),
                         [](const auto& each) { return std::string(1, each.param); });

TEST_P(MapsAndProjects, TheMapAppliedGivesTheCorrectedImage) {
  correct(axis(), {"--fast"}, "out");
  const std::string map = file("out/sub-phantom_dir-AP_desc-voxels_vdm.nii.gz");
  std::vector<std::string> words = {"apply", "--vdm",        map, ap(axis()), "--float",
                                    "-o",    file("applied")};
  if (axis() == 'i') words.push_back("--rllr");
  run(words);
  const std::string image = "/sub-phantom_dir-AP_desc-preproc_epi.nii.gz";
  EXPECT_TRUE(valuesOf(file("out" + image)) == valuesOf(file("applied" + image)));
}

TEST_P(MapsAndProjects, EstimatesTakeTheVolumesThatAreNamed) {
  const PlainImage series(bold(axis()));
  series.onlyVolume(1).write(file("one.nii.gz"));
  run({"convert", bold(axis()), file("all.fmr")});
  run({"convert", file("one.nii.gz"), file("one.fmr")});
  run({"convert", pa(axis()), file("b.fmr")});
  const auto mapOf = [&](std::vector<std::string> words, const std::string& project) {
    words.insert(words.begin(), "estimate");
    if (axis() == 'i') words.emplace_back("--rllr");
    const ProgramResult result = runMirel(words);
    EXPECT_EQ(result.status, 0) << result.err;
    run({"convert", file(project + "_vdm.map"), file("m.nii.gz"), "--reference", ap(axis())});
    return valuesOf(file("m.nii.gz"));
  };
  const std::string all = file("all.fmr"), one = file("one.fmr"), b = file("b.fmr");
  const std::vector<std::vector<std::string>> methods = {
      {"--fast"}, {"--ic"}, {"--estimator", "mass-preserving"}};
  for (const std::vector<std::string>& method : methods) {
    const auto with = [&](std::vector<std::string> words) {
      words.insert(words.end(), method.begin(), method.end());
      return words;
    };
    const Values alone = mapOf(with({one, b}), "one");
    EXPECT_TRUE(alone == mapOf(with({all, b, "--volume0", "1"}), "all"));
    EXPECT_FALSE(alone == mapOf(with({all, b}), "all"));
    const Values turned = mapOf(with({b, one}), "b");
    EXPECT_TRUE(turned == mapOf(with({b, all, "--volume1", "1"}), "b"));
    // The second project's map is the first one's, negated.
    EXPECT_TRUE(negated(turned) == mapOf(with({b, one}), "one"));
  }
}

TEST_P(MapsAndProjects, GradientFilesComeBackAsTheyWere) {
  const std::string image = copied(bold(axis()), "run.nii.gz");
  const std::string directions = "0.5 1\n-0.25 2\n0.125 3\n", bValues = "0 1000.5\n";
  std::ofstream(file("run.bvec")) << directions;
  std::ofstream(file("run.bval")) << bValues;
  run({"convert", image, file("p.dmr")});
  run({"convert", file("p.dmr"), file("back.nii.gz")});
  EXPECT_EQ(textOf(file("back.bvec")), directions);
  EXPECT_EQ(textOf(file("back.bval")), bValues);
  EXPECT_TRUE(valuesOf(image) == valuesOf(file("back.nii.gz")));
}

}  // namespace

}  // namespace mirel
