#include "base/error.h"

#include <gtest/gtest.h>

#include <string>

#include "base/progress.h"

namespace mirel {

TEST(Error, NamesFileAndFault) {
  const Error error("a.nii", "is truncated");
  EXPECT_STREQ(error.what(), "a.nii is truncated");
  EXPECT_EQ(error.file(), "a.nii");
  EXPECT_EQ(error.field(), "");
  EXPECT_EQ(error.advice(), Advice{});
}

TEST(Error, OfAFieldNamesThatToo) {
  const Advice advice{Advice::Kind::giveReadout, Advice::Of::series};
  const Error error = Error::ofField("a.json", "EchoTime", "has no EchoTime", advice);
  EXPECT_STREQ(error.what(), "a.json has no EchoTime");
  EXPECT_EQ(error.field(), "EchoTime");
  EXPECT_EQ(error.advice(), advice);
}

TEST(Error, MayBeOfNoSingleFile) {
  const Error error("two files differ");
  EXPECT_STREQ(error.what(), "two files differ");
  EXPECT_EQ(error.file(), "");
}

TEST(Progress, StagesFromWritingOnLeaveSomethingOnTheDisk) {
  EXPECT_LT(Stage::checking, Stage::writing);
  EXPECT_LT(Stage::writing, Stage::correcting);
  EXPECT_LT(Stage::correcting, Stage::finishing);
}

}  // namespace mirel
