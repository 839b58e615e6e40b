#include "picture/picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "base/error.h"
#include "picture/contour.h"
#include "picture/draw.h"
#include "picture/looks.h"
#include "picture/measured.h"
#include "picture/sheet.h"

namespace mirel::picture {

namespace {

std::vector<Layer*> layersOf(Scene& scene) {
  std::vector<Layer*> layers;
  for (Input& input : scene.inputs) layers.push_back(&input.layer);
  if (scene.anatomy) layers.push_back(&*scene.anatomy);
  if (scene.measured) layers.push_back(&*scene.measured);
  for (Outline& outline : scene.outlines) layers.push_back(&outline.layer);
  return layers;
}

// What is cut in one plane has to lie in one space: all with the first input, or, on grids of their
// own, what belongs to every input with each of them.
void requireOneSpace(const Scene& scene, const Style& style) {
  std::vector<const Layer*> common;
  if (scene.anatomy) common.push_back(&*scene.anatomy);
  if (scene.measured) common.push_back(&*scene.measured);
  for (const Outline& outline : scene.outlines) common.push_back(&outline.layer);
  for (std::size_t i = 0; i < scene.inputs.size(); ++i) {
    const Layer& own = scene.inputs[i].layer;
    if (!style.ownGrids || (style.overlay && i == 1))
      requireSameSpace(own, scene.inputs.front().layer);
    for (const Layer* layer : common) requireSameSpace(*layer, own);
  }
}

void checkOverlay(const Scene& scene) {
  if (scene.inputs.size() < 2 || scene.inputs[0].isMap || scene.inputs[1].isMap)
    throw Error("an overlay needs two images to lay over one another, in front of the maps");
}

/// Draws the panels of a scene whose layers are all placed.
class Drawing {
 public:
  Drawing(const Scene& drawnScene, const Style& drawnStyle) : scene(drawnScene), style(drawnStyle) {
    for (const Input& input : scene.inputs)
      windows.push_back(input.isMap ? Window{} : robustWindow(input.layer.volume));
    if (style.commonWindow) std::fill(windows.begin(), windows.end(), windows.front());
    if (scene.anatomy) anatomyWindow = robustWindow(scene.anatomy->volume);
    const MeasuredSpaces spaces(scene, style);
    for (const Input& input : scene.inputs)
      measured.push_back(input.isMap ? spaces.of(input.layer) : MeasuredSpace());
    makeBars();
    met.assign(scene.inputs.size(), false);
  }

  Row row(const SliceAt& where) {
    Row row;
    const CutPlane first = planeOf(scene.inputs.front().layer, where);
    row.heading = headingOf(first, where);
    for (std::size_t i = 0; i < scene.inputs.size(); ++i) {
      const Layer& layer = scene.inputs[i].layer;
      const CutPlane plane = style.ownGrids && i > 0 ? planeOf(layer, where) : first;
      row.panels.push_back(finished(inputOn(plane, i), plane));
    }
    if (style.overlay) row.panels.push_back(finished(overlayOn(first), first));
    return row;
  }

  std::vector<std::vector<TextLine>> titles() const {
    std::vector<std::vector<TextLine>> titles;
    for (const Input& input : scene.inputs) {
      titles.push_back({{input.label, looks::title}});
      if (!input.remark.empty()) titles.back().push_back({input.remark, looks::text});
    }
    if (style.overlay)
      titles.push_back({{scene.inputs[0].label, looks::red}, {scene.inputs[1].label, looks::cyan}});
    return titles;
  }

  std::vector<LegendEntry> legend() const {
    std::vector<LegendEntry> entries;
    for (std::size_t i = 0; i < scene.outlines.size(); ++i)
      entries.push_back({scene.outlines[i].label, outlineColour(i)});
    return entries;
  }

  std::vector<ColourBar> bars;

  /// Inputs that none of the slices met, and limits that belong to no map.
  std::vector<std::string> notes() const {
    std::vector<std::string> notes;
    for (const auto& [unit, limit] : style.limitOfUnit)
      if (std::none_of(bars.begin(), bars.end(),
                       [&unit = unit](const ColourBar& bar) { return bar.unit == unit; }))
        notes.push_back("no map is in " + unit + ", of which a limit is given");
    for (std::size_t i = 0; i < met.size(); ++i)
      if (!met[i])
        notes.push_back(scene.inputs[i].layer.name + " lies elsewhere than " +
                        scene.inputs.front().layer.name +
                        ": nothing of it is at the place of the slices");
    return notes;
  }

 private:
  // Wider where a voxel has many pixels: such pictures are large.
  float lineWidth() const {
    return 1.5F * std::max(1.0F, static_cast<float>(style.pixelsPerVoxel) / 4.0F);
  }

  static Colour outlineColour(std::size_t i) { return looks::contours[i % looks::contours.size()]; }

  CutPlane planeOf(const Layer& layer, const SliceAt& where) const {
    CutPlane plane = cutPlane(layer.grid(), where, style.pixelsPerVoxel, layer.name);
    if (layer.placement != Placement::scanner) plane.letters = {};
    return plane;
  }

