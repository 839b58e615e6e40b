#include "base/inputfile.h"

#include <gtest/gtest.h>

#include "base/error.h"
#include "support/messageof.h"
#include "support/temporaryfolder.h"

namespace {

using namespace mirel;

TEST(InputFile, IsReadWhole) {
  const TemporaryFolder folder;
  const std::string content("a\0b\r\n", 5);
  EXPECT_EQ(readWholeFile(folder.write("a.txt", content), 5), content);
  EXPECT_EQ(readWholeFile(folder.write("empty.txt", ""), 0), "");
  const std::string large(200000, 'x');
  EXPECT_EQ(readWholeFile(folder.write("large.txt", large), large.size()), large);
}

TEST(InputFile, LargerThanItsKindIsRefused) {
  const TemporaryFolder folder;
  const std::string name = folder.write("a.txt", "123456");
  EXPECT_EQ(messageOf<Error>([&] { readWholeFile(name, 5); }),
            name + " is larger than 5 bytes, which no file of its kind is");
  // Not even a file without an end is read to one.
  EXPECT_EQ(messageOf<Error>([] { readWholeFile("/dev/zero", 1000); }),
            "/dev/zero is larger than 1000 bytes, which no file of its kind is");
}

TEST(InputFile, BeginningIsReadAlone) {
  const TemporaryFolder folder;
  const std::string name = folder.write("a.txt", "123456");
  EXPECT_EQ(readBeginning(name, 4), "1234");
  EXPECT_EQ(readBeginning(name, 0), "");
  EXPECT_EQ(readBeginning(name, 7), "123456");
  EXPECT_EQ(readBeginning("/dev/zero", 100000), std::string(100000, '\0'));
  EXPECT_EQ(messageOf<Error>([] { readBeginning("/proc/self/mem", 5); }),
            "/proc/self/mem cannot be read: Input/output error");
}

TEST(InputFile, TellsTheSystemsReason) {
  const TemporaryFolder folder;
  EXPECT_EQ(messageOf<Error>([&] { readWholeFile(folder.file("a.txt"), 5); }),
            folder.file("a.txt") + " cannot be opened: No such file or directory");
  EXPECT_EQ(messageOf<Error>([&] { readWholeFile(folder.file(""), 5); }),
            folder.file("") + " cannot be read: Is a directory");
  // The memory at address 0 of this process: a read that fails is no end of the file.
  EXPECT_EQ(messageOf<Error>([] { readWholeFile("/proc/self/mem", 5); }),
            "/proc/self/mem cannot be read: Input/output error");
}

}  // namespace
