#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "cli/program.h"
#include "field/fieldhz.h"
#include "field/seriesfiles.h"
#include "files/mapfile.h"

namespace mirel {

// "mirel field" as a user runs it.

namespace {

using namespace seriesfiles;
using testing::HasSubstr;

constexpr glm::ivec3 dims{5, 6, 4};

class FieldCommand : public testing::Test {
 protected:
  void SetUp() override {
    writeImage(reference, headerOf(dims, affine, 2), [](int t) { return smoothImage(dims, t); });
    map.header = {dims.x, dims.y, dims.z, 1, 1.0f, 5.0f, 0, 0};
    const Volume<float> shift = smoothShift(dims);
    map.values.assign(shift.data(), shift.data() + shift.size());
    writeMapFile(mapFile, map);
  }

  ProgramResult toField(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"field",   "--from-map", mapFile, "--reference",
                                          reference, "-o",         field};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runMirel(arguments);
  }

  TemporaryFolder folder;
  const std::string mapFile = folder.file("a_vdm.map");
  const std::string reference = folder.file("a.nii");
  const std::string field = folder.file("f.nii.gz");
  const glm::dmat4 affine = affineOf({3, 3, 4}, 10, {-30, -40, 5});
  Map map;
};

TEST_F(FieldCommand, AMapBecomesHz) {
  const ProgramResult result = toField({"--pe", "j-", "--readout", "0.05"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, field + "\n");
  const FieldHz written = readField(field);
  EXPECT_NEAR(written.hz.at(2, 3, 1), smoothShift(dims).at(2, 3, 1) / -0.05f, 1e-4);
  EXPECT_EQ(written.affine, nifti::Reader(reference).header().affine());
  EXPECT_EQ(nifti::Reader(field).header().type, nifti::DataType::float32);
}

TEST_F(FieldCommand, AMapThatIsAnImageDoes) {
  ASSERT_EQ(toField({"--pe", "j-", "--readout", "0.05"}).status, 0);
  const std::string expected = textOf(field);
  const std::string image = folder.file("d.nii");
  writeImage(image, headerOf(dims, affine), [](int) { return smoothShift(dims); });
  ASSERT_EQ(runMirel({"field", "--from-map", image, "--reference", reference, "--pe", "j-",
                      "--readout", "0.05", "-o", field})
                .status,
            0);
  EXPECT_EQ(textOf(field), expected);
}

TEST_F(FieldCommand, AndBack) {
  ASSERT_EQ(toField({"--pe", "j-", "--readout", "0.05"}).status, 0);
  const std::string back = folder.file("b_vdm.map");
  const ProgramResult result = runMirel({"field", "--to-map", field, "--reference", reference,
                                         "--pe", "j-", "--readout", "0.05", "-o", back});
  ASSERT_EQ(result.status, 0) << result.err;
  const Map again = readMapFile(back);
  EXPECT_EQ(again.header.kind, 1);
  EXPECT_EQ(again.header.param2, 5.0f);
  ASSERT_EQ(again.values.size(), map.values.size());
  for (std::size_t n = 0; n < map.values.size(); ++n)
    ASSERT_NEAR(again.values[n], map.values[n], 3e-7f);
}

TEST_F(FieldCommand, TheSidecarOfTheReferenceIsUsed) {
  niftifiles::writeText(folder.file("a.json"),
                        R"({"PhaseEncodingDirection": "j", "EffectiveEchoSpacing": 0.01})");
  ASSERT_EQ(toField({}).status, 0);
  // Six lines: five spacings.
  EXPECT_NEAR(readField(field).hz.at(2, 3, 1), smoothShift(dims).at(2, 3, 1) / 0.05f, 1e-4);
}

TEST_F(FieldCommand, SidecarsHigherUpInTheDatasetCountToo) {
  niftifiles::writeText(folder.file("dataset_description.json"), "{}");
  niftifiles::writeText(folder.file("epi.json"),
                        R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.05})");
  std::filesystem::create_directory(folder.file("sub-1"));
  const std::string image = folder.file("sub-1/sub-1_epi.nii");
  std::filesystem::rename(reference, image);
  const ProgramResult result =
      runMirel({"field", "--from-map", mapFile, "--reference", image, "-o", field});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NEAR(readField(field).hz.at(2, 3, 1), smoothShift(dims).at(2, 3, 1) / 0.05f, 1e-4);
}

TEST_F(FieldCommand, FaultsAreOneSentenceAndLeaveNothing) {
  const auto before = folder.names();
  const auto refused = [&](const ProgramResult& result, const std::string& text) {
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_THAT(result.err, HasSubstr(text));
    EXPECT_EQ(folder.names(), before);
  };
  refused(toField({}), "give it with --pe");
  refused(toField({"--pe", "j"}), "in seconds with --readout");
  refused(toField({"--pe", "j", "--readout", "50"}), "milliseconds");
  refused(runMirel({"field", "--from-map", mapFile, "--reference", reference, "--pe", "j",
                    "--readout", "0.05", "-o", folder.file("f.txt")}),
          "f.txt ends with neither");
  refused(runMirel({"field", "--from-map", mapFile, "--reference", reference, "--pe", "j",
                    "--readout", "0.05", "-o", reference}),
          "a.nii");
  refused(runMirel({"field", "--to-map", reference, "--reference", reference, "--pe", "j",
                    "--readout", "0.05", "-o", folder.file("b.map")}),
          "has 2 volumes");
}

TEST_F(FieldCommand, OtherDimensionsAndNaNAreRefused) {
  map.values[3] = NAN;
  writeMapFile(mapFile, map);
  EXPECT_THAT(toField({"--pe", "j", "--readout", "0.05"}).err, HasSubstr("not finite"));
  map.values[3] = 0;
  map.header.dimX = 4;
  map.values.resize(96);
  writeMapFile(mapFile, map);
  EXPECT_THAT(toField({"--pe", "j", "--readout", "0.05"}).err,
              HasSubstr("a_vdm.map has 4 x 6 x 4 voxels, but"));
  EXPECT_FALSE(std::filesystem::exists(field));
}

TEST_F(FieldCommand, OneOfBothWaysIsNamed) {
  EXPECT_EQ(runMirel({"field", "--reference", reference, "-o", field}).status, 2);
  EXPECT_EQ(
      runMirel({"field", "--from-map", "a", "--to-map", "b", "--reference", reference, "-o", field})
          .status,
      2);
}

}  // namespace

}  // namespace mirel
