#include "files/headerdoubts.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "base/error.h"
#include "files/myfmr.h"
#include "support/messageof.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HeaderDoubts : public testing::Test {
 protected:
  std::vector<std::string> of(const std::string& text) const {
    std::ofstream(file) << text;
    return doubtsAboutHeader(file);
  }
  TemporaryFolder folder;
  const std::string file = folder.file("run.fmr");
};

TEST_F(HeaderDoubts, ThereAreNoneAboutAProject) {
  writeFmr(file, {});
  EXPECT_THAT(doubtsAboutHeader(file), IsEmpty());
  EXPECT_NO_THROW(refuseUnknownDataType(file));
}

TEST_F(HeaderDoubts, CountsThatAreNoWholeNumbers) {
  EXPECT_THAT(of("NrOfVolumes:   1e9\nNrOfSlices: 20\nResolutionX: 64.5\nTR: 2\n"),
              ElementsAre(HasSubstr("run.fmr has the NrOfVolumes \"1e9\", which is no whole number "
                                    "and read as 1"),
                          HasSubstr("ResolutionX \"64.5\"")));
  EXPECT_THAT(of("NrOfVolumes:\nNrOfSlices: -3\nTR: 1.5\n"), ElementsAre(HasSubstr("read as 0")));
}

TEST_F(HeaderDoubts, ADataTypeThatIsNotKnown) {
  EXPECT_THAT(of("DataType: 7\nTR: 2\n"),
              ElementsAre(HasSubstr("has the DataType 7, which is neither")));
  EXPECT_THAT(messageOf<Error>([&] { refuseUnknownDataType(file); }),
              HasSubstr("run.fmr has the DataType 7"));
  EXPECT_THAT(of("DataType: 1\nTR: 2\n"), IsEmpty());
}

TEST_F(HeaderDoubts, ANumberAtTheEndIsSavedWithoutItsBlank) {
  EXPECT_THAT(of("TR: 2\nNrOfVolumes:   3\n\n"),
              ElementsAre(HasSubstr("run.fmr ends with its NrOfVolumes")));
  const FMR project(file, false);
  std::ostringstream saved;
  project.PrintTo(saved);
  EXPECT_THAT(saved.str(), HasSubstr("NrOfVolumes:3"));
  EXPECT_THAT(of("TR: 2\nNrOfVolumes: 3"), IsEmpty());
  EXPECT_THAT(of(""), IsEmpty());
}

TEST_F(HeaderDoubts, AFileThatIsNotThereIsForOthersToTellOf) {
  EXPECT_THAT(doubtsAboutHeader(folder.file("none.fmr")), IsEmpty());
}

}  // namespace

}  // namespace mirel
