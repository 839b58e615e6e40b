// Sizes, data and failures, which functional and diffusion projects have in common.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <limits>

#include "files/ioerror.h"
#include "files/projectkinds.h"
#include "support/messageof.h"

namespace mirel {

namespace {

using projects::replaced;

template <typename Kind>
class ProjectFilesOf : public ProjectOf<Kind> {};
TYPED_TEST_SUITE(ProjectFilesOf, Kinds);

TYPED_TEST(ProjectFilesOf, AHeaderThatIsNotThereIsNamed) {
  const std::string name = this->dir.file("missing");
  const auto open = [&] { typename TypeParam::Project p(name, false); };
  EXPECT_EQ(messageOf<OpenFileError>(open), "Failed opening for reading: " + name);
  const std::string directory = this->dir.file("");
  const auto openDirectory = [&] { typename TypeParam::Project p(directory, false); };
  EXPECT_EQ(messageOf<OpenFileError>(openDirectory), "Failed opening for reading: " + directory);
}

TYPED_TEST(ProjectFilesOf, DataThatAreNotThereAreNamed) {
  const std::string name = this->dir.write(TypeParam::header, projects::smallHeader(1, 1, 1, 1, 1));
  const auto open = [&] { typename TypeParam::Project p(name, true); };
  EXPECT_EQ(messageOf<OpenFileError>(open), TypeParam::readingData + this->dataName());
  typename TypeParam::Project withoutData(name, false);
  EXPECT_TRUE(TypeParam::volumes(withoutData).empty());
  EXPECT_EQ(messageOf<IOError>([&] { TypeParam::load(withoutData); }),
            TypeParam::readingData + this->dataName());
}

TYPED_TEST(ProjectFilesOf, AReadThatFailsIsNoEndOfTheFile) {
  // The memory at address 0 of this process is an ordinary file that cannot be read.
  const std::string unreadable = "/proc/self/mem";
  const std::string header =
      this->dir.write(TypeParam::header, projects::smallHeader(2, 3, 4, 5, 1));
  std::filesystem::create_symlink(unreadable, this->dataName());
  EXPECT_EQ(messageOf<ReadFileError>([&] { typename TypeParam::Project p(header, true); }),
            "Failed reading " + this->dataName() + ": Input/output error");
  std::filesystem::remove(header);
  std::filesystem::create_symlink(unreadable, header);
  EXPECT_EQ(messageOf<ReadFileError>([&] { typename TypeParam::Project p(header, false); }),
            "Failed reading " + header + ": Input/output error");
}

TYPED_TEST(ProjectFilesOf, ImpossibleSizesAreRefusedWithTheirNumbers) {
  const struct {
    int volumes, slices, nx, ny;
  } cases[] = {{-1, 1, 1, 1},
               {1, -1, 1, 1},
               {1, 1, -1, 1},
               {1, 1, 1, -1},
               {1, -1, -1, 1},
               {1, 1, 65536, 65536},
               {1, 65536, 65536, 1},
               {1, 2048, 1024, 1024},
               {2147483647, 2047, 1024, 1024},
               {1, 0, 2147483647, 2147483647}};
  for (const auto& c : cases) {
    const std::string text = projects::smallHeader(c.volumes, c.slices, c.nx, c.ny, 2);
    const std::string expected = "Impossible sizes in " + this->headerName() + ": ResolutionX " +
                                 std::to_string(c.nx) + ", ResolutionY " + std::to_string(c.ny) +
                                 ", NrOfSlices " + std::to_string(c.slices) + ", NrOfVolumes " +
                                 std::to_string(c.volumes);
    EXPECT_EQ(messageOf<ReadFileError>([&] { this->read(text); }), expected);
    EXPECT_EQ(messageOf<ReadFileError>([&] { this->load(text, "abc"); }), expected);
  }
}

TYPED_TEST(ProjectFilesOf, LargeButPossibleSizesPassWithoutData) {
  EXPECT_NO_THROW(this->read(projects::smallHeader(1000000, 2047, 1024, 1024, 1)));
  EXPECT_NO_THROW(this->read(projects::smallHeader(5, 0, 1024, 1024, 1)));
}

TYPED_TEST(ProjectFilesOf, ManyVolumesOfNothingAreRefusedBeforeAllocation) {
  // 52 bytes each in memory, of two in the file.
  const std::string text = projects::smallHeader(100000000, 1, 1, 1, 1);
  EXPECT_THROW(this->load(text, "ab"), ReadFileError);
}

TYPED_TEST(ProjectFilesOf, AHeaderThatPromisesFarMoreThanTheDataHoldIsRefusedBeforeAllocation) {
  const std::string text = projects::smallHeader(1000000, 2047, 1024, 1024, 1);
  EXPECT_EQ(messageOf<ReadFileError>([&] { this->load(text, "abc"); }),
            "Too little data in " + this->dataName() + " for the sizes in " + this->headerName() +
                ": ResolutionX 1024, ResolutionY 1024, NrOfSlices 2047, NrOfVolumes 1000000");
  // Volumes without voxels take memory too.
  EXPECT_THROW(this->load(projects::smallHeader(2147483647, 0, 0, 0, 1), ""), ReadFileError);
}

TYPED_TEST(ProjectFilesOf, ChangedSizesAreCheckedWhenTheDataAreLoadedAgain) {
  auto p = this->load(projects::smallHeader(1, 1, 2, 2, 1), "abcdefgh");
  p.ResolutionX = -2;
  EXPECT_THROW(TypeParam::load(p), ReadFileError);
  p.ResolutionX = 2;
  EXPECT_NO_THROW(TypeParam::load(p));
}

TYPED_TEST(ProjectFilesOf, UnsetSizesAreZeroVolumes) {
  auto p = this->load("Prefix: run1\nDataStorageFormat: 3\nX: 0\n", "abc");
  EXPECT_TRUE(TypeParam::volumes(p).empty());
}

TYPED_TEST(ProjectFilesOf, AShortFileLeavesZerosAndAnExtraByteIsNoSample) {
  for (const std::string data : {"", "a", "ab", "abc"}) {
    auto p = this->load(projects::smallHeader(2, 2, 2, 1, 1), data);
    auto& volumes = TypeParam::volumes(p);
    ASSERT_EQ(volumes.size(), 2u);
    EXPECT_EQ(volumes[0].at(0, 0, 0), data.size() < 2 ? 0.0F : 25185.0F);
    EXPECT_EQ(volumes[0].at(1, 0, 0), 0.0F);
    EXPECT_EQ(volumes[1], Volume<float>(2, 1, 2, 0.0F));
  }
}

TYPED_TEST(ProjectFilesOf, SavingSetsTheNumberOfVolumes) {
  auto p = this->load(projects::smallHeader(2, 1, 1, 1, 2), "");
  TypeParam::volumes(p).assign(5, Volume<float>(1, 1, 1, 7.0F));
  p.Save();
  EXPECT_EQ(p.NrOfVolumes, 5);
  EXPECT_NE(this->dir.read(TypeParam::header).find("NrOfVolumes: 5\n"), std::string::npos);
  EXPECT_EQ(this->dir.read(TypeParam::data), projects::bytesOf(std::vector<float>(5, 7.0F)));
}

TYPED_TEST(ProjectFilesOf, SavingDoesNotSetAnUnsetNumberOfVolumes) {
  auto p = this->read("Prefix: run1\nX: 0\n");
  TypeParam::volumes(p).resize(3);
  p.Save();
  EXPECT_EQ(p.NrOfVolumes, 3);
  EXPECT_EQ(this->dir.read(TypeParam::header), "\nPrefix: run1\n");
}

TYPED_TEST(ProjectFilesOf, SavingWithoutVolumesWritesTheHeaderOnly) {
  auto p = this->read(projects::smallHeader(2, 1, 1, 1, 2));
  p.Save();
  EXPECT_EQ(p.NrOfVolumes, 2);
  EXPECT_FALSE(this->dir.exists(TypeParam::data));
}

TYPED_TEST(ProjectFilesOf, IntegerSamplesAreTruncatedAndWrap) {
  auto p = this->load(projects::smallHeader(1, 1, 4, 1, 1), "");
  const float values[] = {70000.7F, -1.9F, 40000.0F, std::numeric_limits<float>::quiet_NaN()};
  TypeParam::volumes(p)[0].copyData(values);
  p.Save();
  EXPECT_EQ(this->dir.read(TypeParam::data),
            projects::bytesOf(std::vector<std::uint16_t>{4464, 0xFFFF, 40000, 0}));
  TypeParam::load(p);
  EXPECT_EQ(TypeParam::volumes(p)[0].at(2, 0, 0), 40000.0F - 65536.0F);
}

TYPED_TEST(ProjectFilesOf, SamplesAreSignedIntegersUnlessTheTypeIsSetAndTwo) {
  const std::string bytes("\xFF\xFF\x00\x80", 4);
  for (const std::string type : {"DataType: 1\n", "DataType: 0\n", "DataType: 3\n", ""}) {
    const std::string text = replaced(projects::smallHeader(1, 1, 2, 1, 1), "DataType: 1\n", type);
    auto p = this->load(text, bytes);
    EXPECT_EQ(TypeParam::volumes(p)[0].at(0, 0, 0), -1.0F);
    EXPECT_EQ(TypeParam::volumes(p)[0].at(1, 0, 0), -32768.0F);
    p.DataType.updateValue(p.DataType.isSet() ? 1 : 2);  // 2 counts only when set
    p.Save();
    EXPECT_EQ(this->dir.read(TypeParam::data), bytes);
  }
  auto f = this->load(projects::smallHeader(1, 1, 1, 1, 2),
                      projects::bytesOf(std::vector<float>{0.125F}));
  EXPECT_EQ(TypeParam::volumes(f)[0].at(0, 0, 0), 0.125F);
}

TYPED_TEST(ProjectFilesOf, SaveAsNamesTheDataAfterTheHeader) {
  const auto samples = projects::bytesOf(projects::counting<std::int16_t>(24));
  auto p = this->load(commonHeader, samples);
  const std::string name = this->dir.file("sub.dir.run2.x");
  p.SaveAs(name);
  EXPECT_EQ(p.fileName, name);
  EXPECT_EQ(p.Prefix.value(), "sub.dir.run2");
  const std::string data = std::string("sub.dir.run2") + (TypeParam::data + 4);
  EXPECT_EQ(this->dir.read(data), samples);
  EXPECT_EQ(this->dir.read("sub.dir.run2.x"),
            replaced(replaced(commonHeader, "Ignored: 0\n", ""), "\"run1\"", "\"sub.dir.run2\""));
  EXPECT_EQ(this->dir.read(TypeParam::header), commonHeader);
  EXPECT_EQ(this->dir.read(TypeParam::data), samples);
}

TYPED_TEST(ProjectFilesOf, SaveAsTakesTheDataAlongWhenTheyWereNotLoaded) {
  const auto samples = projects::bytesOf(projects::counting<std::int16_t>(24));
  this->dir.write(TypeParam::data, samples);
  auto p = this->read(commonHeader);
  p.SaveAs(this->dir.file("run2.x"));
  EXPECT_EQ(TypeParam::volumes(p).size(), 2u);
  EXPECT_EQ(this->dir.read(std::string("run2") + (TypeParam::data + 4)), samples);
}

TYPED_TEST(ProjectFilesOf, SaveAsFailsUnchangedWhenTheOldDataAreMissing) {
  auto p = this->read(commonHeader);
  EXPECT_THROW(p.SaveAs(this->dir.file("run2.x")), OpenFileError);
  EXPECT_EQ(p.fileName, this->headerName());
  EXPECT_FALSE(this->dir.exists("run2.x"));
}

TYPED_TEST(ProjectFilesOf, AHeaderThatCannotBeCreatedGoesUnreported) {
  auto p = this->read("Prefix: run1\nX: 0\n");
  p.fileName = this->dir.file("no/such/dir/run1");
  EXPECT_NO_THROW(p.Save());
}

TYPED_TEST(ProjectFilesOf, DataThatCannotBeCreatedAreNamedAndTheHeaderStays) {
  auto p = this->load(projects::smallHeader(1, 1, 1, 1, 2), "");
  p.Prefix = "no/such/run1";
  const std::string text = this->dir.write(TypeParam::header, "old");
  EXPECT_EQ(messageOf<WriteFileError>([&] { p.Save(); }),
            TypeParam::writingData + this->dir.file("no/such/run1") + (TypeParam::data + 4));
  EXPECT_NE(this->dir.read(TypeParam::header), "old");
}

TYPED_TEST(ProjectFilesOf, DataThatCannotBeWrittenAreNamed) {
  auto p = this->load(projects::smallHeader(1, 1, 100, 100, 2), "");
  std::filesystem::remove(this->dataName());
  std::filesystem::create_symlink("/dev/full", this->dataName());
  EXPECT_EQ(messageOf<WriteFileError>([&] { p.Save(); }), "Failed writing: " + this->dataName());
  EXPECT_TRUE(std::filesystem::exists("/dev/full"));
  // Few bytes, which reach the device only when the file is closed.
  auto few = this->read(projects::smallHeader(1, 1, 1, 1, 2));
  TypeParam::volumes(few).assign(1, Volume<float>(1, 1, 1, 1.0F));
  EXPECT_EQ(messageOf<WriteFileError>([&] { few.Save(); }), "Failed writing: " + this->dataName());
}

/// No file grows beyond `bytes` while it lives: what a full disk is to the program.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit limit = old;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  void (*oldHandler)(int);
  rlimit old{};
};

TYPED_TEST(ProjectFilesOf, DataThatDoNotFitAreNotLeftBehindIncomplete) {
  for (const int type : {1, 2}) {
    auto p = this->load(projects::smallHeader(3, 2, 100, 100, type), "older");
    const FileSizeLimit limit(50000);
    EXPECT_EQ(messageOf<WriteFileError>([&] { p.Save(); }), "Failed writing: " + this->dataName());
    EXPECT_EQ(this->dir.read(TypeParam::data), "older");
    std::filesystem::remove(this->dataName());
    EXPECT_EQ(messageOf<WriteFileError>([&] { p.Save(); }), "Failed writing: " + this->dataName());
    EXPECT_EQ(this->dir.names(), std::vector<std::string>{TypeParam::header});
  }
}

TYPED_TEST(ProjectFilesOf, TheOtherNameOfAReplacedFileKeepsItsContent) {
  auto p = this->load(projects::smallHeader(1, 1, 1, 1, 2), "older");
  std::filesystem::create_hard_link(this->dataName(), this->dir.file("backup"));
  p.Save();
  EXPECT_EQ(this->dir.read("backup"), "older");
  EXPECT_EQ(this->dir.read(TypeParam::data).size(), sizeof(float));
}

TYPED_TEST(ProjectFilesOf, AFileBehindALinkIsReplacedAndKeepsItsPermissions) {
  auto p = this->load(projects::smallHeader(1, 1, 1, 1, 2), "older");
  std::filesystem::create_directory(this->dir.file("store"));
  std::filesystem::rename(this->dataName(), this->dir.file("store/data"));
  std::filesystem::permissions(this->dir.file("store/data"), std::filesystem::perms{0640});
  std::filesystem::create_symlink("store/data", this->dataName());
  p.Save();
  EXPECT_TRUE(std::filesystem::is_symlink(this->dataName()));
  EXPECT_EQ(this->dir.read("store/data").size(), sizeof(float));
  EXPECT_EQ(std::filesystem::status(this->dir.file("store/data")).permissions(),
            std::filesystem::perms{0640});
}

TYPED_TEST(ProjectFilesOf, AHeaderThatCannotBeFilledIsNamed) {
  auto p = this->read("Prefix: run1\nX: 0\n");
  p.fileName = this->dir.file("full");
  std::filesystem::create_symlink("/dev/full", p.fileName);
  EXPECT_EQ(messageOf<WriteFileError>([&] { p.Save(); }), "Failed writing: " + p.fileName);
}

TYPED_TEST(ProjectFilesOf, VolumesOfOtherSizesThanTheHeaderAreRefusedBeforeAnythingIsWritten) {
  const std::string text = projects::smallHeader(2, 2, 3, 4, 2);
  auto p = this->load(text, "");
  TypeParam::volumes(p)[1] = Volume<float>(4, 3, 2, 0.0F);
  EXPECT_EQ(messageOf<WriteFileError>([&] { p.Save(); }),
            "Cannot save " + this->headerName() +
                ": volume 1 has 4 x 3 x 2 voxels, the header says 3 x 4 x 2");
  TypeParam::volumes(p)[1] = Volume<float>(3, 4, 2, 0.0F);
  const Volume<float> taken = std::move(TypeParam::volumes(p)[0]);
  EXPECT_EQ(
      messageOf<WriteFileError>([&] { p.Save(); }),
      "Cannot save " + this->headerName() + ": volume 0 has no voxels, the header says 3 x 4 x 2");
  EXPECT_EQ(this->dir.read(TypeParam::header), text);
  EXPECT_EQ(this->dir.read(TypeParam::data), "");
}

TYPED_TEST(ProjectFilesOf, ARoundTripOfALargeProjectIsExact) {
  const int nx = 97, ny = 101, nz = 13, nt = 41;
  const std::size_t count = std::size_t(nx) * ny * nz * nt;
  for (const int type : {1, 2}) {
    const std::string samples = type == 2
                                    ? projects::bytesOf(projects::counting<float>(count))
                                    : projects::bytesOf(projects::counting<std::int16_t>(count));
    auto p = this->load(projects::smallHeader(nt, nz, nx, ny, type), samples);
    p.SaveAs(this->dir.file("copy.x"));
    EXPECT_TRUE(this->dir.read(std::string("copy") + (TypeParam::data + 4)) == samples);
    typename TypeParam::Project again(p.fileName, true);
    EXPECT_TRUE(TypeParam::volumes(again) == TypeParam::volumes(p));
  }
}

}  // namespace

}  // namespace mirel
