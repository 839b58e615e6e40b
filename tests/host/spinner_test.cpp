#include "host/spinner.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

namespace mirel {

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

/// A terminal whose other end the test reads.
class Terminal {
 public:
  Terminal() : reader(posix_openpt(O_RDWR | O_NOCTTY)) {
    if (reader < 0 || grantpt(reader) != 0 || unlockpt(reader) != 0) return;
    screen = open(ptsname(reader), O_RDWR | O_NOCTTY);
  }
  ~Terminal() {
    close(screen);
    close(reader);
  }

  std::string shown() const {
    std::string text;
    pollfd ready{reader, POLLIN, 0};
    while (poll(&ready, 1, 50) == 1) {
      char buffer[4096];
      const ssize_t count = read(reader, buffer, sizeof buffer);
      if (count <= 0) break;
      text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
  }

  int screen = -1;

 private:
  int reader;
};

class SpinnerTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GE(terminal.screen, 0) << "no terminal to be had";
    setenv("TERM", "xterm", 1);
  }
  Terminal terminal;
};

TEST_F(SpinnerTest, ShowsTheElapsedTimeAndWipesItAtTheEnd) {
  Spinner spinner(terminal.screen);
  spinner.start();
  std::this_thread::sleep_for(1200ms);
  spinner.stop();
  const std::string shown = terminal.shown();
  EXPECT_THAT(shown, HasSubstr("| 0:00"));
  EXPECT_THAT(shown, HasSubstr(" 0:01"));
  EXPECT_TRUE(shown.ends_with("\r\033[K"));
}

TEST_F(SpinnerTest, IsWipedBeforeALineIsWritten) {
  Spinner spinner(terminal.screen);
  spinner.start();
  std::this_thread::sleep_for(50ms);
  spinner.withLineWiped([this] { EXPECT_EQ(write(terminal.screen, "line\n", 5), 5); });
  spinner.stop();
  EXPECT_THAT(terminal.shown(), HasSubstr("\r\033[Kline"));
}

TEST_F(SpinnerTest, StopsAtOnceAndStartsAgain) {
  Spinner spinner(terminal.screen);
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 20; ++i) {
    spinner.start();
    spinner.start();
    spinner.stop();
    spinner.stop();
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
}

TEST_F(SpinnerTest, WritesNothingOnADumbTerminal) {
  setenv("TERM", "dumb", 1);
  {
    Spinner spinner(terminal.screen);
    spinner.start();
    std::this_thread::sleep_for(50ms);
  }
  EXPECT_EQ(terminal.shown(), "");
}

TEST(SpinnerOnAPipe, WritesNothing) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  {
    Spinner spinner(ends[1]);
    spinner.start();
    std::this_thread::sleep_for(50ms);
    spinner.stop();
  }
  char byte = 0;
  EXPECT_EQ(read(ends[0], &byte, 1), -1);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace

}  // namespace mirel
