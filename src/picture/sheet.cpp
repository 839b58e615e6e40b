#include "picture/sheet.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "picture/looks.h"

namespace mirel::picture {

namespace {

constexpr const char* ellipsis = "\u2026";
constexpr int margin = 14, columnGap = 6, rowGap = 14, titleGap = 4, titleLines = 3;
constexpr int leastColumn = 8;              // in sizes of the title
constexpr std::size_t longestTitle = 1000;  // bytes that are looked at
constexpr int barGap = 26, legendGap = 12;
// Wider sheets are shown smaller on a screen or page; their text grows with the root of the width.
constexpr double widthOfPlainText = 1000, largestText = 1.7;

// Around a slice there is room for a letter on each side.
int letterAcross(const looks::Sizes& sizes) { return sizes.letter + 4; }
int letterDown(const looks::Sizes& sizes) { return Font::capitalHeight(sizes.letter) + 8; }

int legendLine(const looks::Sizes& sizes) { return Font::lineHeight(sizes.text) + 6; }

void check(const Sheet& sheet) {
  if (sheet.rows.empty() || sheet.titles.empty())
    throw std::invalid_argument("a picture needs at least one slice of one image");
  for (const Row& row : sheet.rows)
    if (row.panels.size() != sheet.titles.size())
      throw std::invalid_argument("each row of a picture needs a slice for each column");
}

int widest(const std::vector<std::string>& lines, const Font& font, int size) {
  int width = 0;
  for (const std::string& line : lines) width = std::max(width, font.width(line, size));
  return width;
}

int headingWidth(const Sheet& sheet, const Font& font, const looks::Sizes& sizes) {
  int width = 0;
  for (const Row& row : sheet.rows) width = std::max(width, widest(row.heading, font, sizes.text));
  return width > 0 ? width + 10 : 0;
}

// In as few lines as fit, of about the same length.
std::vector<std::string> balancedLines(const std::string& text, const Font& font, int size,
                                       int width) {
  std::vector<std::string> lines = brokenLines(text, font, size, width, titleLines);
  if (lines.size() < 2) return lines;
  for (int narrower = width - 4; narrower > width / 2; narrower -= 4) {
    std::vector<std::string> next = brokenLines(text, font, size, narrower, titleLines);
    if (next.size() != lines.size() || next.back().ends_with(ellipsis)) break;
    lines = std::move(next);
  }
  return lines;
}

std::vector<TextLine> brokenTitle(const std::vector<TextLine>& title, const Font& font, int size,
                                  int width) {
  std::vector<TextLine> lines;
  for (const TextLine& line : title)
    for (const std::string& part : balancedLines(line.text, font, size, width))
      lines.push_back({part, line.colour});
  return lines;
}

void placeColumns(const Sheet& sheet, const Font& font, SheetPlan& plan) {
  const std::size_t columns = sheet.titles.size();
  int left = margin + headingWidth(sheet, font, plan.sizes);
  for (std::size_t c = 0; c < columns; ++c) {
    int width = 0;
    for (const Row& row : sheet.rows) width = std::max(width, row.panels[c].image.width());
    plan.columns.push_back({left, margin});
    width = std::max(width + 2 * letterAcross(plan.sizes), leastColumn * plan.sizes.title);
    plan.columnWidths.push_back(width);
    plan.titles.push_back(
        brokenTitle(sheet.titles[c], font, plan.sizes.title, plan.columnWidths.back()));
    left += plan.columnWidths.back() + columnGap;
  }
  plan.width = left - columnGap;
}

int titleHeight(const SheetPlan& plan) {
  std::size_t lines = 0;
  for (const auto& title : plan.titles) lines = std::max(lines, title.size());
  return lines == 0 ? 0 : static_cast<int>(lines) * Font::lineHeight(plan.sizes.title) + titleGap;
}

// Returns where the rows end.
int placeRows(const Sheet& sheet, int top, SheetPlan& plan) {
  for (const Row& row : sheet.rows) {
    int height = 0;
    for (const Panel& panel : row.panels) height = std::max(height, panel.image.height());
    std::vector<SheetPlan::Place> places;
    for (std::size_t c = 0; c < row.panels.size(); ++c) {
      const RgbImage& image = row.panels[c].image;
      places.push_back({plan.columns[c].left + (plan.columnWidths[c] - image.width()) / 2,
                        top + letterDown(plan.sizes) + (height - image.height()) / 2});
    }
    plan.panels.push_back(places);
    top += height + 2 * letterDown(plan.sizes) + rowGap;
  }
  return top - rowGap;
}

void placeBars(const Sheet& sheet, const Font& font, int top, int bottom, SheetPlan& plan) {
  plan.barHeight = std::clamp(bottom - top - 2 * letterDown(plan.sizes), 1, 22 * plan.sizes.number);
  for (const ColourBar& bar : sheet.bars) {
    const RgbImage drawn = drawColourBar(bar, plan.barHeight, font, plan.sizes.number);
    plan.bars.push_back({plan.width + barGap, (top + bottom - drawn.height()) / 2});
    plan.width += barGap + drawn.width();
  }
}

void writeTitles(RgbImage& image, const SheetPlan& plan, const Font& font) {
  const int height = titleHeight(plan);
  for (std::size_t c = 0; c < plan.titles.size(); ++c) {
    const auto& lines = plan.titles[c];
    // Titles of fewer lines than others stand directly above their column.
    int top = plan.columns[c].top + height - titleGap -
              static_cast<int>(lines.size()) * Font::lineHeight(plan.sizes.title);
    for (const TextLine& line : lines) {
      const int width = font.width(line.text, plan.sizes.title);
      font.write(image, plan.columns[c].left + (plan.columnWidths[c] - width) / 2, top, line.text,
                 plan.sizes.title, line.colour);
      top += Font::lineHeight(plan.sizes.title);
    }
  }
}

void writeLetters(RgbImage& image, const Panel& panel, SheetPlan::Place place,
                  const looks::Sizes& sizes, const Font& font) {
  const int size = sizes.letter, across = letterAcross(sizes) / 2;
  const int high = Font::capitalHeight(size),
            middle = place.top + (panel.image.height() - high) / 2;
  const auto centred = [&](const std::string& text, int centre, int top) {
    font.write(image, centre - font.width(text, size) / 2, top, text, size, looks::letter);
  };
  const int centre = place.left + panel.image.width() / 2;
  centred(panel.letters.top, centre, place.top - high - 4);
  centred(panel.letters.bottom, centre, place.top + panel.image.height() + 4);
  centred(panel.letters.left, place.left - across, middle);
  centred(panel.letters.right, place.left + panel.image.width() + across, middle);
}

void writeHeading(RgbImage& image, const Row& row, SheetPlan::Place first, const SheetPlan& plan,
                  const Font& font) {
  const int size = plan.sizes.text;
  const int lines = static_cast<int>(row.heading.size());
  int top = first.top + (row.panels[0].image.height() - lines * Font::lineHeight(size)) / 2;
  for (const std::string& line : row.heading) {
    font.write(image, plan.headingLeft, top, line, size, looks::text);
    top += Font::lineHeight(size);
  }
}

void writeLegend(RgbImage& image, const Sheet& sheet, const SheetPlan& plan, const Font& font) {
  const int size = plan.sizes.text;
  int left = plan.legend.left, top = plan.legend.top;
  for (const LegendEntry& entry : sheet.legend) {
    const int sample = 2 * size;
    image.fill(left, top + Font::capitalHeight(size) / 2 - 1, sample, 2, entry.colour);
    const std::string text = font.fitted(entry.text, size, plan.width - left - sample - 8 - margin);
    font.write(image, left + sample + 8, top, text, size, looks::text);
    top += legendLine(plan.sizes);
  }
}

std::string trimmed(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  text.erase(0, text.find_first_not_of(' '));
  return text;
}

// How many bytes of the text go into a line: up to the last place for a break that fits, or to the
// first one where none does.
std::size_t lineEnd(const std::string& text, const Font& font, int size, int width) {
  std::size_t fitting = 0;
  for (std::size_t end = 1; end <= text.size(); ++end) {
    if (end < text.size() && std::string(" _-").find(text[end - 1]) == std::string::npos) continue;
    const bool fits = font.width(trimmed(text.substr(0, end)), size) <= width;
    if (!fits) return fitting > 0 ? fitting : end;
    fitting = end;
  }
  return text.size();
}

SheetPlan planWith(const looks::Sizes& sizes, const Sheet& sheet, const Font& font) {
  SheetPlan plan;
  plan.sizes = sizes;
  plan.headingLeft = margin;
  placeColumns(sheet, font, plan);
  const int top = margin + titleHeight(plan);
  int bottom = placeRows(sheet, top, plan);
  if (!sheet.bars.empty()) bottom = std::max(bottom, top + leastBarHeight(sizes.number));
  placeBars(sheet, font, top, bottom, plan);
  plan.width += margin;
  plan.height = bottom + margin;
  if (!sheet.legend.empty()) {
    plan.legend = {plan.columns.front().left + letterAcross(sizes), bottom + legendGap};
    plan.height += legendGap + legendLine(sizes) * static_cast<int>(sheet.legend.size()) - 8;
  }
  return plan;
}

}  // namespace

std::vector<std::string> brokenLines(const std::string& text, const Font& font, int size, int width,
                                     std::size_t lines) {
  std::vector<std::string> result;
  for (std::string rest = trimmed(text.substr(0, longestTitle));
       !rest.empty() && result.size() < lines;) {
    const bool last = result.size() + 1 == lines;
    const std::size_t end = last ? rest.size() : lineEnd(rest, font, size, width);
    result.push_back(font.fitted(trimmed(rest.substr(0, end)), size, width));
    rest = trimmed(rest.substr(end));
  }
  return result;
}

SheetPlan planOf(const Sheet& sheet, const Font& font) {
  check(sheet);
  const SheetPlan plain = planWith({}, sheet, font);
  const double factor = std::clamp(std::sqrt(plain.width / widthOfPlainText), 1.0, largestText);
  return planWith(looks::Sizes::scaled(factor), sheet, font);
}

RgbImage drawSheet(const Sheet& sheet, const SheetPlan& plan, const Font& font) {
  RgbImage image(plan.width, plan.height, looks::background);
  writeTitles(image, plan, font);
  for (std::size_t r = 0; r < sheet.rows.size(); ++r) {
    const Row& row = sheet.rows[r];
    writeHeading(image, row, plan.panels[r].front(), plan, font);
    for (std::size_t c = 0; c < row.panels.size(); ++c) {
      const SheetPlan::Place place = plan.panels[r][c];
      image.paste(row.panels[c].image, place.left, place.top);
      writeLetters(image, row.panels[c], place, plan.sizes, font);
    }
  }
  for (std::size_t b = 0; b < sheet.bars.size(); ++b)
    image.paste(drawColourBar(sheet.bars[b], plan.barHeight, font, plan.sizes.number),
                plan.bars[b].left, plan.bars[b].top);
  writeLegend(image, sheet, plan, font);
  return image;
}

}  // namespace mirel::picture
