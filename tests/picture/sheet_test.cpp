#include "picture/sheet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "picture/scale.h"

namespace {

using namespace mirel;
using namespace mirel::picture;
using testing::ElementsAre;

constexpr Colour red{255, 0, 0}, blue{0, 0, 255};

bool blank(const RgbImage& image, int left, int top, int width, int height) {
  for (int y = top; y < top + height; ++y)
    for (int x = left; x < left + width; ++x)
      if (image.contains(x, y) && image.at(x, y) != looks::background) return false;
  return true;
}

Panel panelOf(int width, int height, Colour colour) {
  return {RgbImage(width, height, colour), {"L", "R", "A", "P"}};
}

Sheet twoByTwo() {
  Sheet sheet;
  sheet.titles = {{{"first"}}, {{"second column of two"}, {"remark", red}}};
  sheet.rows = {{{"axial 3", "z = 1.0 mm"}, {panelOf(100, 80, red), panelOf(60, 80, blue)}},
                {{"coronal 4"}, {panelOf(100, 50, blue), panelOf(60, 50, red)}}};
  sheet.bars = {{"Hz", 60.0F}, {"voxels", 3.0F, true, false}};
  sheet.legend = {{"brain mask", {0, 255, 0}}, {"head", {255, 0, 255}}};
  return sheet;
}

TEST(Sheet, PutsEverySliceWhereThePlanSays) {
  const Font font;
  const Sheet sheet = twoByTwo();
  const SheetPlan plan = planOf(sheet, font);
  const RgbImage image = drawSheet(sheet, plan, font);
  EXPECT_EQ(image.width(), plan.width);
  EXPECT_EQ(image.height(), plan.height);
  for (std::size_t r = 0; r < 2; ++r)
    for (std::size_t c = 0; c < 2; ++c) {
      const RgbImage& slice = sheet.rows[r].panels[c].image;
      for (int y = 0; y < slice.height(); ++y)
        for (int x = 0; x < slice.width(); ++x)
          ASSERT_EQ(image.at(plan.panels[r][c].left + x, plan.panels[r][c].top + y),
                    slice.at(x, y));
    }
  EXPECT_EQ(plan.panels[0][0].left, plan.panels[1][0].left);
  EXPECT_EQ(plan.panels[0][0].top, plan.panels[0][1].top);
}

TEST(Sheet, WritesTheFourLettersBesideEverySlice) {
  const Font font;
  Sheet sheet = twoByTwo();
  const SheetPlan plan = planOf(sheet, font);
  const RgbImage image = drawSheet(sheet, plan, font);
  for (Row& row : sheet.rows)
    for (Panel& panel : row.panels) panel.letters = {};
  const RgbImage without = drawSheet(sheet, plan, font);
  for (std::size_t r = 0; r < 2; ++r)
    for (std::size_t c = 0; c < 2; ++c) {
      const auto place = plan.panels[r][c];
      const int width = sheet.rows[r].panels[c].image.width();
      const int height = sheet.rows[r].panels[c].image.height();
      const int x = place.left + width / 2 - 6, y = place.top + height / 2 - 6;
      EXPECT_FALSE(blank(image, x, place.top - 15, 12, 14)) << "top " << r << c;
      EXPECT_FALSE(blank(image, x, place.top + height + 1, 12, 14)) << "bottom " << r << c;
      EXPECT_FALSE(blank(image, place.left - 15, y, 14, 12)) << "left " << r << c;
      EXPECT_FALSE(blank(image, place.left + width + 1, y, 14, 12)) << "right " << r << c;
      // They are the letters: without them there is nothing.
      EXPECT_TRUE(blank(without, x, place.top + height + 1, 12, 14)) << "bottom " << r << c;
      EXPECT_TRUE(blank(without, place.left - 15, y, 14, 12)) << "left " << r << c;
      // And they touch neither the slice nor its neighbour.
      EXPECT_TRUE(blank(image, x, place.top - 2, 12, 2));
      EXPECT_TRUE(blank(image, place.left - 1, y, 1, 12));
      EXPECT_TRUE(blank(image, place.left + width, y, 1, 12));
    }
}

TEST(Sheet, WritesEachLetterOnItsOwnSide) {
  const Font font;
  Sheet sheet = twoByTwo();
  const SheetPlan plan = planOf(sheet, font);
  const auto place = plan.panels[0][0];  // of 100 x 80 pixels
  for (int side = 0; side < 4; ++side) {
    const auto only = [side](int which, const char* letter) {
      return std::string(which == side ? letter : "");
    };
    sheet.rows[0].panels[0].letters = {only(0, "L"), only(1, "R"), only(2, "A"), only(3, "P")};
    const RgbImage image = drawSheet(sheet, plan, font);
    const int y = place.top + 34, x = place.left + 44;
    EXPECT_EQ(blank(image, place.left - 15, y, 14, 12), side != 0);
    EXPECT_EQ(blank(image, place.left + 101, y, 14, 12), side != 1);
    EXPECT_EQ(blank(image, x, place.top - 15, 12, 14), side != 2);
    EXPECT_EQ(blank(image, x, place.top + 81, 12, 14), side != 3);
  }
}

TEST(Sheet, LeavesAMarginAllAround) {
  const Font font;
  Sheet sheet = twoByTwo();
  sheet.titles[0][0].text =
      "a very long title that needs more than the three lines that it may take in "
      "its column, which is narrow";
  sheet.legend[0].text = std::string(400, 'm');
  const SheetPlan plan = planOf(sheet, font);
  const RgbImage image = drawSheet(sheet, plan, font);
  const int w = image.width(), h = image.height();
  EXPECT_TRUE(blank(image, 0, 0, w, 8));
  EXPECT_TRUE(blank(image, 0, h - 6, w, 6));
  EXPECT_TRUE(blank(image, 0, 0, 8, h));
  EXPECT_TRUE(blank(image, w - 8, 0, 8, h));
}

TEST(Sheet, MakesRoomForBarsAndTitlesOfSmallSlices) {
  const Font font;
  Sheet sheet = twoByTwo();
  sheet.rows = {{{"axial"}, {panelOf(3, 2, red), panelOf(1, 1, blue)}}};
  sheet.legend.clear();
  const SheetPlan plan = planOf(sheet, font);
  const RgbImage image = drawSheet(sheet, plan, font);
  EXPECT_GE(plan.columnWidths[0], 100);
  const int w = image.width(), h = image.height();
  EXPECT_TRUE(blank(image, 0, 0, w, 8));
  EXPECT_TRUE(blank(image, 0, h - 6, w, 6));
  for (const auto& place : plan.bars) {
    EXPECT_GE(place.top, plan.panels[0][0].top - 30);
    EXPECT_LE(place.top + leastBarHeight(plan.sizes.number), h);
  }
}

TEST(Sheet, HasTextWhereItBelongs) {
  const Font font;
  const Sheet sheet = twoByTwo();
  const SheetPlan plan = planOf(sheet, font);
  const RgbImage image = drawSheet(sheet, plan, font);
  const auto first = plan.panels[0][0];
  // Headings are beside the middles of their rows, titles above their columns, legends below.
  EXPECT_FALSE(blank(image, plan.headingLeft, first.top + 25, 40, 30));
  EXPECT_TRUE(blank(image, plan.headingLeft, first.top, 40, 10));
  EXPECT_FALSE(blank(image, plan.columns[0].left, 14, plan.columnWidths[0], 60));
  EXPECT_EQ(image.at(plan.legend.left + 4, plan.legend.top + 4), (Colour{0, 255, 0}));
  for (const auto& place : plan.bars) {
    const BarPlace bar = barPlace(plan.barHeight, plan.sizes.number);
    EXPECT_EQ(image.at(place.left + 2, place.top + bar.top), divergingColour(1));
    EXPECT_FALSE(blank(image, place.left + bar.width + 6, place.top + bar.top, 30, 6));
  }
}

TEST(Sheet, TakesAnyTitles) {
  const Font font;
  Sheet sheet = twoByTwo();
  const int plain = planOf(sheet, font).height;
  for (const std::string text : {"", " ", "\xFF\xFE", "a\tb\nc", "% & <b> \\ \"", "_-_-_-_-_-_-"}) {
    sheet.titles[0][0].text = text;
    const SheetPlan plan = planOf(sheet, font);
    EXPECT_EQ(drawSheet(sheet, plan, font).height(), plan.height) << text;
    EXPECT_LE(plan.height, plain) << text;
  }
  sheet.titles = {{}, {}};
  EXPECT_LT(planOf(sheet, font).height, plain);
}

TEST(Sheet, BreaksTitlesIntoLinesOfAboutTheSameLength) {
  const Font font;
  Sheet sheet = twoByTwo();
  sheet.titles[0] = {{"sub-01_dir-AP_desc-warp_xfm"}};
  sheet.titles[1] = {{"short"}};
  const auto lines = planOf(sheet, font).titles[0];
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_LT(std::abs(font.width(lines[0].text, 15) - font.width(lines[1].text, 15)), 40);
  EXPECT_EQ(lines[0].text + lines[1].text, "sub-01_dir-AP_desc-warp_xfm");
}

TEST(Sheet, NeedsSlicesForEveryColumn) {
  const Font font;
  EXPECT_THROW(planOf({}, font), std::invalid_argument);
  Sheet sheet = twoByTwo();
  sheet.rows[1].panels.pop_back();
  EXPECT_THROW(planOf(sheet, font), std::invalid_argument);
}

TEST(Sheet, WritesLargerOnWideSheets) {
  const Font font;
  Sheet sheet = twoByTwo();
  EXPECT_EQ(planOf(sheet, font).sizes.title, 15);
  sheet.rows = {{{"axial"}, {panelOf(1200, 80, red), panelOf(1200, 80, blue)}}};
  const SheetPlan plan = planOf(sheet, font);
  EXPECT_GT(plan.sizes.title, 20);
  EXPECT_LT(plan.sizes.title, 27);
}

TEST(BrokenLines, BreakBehindBlanksUnderscoresAndHyphens) {
  const Font font;
  EXPECT_THAT(brokenLines("short", font, 15, 200, 3), ElementsAre("short"));
  EXPECT_THAT(brokenLines("", font, 15, 200, 3), ElementsAre());
  EXPECT_THAT(brokenLines("sub-01_dir-AP_epi", font, 15, 85, 3),
              ElementsAre("sub-01_dir-", "AP_epi"));
  EXPECT_THAT(brokenLines("  one two   three ", font, 15, 70, 3), ElementsAre("one two", "three"));
  const auto lines = brokenLines("one two three four five six", font, 15, 50, 2);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_THAT(lines[1], testing::EndsWith("…"));
  EXPECT_LE(font.width(lines[1], 15), 50);
  const auto unbroken = brokenLines("WWWWWWWWWWWWWWWWWWWWWWWW", font, 15, 60, 3);
  ASSERT_EQ(unbroken.size(), 1u);
  EXPECT_LE(font.width(unbroken[0], 15), 60);
}

}  // namespace
