#include "base/terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace mirel {

TEST(Terminal, CanRedrawUnlessItIsDumbOrNone) {
  const int controller = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(controller, 0) << "no terminal to be had";
  ASSERT_EQ(grantpt(controller), 0);
  ASSERT_EQ(unlockpt(controller), 0);
  const int screen = open(ptsname(controller), O_RDWR | O_NOCTTY);
  ASSERT_GE(screen, 0);
  setenv("TERM", "xterm", 1);
  EXPECT_TRUE(canRedraw(screen));
  setenv("TERM", "dumb", 1);
  EXPECT_FALSE(canRedraw(screen));
  unsetenv("TERM");
  EXPECT_FALSE(canRedraw(screen));
  close(screen);
  close(controller);
}

TEST(Terminal, IsNoneOfFilesAndPipes) {
  setenv("TERM", "xterm", 1);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const int file = open("/dev/null", O_WRONLY);
  EXPECT_FALSE(canRedraw(ends[1]));
  EXPECT_FALSE(canRedraw(file));
  EXPECT_FALSE(canRedraw(-1));
  for (const int descriptor : {ends[0], ends[1], file}) close(descriptor);
}

}  // namespace mirel
