#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/program.h"
#include "field/seriesfiles.h"
#include "field/warp.h"

namespace mirel {

// "mirel info" on NIfTI images.

namespace {

using namespace seriesfiles;
using nlohmann::json;
using testing::HasSubstr;

constexpr glm::ivec3 dims{4, 5, 3};

class ImageInfo : public testing::Test {
 protected:
  void SetUp() override {
    nifti::Header header = headerOf(dims, affineOf({-3, 3, 4}, 4, {30, -40, 5}), 2);
    header.type = nifti::DataType::int16;
    header.slope = 0.5;
    writeImage(image, header, [](int t) { return Volume<float>(dims, 10.0f + 20.0f * float(t)); });
  }
  TemporaryFolder folder;
  const std::string image = folder.file("run.nii.gz");
};

TEST_F(ImageInfo, TellsAllInJson) {
  niftifiles::writeText(folder.file("run.json"),
                        R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.04})");
  const ProgramResult result = runMirel({"info", "--json", image});
  ASSERT_EQ(result.status, 0) << result.err;
  const json report = json::parse(result.out);
  EXPECT_EQ(report["kind"], "nifti");
  EXPECT_EQ(report["dimensions"], json({4, 5, 3}));
  EXPECT_EQ(report["volumes"], 2);
  EXPECT_NEAR(report["voxelSizeMm"][2], 4, 1e-6);
  EXPECT_EQ(report["repetitionTimeMs"], 2500.0);
  EXPECT_EQ(report["orientation"], "LAS");
  EXPECT_NEAR(report["affine"][1][3], -40, 1e-5);
  EXPECT_EQ(report["dataType"], "int16");
  EXPECT_EQ(report["slope"], 0.5);
  EXPECT_EQ(report["sidecar"]["phaseEncodingDirection"], "j-");
  EXPECT_EQ(report["sidecar"]["totalReadoutTimeMs"], 40.0);
  EXPECT_EQ(report["sidecar"]["totalReadoutTimeSource"], "TotalReadoutTime");
  EXPECT_EQ(report["data"]["values"], 120);
  EXPECT_EQ(report["data"]["mean"], 20.0);
  EXPECT_EQ(report["warnings"], json::array());
}

TEST_F(ImageInfo, TellsOfSidecarsHigherUpInTheDataset) {
  const std::string above = folder.file("epi.json"), own = folder.file("sub-1/sub-1_epi.json");
  niftifiles::writeText(folder.file("dataset_description.json"), "{}");
  niftifiles::writeText(above, R"({"TotalReadoutTime": 0.04})");
  std::filesystem::create_directory(folder.file("sub-1"));
  std::filesystem::rename(image, folder.file("sub-1/sub-1_epi.nii.gz"));
  niftifiles::writeText(own, R"({"PhaseEncodingDirection": "j-"})");
  const ProgramResult result = runMirel({"info", "--json", folder.file("sub-1/sub-1_epi.nii.gz")});
  ASSERT_EQ(result.status, 0) << result.err;
  const json sidecar = json::parse(result.out)["sidecar"];
  EXPECT_EQ(sidecar["file"], json({above, own}));
  EXPECT_EQ(sidecar["phaseEncodingDirectionFile"], own);
  EXPECT_EQ(sidecar["totalReadoutTimeMs"], 40.0);
  EXPECT_EQ(sidecar["totalReadoutTimeFile"], above);
}

TEST_F(ImageInfo, TellsItAsText) {
  const ProgramResult result = runMirel({"info", image});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("dimensions: 4 5 3\nvolumes: 2\n"));
  EXPECT_THAT(result.out, HasSubstr("orientation: LAS\naffine:\n  -"));
  EXPECT_THAT(result.out, HasSubstr("sidecar: none\n"));
}

TEST_F(ImageInfo, TellsAboutADisplacementFieldOfThreeComponents) {
  const std::string warp = folder.file("warp.nii.gz");
  Volume<float> shift(dims, 0.0f);
  shift.at(1, 2, 1) = 2.0f;
  const nifti::Header grid = headerOf(dims, affineOf({3, 3, 4}));
  writeWarpLps(shift, grid, 1, warp);
  const ProgramResult result = runMirel({"info", "--json", warp});
  ASSERT_EQ(result.status, 0) << result.err;
  const json report = json::parse(result.out);
  EXPECT_EQ(report["dimensions"], json({4, 5, 3}));
  EXPECT_EQ(report["volumes"], 1);
  EXPECT_EQ(report["vectorComponents"], 3);
  EXPECT_EQ(report["intentCode"], 1007);
  EXPECT_EQ(report["data"]["values"], 180);
  EXPECT_NEAR(report["data"]["minimum"], -6, 1e-5) << "two voxels of 3 mm, towards anterior";
  EXPECT_EQ(report["warnings"], json::array());
  // Cut off within the last component.
  const std::string plain = folder.file("warp.nii");
  writeWarpLps(shift, grid, 1, plain);
  std::filesystem::resize_file(plain, std::filesystem::file_size(plain) - 4);
  EXPECT_THAT(runMirel({"info", plain}).err, HasSubstr("warp.nii is truncated"));
}

TEST_F(ImageInfo, ABadSidecarAndTruncatedDataAreWarnings) {
  niftifiles::writeText(folder.file("run.json"), "{");
  std::string bytes = textOf(image);
  bytes.resize(bytes.size() - 12);
  niftifiles::writeText(image, bytes);
  const ProgramResult result = runMirel({"info", "--json", image});
  ASSERT_EQ(result.status, 0);
  const json report = json::parse(result.out);
  EXPECT_TRUE(report["sidecar"].is_null());
  EXPECT_TRUE(report["data"].is_null());
  EXPECT_THAT(report["warnings"].dump(), HasSubstr("is not valid JSON"));
  EXPECT_THAT(report["warnings"].dump(), HasSubstr("run.nii.gz is truncated"));
}

TEST_F(ImageInfo, WhatIsNoImageIsRefused) {
  niftifiles::writeText(folder.file("text.nii"), "text");
  for (const char* name : {"text.nii", "none.nii.gz"}) {
    const ProgramResult result = runMirel({"info", folder.file(name)});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(folder.file(name)));
  }
}

}  // namespace

}  // namespace mirel
