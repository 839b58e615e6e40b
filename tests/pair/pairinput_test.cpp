#include "pair/pairinput.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "base/error.h"
#include "nifti/image.h"
#include "support/niftifiles.h"
#include "support/remarks.h"

namespace mirel {

using namespace niftifiles;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct PairFiles : testing::Test {
  TemporaryFolder folder;
  ImageOptions a, b;
  nifti::Header header;

  void SetUp() override {
    a.file = folder.file("a.nii.gz");
    b.file = folder.file("b.nii");
    header.dims = {6, 7, 5};
    glm::dmat4 affine(1.0);
    affine[0][0] = 2;
    affine[3][1] = -40;
    header.setAffine(affine, 1);
    write(a.file, ramp());
    write(b.file, ramp() * 2.0f);
    sidecar("a", R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.05})");
    sidecar("b", R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.05})");
  }
  Volume<float> ramp() const {
    Volume<float> image(header.dims);
    for (int i = 0; i < image.size(); ++i) image.data()[i] = static_cast<float>(i);
    return image;
  }
  void write(const std::string& file, const Volume<float>& image, int volumes = 1) {
    nifti::Header h = header;
    h.dims = image.dimensions();
    h.volumes = volumes;
    nifti::Writer writer(file, h);
    for (int t = 0; t < volumes; ++t) writer.write(image + static_cast<float>(10 * t));
    writer.finish();
  }
  void sidecar(const std::string& name, const std::string& text) const {
    writeText(folder.file(name + ".json"), text);
  }
  std::string fault() const {
    return failure([&] { readPair(a, b); });
  }
  Advice advice() const {
    try {
      readPair(a, b);
    } catch (const Error& error) {
      return error.advice();
    }
    return {};
  }
};

}  // namespace

TEST_F(PairFiles, DirectionsAndReadoutComeFromTheSidecars) {
  const PairInput pair = readPair(a, b);
  EXPECT_EQ(nameOf(pair.a.direction()), "j-");
  EXPECT_EQ(nameOf(pair.b.direction()), "j");
  EXPECT_EQ(pair.a.acquisition.direction->sourceText(), folder.file("a.json"));
  EXPECT_EQ(pair.readoutSeconds, 0.05);
  EXPECT_EQ(pair.a.acquisition.readout->source, bids::ReadoutSource::totalReadoutTime);
  EXPECT_TRUE(pair.b.image == ramp() * 2.0f);
  EXPECT_THAT(textsOf(pair.notes), IsEmpty());
  EXPECT_THAT(textsOf(pair.warnings), IsEmpty());
}

TEST_F(PairFiles, EchoSpacingCountsTheLinesOfThePhaseEncodingAxis) {
  sidecar("a", R"({"PhaseEncodingDirection": "i-", "EffectiveEchoSpacing": 0.001})");
  sidecar("b", R"({"PhaseEncodingDirection": "i", "TotalReadoutTime": 0.005})");
  EXPECT_EQ(readPair(a, b).a.acquisition.readout->seconds, 0.005);
}

TEST_F(PairFiles, OptionsOverrideSidecars) {
  sidecar("a", "not JSON, and not looked at");
  a.given.direction = bids::parsePhaseEncoding("i", "test");
  a.given.readoutSeconds = 0.03;
  b.given.direction = bids::parsePhaseEncoding("i-", "test");
  b.given.readoutSeconds = 0.03;
  const PairInput pair = readPair(a, b);
  EXPECT_EQ(pair.axis(), 0);
  EXPECT_EQ(pair.a.acquisition.direction->sourceText(), "option");
  EXPECT_EQ(pair.readoutSeconds, 0.03);
  EXPECT_THAT(pair.a.acquisition.sidecarFiles(), IsEmpty());
}

TEST_F(PairFiles, ANamedSidecarIsTaken) {
  sidecar("other", R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.02})");
  sidecar("b", R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.02})");
  a.given.sidecar = folder.file("other.json");
  EXPECT_EQ(nameOf(readPair(a, b).a.direction()), "j");
  a.given.sidecar = folder.file("none.json");
  EXPECT_THAT(fault(), HasSubstr("none.json cannot be opened"));
}

