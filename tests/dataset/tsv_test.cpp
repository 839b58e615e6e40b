#include "dataset/tsv.h"

#include <gtest/gtest.h>

namespace mirel::dataset {

TEST(Tsv, CellsAreParted) { EXPECT_EQ(tsvLine({"a", "b c", "1"}), "a\tb c\t1\n"); }

TEST(Tsv, WhatIsNotKnownIsNotAvailable) { EXPECT_EQ(tsvLine({"", "b", ""}), "n/a\tb\tn/a\n"); }

TEST(Tsv, NoCellBreaksTheTable) {
  EXPECT_EQ(tsvLine({"a\tb", "c\nd", "e\r\nf"}), "a b\tc d\te  f\n");
}

}  // namespace mirel::dataset
