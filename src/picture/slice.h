#pragma once

#include <glm/vec3.hpp>
#include <string>
#include <vector>

#include "containers/volume.h"
#include "picture/image.h"

namespace mirel::picture {

/// Which slice of a volume is shown, for axes x to the right, y anterior, z superior. Axial
/// slices show x to the right and y upwards, coronal x and z, sagittal y and z.
enum class SlicePlane { axial, coronal, sagittal };

/// Values that are shown as black and white; what lies outside is cut off.
struct Window {
  float low = 0.0F, high = 1.0F;
};

/// The 2nd and 98th percentile of the foreground: of the values above a tenth of the way from the
/// least to the 99.5th percentile of all. Values that are not finite do not count. A constant
/// volume gives a window of width 1 from its value.
Window robustWindow(const Volume<float>& volume);

/// The `fraction` quantile (0 to 1) of the absolute values that are finite and not 0, at least
/// 1e-6: the end of the scale of a map.
float robustLimit(const Volume<float>& volume, double fraction = 0.99);

/// How slices are drawn: the voxel's size along the slice's axes, in pixels.
struct SliceView {
  SlicePlane plane = SlicePlane::axial;
  int index = 0;
  glm::vec3 voxelMm{1.0F};  ///< the finest of the two axes gets `pixelsPerVoxel`, the other its due
  int pixelsPerVoxel = 3;
};

/// Number of slices that `plane` has in a volume of these dimensions.
int sliceCount(glm::ivec3 dims, SlicePlane plane);

/// Each of the following draws one slice.
/// NaN     Values that are not finite are drawn as the least value (grey), or as grey (colours).
/// Errors  std::out_of_range if the volume has no slice of that index; std::invalid_argument if
///         two volumes of an overlay differ in dimensions, or a voxel size is not positive.

/// In grey.
RgbImage drawGrey(const Volume<float>& volume, const SliceView& view, Window window);

/// `first` in red, `second` in cyan: where they agree the picture is grey.
RgbImage drawOverlay(const Volume<float>& first, Window firstWindow, const Volume<float>& second,
                     Window secondWindow, const SliceView& view);

/// In colours that part at 0: blue below, white at 0, red above; full colour at `limit`.
RgbImage drawDiverging(const Volume<float>& volume, const SliceView& view, float limit);

/// Colour of `value` (-1 to 1, cut off beyond) on the parting scale.
Colour divergingColour(float value);

struct Panel {
  RgbImage image;
  std::string label;
};

/// Panels in rows of `columns`, each centred under its label, on black. A label that is wider than
/// its column is written small, and cut short if it still is.
/// Errors  std::invalid_argument without panels or columns.
RgbImage sideBySide(const std::vector<Panel>& panels, int columns);

}  // namespace mirel::picture
