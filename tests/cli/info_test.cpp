#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/program.h"
#include "files/mapfile.h"

namespace mirel {

namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST(InfoCommand, TellsAboutAProjectInJson) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  const ProgramResult result = runMirel({"info", "--json", folder.file("a.fmr")});
  ASSERT_EQ(result.status, 0);
  const json report = json::parse(result.out);
  EXPECT_EQ(report["kind"], "fmr");
  EXPECT_EQ(report["dimensions"], json({6, 8, 4}));
  EXPECT_EQ(report["volumes"], 2);
  EXPECT_EQ(report["inplaneResolutionMm"], json({2.0, 3.0}));
  EXPECT_EQ(report["sliceThicknessMm"], 2.5);
  EXPECT_EQ(report["sliceGapMm"], 0.5);
  EXPECT_EQ(report["dataType"], "float32");
  EXPECT_EQ(report["data"]["values"], 6 * 8 * 4 * 2);
  EXPECT_EQ(report["data"]["minimum"], 0.0);
  EXPECT_EQ(report["data"]["maximum"], 1000 + 300 + 70 + 5);
  EXPECT_NEAR(report["data"]["mean"], 500 + 150 + 35 + 2.5, 1e-9);
  EXPECT_EQ(report["warnings"], json::array());
}

TEST(InfoCommand, TellsAboutADmrAsText) {
  const TemporaryFolder folder;
  writeDmr(folder.file("a.dmr"), {});
  const ProgramResult result = runMirel({"info", folder.file("a.dmr")});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("kind: dmr\ndimensions: 6 8 4\nvolumes: 2\n"));
  EXPECT_THAT(result.out, HasSubstr("data:\n  values: 384\n"));
}

TEST(InfoCommand, TellsAboutAMap) {
  const TemporaryFolder folder;
  Map map;
  map.header.dimX = 2;
  map.header.dimY = map.header.dimZ = 1;
  map.header.param2 = 5.0f;
  map.values = {3.0f, -4.0f};
  writeMapFile(folder.file("a_vdm.map"), map);
  const json report = json::parse(runMirel({"info", folder.file("a_vdm.map"), "--json"}).out);
  EXPECT_EQ(report["kind"], "map");
  EXPECT_EQ(report["dimensions"], json({2, 1, 1}));
  EXPECT_EQ(report["parameters"], json({0.0, 5.0}));
  EXPECT_EQ(report["data"]["minimum"], -4.0);
  EXPECT_NEAR(report["data"]["rootMeanSquare"], std::sqrt(12.5), 1e-12);
}

TEST(InfoCommand, MissingDataStillShowsTheHeader) {
  const TemporaryFolder folder;
  std::ofstream(folder.file("a.fmr")) << "NrOfVolumes: 2\nResolutionX: 4\nResolutionY: 4\n"
                                         "NrOfSlices: 2\nPrefix: nowhere\n\n";
  const ProgramResult result = runMirel({"info", folder.file("a.fmr"), "--json"});
  EXPECT_EQ(result.status, 0);
  const json report = json::parse(result.out);
  EXPECT_TRUE(report["data"].is_null());
  EXPECT_THAT(report["warnings"].dump(), HasSubstr("Failed opening STC for reading"));
  EXPECT_THAT(report["warnings"].dump(), HasSubstr("InplaneResolutionX is 0 mm"));
}

TEST(InfoCommand, DamagedMapsAndOtherFilesAreRefused) {
  const TemporaryFolder folder;
  std::ofstream(folder.file("a.map")) << "no map";
  std::ofstream(folder.file("a.txt")) << "text";
  for (const char* name : {"a.map", "a.txt", "none.fmr", "none.map"}) {
    const ProgramResult result = runMirel({"info", folder.file(name)});
    EXPECT_EQ(result.status, 1) << name;
    EXPECT_THAT(result.err, HasSubstr(folder.file(name)));
    EXPECT_EQ(result.out, "");
  }
}

TEST(InfoCommand, NeedsNoPlugin) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  EXPECT_EQ(runMirel({"--plugin", "none.so", "info", folder.file("a.fmr")}).status, 0);
}

}  // namespace

}  // namespace mirel
