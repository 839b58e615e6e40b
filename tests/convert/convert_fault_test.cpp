#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "convert/convert.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using testing::AllOf;
using testing::HasSubstr;

namespace {

/// A folder with an image of two volumes, and what converting says.
struct ConvertFaults : testing::Test {
  TemporaryFolder folder;
  Raw raw;
  void SetUp() override {
    raw.dim = {4, 2, 3, 4, 2};
    raw.data = samples(std::vector<std::int16_t>(48, 7));
    writeBytes(folder.file("a.nii"), bytesOf(raw));
  }
  std::string message(const std::string& in, const std::string& out,
                      const convert::ConvertOptions& options = {}) {
    return failure([&] { convert::convert(folder.file(in), folder.file(out), options); });
  }
};

}  // namespace

TEST_F(ConvertFaults, PairsThatAreNoConversion) {
  EXPECT_THAT(message("a.nii", "b.nii.gz"), AllOf(HasSubstr("a.nii"), HasSubstr("b.nii.gz")));
  EXPECT_THAT(message("a.nii", "b.txt"), HasSubstr("cannot convert"));
  EXPECT_THAT(message("a.fmr", "b.dmr"), HasSubstr("cannot convert"));
  EXPECT_EQ(folder.names(), std::vector<std::string>{"a.nii"});
}

TEST_F(ConvertFaults, ATruncatedImageLeavesNothing) {
  std::vector<unsigned char> bytes = gzipped(bytesOf(raw));
  bytes.resize(bytes.size() - 3);
  writeBytes(folder.file("cut.nii.gz"), bytes);
  EXPECT_THAT(message("cut.nii.gz", "b.fmr"), HasSubstr("cut.nii.gz is truncated"));
  EXPECT_THAT(folder.names(), testing::ElementsAre("a.nii", "cut.nii.gz"));
}

TEST_F(ConvertFaults, GradientsThatDoNotFit) {
  writeText(folder.file("a.bvec"), "1 0 0\n0 1 0\n0 0 1\n");
  EXPECT_THAT(message("a.nii", "b.dmr"), HasSubstr("a.bvec has no"));
  writeText(folder.file("a.bval"), "700 800");
  EXPECT_THAT(message("a.nii", "b.dmr"), HasSubstr("a.bvec holds 3 directions for 2 volumes"));
  EXPECT_THAT(message("a.nii", "b.dmr", {folder.file("a.bvec"), ""}),
              HasSubstr("the b-values for"));
  EXPECT_THAT(message("a.nii", "b.dmr", {"", folder.file("a.bval")}),
              HasSubstr("the directions for"));
  EXPECT_THAT(folder.names(), testing::ElementsAre("a.bval", "a.bvec", "a.nii"));
}

TEST_F(ConvertFaults, OrientationWithoutPosition) {
  raw.sform[2][2] = 0;
  writeBytes(folder.file("a.nii"), bytesOf(raw));
  EXPECT_THAT(message("a.nii", "b.fmr"), HasSubstr("singular"));
  raw.sform[2][2] = NAN;
  writeBytes(folder.file("a.nii"), bytesOf(raw));
  EXPECT_THAT(message("a.nii", "b.fmr"), HasSubstr("orientation (sform) has values that are NaN"));
  EXPECT_EQ(folder.names(), std::vector<std::string>{"a.nii"});
}

TEST_F(ConvertFaults, PlacesThatCannotBeWritten) {
  EXPECT_THAT(message("a.nii", "no/b.fmr"), HasSubstr("does not exist"));
  std::filesystem::create_directory(folder.file("b.stc"));
  EXPECT_THAT(message("a.nii", "b.fmr"), HasSubstr("b.stc is a directory"));
  EXPECT_THAT(folder.names(), testing::ElementsAre("a.nii", "b.stc"));
}

TEST_F(ConvertFaults, AFullDiskLeavesNothing) {
  raw.dim = {4, 2, 3, 4, 400};
  raw.data = samples(std::vector<std::int16_t>(9600, 7));
  writeBytes(folder.file("a.nii"), bytesOf(raw));
  for (const unsigned long bytes : {1UL, 1000UL, 10000UL}) {
    const FileSizeLimit limit(bytes);
    EXPECT_NE(message("a.nii", "b.fmr"), "nothing") << bytes;
    EXPECT_NE(message("a.nii", "b.dmr"), "nothing") << bytes;
  }
  EXPECT_EQ(folder.names(), std::vector<std::string>{"a.nii"});
  EXPECT_EQ(message("a.nii", "b.fmr"), "nothing");
}