TEST_F(PairFiles, SidecarsHigherUpInTheDatasetCountToo) {
  const std::string root = folder.file("epi.json");
  sidecar("dataset_description", "{}");
  sidecar("epi", R"({"EstimatedTotalReadoutTime": 0.03})");
  for (auto [image, direction] : {std::pair{&a, "j-"}, std::pair{&b, "j"}}) {
    const std::string name = std::string("sub-1/sub-1_dir-") + (image == &a ? "AP" : "PA") + "_epi";
    std::filesystem::create_directories(folder.file("sub-1"));
    std::filesystem::rename(image->file, folder.file(name + ".nii"));
    image->file = folder.file(name + ".nii");
    sidecar(name, std::string(R"({"PhaseEncodingDirection": ")") + direction + "\"}");
  }
  const std::string own = folder.file("sub-1/sub-1_dir-PA_epi.json");
  const PairInput pair = readPair(a, b);
  EXPECT_EQ(pair.readoutSeconds, 0.03);
  EXPECT_EQ(pair.b.acquisition.direction->sourceText(), own);
  EXPECT_THAT(pair.b.acquisition.sidecarFiles(), ElementsAre(root, own));
  EXPECT_THAT(textsOf(pair.notes),
              ElementsAre(HasSubstr("the readout time in " + root + " is an estimate")));
  sidecar("epi", "{}");
  EXPECT_THAT(textsOf(readPair(a, b).notes), ElementsAre(HasSubstr("(with " + root + ")")));
  // A sidecar that is named is used alone.
  b.given.sidecar = own;
  EXPECT_THAT(textsOf(readPair(a, b).notes), ElementsAre(HasSubstr(" nor " + own + ")")));
}

TEST_F(PairFiles, WithoutSidecarsItIsVoxelsAndANoteSaysSo) {
  std::filesystem::remove(folder.file("a.json"));
  std::filesystem::remove(folder.file("b.json"));
  const PairInput pair = readPair(a, b);
  EXPECT_EQ(pair.axis(), 1);
  EXPECT_FALSE(pair.readoutSeconds);
  EXPECT_THAT(textsOf(pair.notes), ElementsAre(AllOf(HasSubstr("a.nii.gz"), HasSubstr("voxels"))));
  a.given.readoutSeconds = 0.05;
  EXPECT_THAT(fault(), HasSubstr("directions of"));
  EXPECT_EQ(advice(), (Advice{Advice::Kind::giveDirection, Advice::Of::both}));
}

TEST_F(PairFiles, OneSidecarSpeaksForBothAndNotesSaySo) {
  std::filesystem::remove(folder.file("a.json"));
  const PairInput pair = readPair(a, b);
  EXPECT_EQ(nameOf(pair.a.direction()), "j-");
  EXPECT_EQ(pair.a.acquisition.readout->seconds, 0.05);
  EXPECT_THAT(textsOf(pair.notes), ElementsAre(HasSubstr("opposite"), HasSubstr("readout time")));
}

TEST_F(PairFiles, AnEstimatedReadoutIsNoted) {
  sidecar("a", R"({"PhaseEncodingDirection": "j-", "EstimatedTotalReadoutTime": 0.05})");
  const PairInput pair = readPair(a, b);
  EXPECT_EQ(pair.a.acquisition.readout->source, bids::ReadoutSource::estimated);
  EXPECT_THAT(textsOf(pair.notes), ElementsAre(HasSubstr(folder.file("a.json"))));
}

TEST_F(PairFiles, PairsThatAreNoneAreRefusedWithWhatWasFound) {
  sidecar("b", R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.05})");
  EXPECT_THAT(fault(), AllOf(HasSubstr("opposite"), HasSubstr("a.json"), HasSubstr("b.json"),
                             HasSubstr("j-")));
  sidecar("b", R"({"PhaseEncodingDirection": "k", "TotalReadoutTime": 0.05})");
  EXPECT_THAT(fault(), AllOf(HasSubstr("different axes"), HasSubstr("k (")));
  sidecar("b", R"({"TotalReadoutTime": 0.05})");
  EXPECT_THAT(fault(), HasSubstr("b.json has no PhaseEncodingDirection"));
  EXPECT_EQ(advice(), (Advice{Advice::Kind::giveDirection, Advice::Of::second}));
}

TEST_F(PairFiles, ReadoutTimesInSidecarsMayBeMissingOrDiffer) {
  sidecar("b", R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.0502})");
  EXPECT_THAT(textsOf(readPair(a, b).warnings), IsEmpty()) << "within 1 %";
  sidecar("b", R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.06})");
  PairInput pair = readPair(a, b);
  EXPECT_DOUBLE_EQ(*pair.readoutSeconds, 0.05);
  EXPECT_THAT(textsOf(pair.warnings),
              ElementsAre(AllOf(HasSubstr("0.05 s (TotalReadoutTime)"),
                                HasSubstr("0.06 s (TotalReadoutTime)"),
                                HasSubstr("each is taken to be displaced by its own"))));
  sidecar("b", R"({"PhaseEncodingDirection": "j"})");
  pair = readPair(a, b);
  EXPECT_EQ(*pair.readoutSeconds, 0.05);
  EXPECT_THAT(textsOf(pair.notes), ElementsAre(HasSubstr("has no readout time of its own")));
  sidecar("a", R"({"PhaseEncodingDirection": "j-"})");
  pair = readPair(a, b);
  EXPECT_FALSE(pair.readoutSeconds);
  ASSERT_EQ(pair.notes.size(), 1U);
  EXPECT_THAT(pair.notes[0].text,
              AllOf(HasSubstr(folder.file("a.json")), HasSubstr(folder.file("b.json"))));
  EXPECT_EQ(pair.notes[0].advice, (Advice{Advice::Kind::giveReadout, Advice::Of::both}));
}

