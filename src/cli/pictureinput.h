#pragma once

#include <optional>
#include <string>
#include <vector>

#include "picture/picture.h"

namespace mirel {

/// The files that a picture is made of.
struct PictureFiles {
  std::vector<std::string> images;  ///< files that hold maps are recognised
  std::vector<std::string> maps;    ///< drawn as maps whatever they are
  std::string anatomy, measured;    ///< empty: none
  /// Masks or images, whose heads are outlined; "head" stands for the first input.
  std::vector<std::string> contours;
  std::vector<std::string> contourLabels;  ///< else the files' names
  std::vector<std::string> labels;         ///< of images and maps, maps last; else the files' names
  int volume = 0;                          ///< of images
  std::string unit;                        ///< of maps that do not say theirs
  std::optional<int> warpAxis;             ///< voxel axis along which displacement fields are drawn
};

struct PictureScene {
  picture::Scene scene;
  std::vector<std::string> notes;  ///< sentences for the user
};

/// Reads the files. Maps are those in `maps`, .map files (in voxels), displacement fields (5-D
/// images of three components, in mm), images whose sidecar has the Units Hz, rad/s, T, mm or
/// voxels, and those named "_fieldmap", "_vdm" or "_displacement".
///
/// Errors   a sentence naming the file: see readInputVolume; vectors of another number of
///          components; `out` is one of the files; nothing to draw.
PictureScene readPictureScene(const PictureFiles& files, const std::string& out);

}  // namespace mirel
