#include "host/outputs.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "base/error.h"
#include "base/samefile.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ProjectInfo project(const std::string& fileName, const std::string& dataFileName) {
  ProjectInfo info;
  info.fileName = fileName;
  info.dataFileName = dataFileName;
  return info;
}

template <typename Action>
std::string refusal(Action action) {
  try {
    action();
  } catch (const Error& failure) {
    return failure.what();
  }
  return "";
}

TEST(SameFile, ResolvesFoldersAndLinks) {
  const TemporaryFolder folder;
  std::ofstream(folder.file("a.fmr")) << "a";
  std::filesystem::create_directory(folder.file("sub"));
  std::filesystem::create_symlink(folder.file("a.fmr"), folder.file("link.fmr"));
  EXPECT_TRUE(sameFile(folder.file("a.fmr"), folder.file("sub/../a.fmr")));
  EXPECT_TRUE(sameFile(folder.file("a.fmr"), folder.file("link.fmr")));
  EXPECT_TRUE(sameFile(folder.file("new.map"), folder.file("./new.map")));
  EXPECT_FALSE(sameFile(folder.file("a.fmr"), folder.file("b.fmr")));
  EXPECT_FALSE(sameFile(folder.file("new.map"), folder.file("sub/new.map")));
}

TEST(SharedMaps, AreRefused) {
  const TemporaryFolder folder;
  const std::string fmr = folder.file("run1.fmr");
  EXPECT_THAT(refusal([&] { refuseSharedMaps(fmr, folder.file("run1.dmr")); }),
              HasSubstr(folder.file("run1_vdm.map")));
  EXPECT_THAT(refusal([&] { refuseSharedMaps(fmr, folder.file("./run1.fmr")); }),
              HasSubstr("same file"));
  EXPECT_EQ(refusal([&] { refuseSharedMaps(fmr, folder.file("run2.fmr")); }), "");
  EXPECT_EQ(refusal([&] { refuseSharedMaps(fmr, "elsewhere/run1.dmr"); }), "");
}

TEST(OverwrittenInputs, AreRefused) {
  const auto refuse = [](const std::vector<ProjectInfo>& projects) {
    return refusal([&projects] { refuseOverwrittenInputs(projects); });
  };
  EXPECT_EQ(refuse({project("a.fmr", "a.stc"), project("b.dmr", "b.dwi")}), "");
  EXPECT_EQ(refuse({project("a.fmr", "a.stc"), project("a.dmr", "a.dwi")}), "");
  EXPECT_THAT(refuse({project("a.fmr", "a.stc"), project("a_undist.fmr", "a_undist.stc")}),
              HasSubstr("would overwrite a_undist.fmr"));
  EXPECT_THAT(refuse({project("a.fmr", "a_undist.stc")}),
              HasSubstr("would overwrite a_undist.stc"));
  EXPECT_THAT(refuse({project("a.fmr", "a.stc"), project("./a.fmr", "./a.stc")}),
              HasSubstr("listed twice"));
}

TEST(OtherDimensions, AreRefusedWithBothNames) {
  ProjectInfo info = project("a.fmr", "a.stc");
  info.dimX = 6;
  info.dimY = 8;
  info.dimZ = 4;
  EXPECT_EQ(refusal([&] { refuseOtherDimensions(info, "6x8x4", "b.fmr"); }), "");
  EXPECT_EQ(refusal([&] { refuseOtherDimensions(info, "8x6x4", "b.fmr"); }),
            "a.fmr is 6x8x4 voxels, but b.fmr is 8x6x4: they must have the same dimensions");
}

TEST(ExpectedOutputs, TellWhichFilesWereNotWritten) {
  const TemporaryFolder folder;
  std::ofstream(folder.file("stale")) << "earlier";
  std::ofstream(folder.file("rewritten")) << "earlier";
  std::filesystem::last_write_time(
      folder.file("rewritten"),
      std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  ExpectedOutputs outputs;
  for (const char* name : {"stale", "rewritten", "new", "absent"}) outputs.add(folder.file(name));
  std::ofstream(folder.file("rewritten")) << "now";
  std::ofstream(folder.file("new")) << "now";
  EXPECT_THAT(outputs.missing(), ElementsAre(folder.file("stale"), folder.file("absent")));
}

TEST(ExpectedOutputs, RefuseImpossiblePlaces) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.file("taken"));
  ExpectedOutputs outputs;
  EXPECT_THROW(outputs.add(folder.file("none/file")), Error);
  EXPECT_THROW(outputs.add(folder.file("taken")), Error);
  EXPECT_THAT(outputs.names(), IsEmpty());
}

}  // namespace

}  // namespace mirel
