#include <cmath>

#include "cli/fieldfiles.h"

namespace mirel {

// What stands beside images: gradient files, sidecars without all fields, links; and places and
// values that no sidecar tells.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class BesideImages : public FieldFiles {
 protected:
  void SetUp() override {
    fs::copy(input("sub-phantom_task-rest_dir-AP_bold.nii.gz"), run);
    sidecar("run.json", {{"PhaseEncodingDirection", "j-"}, {"TotalReadoutTime", 0.04}});
  }
  void text(const std::string& name, const std::string& content) const {
    std::ofstream(file(name)) << content;
  }
  ProgramResult corrected(const std::vector<std::string>& words) const {
    std::vector<std::string> all = {"correct"};
    all.insert(all.end(), words.begin(), words.end());
    all.insert(all.end(), {"--fast", "--overwrite", "-o", out()});
    return runMirel(all);
  }
  std::string refused(const ProgramResult& result) const {
    EXPECT_FALSE(fs::exists(out()));
    return refusal(result);
  }

  const std::string run = file("run.nii.gz");
};

TEST_F(BesideImages, GradientsOfAnotherNumberOfVolumesAreRefused) {
  const std::string vectors = "1 0 0\n0 1 0\n0 0 1\n";
  const struct {
    const char* bval;
    std::string bvec, fault;
  } cases[] = {{"0 700\n", vectors, "run.bval holds 2 b-values for 3 volumes"},
               {"0 700 700 700\n", vectors, "run.bval holds 4 b-values for 3 volumes"},
               {"", vectors, "run.bval holds 0 b-values for 3 volumes"},
               {"0 700 700\n", "1 0\n0 1\n0 0\n", "run.bvec holds 2 directions for 3 volumes"},
               {"0 700 700\n", "1 0 0 1\n0 1 0 0\n", "run.bvec is not a table of directions"}};
  for (const auto& [bval, bvec, fault] : cases) {
    text("run.bval", bval);
    text("run.bvec", bvec);
    EXPECT_THAT(refused(corrected({ap(), pa(), "--apply", run, "--quiet"})), HasSubstr(fault));
    EXPECT_THAT(refusal(apply("--field", field(), run)), HasSubstr(fault));
    EXPECT_THAT(refusal(apply("--vdm", map(), run)), HasSubstr(fault));
  }
  for (const char* good : {"1 0 0\n0 1 0\n0 0 1\n", "nan 0 0\nnan 1 0\nnan 0 1\n"}) {
    text("run.bval", "0 700 700\n");
    text("run.bvec", good);
    ASSERT_EQ(apply("--field", field(), run).status, 0);
    EXPECT_EQ(textOf(file("r.bvec")), good);
  }
}

TEST_F(BesideImages, APairOfWeightedVolumesIsNoted) {
  const std::string bold = input("sub-phantom_task-rest_dir-AP_bold.nii.gz");
  text("run.bval", "5 1000 2000\n");
  text("run.bvec", "0 1 0\n0 0 1\n0 0 0\n");
  EXPECT_THAT(corrected({run, pa(), "--volume", "1", "--volume-b", "0"}).err,
              HasSubstr("Note: volume 1 of " + run +
                        " is diffusion-weighted: it has a b-value of 1000 s/mm2 (" +
                        file("run.bval") + "), while its volume 0 has at most 100 (see --volume"));
  EXPECT_THAT(corrected({run, pa(), "--mean", "3", "--mean-b", "1"}).err,
              HasSubstr("the mean of 3 volumes of " + run +
                        " is diffusion-weighted: it has a "
                        "b-value of 2000"));
  EXPECT_THAT(corrected({run, pa()}).err, Not(HasSubstr("weighted")));
  text("run.bval", "5 1000\n");
  EXPECT_THAT(corrected({run, pa(), "--quiet"}).err,
              HasSubstr("Warning: " + file("run.bval") +
                        " holds 2 b-values for 3 volumes: whether "
                        "volume 0 of "));
}

TEST_F(BesideImages, WithoutReadoutTimesItIsVoxelsAndMm) {
  const std::string a = bare(ap(), "sub-1_dir-AP_epi.nii.gz"),
                    b = bare(pa(), "sub-1_dir-PA_epi.nii.gz");
  sidecar("sub-1_dir-AP_epi.json", {{"PhaseEncodingDirection", "j-"}});
  sidecar("sub-1_dir-PA_epi.json", {{"PhaseEncodingDirection", "j"}});
  const ProgramResult result = corrected({a, b, "--apply", run});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err,
              AllOf(HasSubstr("Note: the readout time is not known"),
                    HasSubstr(file("sub-1_dir-AP_epi.json")),
                    HasSubstr("results are in voxels and mm, not Hz"), HasSubstr("--readout")));
  EXPECT_THAT(result.out,
              AllOf(HasSubstr("desc-voxels"), HasSubstr("desc-mm"), Not(HasSubstr("fieldmap"))));
  // The same map as with readout times.
  const auto mapIn = [](const std::string& folderName) {
    for (const auto& entry : fs::directory_iterator(folderName))
      if (entry.path().string().find("desc-voxels") != std::string::npos &&
          entry.path().string().ends_with(".nii.gz"))
        return imageIn(entry.path().string());
    return Volume<float>();
  };
  ASSERT_EQ(correct({"--fast"}, "timed").status, 0);
  EXPECT_TRUE(mapIn(out()) == mapIn(file("timed")));
  EXPECT_EQ(corrected({a, b, "--readout", "0.04"}).status, 0);
  // One that is there speaks for both.
  sidecar("sub-1_dir-PA_epi.json", {{"PhaseEncodingDirection", "j"}, {"TotalReadoutTime", 0.04}});
  EXPECT_THAT(corrected({a, b}).err, HasSubstr(a + " has no readout time of its own"));
}

