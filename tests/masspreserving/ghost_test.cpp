#include "masspreserving/ghost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

// |image + a e^(i phase) (image half a field of view away)|, ny even.
Volume<float> ghosted(const Volume<float>& image, double a, double phase) {
  const int ny = image.ny();
  Volume<float> result(image.dimensions());
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < image.nx(); ++x) {
        const double own = image.at(x, y, z), ghost = a * image.at(x, (y + ny / 2) % ny, z);
        result.at(x, y, z) =
            static_cast<float>(std::hypot(own + ghost * std::cos(phase), ghost * std::sin(phase)));
      }
  return result;
}

// Magnitudes with noise.
Volume<float> noisyMagnitude(const Volume<float>& image, std::uint64_t stream) {
  const Volume<float> real = image + testdata::noise<float>(image.dimensions(), 12.0, stream),
                      imaginary = testdata::noise<float>(image.dimensions(), 12.0, stream + 100);
  Volume<float> result(image.dimensions());
  for (int i = 0; i < image.size(); ++i)
    result.data()[i] = std::hypot(real.data()[i], imaginary.data()[i]);
  return result;
}

struct Ghosted : testdata::Pair {
  Volume<float> cleanFirst, cleanSecond;
  explicit Ghosted(double a, double phase = 0.0, double ofSecond = 1.0)
      : Pair(testdata::makePair({32, 48, 20}, 2.0)) {
    cleanFirst = noisyMagnitude(first, 1);
    cleanSecond = noisyMagnitude(second, 2);
    first = noisyMagnitude(ghosted(first, a, phase), 1);
    second = noisyMagnitude(ghosted(second, ofSecond * a, phase), 2);
  }
};

TEST(Ghost, HalfAwayOfAnEvenGridIsExactAndOfAnOddOneLiesBetween) {
  Volume<float> even(2, 8, 1), odd(2, 9, 1);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 2; ++x) {
      if (y < 8) even.at(x, y, 0) = static_cast<float>(10 * x + y);
      odd.at(x, y, 0) = static_cast<float>(10 * x + (y == 0 ? 9 : y));
    }
  EXPECT_EQ(halfAway(even).at(1, 1, 0), 15.0F);
  EXPECT_EQ(halfAway(even).at(1, 6, 0), 12.0F);
  EXPECT_EQ(halfAway(halfAway(even)), even);
  EXPECT_FLOAT_EQ(halfAway(odd).at(0, 1, 0), 5.5F);
}

TEST(Ghost, WithoutGhostInvertsTheGhostInTheHeadAndInTheAir) {
  const Volume<float> image = testdata::makePair({20, 36, 12}, 2.0).first;
  for (const double phase : {0.0, std::numbers::pi / 3.0, std::numbers::pi}) {
    const Volume<float> clean = withoutGhost(ghosted(image, 0.08, phase), 0.08, std::cos(phase));
    const Volume<float> all(image.dimensions(), 1.0F);
    EXPECT_LT(testdata::rmsWhere(clean, image, image, 300.0F), 3.0) << phase;
    EXPECT_LT(testdata::rmsWhere(clean, image, all, 0.0F), 12.0) << phase;
  }
  EXPECT_EQ(withoutGhost(image, 0.0, 1.0), image);
}

TEST(Ghost, AmplitudeIsThatInTheAirWhateverThePhase) {
  for (const double phase : {0.0, 1.3, std::numbers::pi}) {
    const Ghosted pair(0.06, phase);
    EXPECT_NEAR(ghostInAir(pair.first), 0.06, 0.012) << phase;
    EXPECT_NEAR(ghostInAir(pair.second), 0.06, 0.012) << phase;
    EXPECT_EQ(ghostInAir(pair.cleanFirst), 0.0);
    EXPECT_EQ(ghostInAir(pair.first * 1024.0F), ghostInAir(pair.first));
  }
}

TEST(Ghost, NoneIsFoundWhereTheGridWasCut) {
  const Ghosted pair(0.08);
  Volume<float> cut(32, 36, 20), padded(32, 64, 20, 0.0F);
  for (int z = 0; z < 20; ++z)
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 32; ++x) {
        if (y >= 6 && y < 42) cut.at(x, y - 6, z) = pair.first.at(x, y, z);
        padded.at(x, y + 8, z) = pair.first.at(x, y, z);
      }
  EXPECT_EQ(ghostInAir(cut), 0.0);
  EXPECT_EQ(ghostInAir(padded), 0.0);
  EXPECT_EQ(ghostInAir(Volume<float>(8, 8, 8, 0.0F)), 0.0);
  EXPECT_EQ(ghostInAir(Volume<float>(8, 8, 8, 5.0F)), 0.0);
}

}  // namespace

}  // namespace mirel
