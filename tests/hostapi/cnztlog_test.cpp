#include "hostapi/cnztlog.h"

#include <gmock/gmock.h>

#include <iomanip>
#include <memory>
#include <string>
#include <vector>

namespace mirel {

namespace {

std::vector<std::string> received;

void receive(const char* text) { received.emplace_back(text); }

class LogTest : public testing::Test {
 protected:
  void SetUp() override { received.clear(); }
  std::unique_ptr<CNZTLog> log = std::make_unique<CNZTLog>(receive);
};

using testing::ElementsAre;
using testing::IsEmpty;

}  // namespace

TEST_F(LogTest, PassesAFlushedMessageInOneCall) {
  *log << "Done." << std::flush;
  EXPECT_THAT(received, ElementsAre("Done."));
}

TEST_F(LogTest, JoinsMessagesUntilTheFlush) {
  *log << "one\n" << 2 << " " << std::setprecision(3) << 2.0 / 3 << "\n";
  EXPECT_THAT(received, IsEmpty());
  *log << std::flush;
  EXPECT_THAT(received, ElementsAre("one\n2 0.667\n"));
}

TEST_F(LogTest, LeavesTheLineFeedOfEndlInTheText) {
  *log << "line" << std::endl;
  EXPECT_THAT(received, ElementsAre("line\n"));
}

TEST_F(LogTest, KeepsCallingForAFlushWithNothingPending) {
  *log << "Done." << std::flush << std::flush;
  EXPECT_THAT(received, ElementsAre("Done.", ""));
}

TEST_F(LogTest, StartsAfreshAfterAFlush) {
  *log << "a long first message" << std::flush;
  *log << "b" << std::flush;
  EXPECT_THAT(received, ElementsAre("a long first message", "b"));
}

TEST_F(LogTest, PassesPendingTextAtDestruction) {
  *log << "pending";
  log.reset();
  EXPECT_THAT(received, ElementsAre("pending"));
}

TEST_F(LogTest, KeepsCallingAtDestructionWithNothingPending) {
  log.reset();
  EXPECT_THAT(received, ElementsAre(""));
}

TEST_F(LogTest, PassesNothingBeforeAFlushHoweverLongTheTextGrows) {
  const std::string block(1000, 'x');
  for (int i = 0; i < 1000; ++i) *log << block;
  EXPECT_THAT(received, IsEmpty());
  *log << std::flush;
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].size(), 1000000u);
}

}  // namespace mirel