TEST_F(ConvertFaults, AnInputIsNeverOverwritten) {
  // The data file that belongs to b.dmr is a link to the input.
  std::filesystem::create_symlink(folder.file("a.nii"), folder.file("b.dwi"));
  EXPECT_THAT(message("a.nii", "b.dmr"), HasSubstr("would overwrite an input"));
  EXPECT_EQ(readBytes(folder.file("a.nii")), bytesOf(raw));
  convert::convert(folder.file("a.nii"), folder.file("c.fmr"));
  std::filesystem::create_symlink(folder.file("c.stc"), folder.file("d.nii"));
  EXPECT_THAT(message("c.fmr", "d.nii"), HasSubstr("would overwrite an input"));
}

TEST_F(ConvertFaults, ShortOrMissingProjectData) {
  convert::convert(folder.file("a.nii"), folder.file("c.fmr"));
  std::filesystem::resize_file(folder.file("c.stc"), 95);
  EXPECT_THAT(message("c.fmr", "d.nii"),
              AllOf(HasSubstr("c.stc is truncated"), HasSubstr("95 of the 96 bytes")));
  std::filesystem::remove(folder.file("c.stc"));
  EXPECT_THAT(message("c.fmr", "d.nii"), HasSubstr("c.stc"));
  EXPECT_THAT(message("none.fmr", "d.nii"), HasSubstr("none.fmr"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("d.nii")));
}

TEST_F(ConvertFaults, AProjectWithoutVoxels) {
  writeText(folder.file("e.fmr"),
            "NrOfVolumes: 0\nNrOfSlices: 3\nResolutionX: 4\n"
            "ResolutionY: 5\nSliceTimingTableSize: 0\n");
  EXPECT_THAT(message("e.fmr", "d.nii"), HasSubstr("e.fmr has no voxels"));
  writeText(folder.file("f.dmr"), "this is no project\n");
  EXPECT_THAT(message("f.dmr", "d.nii"), HasSubstr("f.dmr has no voxels"));
}

TEST_F(ConvertFaults, AShortGradientTableIsLeftOutAndNoted) {
  raw.dim = {4, 2, 3, 2, 4};
  writeBytes(folder.file("a.nii"), bytesOf(raw));
  convert::convert(folder.file("a.nii"), folder.file("c.dmr"));
  std::string text = textOf(folder.file("c.dmr"));
  text.replace(text.rfind("NO"), 2, "YES\n1 0 0 700");
  writeText(folder.file("c.dmr"), text);
  const convert::ConvertReport report =
      convert::convert(folder.file("c.dmr"), folder.file("d.nii"));
  EXPECT_THAT(report.notes, testing::ElementsAre(HasSubstr("for 4 volumes: no .bvec")));
  EXPECT_EQ(report.written, std::vector<std::string>{folder.file("d.nii")});
}

TEST_F(ConvertFaults, GradientsOfATwinAreNotReplaced) {
  writeText(folder.file("a.bvec"), "1 0\n0 1\n0 0\n");
  writeText(folder.file("a.bval"), "700 800\n");
  convert::convert(folder.file("a.nii"), folder.file("c.dmr"));
  EXPECT_THAT(message("c.dmr", "a.nii.gz"),
              AllOf(HasSubstr("a.nii is there already"), HasSubstr("a.bvec and "),
                    HasSubstr("would be read as its gradients, too")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("a.nii.gz")));
  EXPECT_EQ(message("c.dmr", "b.nii.gz"), "nothing");
  EXPECT_EQ(message("c.dmr", "b.nii.gz"), "nothing") << "its own are replaced";
}

TEST_F(ConvertFaults, GradientsThatStandBesideTheResultAreNoted) {
  convert::convert(folder.file("a.nii"), folder.file("c.fmr"));
  writeText(folder.file("d.bval"), "0 1000\n");
  const convert::ConvertReport report =
      convert::convert(folder.file("c.fmr"), folder.file("d.nii"));
  EXPECT_THAT(report.notes, testing::ElementsAre(AllOf(HasSubstr("d.bval was there already"),
                                                       HasSubstr("read as the gradients of"))));
  EXPECT_EQ(textOf(folder.file("d.bval")), "0 1000\n");
}

TEST_F(ConvertFaults, GradientOptionsMakeNoSenseForAnImage) {
  convert::convert(folder.file("a.nii"), folder.file("c.dmr"));
  EXPECT_THAT(message("c.dmr", "d.nii", {"x", "y"}), HasSubstr("gradient files are read for"));
}

}  // namespace mirel
