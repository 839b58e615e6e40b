#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "field/grid.h"
#include "picture/scale.h"
#include "report/fieldpart.h"

namespace mirel::report {

/// What the viewer of the page shows: images of one grid, and a field over each of them. Images are
/// packed as they are added; none is held.
class ViewerPart {
 public:
  /// @param start  the voxel at first in sight, counted towards the patient's right, front and top
  ViewerPart(Grid grid, bool oriented, glm::ivec3 start);

  /// Larger images would make pages of tens of megabytes.
  static bool shows(const Grid& grid);

  /// In the given grey window. The last one added is shown first.
  void addImage(const std::string& name, const Volume<float>& image, const picture::Window& window);
  /// The mean of two that were added, counted from 0; made from them in the page.
  void addMean(const std::string& name, std::size_t first, std::size_t second,
               const picture::Window& window);
  void setField(const ShownField& field, const std::string& note);

  /// The data of the page's template.
  Json part() const;
  /// Elements of the page that hold the images, and are no part of its template: its text is many
  /// times as long as all others.
  const std::string& blocks() const { return data; }

 private:
  struct Shown {
    std::string name, id;
    picture::Window window;
  };

  void addBlock(const std::string& id, const std::string& packed);

  Grid grid;
  bool oriented;
  glm::ivec3 start;
  std::vector<Shown> images;
  Json field;
  std::string data;
};

}  // namespace mirel::report