TEST_F(PairFiles, ReadoutTimesThatWereBothGivenMayDiffer) {
  a.given.readoutSeconds = 0.04;
  b.given.readoutSeconds = 0.06;
  const PairInput pair = readPair(a, b);
  EXPECT_DOUBLE_EQ(*pair.readoutSeconds, 0.04);
  EXPECT_THAT(textsOf(pair.warnings),
              testing::Contains(HasSubstr("each is taken to be displaced by its own")));
  a.given.readoutSeconds = 47;
  EXPECT_THAT(fault(), HasSubstr("milliseconds"));
}

TEST_F(PairFiles, ImagesThatCannotBeUsedAreRefused) {
  Volume<float> image = ramp();
  image.at(1, 2, 3) = std::numeric_limits<float>::quiet_NaN();
  image.at(2, 2, 3) = std::numeric_limits<float>::infinity();
  write(b.file, image);
  EXPECT_THAT(fault(), AllOf(HasSubstr("b.nii"), HasSubstr("2 voxels"), HasSubstr("NaN")));
  write(b.file, Volume<float>(header.dims, 3.0f));
  EXPECT_EQ(fault(), b.file + " is constant: every voxel is 3");
  Volume<float> slice(6, 7, 1, 0.0f);
  slice.data()[3] = 1;
  write(b.file, slice);
  EXPECT_THAT(fault(), AllOf(HasSubstr("b.nii"), HasSubstr("6 x 7 x 1")));
}

TEST_F(PairFiles, OtherGridsAreRefused) {
  Volume<float> larger(7, 7, 5, 0.0f);
  larger.data()[3] = 1;
  write(b.file, larger);
  EXPECT_THAT(fault(), AllOf(HasSubstr("6 x 7 x 5"), HasSubstr("7 x 7 x 5")));
  glm::dmat4 affine = header.affine();
  affine[3][0] += 3;
  header.setAffine(affine, 1);
  write(b.file, ramp());
  EXPECT_THAT(fault(), HasSubstr("1.5 voxels apart"));
  affine[3][0] -= 2.99;  // 0.005 voxels
  header.setAffine(affine, 1);
  write(b.file, ramp());
  EXPECT_EQ(fault(), "nothing");
}

TEST_F(PairFiles, VolumesOfOneFileAndMeans) {
  write(a.file, ramp(), 4);
  b = a;
  b.volume = 2;
  a.given.direction = bids::parsePhaseEncoding("j-", "test");
  b.given.direction = bids::parsePhaseEncoding("j", "test");
  PairInput pair = readPair(a, b);
  EXPECT_TRUE(pair.b.image == ramp() + 20.0f);
  EXPECT_EQ(pair.b.title(), "volume 2 of " + a.file);
  a.meanOfFirst = b.meanOfFirst = 2;
  pair = readPair(a, b);
  EXPECT_TRUE(pair.a.image == ramp() + 5.0f);
  EXPECT_TRUE(pair.b.image == ramp() + 25.0f);
  EXPECT_EQ(pair.a.title(), "the mean of 2 volumes of " + a.file);
  b.volume = 3;
  EXPECT_THAT(fault(), AllOf(HasSubstr("4 volumes"), HasSubstr("are no 2 volumes")));
  a.meanOfFirst = b.meanOfFirst = 0;
  b.volume = 4;
  EXPECT_THAT(fault(), HasSubstr("is no volume 4"));
  b.volume = 0;
  EXPECT_THAT(fault(), HasSubstr("both images of the pair are volume 0"));
}

TEST(ProjectVoxelSize, IsInSinglePrecisionAsProjectsHaveIt) {
  nifti::Header header;
  glm::dmat4 affine(1.0);
  affine[0] = {0, 2.4, 0, 0};
  affine[1] = {-3.4, 0, 0, 0};
  affine[2] = {0, 0, 3, 0};
  header.setAffine(affine, 1);
  EXPECT_EQ(projectVoxelSize(header),
            glm::dvec3(static_cast<double>(2.4f), static_cast<double>(3.4f), 3));
}

}  // namespace mirel
