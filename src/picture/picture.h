#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "picture/cut.h"
#include "picture/image.h"
#include "picture/layer.h"
#include "picture/sheet.h"

/// Pictures of slices: one column for each input, one row for each slice.
namespace mirel::picture {

/// An image, drawn in grey, or a map, drawn in colours.
struct Input {
  Layer layer;
  std::string label;
  std::string remark;  ///< a second line of the label
  bool isMap = false;
  std::string unit;  ///< of a map: those of one unit share a colour scale
};

/// A line that is drawn over every slice.
struct Outline {
  Layer layer;
  float level = 0.5F;
  std::string label;
};

struct Scene {
  std::vector<Input> inputs;
  /// What maps are laid over.
  std::optional<Layer> anatomy;
  /// Where maps were measured: above maskLevel. Without it, where at least half of the images have
  /// the head's signal (or the anatomy, where there are no images); without those everywhere.
  std::optional<Layer> measured;
  std::vector<Outline> outlines;
};

struct Style {
  /// Counted on the first input; empty: the middle axial, coronal and sagittal ones.
  std::vector<SliceAt> slices;
  int pixelsPerVoxel = 3;
  Sampling sampling = Sampling::nearest;
  /// Adds a column with the first image in red over the second in cyan.
  bool overlay = false;
  /// Images have the grey values of the first.
  bool commonWindow = false;
  /// Every input is cut in its own grid, with slices counted there.
  bool ownGrids = false;
  /// Where maps are faded.
  bool fadeUnmeasured = true;
  /// Ends of the colour scales by unit, and for all others; without them the 99th percentile of
  /// what was measured, rounded up.
  std::map<std::string, double> limitOfUnit;
  std::optional<double> limit;
};

struct Drawn {
  RgbImage image;
  SheetPlan plan;                  ///< where its parts are
  std::vector<std::string> notes;  ///< sentences for the user
};

/// Draws the scene. All layers are cut in the planes of the first input's slices, at the same
/// place in the patient whatever grid they have. Where the first input has no orientation, the
/// letters of the patient's sides are left out.
///
/// Errors  Error, naming the file: no such slice; a layer whose place is not known (see
///         requireSameSpace); an overlay without two images. Error for a singular affine.
Drawn drawPicture(Scene scene, const Style& style);

}  // namespace mirel::picture
