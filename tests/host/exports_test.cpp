#include "host/exports.h"

#include <gmock/gmock.h>

#include <cstring>
#include <fstream>
#include <vector>

#include "host/session.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class Exports : public testing::Test {
 protected:
  void SetUp() override {
    hostSession().console.setSink([this](const std::string& line) { lines.push_back(line); });
  }
  void TearDown() override { hostSession().console.setSink({}); }

  std::vector<std::string> lines;
};

TEST_F(Exports, TheVersionIsAtLeast260) {
  int version[3] = {};
  ztGetVersionOfCorvanaZT(&version[0], &version[1], &version[2]);
  EXPECT_THAT(version, ElementsAre(2, 6, 0));
}

TEST_F(Exports, ParametersPassThroughTheStore) {
  ztSetStringParameter("filename", "/data/run1.fmr");
  ztSetIntParameter("nr_of_volumes", 120);
  char buffer[512];
  ztGetStringParameter("filename", buffer);
  EXPECT_STREQ(buffer, "/data/run1.fmr");
  EXPECT_EQ(ztGetIntParameter("nr_of_volumes"), 120);
}

TEST_F(Exports, UnknownParametersAreEmptyAndZero) {
  char buffer[512];
  std::memset(buffer, '#', sizeof buffer);
  ztGetStringParameter("no such parameter", buffer);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(ztGetIntParameter("no such parameter"), 0);
}

TEST_F(Exports, ATextThatIsTooLongIsReportedAndNotKept) {
  const int errors = hostSession().console.errors();
  ztSetStringParameter("filename", "short");
  ztSetStringParameter("filename", std::string(512, 'x').c_str());
  EXPECT_EQ(hostSession().console.errors(), errors + 1);
  EXPECT_THAT(lines, ElementsAre(HasSubstr("\"filename\" holds at most 511 bytes")));
  char buffer[512];
  ztGetStringParameter("filename", buffer);
  EXPECT_STREQ(buffer, "short");
}

TEST_F(Exports, TheFileDialogAnswersWithAtMost511Bytes) {
  char buffer[600];
  std::memset(buffer, '#', sizeof buffer);
  hostSession().openFileAnswer = std::string(550, 'x');
  ztGetOpenFileName("title", "", "*.fmr *.dmr", buffer);
  EXPECT_EQ(std::strlen(buffer), 511u);
  EXPECT_EQ(buffer[512], '#');
  hostSession().openFileAnswer.clear();
  ztGetOpenFileName("title", "", "*.fmr *.dmr", buffer);
  EXPECT_STREQ(buffer, "");
}

TEST_F(Exports, MapsTravelThroughARecordOfEightFields) {
  const TemporaryFolder folder;
  hostSession().maps.setCurrentDimensions(2, 3, 1);
  ztCreateMAPForCurrentFMR();
  // One byte off any alignment, and guarded behind its 32 bytes.
  std::vector<unsigned char> room(40, 0xAB);
  void* record = room.data() + 1;
  float** slices = ztGetMAPOfCurrentFMR(record);
  ASSERT_NE(slices, nullptr);
  for (std::size_t i = 33; i < room.size(); ++i) EXPECT_EQ(room[i], 0xAB);
  MapHeader header;
  std::memcpy(&header, record, sizeof header);
  EXPECT_EQ(header.dimY, 3);
  slices[0][5] = 2.5f;
  header.kind = 1;
  std::memcpy(record, &header, sizeof header);
  ztSetMAPParametersOfCurrentFMR(record);
  ztSaveMAPsOfCurrentFMR(folder.file("a_vdm.map").c_str());
  hostSession().maps.setCurrentDimensions(2, 3, 1);
  ztLoadMAPsToCurrentFMR(folder.file("a_vdm.map").c_str());
  slices = ztGetMAPOfCurrentFMR(&header);
  ASSERT_NE(slices, nullptr);
  EXPECT_EQ(slices[0][5], 2.5f);
  EXPECT_EQ(header.kind, 1);
  EXPECT_TRUE(lines.empty());
}

TEST_F(Exports, AMapThatCannotBeLoadedIsReportedAndLeavesNone) {
  const TemporaryFolder folder;
  const int errors = hostSession().console.errors();
  const std::string name = folder.file("bad_vdm.map");
  std::ofstream(name) << "not a map";
  hostSession().maps.setCurrentDimensions(2, 2, 1);
  ztCreateMAPForCurrentFMR();
  ztLoadMAPsToCurrentFMR(name.c_str());
  EXPECT_EQ(hostSession().console.errors(), errors + 1);
  EXPECT_THAT(lines, ElementsAre(HasSubstr(name)));
  MapHeader header;
  EXPECT_EQ(ztGetMAPOfCurrentFMR(&header), nullptr);
}

TEST_F(Exports, AMapThatCannotBeSavedIsReported) {
  const TemporaryFolder folder;
  hostSession().maps.setCurrentDimensions(2, 2, 1);
  ztCreateMAPForCurrentFMR();
  ztSaveMAPsOfCurrentFMR(folder.file("none/a_vdm.map").c_str());
  EXPECT_THAT(lines,
              ElementsAre(HasSubstr("Error: the folder of " + folder.file("none/a_vdm.map"))));
}

// 3x2x4 values, x (of size 4 here, the last dimension of the transform) fastest.
TEST_F(Exports, TheTransformThereAndBackMultipliesByTheNumberOfValues) {
  constexpr int n0 = 3, n1 = 2, n2 = 4;
  auto* real = static_cast<float*>(zt_fftwf_malloc(n0 * n1 * n2 * sizeof(float)));
  auto* complex =
      static_cast<float(*)[2]>(zt_fftwf_malloc(n0 * n1 * (n2 / 2 + 1) * sizeof(float[2])));
  void* forward = zt_fftwf_plan_dft_r2c_3d(n0, n1, n2, real, complex, /*estimate=*/1U << 6);
  void* backward = zt_fftwf_plan_dft_c2r_3d(n0, n1, n2, complex, real, /*estimate=*/1U << 6);
  ASSERT_NE(forward, nullptr);
  ASSERT_NE(backward, nullptr);
  float sum = 0;
  for (int i = 0; i < 24; ++i) sum += real[i] = static_cast<float>((7 * i) % 11);
  zt_fftwf_execute(forward);
  EXPECT_NEAR(complex[0][0], sum, 1e-4f);
  EXPECT_NEAR(complex[0][1], 0.0f, 1e-4f);
  zt_fftwf_execute(backward);
  for (int i = 0; i < 24; ++i)
    EXPECT_NEAR(real[i] / 24.0f, static_cast<float>((7 * i) % 11), 1e-5f);
  zt_fftwf_destroy_plan(forward);
  zt_fftwf_destroy_plan(backward);
  zt_fftwf_free(real);
  zt_fftwf_free(complex);
}

}  // namespace

}  // namespace mirel
