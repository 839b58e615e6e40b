#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "containers/volume.h"
#include "field/grid.h"
#include "picture/contour.h"
#include "picture/cut.h"
#include "picture/scale.h"
#include "report/slices.h"

namespace mirel::report {

/// An image as it came and corrected, and the grey window of both.
struct BeforeAfter {
  const Volume<float>&before, &after;
  picture::Window window;
};

/// A map to be laid over anatomy.
struct MapOver {
  const Volume<float>& anatomy;
  picture::Window window;  ///< of the anatomy
  const Volume<float>& map;
  float limit = 1;                 ///< full colour
  const Volume<float>& measured;   ///< 0 where it is faded
  const Volume<float>& stretched;  ///< a dashed line runs around where it is above 0.5
};

/// Slices of images of one grid, as the data of the page's templates.
class Views {
 public:
  /// @param name      of the image whose grid it is, for messages
  /// @param head      its outline is drawn over all slices; 1 inside, 0 outside
  /// @param shift     tells which slices are worth looking at (chosenSlices)
  /// @param oriented  whether the patient's sides are known
  /// @param prefix    of the outlines' names, one for each object on a page
  Views(std::string name, Grid grid, bool oriented, const Volume<float>& head,
        const Volume<float>& shift, std::string prefix);

  /// Where the first slices of the three planes meet, counted as ChosenSlice::index.
  glm::ivec3 meeting() const { return place; }

  /// The outline of another mask of this grid is drawn over before and after as well.
  void addAnatomy(const Volume<float>& headOfAnatomy);

  /// {title, views}: both states of every slice in one grey window.
  Json beforeAndAfter(const std::string& title, const BeforeAfter& image) const;
  /// The same of two images, one in red and one in cyan, each in its window.
  Json redAndCyan(const std::string& title, const BeforeAfter& red, const BeforeAfter& cyan) const;
  /// The axial slice of an image in the middle of the head, small, as the address of a picture.
  std::string thumbnail(const Volume<float>& image, const picture::Window& window) const;
  /// The views of a map.
  Json mapOver(const std::string& title, const MapOver& what) const;
  /// {id, path} of every slice's outline.
  Json contours() const;

 private:
  struct View {
    picture::CutPlane plane, outlinePlane;
    std::string where, caption, outline;
    std::string anatomy = {};  ///< outline; empty: none
  };

  picture::Cut cut(const Volume<float>& volume, const View& view) const;
  Json frameOf(std::size_t number) const;
  std::string anatomyId(std::size_t number) const;
  std::string pathAround(const Volume<float>& mask, const View& view) const;

  std::string name, prefix;
  Grid grid;
  bool oriented;
  glm::ivec3 place;
  std::vector<View> views;
};

/// Pieces of a line as the path of an SVG picture: one decimal, pieces that continue one another
/// joined.
std::string pathOf(const std::vector<picture::Segment>& line);

}  // namespace mirel::report
