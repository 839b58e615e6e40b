#include "report/views.h"

#include <algorithm>
#include <cmath>

#include "base/numbertext.h"
#include "nifti/orientation.h"
#include "picture/draw.h"
#include "picture/orient.h"
#include "picture/scale.h"
#include "report/encode.h"

namespace mirel::report {

namespace {

using picture::Cut;
using picture::CutPlane;
using picture::RgbImage;
using picture::Window;

// A browser enlarges pixels; of the voxels' shorter side only so many are needed as give the longer
// one whole pixels, too, or nearly.
int pixelsPerVoxel(const Grid& grid, picture::SlicePlane plane) {
  constexpr int most = 4;
  constexpr double nearly = 0.02;
  const glm::dvec3 sizes = nifti::columnLengths(grid.affine);
  const auto axes = picture::patientAxes(grid.affine).axis;
  const int across = 2 - static_cast<int>(plane);
  const double one = sizes[axes[across == 0 ? 1 : 0]], other = sizes[axes[across == 2 ? 1 : 2]];
  const double ratio = std::max(one, other) / std::min(one, other);
  for (int pixels = 1; pixels < most; ++pixels)
    if (std::abs(pixels * ratio - std::round(pixels * ratio)) < nearly * pixels * ratio)
      return pixels;
  return most;
}

// Few enough for a page with hundreds of them.
constexpr int thumbnailPixels = 40;

// Whole blocks of a grey picture as one pixel, so that none is left with more on a side.
RgbImage smaller(const RgbImage& grey, int most) {
  const int block = (std::max(grey.width(), grey.height()) + most - 1) / most;
  RgbImage small(std::max(1, grey.width() / block), std::max(1, grey.height() / block));
  for (int y = 0; y < small.height(); ++y)
    for (int x = 0; x < small.width(); ++x) {
      int sum = 0, count = 0;
      for (int j = y * block; j < std::min((y + 1) * block, grey.height()); ++j)
        for (int i = x * block; i < std::min((x + 1) * block, grey.width()); ++i, ++count)
          sum += grey.at(i, j)[0];
      const auto mean = static_cast<std::uint8_t>((sum + count / 2) / count);
      small.set(x, y, {mean, mean, mean});
    }
  return small;
}

std::string captionOf(const ChosenSlice& slice, const CutPlane& plane, bool oriented) {
  std::string text = nameOf(slice.plane);
  text += " slice " + std::to_string(slice.index);
  if (oriented)
    text += std::string(", ") + "zyx"[static_cast<int>(slice.plane)] + " = " +
            picture::fixedText(plane.mm, 1) + " mm";
  return text + (slice.most ? ": largest displacements" : ": middle of the head");
}

}  // namespace

std::string pathOf(const std::vector<picture::Segment>& line) {
  std::string path;
  glm::vec2 end(-1e9F);
  for (const picture::Segment& piece : line) {
    if (piece.from != end)
      path += "M" + text("%.1f", piece.from.x) + " " + text("%.1f", piece.from.y);
    path += "L" + text("%.1f", piece.to.x) + " " + text("%.1f", piece.to.y);
    end = piece.to;
  }
  return path;
}

Views::Views(std::string nameOfImage, Grid where, bool knowsSides, const Volume<float>& head,
             const Volume<float>& shift, std::string startOfIds)
    : name(std::move(nameOfImage)),
      prefix(std::move(startOfIds)),
      grid(where),
      oriented(knowsSides),
      place(0) {
  const std::vector<ChosenSlice> slices = chosenSlices(head, shift, grid.affine);
  place = meetingOf(slices);
  for (const ChosenSlice& slice : slices) {
    const picture::SliceAt at{slice.plane, slice.index, {}};
    View view{cutPlane(grid, at, pixelsPerVoxel(grid, slice.plane), name),
              cutPlane(grid, at, 1, name),
              nameOf(slice.plane) + (" slice " + std::to_string(slice.index)), "", ""};
    view.caption = captionOf(slice, view.plane, oriented);
    view.outline = pathAround(head, view);
    views.push_back(std::move(view));
  }
}

Cut Views::cut(const Volume<float>& volume, const View& view) const {
  return cutThrough(volume, grid.affine, view.plane, picture::Sampling::nearest, name);
}

std::string Views::pathAround(const Volume<float>& mask, const View& view) const {
  const Cut cut = cutThrough(mask, grid.affine, view.outlinePlane, picture::Sampling::linear, name);
  return pathOf(contourOf(cut, 0.5F));
}

void Views::addAnatomy(const Volume<float>& headOfAnatomy) {
  for (View& view : views) view.anatomy = pathAround(headOfAnatomy, view);
}

std::string Views::anatomyId(std::size_t number) const {
  return prefix + std::to_string(number) + "-anatomy";
}

// What all pictures of a slice have in common.
Json Views::frameOf(std::size_t number) const {
  const View& view = views[number];
  const glm::ivec3 size = view.plane.grid.dims, box = view.outlinePlane.grid.dims;
  Json frame = {{"width", std::to_string(size.x)},
                {"height", std::to_string(size.y)},
                // Centres of pixels have whole numbers.
                {"box", "-0.5 -0.5 " + std::to_string(box.x) + " " + std::to_string(box.y)},
                {"contour", prefix + std::to_string(number)},
                {"anatomy", nullptr},
                {"caption", view.caption},
                {"letters", nullptr}};
  if (!view.anatomy.empty()) frame["anatomy"] = anatomyId(number);
  const picture::Letters& letters = view.plane.letters;
  if (oriented)
    frame["letters"] = Json{{"left", letters.left},
                            {"right", letters.right},
                            {"top", letters.top},
                            {"bottom", letters.bottom}};
  return frame;
}

Json Views::contours() const {
  Json list = Json::array();
  for (std::size_t n = 0; n < views.size(); ++n) {
    list.push_back(Json{{"id", prefix + std::to_string(n)}, {"path", views[n].outline}});
    if (!views[n].anatomy.empty())
      list.push_back(Json{{"id", anatomyId(n)}, {"path", views[n].anatomy}});
  }
  return list;
}

Json Views::beforeAndAfter(const std::string& title, const BeforeAfter& image) const {
  Json list = Json::array();
  for (std::size_t n = 0; n < views.size(); ++n) {
    Json view = frameOf(n);
    view["before"] = dataAddress(drawGrey(cut(image.before, views[n]), image.window));
    view["after"] = dataAddress(drawGrey(cut(image.after, views[n]), image.window));
    view["altBefore"] = title + ", " + views[n].where + ", before the correction";
    view["altAfter"] = title + ", " + views[n].where + ", after the correction";
    list.push_back(std::move(view));
  }
  return {{"title", title}, {"views", list}};
}

std::string Views::thumbnail(const Volume<float>& image, const Window& window) const {
  return dataAddress(smaller(drawGrey(cut(image, views.front()), window), thumbnailPixels));
}

Json Views::redAndCyan(const std::string& title, const BeforeAfter& red,
                       const BeforeAfter& cyan) const {
  Json list = Json::array();
  for (std::size_t n = 0; n < views.size(); ++n) {
    const auto drawn = [&](const Volume<float>& first, const Volume<float>& second) {
      return dataAddress(
          drawOverlay(cut(first, views[n]), red.window, cut(second, views[n]), cyan.window));
    };
    Json view = frameOf(n);
    view["before"] = drawn(red.before, cyan.before);
    view["after"] = drawn(red.after, cyan.after);
    view["altBefore"] = title + ", " + views[n].where + ", before the correction";
    view["altAfter"] = title + ", " + views[n].where + ", after the correction";
    list.push_back(std::move(view));
  }
  return {{"title", title}, {"views", list}};
}

Json Views::mapOver(const std::string& title, const MapOver& what) const {
  Json list = Json::array();
  for (std::size_t n = 0; n < views.size(); ++n) {
    const View& view = views[n];
    const Cut where = cut(what.measured, view);
    picture::Measured measured(where.values.size());
    std::transform(where.values.begin(), where.values.end(), measured.begin(),
                   [](float v) { return static_cast<char>(v > 0.5F); });
    const RgbImage drawn = drawMapOver(cut(what.anatomy, view), what.window, cut(what.map, view),
                                       what.limit, measured);
    const std::string stretched = pathAround(what.stretched, view);
    Json shown = frameOf(n);
    shown["picture"] = dataAddress(drawn);
    shown["alt"] = title + ", " + view.where;
    shown["stretched"] = stretched.empty() ? Json() : Json(stretched);
    list.push_back(std::move(shown));
  }
  return list;
}

}  // namespace mirel::report