TEST_F(BesideImages, ReadoutTimesThatDifferAreSaidOnceHoweverTheyAreGiven) {
  const std::string a = bare(ap(), "a.nii.gz"), b = bare(pa(), "b.nii.gz");
  sidecar("a.json", {{"PhaseEncodingDirection", "j-"}, {"TotalReadoutTime", 0.04}});
  sidecar("b.json", {{"PhaseEncodingDirection", "j"}, {"TotalReadoutTime", 0.05}});
  const std::string sentence = ": each is taken to be displaced by its own\n";
  const ProgramResult bySidecars = corrected({a, b, "--quiet"});
  EXPECT_EQ(bySidecars.status, 0);
  EXPECT_THAT(bySidecars.err, HasSubstr("Warning: " + a +
                                        " has a readout time of 0.04 s "
                                        "(TotalReadoutTime), " +
                                        b + " one of 0.05 s (TotalReadoutTime)" + sentence));
  const ProgramResult byOptions =
      corrected({ap(), pa(), "--quiet", "--readout", "0.04", "--readout-b", "0.05"});
  EXPECT_EQ(byOptions.status, 0);
  EXPECT_THAT(byOptions.err, HasSubstr("one of 0.05 s (option)" + sentence));
}

TEST_F(BesideImages, ALinkIsLookedAtWhereItStandsAndThenWhereItLeads) {
  fs::create_directories(file("data/objects"));
  fs::create_directories(file("data/sub-1"));
  const std::string kept = file("data/objects/key.nii.gz");
  fs::copy(run, kept);
  const std::string link = file("data/sub-1/sub-1_bold.nii.gz");
  fs::create_symlink("../objects/key.nii.gz", link);
  sidecar("data/objects/key.json", {{"PhaseEncodingDirection", "j-"}, {"TotalReadoutTime", 0.04}});
  text("data/objects/key.bval", "0 1 2\n");
  EXPECT_GT(fidelity("--field", field(), link), faithful) << "beside the target";
  EXPECT_EQ(textOf(file("r.bval")), "0 1 2\n");
  json series = json::parse(textOf(file("r.json")))["Mirel"]["Series"];
  EXPECT_THAT(series["Sidecar"].get<std::string>(), EndsWith("data/objects/key.json"));
  // As in a dataset whose contents are kept elsewhere: what stands beside the link counts, also
  // higher up.
  text("data/dataset_description.json", "{}");
  sidecar("data/bold.json", {{"PhaseEncodingDirection", "j"}, {"TotalReadoutTime", 0.02}});
  ASSERT_EQ(apply("--field", field(), link).status, 0);
  series = json::parse(textOf(file("r.json")))["Mirel"]["Series"];
  EXPECT_EQ(series["Sidecar"], file("data/bold.json"));
  EXPECT_EQ(series["PhaseEncodingDirection"], "j");
  // A link to a link, and a field that is one.
  fs::remove(file("data/bold.json"));
  fs::create_symlink(link, file("again.nii.gz"));
  EXPECT_GT(fidelity("--field", field(), file("again.nii.gz")), faithful);
  fs::create_symlink(map(), file("map.nii.gz"));
  EXPECT_GT(fidelity("--vdm", file("map.nii.gz"), pa()), faithful);
}

TEST_F(BesideImages, ValuesOfASeriesThatAreNotNumbersAreCounted) {
  const std::string other = changed(
      run, "other.nii.gz", [](float v) { return v < 1 ? std::nanf("") : v; },
      [](nifti::Header& header) { header.type = nifti::DataType::float32; });
  int count = 0;
  for (int t = 0; t < 3; ++t) {
    const Volume<float> volume = nifti::Reader(other).readVolume(t);
    for (int n = 0; n < volume.size(); ++n) count += std::isnan(volume.data()[n]);
  }
  ASSERT_GT(count, 1);
  const std::string sentence = "Warning: " + other + " has " + std::to_string(count) +
                               " values that are NaN or infinite; they count as 0";
  for (const std::vector<std::string>& how :
       {std::vector<std::string>{"--field", field()}, {"--vdm", map()}})
    EXPECT_THAT(apply(how[0], how[1], other, {"--pe", "j-", "--readout", "0.04", "--quiet"}).err,
                HasSubstr(sentence));
  EXPECT_THAT(corrected({ap(), pa(), "--apply", other, "--quiet"}).err, HasSubstr(sentence));
  EXPECT_THAT(apply("--field", field(), ap(), {"--reference", other, "--quiet"}).err,
              HasSubstr("Warning: " + other + " has "))
      << "of the reference, too";
}

TEST_F(BesideImages, ImagesOfDifferentPlacesAreComparedWithAWarning) {
  const auto moved = [&](double mm) {
    return changed(
        ap(), "moved.nii.gz", [](float v) { return v; },
        [mm](nifti::Header& header) {
          glm::dmat4 affine = header.affine();
          affine[3].y += mm;
          header.setAffine(affine, 1);
        });
  };
  const ProgramResult result = runMirel({"compare", ap(), moved(4.5)});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("correlation 1.0000"));
  EXPECT_THAT(result.err, HasSubstr("Warning: " + ap() + " and " + file("moved.nii.gz") +
                                    " lie at different places by their orientations, up to 1 "
                                    "voxel apart"));
  EXPECT_EQ(
      json::parse(runMirel({"compare", ap(), file("moved.nii.gz"), "--json"}).out)["voxelsApart"],
      1.0);
  EXPECT_EQ(runMirel({"compare", ap(), moved(0.1)}).err, "");
}

}  // namespace

}  // namespace mirel
