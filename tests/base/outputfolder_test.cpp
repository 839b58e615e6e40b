#include "base/outputfolder.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "base/error.h"
#include "base/progress.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(OutputFolder, FilesAppearAtTheEndInFoldersThatAreMade) {
  TemporaryFolder folder;
  const std::string deep = folder.file("a/b");
  {
    OutputFolder output(deep);
    output.announce("x.json", {});
    EXPECT_THAT(folder.names(), IsEmpty()) << "nothing is made before it is opened";
    const std::vector<std::string> written = output.write([&] {
      output.writeText("x.json", "{}\n");
      EXPECT_FALSE(std::filesystem::exists(deep + "/x.json"));
    });
    EXPECT_THAT(written, ElementsAre(deep + "/x.json"));
  }
  EXPECT_EQ(textOf(deep + "/x.json"), "{}\n");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(deep), {}), 1);
}

TEST(OutputFolder, WhatIsWithdrawnNeedNotBeWritten) {
  TemporaryFolder folder;
  OutputFolder output(folder.file("a"));
  output.announce("x", {});
  output.announce("y", {});
  output.withdraw("x");
  EXPECT_FALSE(output.isAnnounced("x"));
  EXPECT_THAT(output.write([&] { output.writeText("y", "y"); }), ElementsAre(folder.file("a/y")));
}

TEST(OutputFolder, OfWorkThatFailsNothingStays) {
  TemporaryFolder folder;
  {
    OutputFolder output(folder.file("a/b/"));
    output.announce("x", {});
    EXPECT_THROW(output.write([&] {
      output.writeText("x", "text");
      throw Cancelled();
    }),
                 Cancelled);
  }
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(OutputFolder, AFolderThatWasThereStaysAndKeepsItsFiles) {
  TemporaryFolder folder;
  writeText(folder.file("old"), "old");
  {
    OutputFolder output(folder.file(""));
    output.announce("old", {});
    EXPECT_THROW(output.write([&] {
      output.writeText("old", "new");
      throw std::runtime_error("no more");
    }),
                 std::runtime_error);
  }
  EXPECT_THAT(folder.names(), ElementsAre("old"));
  EXPECT_EQ(textOf(folder.file("old")), "old");
}

TEST(OutputFolder, RefusesInputsDoublesAndFolders) {
  TemporaryFolder folder;
  writeText(folder.file("in.nii"), "in");
  std::filesystem::create_directory(folder.file("sub"));
  OutputFolder output(folder.file("sub/.."));
  EXPECT_THAT(failure([&] { output.announce("in.nii", {folder.file("in.nii")}); }),
              HasSubstr("would overwrite an input"));
  EXPECT_THAT(failure([&] { output.announce("sub", {}); }), HasSubstr("is a directory"));
  output.announce("x", {});
  EXPECT_THAT(failure([&] { output.announce("x", {}); }), HasSubstr("two results"));
}

TEST(OutputFolder, ImpossiblePlacesAreRefusedBeforeAnyWork) {
  TemporaryFolder folder;
  writeText(folder.file("file"), "");
  EXPECT_THAT(failure([&] { OutputFolder output(folder.file("file")); }),
              HasSubstr("is a file, not a folder"));
  EXPECT_THAT(failure([&] { OutputFolder output(folder.file("file/sub")); }),
              HasSubstr("cannot be made"));
  EXPECT_THAT(failure([&] { OutputFolder output(""); }), HasSubstr("empty name"));
}

TEST(OutputFolder, MessagesNameTheFinalPlace) {
  TemporaryFolder folder;
  OutputFolder output(folder.file("out"));
  output.announce("x", {});
  const Advice advice{Advice::Kind::giveReadout, Advice::Of::series};
  try {
    output.write([&] { throw Error(output.path("x"), "cannot be written", advice); });
    FAIL() << "no failure";
  } catch (const Error& error) {
    EXPECT_EQ(error.what(), folder.file("out") + "/x cannot be written");
    EXPECT_EQ(error.advice(), advice);
  }
}

TEST(OutputFolder, CopiesFilesAndNamesTheOneItCannotRead) {
  TemporaryFolder folder;
  writeText(folder.file("a.bval"), "0 1000\n");
  OutputFolder output(folder.file("out"));
  output.announce("b.bval", {});
  output.write([&] { output.copy(folder.file("a.bval"), "b.bval"); });
  EXPECT_EQ(textOf(folder.file("out/b.bval")), "0 1000\n");
  OutputFolder other(folder.file("other"));
  other.announce("b.bval", {});
  EXPECT_EQ(failure([&] { other.write([&] { other.copy(folder.file("none"), "b.bval"); }); }),
            folder.file("none") + " cannot be opened: No such file or directory");
}

}  // namespace mirel
