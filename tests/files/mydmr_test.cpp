#include "files/mydmr.h"

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
                                   "DisplayVolume:                 1\n" + projects::mainEnd +
                                   projects::position + projects::trailer +
                                   "GradientDirectionsVerified:    YES\n"
                                   "GradientXDirInterpretation:    1\n"
                                   "GradientYDirInterpretation:    2\n"
                                   "GradientZDirInterpretation:    3\n"
                                   "GradientInformationAvailable:  YES\n"
                                   "0 0 0 0\n"
                                   "0.5 -0.25 1e-06 1000\n";

class Dmr : public testing::Test {
 protected:
  DMR read(const std::string& header) { return DMR(dir.write("run1.dmr", header), false); }
  DMR load(const std::string& header, const std::string& data) {
    dir.write("run1.dwi", data);
    return DMR(dir.write("run1.dmr", header), true);
  }
  static std::string printed(const DMR& dmr) {
    std::ostringstream os;
    dmr.PrintTo(os);
    return os.str();
  }
  TemporaryFolder dir;
};

TEST_F(Dmr, ACompleteHeaderComesBackByteForByte) {
  DMR dmr = read(completeHeader);
  EXPECT_EQ(printed(dmr), completeHeader);
  dmr.Save();
  EXPECT_EQ(dir.read("run1.dmr"), completeHeader);
  EXPECT_EQ(dmr.DisplayVolume, 1);
  EXPECT_TRUE(dmr.GradientDirectionsVerified);
  EXPECT_EQ(dmr.GradientXDirInterpretation, 1);
  EXPECT_EQ(dmr.GradientYDirInterpretation, 2);
  EXPECT_EQ(dmr.GradientZDirInterpretation, 3);
  ASSERT_EQ(dmr.gradientDirections.size(), 2u);
  EXPECT_EQ(dmr.gradientDirections[1], glm::vec3(0.5F, -0.25F, 1e-6F));
  EXPECT_EQ(dmr.gradientWeights, (std::vector<float>{0.0F, 1000.0F}));
}

TEST_F(Dmr, TheTokenBehindANoIsSkipped) {
  for (const char* no : {"NO", "n", "Not yet"}) {
    const DMR dmr = read("NrOfVolumes: 2\nGradientInformationAvailable: " + std::string(no) +
                         "\nTR: 5\nTE: 6\nX: 0\n");
    EXPECT_FALSE(dmr.GradientInformationAvailable);
    EXPECT_TRUE(dmr.gradientDirections.empty());
    EXPECT_FALSE(dmr.TR.isSet());
    EXPECT_EQ(dmr.TE, 6);
    EXPECT_EQ(printed(dmr), "\nNrOfVolumes: 2\nTE: 6\nGradientInformationAvailable: NO\n");
  }
}

TEST_F(Dmr, TheTableHasAsManyRowsAsVolumesAndTheTokenBehindItIsSkipped) {
  const DMR dmr = read(
      "NrOfVolumes: 2\nGradientInformationAvailable: YES\n"
      "1 0 0 10\n0 1 0 20\n0 0 1 30\nTR: 5\nX: 0\n");
  ASSERT_EQ(dmr.gradientDirections.size(), 2u);
  EXPECT_EQ(dmr.gradientDirections[0], glm::vec3(1, 0, 0));
  EXPECT_EQ(dmr.gradientDirections[1], glm::vec3(0, 1, 0));
  EXPECT_EQ(dmr.gradientWeights, (std::vector<float>{10.0F, 20.0F}));
  EXPECT_EQ(dmr.TR, 5);
  const DMR skipped =
      read("NrOfVolumes: 1\nGradientInformationAvailable: YES\n1 0 0 10\nTR: 5\nTE: 6\nX: 0\n");
  EXPECT_FALSE(skipped.TR.isSet());
  EXPECT_EQ(skipped.TE, 6);
}

TEST_F(Dmr, ATableBeforeTheNumberOfVolumesIsNotRead) {
  const DMR dmr = read("GradientInformationAvailable: YES\n1 0 0 10\nNrOfVolumes: 1\nX: 0\n");
  EXPECT_TRUE(dmr.gradientDirections.empty());
  EXPECT_TRUE(dmr.GradientInformationAvailable);
  EXPECT_EQ(dmr.NrOfVolumes, 1);
}

TEST_F(Dmr, AFailedRowIsKeptAndEndsTheTable) {
  const DMR dmr =
      read("NrOfVolumes: 4\nGradientInformationAvailable: YES\n1 2 3 4\n5 x 7 8\n1 1 1 1\nTR: 5\n");
  ASSERT_EQ(dmr.gradientDirections.size(), 2u);
  EXPECT_EQ(dmr.gradientDirections[1], glm::vec3(5, 0, 0));
  EXPECT_EQ(dmr.gradientWeights, (std::vector<float>{4.0F, 0.0F}));
  EXPECT_FALSE(dmr.TR.isSet());
}

