// What functional and diffusion projects have in common, tested on both.
#include "files/projectheader.h"

#include <gtest/gtest.h>

#include <locale>
#include <sstream>

#include "files/ioerror.h"
#include "files/mydmr.h"
#include "files/myfmr.h"
#include "files/projects.h"
#include "files/tempdir.h"

namespace {

using projects::replaced;

struct Functional {
  using Project = FMR;
  static constexpr const char* header = "run1.fmr";
  static constexpr const char* data = "run1.stc";
  static constexpr const char* readingData = "Failed opening STC for reading: ";
  static constexpr const char* writingData = "Failed opening STC for writing: ";
  static std::vector<Volume<float>>& volumes(FMR& p) { return p.stcData; }
  static void load(FMR& p) { p.LoadSTC(); }
};

struct Diffusion {
  using Project = DMR;
  static constexpr const char* header = "run1.dmr";
  static constexpr const char* data = "run1.dwi";
  static constexpr const char* readingData = "Failed opening for reading: ";
  static constexpr const char* writingData = "Failed opening for writing: ";
  static std::vector<Volume<float>>& volumes(DMR& p) { return p.dwiData; }
  static void load(DMR& p) { p.LoadDWI(); }
};

template <typename Kind>
class ProjectOf : public testing::Test {
 protected:
  using Project = typename Kind::Project;

  Project read(const std::string& header) {
    return Project(dir.write(Kind::header, header), /*loadData=*/false);
  }
  Project load(const std::string& header, const std::string& data) {
    dir.write(Kind::data, data);
    return Project(dir.write(Kind::header, header), /*loadData=*/true);
  }
  static std::string printed(const Project& project) {
    std::ostringstream os;
    project.PrintTo(os);
    return os.str();
  }
  std::string headerName() const { return dir.file(Kind::header); }
  std::string dataName() const { return dir.file(Kind::data); }

