#include "picture/picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/error.h"
#include "picture/grids.h"
#include "picture/scale.h"

namespace {

using namespace mirel;
using namespace mirel::picture;
using namespace grids;
using testing::HasSubstr;

const glm::ivec3 dims(24, 28, 20);
const glm::dmat4 affine = affineOf({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {-23, -27, -19});

bool inBall(glm::dvec3 mm, double r) { return glm::length(mm) < r; }
double headAt(glm::dvec3 mm) { return inBall(mm, 15) ? 1000 : 1; }

Input imageOf(const std::string& name, const Layer& layer) {
  Input input{layer, name, "", false, ""};
  input.layer.name = name;
  return input;
}

Input mapOf(const std::string& name, const Layer& layer, const std::string& unit) {
  Input input{layer, name, "", true, unit};
  input.layer.name = name;
  return input;
}

Style axialStyle(int pixels = 1) {
  Style style;
  style.slices = {{SlicePlane::axial}};
  style.pixelsPerVoxel = pixels;
  return style;
}

// The pixel of a panel at a place in mm of an axial slice.
Colour at(const Drawn& drawn, std::size_t column, double x, double y, int pixels = 1) {
  const auto place = drawn.plan.panels[0][column];
  const int u = static_cast<int>((x + 24) / 2 * pixels);
  const int v = static_cast<int>((28 - y) / 2 * pixels);
  return drawn.image.at(place.left + u, place.top + v);
}

RgbImage panelOf(const Drawn& drawn, std::size_t row, std::size_t column, int width, int height) {
  const auto place = drawn.plan.panels[row][column];
  RgbImage panel(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) panel.set(x, y, drawn.image.at(place.left + x, place.top + y));
  return panel;
}

const Colour white{255, 255, 255}, black{0, 0, 0};

TEST(Picture, FadesAMapOutsideOfTheHeadOfTheImages) {
  const Layer head = sampled(dims, affine, headAt);
  const Layer field = sampled(dims, affine, [](glm::dvec3 mm) { return mm.x > 0 ? 40.0 : -40.0; });
  Scene scene;
  scene.inputs = {imageOf("head", head), mapOf("field", field, "Hz")};
  Style style = axialStyle();
  style.limit = 40;
  const Drawn drawn = drawPicture(scene, style);
  EXPECT_EQ(at(drawn, 0, 5, 5), white);
  EXPECT_EQ(at(drawn, 1, 5, 5), divergingColour(1));
  EXPECT_EQ(at(drawn, 1, -5, 5), divergingColour(-1));
  EXPECT_EQ(at(drawn, 1, 21, 5), mixed(black, divergingColour(1), 0.25F));
  EXPECT_TRUE(drawn.notes.empty());
  style.fadeUnmeasured = false;
  EXPECT_EQ(at(drawPicture(scene, style), 1, 21, 5), divergingColour(1));
  style.fadeUnmeasured = true;
  // A mask of one's own: the right half.
  scene.measured = sampled(dims, affine, [](glm::dvec3 mm) { return mm.x > 0 ? 255 : 0; });
  const Drawn masked = drawPicture(scene, style);
  EXPECT_EQ(at(masked, 1, 21, 5), divergingColour(1));
  EXPECT_EQ(at(masked, 1, -5, 5), mixed(black, divergingColour(-1), 0.25F));
}

TEST(Picture, MeasuresWhereHalfOfTheImagesHaveAHead) {
  const auto ballAt = [](double x) {
    return [x](glm::dvec3 mm) { return inBall(mm - glm::dvec3(x, 0, 0), 10) ? 1000.0 : 1.0; };
  };
  Scene scene;
  scene.inputs = {imageOf("a", sampled(dims, affine, ballAt(-8))),
                  imageOf("b", sampled(dims, affine, ballAt(8))),
                  imageOf("c", sampled(dims, affine, ballAt(8))),
                  mapOf("map", sampled(dims, affine, [](glm::dvec3) { return 1; }), "mm")};
  const Drawn drawn = drawPicture(scene, axialStyle());
  EXPECT_EQ(at(drawn, 3, 8, 1), divergingColour(1));
  EXPECT_EQ(at(drawn, 3, -8, 1), mixed(black, divergingColour(1), 0.25F));  // one of three
  scene.inputs.erase(scene.inputs.begin() + 1);
  EXPECT_EQ(at(drawPicture(scene, axialStyle()), 2, -8, 1), divergingColour(1));  // one of two
}

TEST(Picture, OnOwnGridsFadesByImagesOfTheMapsGridOnly) {
  const Layer head = sampled(dims, affine, headAt);
  const Layer map = sampled(dims, affine, [](glm::dvec3) { return 1; });
  // Another head, somewhere else and of other voxels.
  const Layer other =
      sampled({20, 20, 20}, affineOf({3, 0, 0}, {0, 3, 0}, {0, 0, 3}, {-28, -28, -28}),
              [](glm::dvec3 mm) { return inBall(mm, 5) ? 1000 : 1; });
  Scene scene;
  scene.inputs = {imageOf("head", head), imageOf("other", other), imageOf("third", other),
                  imageOf("fourth", other), mapOf("map", map, "mm")};
  Style style = axialStyle();
  EXPECT_EQ(at(drawPicture(scene, style), 4, 11, 1), mixed(black, divergingColour(1), 0.25F));
  style.ownGrids = true;
  EXPECT_EQ(at(drawPicture(scene, style), 4, 11, 1), divergingColour(1));
  EXPECT_EQ(at(drawPicture(scene, style), 4, 21, 1), mixed(black, divergingColour(1), 0.25F));
  scene.inputs.erase(scene.inputs.begin());
  EXPECT_EQ(at(drawPicture(scene, style), 3, 21, 1), divergingColour(1));
}

TEST(Picture, HasOneScaleForEachUnit) {
  const auto constant = [](double v) {
    return sampled(dims, affine, [v](glm::dvec3) { return v; });
  };
  Scene scene;
  scene.inputs = {mapOf("a", constant(2), "voxels"), mapOf("b", constant(-4), "voxels"),
                  mapOf("c", constant(80), "Hz")};
  const Drawn drawn = drawPicture(scene, axialStyle());
  EXPECT_EQ(drawn.plan.bars.size(), 2u);
  EXPECT_EQ(at(drawn, 0, 0, 0), divergingColour(0.5F));
  EXPECT_EQ(at(drawn, 1, 0, 0), divergingColour(-1));
  EXPECT_EQ(at(drawn, 2, 0, 0), divergingColour(1));
  Style style = axialStyle();
  style.limit = 8;
  style.limitOfUnit["Hz"] = 160;
  const Drawn limited = drawPicture(scene, style);
  EXPECT_EQ(at(limited, 0, 0, 0), divergingColour(0.25F));
  EXPECT_EQ(at(limited, 2, 0, 0), divergingColour(0.5F));
  EXPECT_TRUE(limited.notes.empty());
  style.limitOfUnit["hz"] = 160;
  EXPECT_THAT(drawPicture(scene, style).notes,
              testing::ElementsAre("no map is in hz, of which a limit is given"));
}

TEST(Picture, SaysAtTheBarThatValuesGoOn) {
  Scene scene;
  scene.inputs = {
      mapOf("a", sampled(dims, affine, [](glm::dvec3 mm) { return mm.x > 0 ? 5 : 0; }), "mm")};
  Style style = axialStyle();
  style.limit = 6;
  const int within = drawPicture(scene, style).plan.width;
  style.limit = 4;
  const int above = drawPicture(scene, style).plan.width;
  EXPECT_GT(above, within);  // "\u2265 4" at the top, but nothing at the bottom
  for (int i = 0; i < scene.inputs[0].layer.volume.size(); ++i)
    scene.inputs[0].layer.volume.data()[i] *= -1;
  EXPECT_GT(drawPicture(scene, style).plan.width, above);  // "\u2264 \u22124"
}

TEST(Picture, CutsEveryImageAtTheSamePlaceInThePatient) {
  // A ball that is not in the middle, on a plain grid and on one with other axes and sizes.
  const auto ball = [](glm::dvec3 mm) { return inBall(mm - glm::dvec3(6, -8, 4), 7) ? 1000 : 1; };
  const Layer plain = sampled(dims, affine, ball);
  const Layer other =
      sampled({80, 70, 90}, affineOf({0, 1, 0}, {0, 0, -1}, {-1, 0, 0}, {50, -45, 35}), ball);
  const Layer oblique = sampled(
      {90, 90, 90},
      rotated(40, {0, 0, 0}) * affineOf({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-45, -45, -45}), ball);
  Scene scene;
  scene.inputs = {imageOf("plain", plain), imageOf("other", other), imageOf("oblique", oblique)};
  Style style;
  style.pixelsPerVoxel = 2;
  style.slices = {
      {SlicePlane::axial, {}, 4.0}, {SlicePlane::coronal, {}, -8.0}, {SlicePlane::sagittal, 15}};
  const Drawn drawn = drawPicture(scene, style);
  const glm::ivec2 sizes[] = {{48, 56}, {48, 40}, {56, 40}};
  for (std::size_t row = 0; row < 3; ++row) {
    const RgbImage first = panelOf(drawn, row, 0, sizes[row].x, sizes[row].y);
    int bright = 0;
    for (std::size_t column = 1; column < 3; ++column) {
      const RgbImage panel = panelOf(drawn, row, column, sizes[row].x, sizes[row].y);
      int different = 0;
      bright = 0;
      for (int y = 0; y < panel.height(); ++y)
        for (int x = 0; x < panel.width(); ++x) {
          bright += first.at(x, y)[0] > 128;
          different += (first.at(x, y)[0] > 128) != (panel.at(x, y)[0] > 128);
        }
      EXPECT_GT(bright, 100);
      // The border of the ball only, drawn with other voxels.
      EXPECT_LT(different, bright / 3) << row << " " << column;
    }
  }
}

TEST(Picture, DrawsOutlinesOverEveryInput) {
  const Layer head = sampled(dims, affine, headAt);
  Scene scene;
  scene.inputs = {imageOf("head", head), mapOf("map", sampled(dims, affine, headAt), "Hz")};
  // On a finer grid than the image.
  Outline outline{sampled({60, 60, 60}, affineOf({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-30, -30, -30}),
                          [](glm::dvec3 mm) { return inBall(mm, 10) ? 1 : 0; }),
                  0.5F, "mask"};
  scene.outlines = {outline};
  const Drawn with = drawPicture(scene, axialStyle(4));
  scene.outlines.clear();
  const Drawn without = drawPicture(scene, axialStyle(4));
  for (std::size_t column = 0; column < 2; ++column) {
    const RgbImage drawn = panelOf(with, 0, column, 96, 112);
    const RgbImage bare = panelOf(without, 0, column, 96, 112);
    int onCircle = 0;
    for (int y = 0; y < 112; ++y)
      for (int x = 0; x < 96; ++x) {
        const double r = std::hypot(x / 2.0 - 23.75, y / 2.0 - 27.75);  // mm; z is -1 + 2 here
        if (std::abs(r - 10) > 2) {
          EXPECT_EQ(drawn.at(x, y), bare.at(x, y)) << x << " " << y;
        }
        onCircle += drawn.at(x, y)[1] > drawn.at(x, y)[0] + 50;
      }
    EXPECT_GT(onCircle, 100) << column;
  }
}

TEST(Picture, LaysMapsOverAnatomyOfAnotherGrid) {
  Scene scene;
  scene.inputs = {
      mapOf("map", sampled(dims, affine, [](glm::dvec3 mm) { return mm.y > 0 ? 5 : 0; }), "mm")};
  scene.anatomy = sampled({60, 60, 60}, affineOf({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {30, -30, -30}),
                          [](glm::dvec3 mm) { return mm.x > 0 ? 400 : 100; });
  scene.anatomy->name = "anatomy";
  Style style = axialStyle();
  style.fadeUnmeasured = false;
  const Drawn drawn = drawPicture(scene, style);
  const Colour bright = at(drawn, 0, 7, -7), dark = at(drawn, 0, -7, -7);
  EXPECT_EQ(bright, white);
  EXPECT_EQ(dark, black);
  EXPECT_EQ(at(drawn, 0, 7, 7), mixed(bright, divergingColour(1), 0.85F));
  EXPECT_EQ(at(drawn, 0, -7, 7), mixed(dark, divergingColour(1), 0.85F));
}

TEST(Picture, OverlaysTheFirstTwoImages) {
  Scene scene;
  scene.inputs = {imageOf("a", sampled(dims, affine, headAt)),
                  imageOf("b", sampled(dims, affine, [](glm::dvec3 mm) {
                            return inBall(mm - glm::dvec3(0, 6, 0), 15) ? 1000 : 1;
                          }))};
  Style style = axialStyle();
  style.overlay = true;
  const Drawn drawn = drawPicture(scene, style);
  EXPECT_EQ(at(drawn, 2, 0, 0), white);
  EXPECT_EQ(at(drawn, 2, 0, -12), (Colour{255, 0, 0}));
  EXPECT_EQ(at(drawn, 2, 0, 18), (Colour{0, 255, 255}));
  scene.inputs.pop_back();
  EXPECT_THROW(drawPicture(scene, style), Error);
}

TEST(Picture, TellsOfImagesThatLieElsewhere) {
  Scene scene;
  scene.inputs = {
      imageOf("here.nii", sampled(dims, affine, headAt)),
      imageOf("there.nii", sampled(dims, affineOf({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {500, 0, 0}),
                                   [](glm::dvec3) { return 5; }))};
  const Drawn drawn = drawPicture(scene, axialStyle());
  EXPECT_THAT(drawn.notes,
              testing::ElementsAre(HasSubstr("there.nii lies elsewhere than here.nii")));
  EXPECT_EQ(panelOf(drawn, 0, 1, 24, 28), RgbImage(24, 28));
  Style style = axialStyle();
  style.ownGrids = true;
  EXPECT_TRUE(drawPicture(scene, style).notes.empty());
}

TEST(Picture, OfGridsWithoutOrientationHasNoLetters) {
  Layer map = sampled(dims, glm::dmat4(1.0), [](glm::dvec3) { return 1; });
  map.placement = Placement::nothing;
  Scene scene;
  scene.inputs = {mapOf("a.map", map, "voxels")};
  const Drawn bare = drawPicture(scene, axialStyle(4));
  scene.inputs[0].layer.placement = Placement::scanner;
  const Drawn placed = drawPicture(scene, axialStyle(4));
  const auto lettersOf = [](const Drawn& drawn) {
    const auto place = drawn.plan.panels[0][0];
    for (int y = place.top + 113; y < place.top + 125; ++y)
      for (int x = place.left + 40; x < place.left + 56; ++x)
        if (drawn.image.at(x, y) != black) return true;
    return false;
  };
  EXPECT_FALSE(lettersOf(bare));
  EXPECT_TRUE(lettersOf(placed));
}

TEST(Picture, RefusesWhatItCannotPlace) {
  Layer map = sampled({5, 5, 5}, glm::dmat4(1.0), [](glm::dvec3) { return 1; });
  map.placement = Placement::nothing;
  Scene scene;
  scene.inputs = {imageOf("head", sampled(dims, affine, headAt)), mapOf("a.map", map, "voxels")};
  EXPECT_THROW(drawPicture(scene, axialStyle()), Error);
  Style style = axialStyle();
  style.ownGrids = true;
  EXPECT_NO_THROW(drawPicture(scene, style));
  scene.anatomy = sampled(dims, affine, headAt);
  EXPECT_THROW(drawPicture(scene, style), Error);  // the map's place in it is not known
  EXPECT_THROW(drawPicture({}, style), Error);
}

}  // namespace
