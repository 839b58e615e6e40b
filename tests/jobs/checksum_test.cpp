#include "jobs/checksum.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <thread>

#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;

// Expected values: FIPS 180-2, appendix B.
TEST(Checksum, IsSha256OfTheBytes) {
  TemporaryFolder folder;
  writeText(folder.file("abc"), "abc");
  EXPECT_EQ(sha256Of(folder.file("abc")),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  writeText(folder.file("million"), std::string(1000000, 'a'));
  EXPECT_EQ(sha256Of(folder.file("million")),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
  writeText(folder.file("empty"), "");
  EXPECT_EQ(sha256Of(folder.file("empty")),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(Checksum, MissingFileAndFolderAreNamed) {
  TemporaryFolder folder;
  EXPECT_THAT(failure([&] { sha256Of(folder.file("none")); }),
              testing::HasSubstr(folder.file("none")));
  EXPECT_THAT(failure([&] { sha256Of(folder.file("")); }), testing::HasSubstr("cannot be"));
}

TEST(Checksum, BesideOtherWorkIsTheSame) {
  TemporaryFolder folder;
  const std::string file = folder.file("million");
  writeText(file, std::string(1000000, 'a'));
  for (const int threads : {0, 1, 2})
    EXPECT_EQ(ChecksumBeside(FileStamp(file), threads).value(), sha256Of(file));
  // Nobody asks: nothing is waited for.
  const ChecksumBeside unused(FileStamp(file), 2);
}

TEST(Checksum, BesideOtherWorkNoticesAChangeAfterItWasComputed) {
  TemporaryFolder folder;
  const std::string file = folder.file("changed");
  for (const int threads : {1, 2}) {
    writeText(file, "before");
    ChecksumBeside checksum(FileStamp(file), threads);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    writeText(file, "afterwards");
    EXPECT_THAT(failure([&] { checksum.value(); }), testing::HasSubstr(file)) << threads;
  }
  ChecksumBeside missing(FileStamp(folder.file("none")), 2);
  EXPECT_NE(failure([&] { missing.value(); }), "");
}

}  // namespace mirel
