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

  struct Image {
    std::string name;
    const Volume<float>& values;
    picture::Window window;
  };

  /// The last one added is shown first. Where it is below its window, and black, only that is kept.
  void addImage(const Image& image);
  /// Two images and their mean, which is made from them in the page. Of what is black only that is
  /// kept where it is in both.
  void addWithMean(const Image& first, const Image& second, const std::string& nameOfMean,
                   const picture::Window& windowOfMean);
  void setField(const ShownField& field, const ColouredField& coloured, const std::string& note);

  /// The data of the page's template.
  Json part() const;
  /// Elements of the page that hold the images, and are no part of its template: its text is many
  /// times as long as all others.
  const std::string& blocks() const { return data; }

 private:
  struct Shown {
    std::string name, id;
    picture::Window window;
    std::string black;  ///< stands for what is below the window; of a mean: that of its images
    double half;        ///< a step: values lie so close to what is told, at least
  };

  void addBlock(const std::string& id, const std::string& packed);
  void addBut(const Image& image, const std::vector<char>& dark);

  Grid grid;
  bool oriented;
  glm::ivec3 start;
  std::vector<Shown> images;
  Json field;
  std::string data;
};

}  // namespace mirel::report