TEST_F(Dmr, AMissingTableIsOneRowOfZeros) {
  for (const char* end : {"\n", ""}) {
    const DMR dmr =
        read("NrOfVolumes: 2000000000\nGradientInformationAvailable: YES" + std::string(end));
    ASSERT_EQ(dmr.gradientDirections.size(), 1u);
    EXPECT_EQ(dmr.gradientDirections[0], glm::vec3(0, 0, 0));
    EXPECT_EQ(dmr.gradientWeights, std::vector<float>{0.0F});
  }
}

TEST_F(Dmr, ATableThatEndsTheFileWithoutALineFeedIsComplete) {
  const DMR dmr = read("NrOfVolumes: 1\nGradientInformationAvailable: YES\n1 2 3 4");
  EXPECT_EQ(dmr.gradientDirections.size(), 1u);
  EXPECT_EQ(dmr.gradientWeights, std::vector<float>{4.0F});
}

TEST_F(Dmr, ASecondTableIsAppended) {
  const DMR dmr = read(
      "NrOfVolumes: 1\nGradientInformationAvailable: YES\n1 2 3 4\nSkipped\n"
      "GradientInformationAvailable: YES\n5 6 7 8\n");
  EXPECT_EQ(dmr.gradientWeights, (std::vector<float>{4.0F, 8.0F}));
}

TEST_F(Dmr, AYesNoLineAtTheEndOfTheFileIsMatchedTwiceAndBecomesYes) {
  const DMR dmr = read("GradientDirectionsVerified:   NO\n");
  EXPECT_TRUE(dmr.GradientDirectionsVerified);
  EXPECT_EQ(printed(dmr), "\nGradientDirectionsVerified:YES\n");
  EXPECT_FALSE(read("GradientDirectionsVerified:   NO").GradientDirectionsVerified);
  // Behind this one a token is read and discarded, which is the end already.
  EXPECT_FALSE(read("GradientInformationAvailable: NO\n").GradientInformationAvailable);
}

TEST_F(Dmr, TheTableIsWrittenOnlyWhenTheAnswerIsYesAndSet) {
  DMR dmr = read("");
  dmr.gradientDirections = {glm::vec3(0, 0, 1)};
  dmr.gradientWeights = {1000.0F};
  dmr.GradientInformationAvailable = true;
  EXPECT_EQ(printed(dmr), "\n");
  dmr.GradientInformationAvailable.set("GradientInformationAvailable", false, 30);
  EXPECT_EQ(printed(dmr), "\nGradientInformationAvailable: NO\n");
  dmr.GradientInformationAvailable = true;
  EXPECT_EQ(printed(dmr), "\nGradientInformationAvailable: YES\n0 0 1 1000\n");
}

TEST_F(Dmr, MissingWeightsAreWrittenAsZero) {
  DMR dmr = read("");
  dmr.GradientInformationAvailable.set("GradientInformationAvailable", true, 30);
  dmr.gradientDirections = {glm::vec3(0, 0, 1), glm::vec3(0, 1, 0)};
  dmr.gradientWeights = {1000.0F};
  EXPECT_EQ(printed(dmr), "\nGradientInformationAvailable: YES\n0 0 1 1000\n0 1 0 0\n");
}

TEST_F(Dmr, YesAndNoAreOnlyForTheTwoGradientLines) {
  const DMR dmr = read(
      "ShowAMRFile: 1\nVoxelResolutionVerified: 0\nGradientDirectionsVerified: yes\n"
      "GradientInformationAvailable: no\nX Y: 0\n");
  EXPECT_EQ(printed(dmr),
            "\nShowAMRFile: 1\nVoxelResolutionVerified: 0\n\nGradientDirectionsVerified: YES\n"
            "GradientInformationAvailable: NO\n");
}

TEST_F(Dmr, FunctionalKeysAreNotKnown) {
  const DMR dmr = read(
      "NrOfLinkedProtocols: 4\nMultibandSequence: 2\nSliceTimingTableSize: 1\n7\nTR: 5\nX: 0\n");
  EXPECT_EQ(printed(dmr), "\nTR: 5\n");
}

TEST_F(Dmr, OnlyStorageFormatThreeIsLoadedButItsHeaderIsRead) {
  const std::string text = replaced(projects::smallHeader(2, 1, 2, 1, 1), "DataStorageFormat: 3",
                                    "DataStorageFormat: 2");
  DMR dmr = read(text);
  EXPECT_EQ(dmr.DataStorageFormat, 2);
  const std::string message = "Can only read DataStorageFormat 3, Not 2";
  EXPECT_EQ(messageOf<ReadFileError>([&] { load(text, "abcdefgh"); }), message);
  EXPECT_EQ(messageOf<ReadFileError>([&] { dmr.LoadDWI(); }), message);
  // Unset, it is 0.
  DMR unset = read(replaced(text, "DataStorageFormat: 2\n", ""));
  EXPECT_EQ(messageOf<ReadFileError>([&] { unset.LoadDWI(); }),
            "Can only read DataStorageFormat 3, Not 0");
}

