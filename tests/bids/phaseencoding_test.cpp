#include "bids/phaseencoding.h"

#include <gtest/gtest.h>

#include "support/niftifiles.h"

namespace mirel {

TEST(PhaseEncoding, AllSixDirectionsThereAndBack) {
  const char* names[] = {"i", "i-", "j", "j-", "k", "k-"};
  for (int n = 0; n < 6; ++n) {
    const bids::PhaseEncodingDirection direction = bids::parsePhaseEncoding(names[n], "--pe");
    EXPECT_EQ(direction.axis, n / 2);
    EXPECT_EQ(direction.sign, n % 2 == 0 ? 1 : -1);
    EXPECT_EQ(nameOf(direction), names[n]);
    EXPECT_EQ(direction.opposite().opposite(), direction);
    EXPECT_EQ(direction.opposite().sign, -direction.sign);
  }
  EXPECT_EQ(bids::parsePhaseEncoding("j+", "--pe"), bids::parsePhaseEncoding("j", "--pe"));
}

TEST(PhaseEncoding, OtherTextsAreRefusedWithTheirSource) {
  for (const char* text : {"", "-j", "J", "j--", "x", "AP", "ij", "j "})
    EXPECT_EQ(niftifiles::failure([&] { bids::parsePhaseEncoding(text, "run.json"); }),
              "run.json: \"" + std::string(text) +
                  "\" is no phase-encoding direction (i, i-, j, j-, k or k-)");
}

}  // namespace mirel
