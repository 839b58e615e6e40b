#pragma once

#include <string>
#include <vector>

#include "picture/colourbar.h"
#include "picture/cut.h"
#include "picture/image.h"
#include "picture/looks.h"

/// Slices, titles, letters and colour bars on one sheet.
namespace mirel::picture {

struct TextLine {
  std::string text;
  Colour colour{255, 255, 255};
};

/// One slice of one input.
struct Panel {
  RgbImage image;
  Letters letters;  ///< outside of the slice, in the middle of its four sides
};

struct Row {
  std::vector<std::string> heading;  ///< lines to the left of the row
  std::vector<Panel> panels;         ///< one for each column
};

struct LegendEntry {
  std::string text;
  Colour colour;
};

struct Sheet {
  std::vector<std::vector<TextLine>> titles;  ///< of the columns; long lines are broken
  std::vector<Row> rows;
  std::vector<ColourBar> bars;      ///< on the right
  std::vector<LegendEntry> legend;  ///< at the foot
};

/// Where the parts are, in pixels from the upper left corner of the sheet.
struct SheetPlan {
  struct Place {
    int left = 0, top = 0;
  };
  int width = 0, height = 0;
  looks::Sizes sizes;  ///< larger on wide sheets, which are looked at as a whole
  std::vector<std::vector<Place>> panels;  ///< by row and column: the slices' upper left corners
  std::vector<Place> bars;
  int barHeight = 0;
  Place legend;
  std::vector<std::vector<TextLine>> titles;  ///< as they are written: broken to their columns
  std::vector<Place> columns;                 ///< where their columns begin, and the titles' top
  std::vector<int> columnWidths;
  int headingLeft = 0;
};

/// Makes room for everything. Errors: std::invalid_argument for a sheet without rows, or rows
/// without panels or of different lengths.
SheetPlan planOf(const Sheet& sheet, const Font& font);

RgbImage drawSheet(const Sheet& sheet, const SheetPlan& plan, const Font& font);

/// A text in lines of at most `width` pixels, broken behind blanks, "_" and "-" where it can be;
/// at most `lines` of them, the last one cut short.
std::vector<std::string> brokenLines(const std::string& text, const Font& font, int size, int width,
                                     std::size_t lines);

}  // namespace mirel::picture