TEST_F(Dmr, TheStorageFormatIsCheckedAfterTheFileWasOpenedAndTheVolumesAllocated) {
  const std::string text = replaced(projects::smallHeader(2, 1, 2, 1, 1), "DataStorageFormat: 3",
                                    "DataStorageFormat: 2");
  DMR dmr = read(text);
  EXPECT_THROW(dmr.LoadDWI(), OpenFileError);  // no data file yet
  dir.write("run1.dwi", "abcdefgh");
  EXPECT_THROW(dmr.LoadDWI(), ReadFileError);
  ASSERT_EQ(dmr.dwiData.size(), 2u);
  EXPECT_EQ(dmr.dwiData[0], Volume<float>(2, 1, 1, 0.0F));
  EXPECT_EQ(dmr.dwiData[1], Volume<float>(2, 1, 1, 0.0F));
}

TEST_F(Dmr, TheStorageFormatIsNotCheckedOnSaving) {
  DMR dmr = read(replaced(projects::smallHeader(1, 1, 1, 1, 2), "DataStorageFormat: 3",
                          "DataStorageFormat: 2"));
  dmr.dwiData.assign(1, Volume<float>(1, 1, 1, 1.5F));
  dmr.Save();
  EXPECT_EQ(dir.read("run1.dwi"), projects::bytesOf(std::vector<float>{1.5F}));
}

TEST_F(Dmr, TheDataHoldWholeVolumesOneAfterAnother) {
  const int nx = 3, ny = 2, nz = 4, nt = 5;
  const DMR ints = load(projects::smallHeader(nt, nz, nx, ny, 1),
                        projects::bytesOf(projects::counting<std::int16_t>(120)));
  const DMR floats = load(projects::smallHeader(nt, nz, nx, ny, 2),
                          projects::bytesOf(projects::counting<float>(120)));
  int sample = 0;
  for (int t = 0; t < nt; ++t)
    for (int z = 0; z < nz; ++z)
      for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x, ++sample) {
          EXPECT_EQ(ints.dwiData[std::size_t(t)].at(x, y, z), static_cast<float>(sample));
          EXPECT_EQ(floats.dwiData[std::size_t(t)].at(x, y, z), static_cast<float>(sample));
        }
}

TEST_F(Dmr, SavedDataHaveTheSameOrder) {
  for (const int type : {1, 2}) {
    const std::string samples = type == 1 ? projects::bytesOf(projects::counting<std::int16_t>(120))
                                          : projects::bytesOf(projects::counting<float>(120));
    DMR dmr = load(projects::smallHeader(5, 4, 3, 2, type), samples);
    dir.write("run1.dwi", "overwritten");
    dmr.Save();
    EXPECT_EQ(dir.read("run1.dwi"), samples);
  }
}

TEST_F(Dmr, LoadingAgainReplacesWhatWasThere) {
  DMR dmr = load(projects::smallHeader(2, 1, 1, 1, 1), std::string("\x05\x00\x06\x00", 4));
  dmr.dwiData.assign(7, Volume<float>(9, 9, 9, 1.0F));
  dmr.LoadDWI();
  ASSERT_EQ(dmr.dwiData.size(), 2u);
  EXPECT_EQ(dmr.dwiData[1], Volume<float>(1, 1, 1, 6.0F));
}

TEST_F(Dmr, AHeaderCutAnywhereLoadsOrIsRefused) {
  dir.write("run1.dwi", projects::bytesOf(projects::counting<std::int16_t>(24)));
  for (std::size_t n = 0; n <= completeHeader.size(); ++n) {
    dir.write(".dwi", "abc");  // the data of a header cut before its Prefix
    try {
      DMR dmr(dir.write("run1.dmr", completeHeader.substr(0, n)), true);
      EXPECT_LE(dmr.dwiData.size(), 2u) << n;
      EXPECT_LE(dmr.gradientDirections.size(), 2u) << n;
      printed(dmr);
    } catch (const ReadFileError& e) {
      EXPECT_EQ(std::string(e.what()), "Can only read DataStorageFormat 3, Not 0");
    } catch (const OpenFileError& e) {
      EXPECT_NE(std::string(e.what()).find(dir.file("")), std::string::npos) << e.what();
    }
  }
}

TEST_F(Dmr, DataCutAnywhereLoadWithZerosAtTheEnd) {
  for (const int type : {1, 2}) {
    const std::size_t size = type == 1 ? 2 : 4;
    const std::string samples = type == 1 ? projects::bytesOf(std::vector<std::int16_t>(24, 9))
                                          : projects::bytesOf(std::vector<float>(24, 9.0F));
    for (std::size_t n = 0; n <= samples.size(); ++n) {
      const DMR dmr = load(projects::smallHeader(2, 2, 3, 2, type), samples.substr(0, n));
      for (std::size_t i = 0; i < 24; ++i)
        EXPECT_EQ(dmr.dwiData[i / 12].data()[i % 12], (i + 1) * size <= n ? 9.0F : 0.0F);
    }
  }
}

}  // namespace

}  // namespace mirel