  TempDir dir;
};

using Kinds = testing::Types<Functional, Diffusion>;
TYPED_TEST_SUITE(ProjectOf, Kinds);

const std::string commonHeader = "\n" + projects::mainBeginning + projects::mainEnd +
                                 projects::position + projects::trailer + "Ignored: 0\n";

TYPED_TEST(ProjectOf, ReadsEveryCommonLine) {
  const auto p = this->read(commonHeader);
  EXPECT_EQ(p.fileName, this->headerName());
  EXPECT_EQ(p.FileVersion, 5);
  EXPECT_EQ(p.NrOfVolumes.value(), 2);
  EXPECT_EQ(p.NrOfSkippedVolumes, 1);
  EXPECT_EQ(p.Prefix.value(), "run1");
  EXPECT_EQ(p.DataStorageFormat, 3);
  EXPECT_EQ(p.TR, 2000);
  EXPECT_TRUE(p.TimeResolutionVerified);
  EXPECT_FALSE(p.SliceAcquisitionOrderVerified);
  EXPECT_TRUE(p.SliceAcquisitionOrderVerified.isSet());
  EXPECT_EQ(p.LoadAMRFile.value(), "first vol.amr");
  EXPECT_TRUE(p.ShowAMRFile);
  EXPECT_EQ(p.SegmentOffset, 4);
  EXPECT_EQ(p.InplaneResolutionY, 3.25F);
  EXPECT_EQ(p.SliceGap, 0.75F);
  EXPECT_EQ(p.CoordinateSystem, 2);
  EXPECT_EQ(p.SliceNCenterZ, 0.000001F);
  EXPECT_EQ(p.ColDirZ, -0.173648F);
  EXPECT_EQ(p.NCols, 48);
  EXPECT_EQ(p.GapThickness, 0.5F);
  EXPECT_EQ(p.LeftRightConvention.value(), "Radiological");
  EXPECT_EQ(p.FirstDataSourceFile.value(), "C:\\data\\ima 1.dcm");
}

TYPED_TEST(ProjectOf, WritesEveryCommonLineBackAsItWas) {
  EXPECT_EQ(this->printed(this->read(commonHeader)), replaced(commonHeader, "Ignored: 0\n", ""));
}

TYPED_TEST(ProjectOf, LinesInAnotherOrderAreWrittenInTheOrderOfTheTable) {
  const auto p = this->read("TR: 5\nLeftRightConvention: R\nFileVersion: 7\nSliceGap: 1\nX: 0\n");
  EXPECT_EQ(this->printed(p), "\nFileVersion: 7\nTR: 5\nSliceGap: 1\nLeftRightConvention: R\n\n\n");
}

TYPED_TEST(ProjectOf, UnknownKeysAreSkippedAndNotWrittenBack) {
  const auto p = this->read("Unknown: 12 words TR:5 here\nTR: 5\nOther:\nTE: 6\nX: 0\n");
  EXPECT_EQ(this->printed(p), "\nTR: 5\nTE: 6\n");
}

TYPED_TEST(ProjectOf, KeysAreCaseSensitive) {
  const auto p = this->read("tr: 5\nTR 6\nX: 0\n");
  EXPECT_FALSE(p.TR.isSet());
}

TYPED_TEST(ProjectOf, AnEmptyHeaderLeavesAllUnsetAndTheVersionMinusOne) {
  const auto p = this->read("");
  EXPECT_EQ(p.FileVersion.value(), -1);
  EXPECT_FALSE(p.FileVersion.isSet());
  EXPECT_EQ(p.NrOfVolumes.value(), 0);
  EXPECT_EQ(p.Prefix.value(), "");
  EXPECT_EQ(this->printed(p), "\n");
}

TYPED_TEST(ProjectOf, SliceThicknessGoesToTheBlockItStandsIn) {
  const auto p = this->read(commonHeader);
  EXPECT_EQ(p.SliceThickness, 3.0F);
  EXPECT_EQ(p.PosSliceThickness, 2.5F);
  const std::string text = this->printed(p);
  EXPECT_LT(text.find("SliceThickness:                3\n"), text.find("PositionInformation"));
  EXPECT_GT(text.find("SliceThickness:     2.5\n"), text.find("PositionInformation"));
}

TYPED_TEST(ProjectOf, WithoutTheSectionsNameItsLinesStayUnset) {
  const auto p =
      this->read(replaced(commonHeader, "\nPositionInformationFromImageHeaders\n\n", ""));
  EXPECT_FALSE(p.PosInfosVerified.isSet());
  EXPECT_FALSE(p.GapThickness.isSet());
  EXPECT_FALSE(p.PosSliceThickness.isSet());
  // Outside the section the name belongs to the main block: the second one wins.
  EXPECT_EQ(p.SliceThickness, 2.5F);
  EXPECT_EQ(this->printed(p).find("PositionInformation"), std::string::npos);
}

TYPED_TEST(ProjectOf, MainAndTrailerKeysAreNotKnownInsideThePositionSection) {
  const auto p =
      this->read(replaced(commonHeader, "NRows: ", "TE: 99\nLeftRightConvention: L\nNRows: "));
  EXPECT_EQ(p.TE, 30);
  EXPECT_EQ(p.LeftRightConvention.value(), "Radiological");
  EXPECT_EQ(p.NRows, 64);
}

TYPED_TEST(ProjectOf, ASectionWithoutGapThicknessSwallowsTheRest) {
  const auto p = this->read(replaced(commonHeader, "GapThickness:", "Gap:"));
  EXPECT_EQ(p.PosSliceThickness, 2.5F);
  EXPECT_FALSE(p.GapThickness.isSet());
  EXPECT_FALSE(p.NrOfPastSpatialTransformations.isSet());
  EXPECT_FALSE(p.LeftRightConvention.isSet());
}

TYPED_TEST(ProjectOf, PositionLinesAreWrittenWithoutTheSectionsNameWhenPosInfosVerifiedIsUnset) {
  const auto p = this->read("PositionInformationFromImageHeaders\nNRows: 64\nGapThickness: 1\n");
  EXPECT_EQ(this->printed(p), "\nNRows: 64\nGapThickness: 1\n\n\n");
}

TYPED_TEST(ProjectOf, ANumberAtTheEndOfTheFileIsMatchedTwiceAndItsWidthShrinks) {
  const auto p = this->read("TE: 3\nTR:      2000\n");
  EXPECT_EQ(p.TR, 2000);
  EXPECT_EQ(p.TR.getWidth(), 3);
  EXPECT_EQ(this->printed(p), "\nTR:2000\nTE: 3\n");
  const auto f = this->read("SliceGap:   0.5\n\n");
  EXPECT_EQ(this->printed(f), "\nSliceGap:0.5\n");
  const auto b = this->read("ShowAMRFile:  1\n");
  EXPECT_EQ(this->printed(b), "\nShowAMRFile:1\n");
}

TYPED_TEST(ProjectOf, AStringAtTheEndOfTheFileIsMatchedTwiceAndBecomesEmpty) {
  const auto p = this->read("FirstDataSourceFile:   \"a b\"\n");
  EXPECT_TRUE(p.FirstDataSourceFile.isSet());
  EXPECT_EQ(p.FirstDataSourceFile.value(), "");
  EXPECT_EQ(this->printed(p), "\nFirstDataSourceFile:\n\n");
}

TYPED_TEST(ProjectOf, AValueThatEndsTheFileWithoutALineFeedIsMatchedOnce) {
  const auto p = this->read("SliceGap:   0.5");
  EXPECT_EQ(p.SliceGap.getWidth(), 12);
  const auto s = this->read("Prefix:   \"a b\"");
  EXPECT_EQ(s.Prefix.value(), "a b");
}

TYPED_TEST(ProjectOf, APositionLineAtTheEndOfTheFileIsMatchedTwiceButNotGapThickness) {
  const auto rows = this->read("PositionInformationFromImageHeaders\nNRows:    64\n");
  EXPECT_EQ(rows.NRows.getWidth(), 6);
  const auto gap = this->read("PositionInformationFromImageHeaders\nGapThickness:    1\n");
  EXPECT_EQ(gap.GapThickness.getWidth(), 17);
}

TYPED_TEST(ProjectOf, AMalformedValueEndsTheHeaderSilently) {
  const auto p = this->read("FileVersion: 5\nTR: fast\nTE: 30\n");
  EXPECT_EQ(p.FileVersion, 5);
  EXPECT_FALSE(p.TE.isSet());
  const auto missing = this->read("FileVersion: 5\nTR:\nTE: 30\nX: 0\n");
  EXPECT_FALSE(missing.TE.isSet());
}

TYPED_TEST(ProjectOf, NumbersAreReadWithPointsWhateverTheLocale) {
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  const std::locale old = std::locale::global(std::locale(std::locale(), new Comma));
  auto p = this->read("SliceGap: 0.5\nX: 0\n");
  p.Save();
  std::locale::global(old);
  EXPECT_EQ(p.SliceGap, 0.5F);
  EXPECT_EQ(this->dir.read(TypeParam::header), "\nSliceGap: 0.5\n");
}

TYPED_TEST(ProjectOf, AHeaderThatIsNotThereIsNamed) {
  const std::string name = this->dir.file("missing");
  const auto open = [&] { typename TypeParam::Project p(name, false); };
  EXPECT_EQ(messageOf<OpenFileError>(open), "Failed opening for reading: " + name);
  const std::string directory = this->dir.file("");
  const auto openDirectory = [&] { typename TypeParam::Project p(directory, false); };
  EXPECT_EQ(messageOf<OpenFileError>(openDirectory), "Failed opening for reading: " + directory);
}

TYPED_TEST(ProjectOf, DataThatAreNotThereAreNamed) {
  const std::string name = this->dir.write(TypeParam::header, projects::smallHeader(1, 1, 1, 1, 1));
  const auto open = [&] { typename TypeParam::Project p(name, true); };
  EXPECT_EQ(messageOf<OpenFileError>(open), TypeParam::readingData + this->dataName());
  typename TypeParam::Project withoutData(name, false);
  EXPECT_TRUE(TypeParam::volumes(withoutData).empty());
  EXPECT_EQ(messageOf<IOError>([&] { TypeParam::load(withoutData); }),
            TypeParam::readingData + this->dataName());
}

TYPED_TEST(ProjectOf, ImpossibleSizesAreRefusedWithTheirNumbers) {
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

TYPED_TEST(ProjectOf, LargeButPossibleSizesPassWithoutData) {
  EXPECT_NO_THROW(this->read(projects::smallHeader(1000000, 2047, 1024, 1024, 1)));
  EXPECT_NO_THROW(this->read(projects::smallHeader(5, 0, 1024, 1024, 1)));
}

TYPED_TEST(ProjectOf, AHeaderThatPromisesFarMoreThanTheDataHoldIsRefusedBeforeAllocation) {
  const std::string text = projects::smallHeader(1000000, 2047, 1024, 1024, 1);
  EXPECT_EQ(messageOf<ReadFileError>([&] { this->load(text, "abc"); }),
            "Too little data in " + this->dataName() + " for the sizes in " + this->headerName() +
                ": ResolutionX 1024, ResolutionY 1024, NrOfSlices 2047, NrOfVolumes 1000000");
  // Volumes without voxels take memory too.
  EXPECT_THROW(this->load(projects::smallHeader(2147483647, 0, 0, 0, 1), ""), ReadFileError);
}

TYPED_TEST(ProjectOf, ChangedSizesAreCheckedWhenTheDataAreLoadedAgain) {
  auto p = this->load(projects::smallHeader(1, 1, 2, 2, 1), "abcdefgh");
  p.ResolutionX = -2;
  EXPECT_THROW(TypeParam::load(p), ReadFileError);
  p.ResolutionX = 2;
  EXPECT_NO_THROW(TypeParam::load(p));
}

TYPED_TEST(ProjectOf, UnsetSizesAreZeroVolumes) {
  auto p = this->load("Prefix: run1\nDataStorageFormat: 3\nX: 0\n", "abc");
  EXPECT_TRUE(TypeParam::volumes(p).empty());
}

TYPED_TEST(ProjectOf, AShortFileLeavesZerosAndAnExtraByteIsNoSample) {
  for (const std::string data : {"", "a", "ab", "abc"}) {
    auto p = this->load(projects::smallHeader(2, 2, 2, 1, 1), data);
    auto& volumes = TypeParam::volumes(p);
    ASSERT_EQ(volumes.size(), 2u);
    EXPECT_EQ(volumes[0].at(0, 0, 0), data.size() < 2 ? 0.0F : 25185.0F);
    EXPECT_EQ(volumes[0].at(1, 0, 0), 0.0F);
    EXPECT_EQ(volumes[1], Volume<float>(2, 1, 2, 0.0F));
  }
}

TYPED_TEST(ProjectOf, SavingSetsTheNumberOfVolumes) {
  auto p = this->load(projects::smallHeader(2, 1, 1, 1, 2), "");
  TypeParam::volumes(p).assign(5, Volume<float>(1, 1, 1, 7.0F));
  p.Save();
  EXPECT_EQ(p.NrOfVolumes, 5);
  EXPECT_NE(this->dir.read(TypeParam::header).find("NrOfVolumes: 5\n"), std::string::npos);
  EXPECT_EQ(this->dir.read(TypeParam::data), projects::bytesOf(std::vector<float>(5, 7.0F)));
}

TYPED_TEST(ProjectOf, SavingDoesNotSetAnUnsetNumberOfVolumes) {
  auto p = this->read("Prefix: run1\nX: 0\n");
  TypeParam::volumes(p).resize(3);
  p.Save();
  EXPECT_EQ(p.NrOfVolumes, 3);
  EXPECT_EQ(this->dir.read(TypeParam::header), "\nPrefix: run1\n");
}

TYPED_TEST(ProjectOf, SavingWithoutVolumesWritesTheHeaderOnly) {
  auto p = this->read(projects::smallHeader(2, 1, 1, 1, 2));
  p.Save();
  EXPECT_EQ(p.NrOfVolumes, 2);
  EXPECT_FALSE(this->dir.exists(TypeParam::data));
}

TYPED_TEST(ProjectOf, IntegerSamplesAreTruncatedAndWrap) {
  auto p = this->load(projects::smallHeader(1, 1, 4, 1, 1), "");
  const float values[] = {70000.7F, -1.9F, 40000.0F, std::numeric_limits<float>::quiet_NaN()};
  TypeParam::volumes(p)[0].copyData(values);
  p.Save();
  EXPECT_EQ(this->dir.read(TypeParam::data),
            projects::bytesOf(std::vector<std::uint16_t>{4464, 0xFFFF, 40000, 0}));
  TypeParam::load(p);
  EXPECT_EQ(TypeParam::volumes(p)[0].at(2, 0, 0), 40000.0F - 65536.0F);
}

TYPED_TEST(ProjectOf, SamplesAreSignedIntegersUnlessTheTypeIsSetAndTwo) {
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

TYPED_TEST(ProjectOf, SaveAsNamesTheDataAfterTheHeader) {
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

TYPED_TEST(ProjectOf, SaveAsTakesTheDataAlongWhenTheyWereNotLoaded) {
  const auto samples = projects::bytesOf(projects::counting<std::int16_t>(24));
  this->dir.write(TypeParam::data, samples);
  auto p = this->read(commonHeader);
  p.SaveAs(this->dir.file("run2.x"));
  EXPECT_EQ(TypeParam::volumes(p).size(), 2u);
  EXPECT_EQ(this->dir.read(std::string("run2") + (TypeParam::data + 4)), samples);
}

TYPED_TEST(ProjectOf, SaveAsFailsUnchangedWhenTheOldDataAreMissing) {
  auto p = this->read(commonHeader);
  EXPECT_THROW(p.SaveAs(this->dir.file("run2.x")), OpenFileError);
  EXPECT_EQ(p.fileName, this->headerName());
  EXPECT_FALSE(this->dir.exists("run2.x"));
}

TYPED_TEST(ProjectOf, AHeaderThatCannotBeCreatedGoesUnreported) {
  auto p = this->read("Prefix: run1\nX: 0\n");
  p.fileName = this->dir.file("no/such/dir/run1");
  EXPECT_NO_THROW(p.Save());
}

TYPED_TEST(ProjectOf, DataThatCannotBeCreatedAreNamedAndTheHeaderStays) {
  auto p = this->load(projects::smallHeader(1, 1, 1, 1, 2), "");
  p.Prefix = "no/such/run1";
  const std::string text = this->dir.write(TypeParam::header, "old");
  EXPECT_EQ(messageOf<WriteFileError>([&] { p.Save(); }),
            TypeParam::writingData + this->dir.file("no/such/run1") + (TypeParam::data + 4));
  EXPECT_NE(this->dir.read(TypeParam::header), "old");
}

TYPED_TEST(ProjectOf, DataThatCannotBeWrittenAreNamed) {
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

TYPED_TEST(ProjectOf, AHeaderThatCannotBeFilledIsNamed) {
  auto p = this->read("Prefix: run1\nX: 0\n");
  p.fileName = this->dir.file("full");
  std::filesystem::create_symlink("/dev/full", p.fileName);
  EXPECT_EQ(messageOf<WriteFileError>([&] { p.Save(); }), "Failed writing: " + p.fileName);
}

TYPED_TEST(ProjectOf, VolumesOfOtherSizesThanTheHeaderAreRefusedBeforeAnythingIsWritten) {
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

TYPED_TEST(ProjectOf, ARoundTripOfALargeProjectIsExact) {
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
