#include "files/projectnames.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace mirel {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ProjectNames, TheLastLettersTellTheKind) {
  EXPECT_EQ(projectKindOf("/data/run1.fmr"), ProjectKind::fmr);
  EXPECT_EQ(projectKindOf("run.fmr.dmr"), ProjectKind::dmr);
  for (const char* other : {"run1.FMR", "run1", "run1.fmr ", "fmr", "a.fmr/run1"}) {
    EXPECT_EQ(projectKindOf(other), std::nullopt) << other;
    EXPECT_FALSE(isProjectName(other)) << other;
  }
  EXPECT_TRUE(isProjectName(".dmr"));
  EXPECT_EQ(nameOf(ProjectKind::fmr) + dataExtensionOf(ProjectKind::fmr), "fmr.stc");
  EXPECT_EQ(nameOf(ProjectKind::dmr) + dataExtensionOf(ProjectKind::dmr), "dmr.dwi");
}

TEST(MapNames, CutAtTheLastDotOfTheWholeName) {
  EXPECT_EQ(vdm_filename("/data/run1.fmr"), "/data/run1_vdm.map");
  EXPECT_EQ(vdmderiv_filename("/data/run1.fmr"), "/data/run1_vdmderiv.map");
  EXPECT_EQ(vdm_filename("run.1.fmr"), "run.1_vdm.map");
  EXPECT_EQ(vdm_filename("run1"), "run1_vdm.map");
  EXPECT_EQ(vdm_filename("/data.old/run1"), "/data_vdm.map");
}

TEST(MapNames, LeadBackToTheProjectsTheyCanBelongTo) {
  EXPECT_THAT(possibleProjectsOf("/data/run.1_vdm.map"),
              ElementsAre("/data/run.1.fmr", "/data/run.1.dmr"));
  EXPECT_THAT(possibleProjectsOf(vdmderiv_filename("a.dmr")), ElementsAre("a.fmr", "a.dmr"));
  EXPECT_THAT(possibleProjectsOf("run1.map"), IsEmpty());
  EXPECT_TRUE(isVdmName(vdm_filename("a.fmr")));
  EXPECT_FALSE(isVdmName(vdmderiv_filename("a.fmr")));
}

TEST(CorrectedNames, StandBeforeTheLastDot) {
  EXPECT_EQ(correctedProjectName("/data/run.1.fmr"), "/data/run.1_undist.fmr");
  EXPECT_EQ(correctedProjectName("a.b/c.dmr"), "a.b/c_undist.dmr");
  EXPECT_EQ(correctedDataName("/data/run.1.fmr"), "/data/run.1_undist.stc");
  EXPECT_EQ(correctedDataName("a.b/c.dmr"), "a.b/c_undist.dwi");
  EXPECT_EQ(correctedDataName("c.txt"), "c_undist.dwi") << "what is no FMR is read as a DMR";
  EXPECT_THROW(correctedProjectName("run1"), std::out_of_range);
}

}  // namespace mirel
