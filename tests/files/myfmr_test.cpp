#include "files/myfmr.h"

#include <gtest/gtest.h>

#include <sstream>

#include "files/ioerror.h"
#include "files/projects.h"
#include "support/messageof.h"
#include "support/temporaryfolder.h"

namespace mirel {

namespace {

using projects::replaced;

const std::string completeHeader = "\n" + projects::mainBeginning +
                                   "NrOfLinkedProtocols:           1\n" + projects::mainEnd +
                                   projects::position + projects::trailer +
                                   "MultibandSequence:              2\n\n"
                                   "SliceTimingTableSize:           3\n"
                                   "0\n66.5\n1333.25\n";

class Fmr : public testing::Test {
 protected:
  FMR read(const std::string& header) { return FMR(dir.write("run1.fmr", header), false); }
  FMR load(const std::string& header, const std::string& data) {
    dir.write("run1.stc", data);
    return FMR(dir.write("run1.fmr", header), true);
  }
  static std::string printed(const FMR& fmr) {
    std::ostringstream os;
    fmr.PrintTo(os);
    return os.str();
  }
  TemporaryFolder dir;
};

TEST_F(Fmr, ACompleteHeaderComesBackByteForByte) {
  FMR fmr = read(completeHeader);
  EXPECT_EQ(printed(fmr), completeHeader);
  fmr.Save();
  EXPECT_EQ(dir.read("run1.fmr"), completeHeader);
  EXPECT_EQ(fmr.NrOfLinkedProtocols, 1);
  EXPECT_EQ(fmr.MultibandSequence, 2);
  EXPECT_EQ(fmr.SliceTimingTableSize, 3);
  EXPECT_EQ(fmr.sliceTimingTable, (std::vector<float>{0.0F, 66.5F, 1333.25F}));
}

TEST_F(Fmr, TheTokenBehindTheSliceTimingTableIsSkipped) {
  const FMR fmr = read("SliceTimingTableSize: 3\n1\n2\n3\nMultibandSequence: 4\nTR: 5\nX: 0\n");
  EXPECT_EQ(fmr.sliceTimingTable, (std::vector<float>{1.0F, 2.0F, 3.0F}));
  EXPECT_FALSE(fmr.MultibandSequence.isSet());
  EXPECT_EQ(fmr.TR, 5);
}

TEST_F(Fmr, TheTokenBehindAnEmptyTableIsSkippedToo) {
  for (const char* size : {"0", "-3"}) {
    const FMR fmr = read("SliceTimingTableSize: " + std::string(size) + "\nTR: 5\nTE: 6\nX: 0\n");
    EXPECT_TRUE(fmr.sliceTimingTable.empty());
    EXPECT_FALSE(fmr.TR.isSet());
    EXPECT_EQ(fmr.TE, 6);
    EXPECT_EQ(printed(fmr), "\nTE: 6\nSliceTimingTableSize: " + std::string(size) + "\n");
  }
}

TEST_F(Fmr, TheTableKeyIsNotMatchedTwiceAtTheEndOfTheFile) {
  const FMR fmr = read("SliceTimingTableSize:   1\n7.5\n");
  EXPECT_EQ(fmr.SliceTimingTableSize.getWidth(), 24);
  EXPECT_EQ(fmr.sliceTimingTable, std::vector<float>{7.5F});
}

TEST_F(Fmr, AValueMissingFromTheTableIsZero) {
  const FMR fmr = read("SliceTimingTableSize: 4\n1\n2\nTR: 5\n");
  EXPECT_EQ(fmr.sliceTimingTable, (std::vector<float>{1.0F, 2.0F, 0.0F, 0.0F}));
  EXPECT_FALSE(fmr.TR.isSet());
}

TEST_F(Fmr, ASecondTableIsAppended) {
  const FMR fmr = read("SliceTimingTableSize: 1\n1\nSkipped\nSliceTimingTableSize: 2\n2\n3\n");
  EXPECT_EQ(fmr.sliceTimingTable, (std::vector<float>{1.0F, 2.0F, 3.0F}));
  EXPECT_EQ(printed(fmr), "\nSliceTimingTableSize: 2\n1\n2\n3\n");
}

TEST_F(Fmr, TheTableIsWrittenOnlyWithAPositiveSizeThatIsSet) {
  FMR fmr = read("");
  fmr.sliceTimingTable = {1.5F};
  fmr.SliceTimingTableSize = 1;
  EXPECT_EQ(printed(fmr), "\n");
  fmr.SliceTimingTableSize.set("SliceTimingTableSize", 0, 22);
  EXPECT_EQ(printed(fmr), "\nSliceTimingTableSize: 0\n");
  fmr.SliceTimingTableSize = 1;
  EXPECT_EQ(printed(fmr), "\nSliceTimingTableSize: 1\n1.5\n");
}

TEST_F(Fmr, ATableLongerThanTheFileIsRefused) {
  const std::string text = "SliceTimingTableSize: 2000000000\n1\n";
  EXPECT_EQ(messageOf<ReadFileError>([&] { read(text); }),
            "Impossible SliceTimingTableSize 2000000000 in " + dir.file("run1.fmr") +
                ", a file of 35 bytes");
  EXPECT_NO_THROW(read("SliceTimingTableSize: 26 1\n"));  // as many as the file has bytes
  EXPECT_THROW(read("SliceTimingTableSize: 28 1\n"), ReadFileError);
}

TEST_F(Fmr, DiffusionKeysAreNotKnown) {
  const FMR fmr = read("DisplayVolume: 4\nGradientXDirInterpretation: 2\nTR: 5\nX: 0\n");
  EXPECT_EQ(printed(fmr), "\nTR: 5\n");
}

TEST_F(Fmr, TheStorageFormatIsNotConsulted) {
  const std::string text = replaced(projects::smallHeader(1, 1, 1, 1, 1), "DataStorageFormat: 3",
                                    "DataStorageFormat: 2");
  const FMR fmr = load(text, std::string("\x05\x00", 2));
  EXPECT_EQ(fmr.stcData[0].at(0, 0, 0), 5.0F);
}

TEST_F(Fmr, TheDataHoldEachSliceOfEveryVolumeInTurn) {
  const int nx = 3, ny = 2, nz = 4, nt = 5;
  const FMR ints = load(projects::smallHeader(nt, nz, nx, ny, 1),
                        projects::bytesOf(projects::counting<std::int16_t>(120)));
  const FMR floats = load(projects::smallHeader(nt, nz, nx, ny, 2),
                          projects::bytesOf(projects::counting<float>(120)));
  int sample = 0;
  for (int z = 0; z < nz; ++z)
    for (int t = 0; t < nt; ++t)
      for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x, ++sample) {
          EXPECT_EQ(ints.stcData[std::size_t(t)].at(x, y, z), static_cast<float>(sample));
          EXPECT_EQ(floats.stcData[std::size_t(t)].at(x, y, z), static_cast<float>(sample));
        }
}

TEST_F(Fmr, SavedDataHaveTheSameOrder) {
  for (const int type : {1, 2}) {
    const std::string samples = type == 1 ? projects::bytesOf(projects::counting<std::int16_t>(120))
                                          : projects::bytesOf(projects::counting<float>(120));
    FMR fmr = load(projects::smallHeader(5, 4, 3, 2, type), samples);
    dir.write("run1.stc", "overwritten");
    fmr.Save();
    EXPECT_EQ(dir.read("run1.stc"), samples);
  }
}

TEST_F(Fmr, LoadingAgainReplacesWhatWasThere) {
  FMR fmr = load(projects::smallHeader(2, 1, 1, 1, 1), std::string("\x05\x00\x06\x00", 4));
  fmr.stcData.assign(7, Volume<float>(9, 9, 9, 1.0F));
  fmr.LoadSTC();
  ASSERT_EQ(fmr.stcData.size(), 2u);
  EXPECT_EQ(fmr.stcData[1], Volume<float>(1, 1, 1, 6.0F));
}

TEST_F(Fmr, ThePrefixIsUsedAsItStands) {
  dir.write("my run.v2.stc", std::string("\x05\x00", 2));
  for (const char* prefix : {"\"my run.v2\"", "my run.v2"}) {
    const std::string text = replaced(projects::smallHeader(1, 1, 1, 1, 1), "\"run1\"", prefix);
    EXPECT_EQ(FMR(dir.write("run1.fmr", text), true).stcData[0].at(0, 0, 0), 5.0F);
  }
}

TEST_F(Fmr, AHeaderCutAnywhereLoadsOrIsRefused) {
  dir.write("run1.stc", projects::bytesOf(projects::counting<std::int16_t>(24)));
  for (std::size_t n = 0; n <= completeHeader.size(); ++n) {
    dir.write(".stc", "abc");  // the data of a header cut before its Prefix
    try {
      FMR fmr(dir.write("run1.fmr", completeHeader.substr(0, n)), true);
      EXPECT_LE(fmr.stcData.size(), 2u) << n;
      printed(fmr);
    } catch (const IOError& e) {
      EXPECT_NE(std::string(e.what()).find(dir.file("")), std::string::npos) << e.what();
    }
  }
}

TEST_F(Fmr, DataCutAnywhereLoadWithZerosAtTheEnd) {
  for (const int type : {1, 2}) {
    const std::size_t size = type == 1 ? 2 : 4;
    const std::string samples = type == 1 ? projects::bytesOf(std::vector<std::int16_t>(24, 9))
                                          : projects::bytesOf(std::vector<float>(24, 9.0F));
    for (std::size_t n = 0; n <= samples.size(); ++n) {
      const FMR fmr = load(projects::smallHeader(2, 2, 3, 2, type), samples.substr(0, n));
      for (std::size_t i = 0; i < 24; ++i) {
        const Volume<float>& volume = fmr.stcData[i / 6 % 2];
        EXPECT_EQ(volume.data()[i % 6 + i / 12 * 6], (i + 1) * size <= n ? 9.0F : 0.0F);
      }
    }
  }
}

}  // namespace

}  // namespace mirel
