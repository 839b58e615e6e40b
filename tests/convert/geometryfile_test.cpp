#include "convert/geometryfile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/niftifiles.h"

namespace mirel {

namespace {

nifti::Header sampleHeader() {
  nifti::Header h;
  h.version = 2;
  h.dims = {72, 64, 39};
  h.volumes = 21;
  h.voxelSizeMm = {3.0000001234, 1.0 / 3, 2.9999};
  h.repetitionTimeSeconds = 2.0050001;
  h.qformCode = 1;
  h.sformCode = 4;
  h.qform = {0.1, 1.0 / 7, -0.3, 12.3456789, -98.7654321, 1e-17, -1};
  for (int c = 0; c < 4; c++)
    for (int r = 0; r < 3; r++) h.sform[c][r] = (c * 3 + r) / 7.0;
  h.type = nifti::DataType::uint16;
  h.slope = 0.1;
  h.inter = -1;
  h.description = "say \"hello\"";
  return h;
}

}  // namespace

TEST(Sidecar, EveryNumberReturnsExactly) {
  const nifti::Header h = sampleHeader();
  const std::optional<nifti::Header> back = convert::parseGeometry(convert::formatGeometry(h));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->version, 2);
  EXPECT_EQ(back->dims, h.dims);
  EXPECT_EQ(back->volumes, 21);
  EXPECT_EQ(back->voxelSizeMm, h.voxelSizeMm);
  EXPECT_EQ(back->repetitionTimeSeconds, h.repetitionTimeSeconds);
  EXPECT_EQ(back->qformCode, 1);
  EXPECT_EQ(back->sformCode, 4);
  EXPECT_EQ(back->qform, h.qform);
  EXPECT_EQ(back->sform, h.sform);
  EXPECT_EQ(back->type, h.type);
  EXPECT_EQ(back->slope, 0.1);
  EXPECT_EQ(back->inter, -1);
  EXPECT_EQ(back->description, h.description);
}

TEST(Sidecar, ADescriptionThatIsNoUtf8DoesNotStopIt) {
  nifti::Header h = sampleHeader();
  h.description = "caf\xe9";
  ASSERT_TRUE(convert::parseGeometry(convert::formatGeometry(h)));
  EXPECT_EQ(convert::parseGeometry(convert::formatGeometry(h))->description, "caf");
}

TEST(Sidecar, OtherTextsAreNone) {
  const std::string good = convert::formatGeometry(sampleHeader());
  EXPECT_FALSE(convert::parseGeometry(""));
  EXPECT_FALSE(convert::parseGeometry("[1, 2]"));
  EXPECT_FALSE(convert::parseGeometry("{\"kind\": 3}"));
  EXPECT_FALSE(convert::parseGeometry("{\"kind\": \"mirel geometry 1\"}"));
  for (std::size_t n = 0; n + 2 < good.size(); n++)
    ASSERT_FALSE(convert::parseGeometry(good.substr(0, n))) << n;
  std::string wrong = good;
  wrong.replace(wrong.find("uint16"), 6, "colour");
  EXPECT_FALSE(convert::parseGeometry(wrong));
  wrong = good;
  wrong.replace(wrong.find("72"), 2, "-1");
  EXPECT_FALSE(convert::parseGeometry(wrong));
}

TEST(Sidecar, CandidatesOfADerivedProject) {
  EXPECT_THAT(convert::geometryFileCandidates("/d/sub_b0_undist.fmr"),
              testing::ElementsAre("/d/sub_b0_undist_geometry.json", "/d/sub_b0_geometry.json",
                                   "/d/sub_geometry.json"));
  EXPECT_EQ(convert::geometryFileName("run1.dmr"), "run1_geometry.json");
}

}  // namespace mirel
