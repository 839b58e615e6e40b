#include "base/outputfolder.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(OutputFolder, filesAppearAtTheEndInFoldersThatAreMade) {
  TempFolder folder;
  const std::string deep = folder.file("a/b");
  {
    OutputFolder output(deep);
    output.announce("x.json", {});
    EXPECT_THAT(folder.names(), IsEmpty()) << "nothing is made before it is opened";
    output.open();
    output.writeText("x.json", "{}\n");
    EXPECT_FALSE(std::filesystem::exists(deep + "/x.json"));
    EXPECT_THAT(output.commit(), ElementsAre(deep + "/x.json"));
  }
  EXPECT_EQ(readText(deep + "/x.json"), "{}\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(deep), {}), 1);
}

TEST(OutputFolder, withoutCommitNothingStays) {
  TempFolder folder;
  {
    OutputFolder output(folder.file("a/b/"));
    output.announce("x", {});
    output.open();
    output.writeText("x", "text");
  }
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(OutputFolder, aFolderThatWasThereStaysAndKeepsItsFiles) {
  TempFolder folder;
  writeText(folder.file("old"), "old");
  {
    OutputFolder output(folder.file(""));
    output.announce("old", {});
    output.open();
    output.writeText("old", "new");
  }
  EXPECT_THAT(folder.names(), ElementsAre("old"));
  EXPECT_EQ(readText(folder.file("old")), "old");
}

TEST(OutputFolder, refusesInputsDoublesAndFolders) {
  TempFolder folder;
  writeText(folder.file("in.nii"), "in");
  std::filesystem::create_directory(folder.file("sub"));
  OutputFolder output(folder.file("sub/.."));
  EXPECT_THAT(failure([&] { output.announce("in.nii", {folder.file("in.nii")}); }),
              HasSubstr("would overwrite an input"));
  EXPECT_THAT(failure([&] { output.announce("sub", {}); }), HasSubstr("is a directory"));
  output.announce("x", {});
  EXPECT_THAT(failure([&] { output.announce("x", {}); }), HasSubstr("two results"));
}

TEST(OutputFolder, impossiblePlacesAreRefusedBeforeAnyWork) {
  TempFolder folder;
  writeText(folder.file("file"), "");
  EXPECT_THAT(failure([&] { OutputFolder output(folder.file("file")); }),
              HasSubstr("is a file, not a folder"));
  EXPECT_THAT(failure([&] { OutputFolder output(folder.file("file/sub")); }),
              HasSubstr("cannot be made"));
  EXPECT_THAT(failure([&] { OutputFolder output(""); }), HasSubstr("empty name"));
}

TEST(OutputFolder, messagesNameTheFinalPlace) {
  TempFolder folder;
  OutputFolder output(folder.file("out"));
  output.announce("x", {});
  output.open();
  EXPECT_EQ(output.plain(output.path("x") + " cannot be written"),
            folder.file("out") + "/x cannot be written");
}

}  // namespace mirel