  // "axial 30", "z = 12.0 mm"; with grids of their own the slices of a row have that in common
  // which was asked for.
  std::vector<std::string> headingOf(const CutPlane& plane, const SliceAt& where) const {
    std::vector<std::string> lines{nameOf(where.plane)};
    if (!where.mm && (!style.ownGrids || where.index))
      lines.front() += " " + std::to_string(std::lround(plane.index));
    if (where.mm || (!style.ownGrids && scene.inputs.front().layer.placement == Placement::scanner))
      lines.push_back(std::string(1, "zyx"[static_cast<int>(where.plane)]) + " = " +
                      fixedText(plane.mm, 1) + " mm");
    return lines;
  }

  ColourBar& barOf(const std::string& unit) {
    return *std::find_if(bars.begin(), bars.end(),
                         [&](const ColourBar& bar) { return bar.unit == unit; });
  }

  void makeBars() {
    for (std::size_t i = 0; i < scene.inputs.size(); ++i) {
      const Input& input = scene.inputs[i];
      if (!input.isMap) continue;
      const float own = robustLimit(input.layer.volume, measured[i].on(input.layer.grid()));
      const auto known = std::find_if(bars.begin(), bars.end(),
                                      [&](const ColourBar& bar) { return bar.unit == input.unit; });
      if (known == bars.end())
        bars.push_back({input.unit, own});
      else
        known->limit = std::max(known->limit, own);
    }
    for (ColourBar& bar : bars) {
      const auto given = style.limitOfUnit.find(bar.unit);
      if (given != style.limitOfUnit.end())
        bar.limit = static_cast<float>(given->second);
      else
        bar.limit = style.limit ? static_cast<float>(*style.limit) : roundedUp(bar.limit);
    }
  }

  RgbImage inputOn(const CutPlane& plane, std::size_t i) {
    const Input& input = scene.inputs[i];
    const Cut cut =
        cutThrough(input.layer.volume, input.layer.affine, plane, style.sampling, input.layer.name);
    met[i] = met[i] || cut.meetsImage();
    return input.isMap ? mapOn(plane, cut, measured[i], barOf(input.unit))
                       : drawGrey(cut, windows[i]);
  }

  RgbImage mapOn(const CutPlane& plane, const Cut& map, const MeasuredSpace& space,
                 ColourBar& bar) const {
    const Measured where = space.onPlane(plane.grid);
    for (std::size_t i = 0; i < map.values.size(); ++i) {
      if (!map.covered[i] || (!where.empty() && where[i] == 0)) continue;
      bar.above = bar.above || map.values[i] > bar.limit;
      bar.below = bar.below || map.values[i] < -bar.limit;
    }
    if (!scene.anatomy) return drawMap(map, bar.limit, where);
    const Layer& anatomy = *scene.anatomy;
    return drawMapOver(
        cutThrough(anatomy.volume, anatomy.affine, plane, style.sampling, anatomy.name),
        anatomyWindow, map, bar.limit, where);
  }

  RgbImage overlayOn(const CutPlane& plane) const {
    const auto cut = [&](std::size_t i) {
      const Layer& layer = scene.inputs[i].layer;
      return cutThrough(layer.volume, layer.affine, plane, style.sampling, layer.name);
    };
    return drawOverlay(cut(0), windows[0], cut(1), windows[1]);
  }

  // With what is drawn over every slice.
  Panel finished(RgbImage image, const CutPlane& plane) const {
    for (std::size_t i = 0; i < scene.outlines.size(); ++i) {
      const Outline& outline = scene.outlines[i];
      const Cut cut = cutThrough(outline.layer.volume, outline.layer.affine, plane,
                                 Sampling::linear, outline.layer.name);
      drawContour(image, contourOf(cut, outline.level), outlineColour(i), lineWidth());
    }
    return {std::move(image), plane.letters};
  }

  const Scene& scene;
  const Style& style;
  std::vector<MeasuredSpace> measured;  // of each input
  std::vector<Window> windows;
  Window anatomyWindow;
  std::vector<bool> met;
};

}  // namespace

Drawn drawPicture(Scene scene, const Style& style) {
  if (scene.inputs.empty()) throw Error("name at least one image or map to draw");
  if (style.overlay) checkOverlay(scene);
  Drawn drawn;
  drawn.notes = shareGrids(layersOf(scene));
  requireOneSpace(scene, style);

  Drawing drawing(scene, style);
  Sheet sheet;
  const std::vector<SliceAt> middles{
      {SlicePlane::axial}, {SlicePlane::coronal}, {SlicePlane::sagittal}};
  for (const SliceAt& where : style.slices.empty() ? middles : style.slices)
    sheet.rows.push_back(drawing.row(where));
  sheet.titles = drawing.titles();
  sheet.legend = drawing.legend();
  sheet.bars = drawing.bars;
  const Font font;
  drawn.plan = planOf(sheet, font);
  drawn.image = drawSheet(sheet, drawn.plan, font);
  for (const std::string& note : drawing.notes()) drawn.notes.push_back(note);
  return drawn;
}

}  // namespace mirel::picture
