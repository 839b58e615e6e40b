#include "base/filestamp.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "base/error.h"
#include "support/messageof.h"
#include "support/temporaryfolder.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

class FileStampTest : public testing::Test {
 protected:
  void SetUp() override { write("before"); }
  void write(const std::string& text) const { std::ofstream(file) << text; }
  void expectNoticed(const FileStamp& stamp) const {
    EXPECT_THAT(messageOf<Error>([&] { stamp.requireUnchanged(); }),
                AllOf(HasSubstr(file), HasSubstr("changed while it was being used")));
  }

  TemporaryFolder folder;
  const std::string file = folder.file("input");
};

TEST_F(FileStampTest, AFileThatIsOnlyReadHasNotChanged) {
  const FileStamp stamp(file);
  std::string text;
  std::ifstream(file) >> text;
  EXPECT_NO_THROW(stamp.requireUnchanged());
  EXPECT_EQ(stamp.fileName(), file);
}

TEST_F(FileStampTest, AnotherContentOfTheSameSizeIsNoticed) {
  const fs::file_time_type earlier = fs::last_write_time(file) - std::chrono::hours(1);
  fs::last_write_time(file, earlier);
  const FileStamp stamp(file);
  write("beforE");
  expectNoticed(stamp);
}

// Another file under the name, with the time of the old one: a renamed copy.
TEST_F(FileStampTest, AnotherFileUnderTheNameIsNoticed) {
  const FileStamp stamp(file);
  std::ofstream(folder.file("other")) << "before";
  fs::last_write_time(folder.file("other"), fs::last_write_time(file));
  fs::rename(folder.file("other"), file);
  expectNoticed(stamp);
}

TEST_F(FileStampTest, AFileThatIsGoneIsNoticed) {
  const FileStamp stamp(file);
  fs::remove(file);
  expectNoticed(stamp);
}

TEST_F(FileStampTest, OfNoFileNothingIsKnown) {
  EXPECT_EQ(FileStamp().fileName(), "");
  EXPECT_NO_THROW(FileStamp().requireUnchanged());
  EXPECT_NO_THROW(FileStamp(folder.file("none")).requireUnchanged());
}

}  // namespace

}  // namespace mirel
