// What must hold of every run, whatever the images.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

#include "cli/fieldfiles.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class Properties : public FieldFiles {
 protected:
  static std::string bold() { return input("sub-phantom_task-rest_dir-AP_bold.nii.gz"); }
  static constexpr const char* map = "sub-phantom_dir-AP_desc-voxels_vdm.nii.gz";

  // The pair with every value times a factor, as floats or by the scale in the header.
  json correctScaled(float factor, bool inHeader, const std::string& to) const {
    for (const char* one : {"AP", "PA"}) {
      const std::string stem = std::string("sub-phantom_dir-") + one + "_epi";
      fs::copy(input(stem + ".json"), file(stem + ".json"), fs::copy_options::overwrite_existing);
      changed(
          input(stem + ".nii.gz"), stem + ".nii.gz", [=](float v) { return v * factor; },
          [&](nifti::Header& header) {
            header.type = inHeader ? nifti::DataType::int16 : nifti::DataType::float32;
            header.slope = inHeader ? static_cast<double>(factor) : 1;
          });
    }
    const ProgramResult result =
        runMirel({"correct", file("sub-phantom_dir-AP_epi.nii.gz"),
                  file("sub-phantom_dir-PA_epi.nii.gz"), "--quiet", "--json", "-o", file(to)});
    EXPECT_EQ(result.status, 0) << result.err;
    return json::parse(result.out);
  }

  std::map<std::string, std::string> bytesIn(const std::string& where) const {
    std::map<std::string, std::string> bytes;
    // Reports tell command and time; report_test.cpp holds the rest of them together.
    for (const auto& entry : fs::directory_iterator(file(where)))
      if (entry.path().extension() != ".html")
        bytes[entry.path().filename().string()] = textOf(entry.path().string());
    return bytes;
  }

  // Largest memory of a run in MB.
  static double megabytesOf(std::vector<std::string> words) {
    words.insert(words.begin(), MIREL_PROGRAM);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      if (freopen("/dev/null", "w", stdout) == nullptr) _exit(126);
      execv(MIREL_PROGRAM, argv.data());
      _exit(127);
    }
    int status = 0;
    rusage usage{};
    EXPECT_EQ(wait4(child, &status, 0, &usage), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    return static_cast<double>(usage.ru_maxrss) / 1024;
  }
};

TEST_F(Properties, TheScaleOfTheIntensitiesChangesNeitherMapNorVerdict) {
  const json plain = correctScaled(1, false, "plain");
  const Volume<float> reference = imageIn(file("plain/" + std::string(map)));
  const std::vector<std::pair<float, bool>> scales = {{1e-30f, false}, {1e-6f, false},
                                                      {1e6f, false},   {1e30f, false},
                                                      {1e-30f, true},  {1e30f, true}};
  for (const auto& [factor, inHeader] : scales) {
    const json run = correctScaled(factor, inHeader, "scaled");
    const Volume<float> found = imageIn(file("scaled/" + std::string(map)));
    EXPECT_LT(rmsInBrain(found, reference), 1e-3) << factor;
    EXPECT_EQ(run["verdict"]["trust"], plain["verdict"]["trust"]) << factor;
    EXPECT_EQ(run["warnings"], plain["warnings"]) << factor;
    EXPECT_NEAR(run["verdict"]["residual"].get<double>(),
                plain["verdict"]["residual"].get<double>(), 1e-4)
        << factor;
    fs::remove_all(file("scaled"));
  }
}

TEST_F(Properties, EveryVoxelOfEveryOutputIsFinite) {
  for (const std::vector<std::string>& how :
       {std::vector<std::string>{}, {"--no-modulate"}, {"--fast", "--modulate"}}) {
    std::vector<std::string> words = {"--quiet", "--overwrite", "--warp", "--apply", bold()};
    words.insert(words.end(), how.begin(), how.end());
    ASSERT_EQ(correct(words).status, 0);
    for (const std::string& name : namesInOut()) {
      if (!name.ends_with(".nii.gz")) continue;
      nifti::Reader reader(out(name), nifti::Contents::vectorsToo);
      for (int t = 0; t < reader.storedVolumes(); ++t) {
        const Volume<float> volume = reader.readVolume(t);
        for (int n = 0; n < volume.size(); ++n)
          ASSERT_TRUE(std::isfinite(volume.data()[n])) << name << " voxel " << n;
      }
    }
  }
}

TEST_F(Properties, AgainAndWithAnyNumberOfThreadsTheFilesAreEqual) {
  const auto bytes = [&](const std::string& to, const std::vector<std::string>& more) {
    std::vector<std::string> words = {"--quiet", "--apply", bold()};
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_EQ(correct(words, to).status, 0);
    return bytesIn(to);
  };
  const auto first = bytes("a", {});
  EXPECT_GT(first.size(), 15u);
  EXPECT_EQ(bytes("b", {}), first);
  for (const char* threads : {"1", "2", "7"})
    EXPECT_EQ(bytes(std::string("t") + threads, {"--threads", threads}), first) << threads;
  EXPECT_EQ(bytes("a", {}), first) << "over the results of the first run";
}

TEST_F(Properties, ALocaleWithDecimalCommasChangesNothing) {
  fs::create_directory(file("locales"));
  const std::string command =
      "localedef -i de_DE -f UTF-8 '" + file("locales/de_DE.UTF-8") + "' >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0)
    GTEST_SKIP() << "no locale with decimal commas can be made (package locales)";
  const std::vector<std::string> environment = {"LOCPATH=" + file("locales"), "LC_ALL=de_DE.UTF-8",
                                                "LANG=de_DE.UTF-8"};
  const auto run = [&](const std::string& to, const std::vector<std::string>& more) {
    const ProgramResult result = runMirel(
        {"correct", ap(), pa(), "--readout", "0.04", "--json", "--apply", bold(), "-o", file(to)},
        more);
    EXPECT_EQ(result.status, 0) << result.err;
    json summary = json::parse(result.out);
    summary.erase("outputs");
    return summary;
  };
  EXPECT_EQ(run("a", environment), run("b", {}));
  EXPECT_EQ(bytesIn("a"), bytesIn("b"));
}

TEST_F(Properties, MemoryDoesNotGrowWithTheVolumes) {
#ifdef MIREL_SANITIZED
  GTEST_SKIP() << "freed memory stays in quarantine";
#endif
  const auto series = [&](int volumes) {
    const std::string name = file("run" + std::to_string(volumes) + ".nii.gz");
    nifti::Header header = nifti::Reader(ap()).header();
    const Volume<float> volume = imageIn(ap());
    header.volumes = volumes;
    nifti::Writer writer(name, header);
    nifti::EncodedVolume encoded;
    writer.encode(volume, encoded);
    for (int t = 0; t < volumes; ++t) writer.write(encoded);
    writer.finish();
    return name;
  };
  const auto megabytes = [&](int volumes) {
    return megabytesOf({"apply", "--field", field(), series(volumes), "--pe", "j-", "--readout",
                        "0.04", "--threads", "2", "--quiet", "-o",
                        file("out" + std::to_string(volumes))});
  };
  const double few = megabytes(10), many = megabytes(1000);
  std::printf("10 volumes: %.1f MB, 1000: %.1f MB\n", few, many);
  EXPECT_LT(many, few + 5);
}

}  // namespace

}  // namespace mirel
