#include "restore/contradiction.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "containers/exchange.h"
#include "phantom/phantom.h"
#include "restore/weightmeasurement.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

struct Joined {
  Volume<float> leastSquares, result, mean;
  std::int64_t replaced = 0;
};

const Phantom& head() {
  static const Phantom made = [] {
    PhantomOptions options;
    options.size = {48, 56, 32};
    options.voxelMm = glm::dvec3(4.5);
    options.maxShiftVoxels = 4;
    options.volumes = 0;
    return makePhantom(options);
  }();
  return made;
}

RestoreWeights weightsOfHead() {
  const Volume<float> reverse = -head().shiftVoxels;
  WeightMeasurement measurement(head().shiftVoxels, reverse, 1);
  measurement.add(head().ap, head().pa);
  return measurement.weights();
}

// What is made of the head's two images with a map.
Joined joinedWith(const Volume<float>& shift, int axis = 1) {
  const Volume<float> reverse = -shift;
  const Volume<float> first = exchangedWithY(head().ap, axis),
                      second = exchangedWithY(head().pa, axis);
  const RestoreWeights weights = weightsOfHead();
  PairRestorer::Scratch scratch;
  Contradiction::Scratch ofMean;
  Joined all;
  PairRestorer(shift, reverse, axis, weights).restore(first, second, all.result, scratch);
  all.leastSquares = all.result;
  all.replaced = Contradiction(shift, reverse, axis, weights)
                     .replaceWithMean(first, second, scratch.misfit, all.result, ofMean);
  all.mean = (correctVolume(first, shift, axis, Modulation::on) +
              correctVolume(second, reverse, axis, Modulation::on)) *
             0.5F;
  return all;
}

// The true map off by up to 0.6 voxels within a band of the head, here to one side, there to the
// other.
Volume<float> wrongMap() {
  Volume<float> shift = head().shiftVoxels;
  for (int z = 12; z < 20; ++z)
    for (int y = 0; y < shift.ny(); ++y)
      for (int x = 0; x < shift.nx(); ++x)
        shift.at(x, y, z) += 0.6F * std::sin(static_cast<float>(y));
  return shift;
}

double rmsInBand(const Volume<float>& image) {
  double sum = 0, count = 0;
  for (int z = 12; z < 20; ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x) {
        if (head().headMask.at(x, y, z) == 0) continue;
        sum += std::pow(static_cast<double>(image.at(x, y, z) - head().truth.at(x, y, z)), 2);
        ++count;
      }
  return std::sqrt(sum / count);
}

}  // namespace

TEST(Contradiction, LeavesWhatBothImagesShowToLeastSquares) {
  const Joined all = joinedWith(head().shiftVoxels);
  int changed = 0, inHead = 0;
  for (int n = 0; n < all.result.size(); ++n) {
    if (head().headMask.data()[n] == 0) continue;
    ++inHead;
    changed += all.result.data()[n] != all.leastSquares.data()[n];
  }
  EXPECT_LT(changed, 0.03 * inHead);
  EXPECT_LT(static_cast<double>(all.replaced), 0.005 * inHead);
}

TEST(Contradiction, GoesOverToTheMeanWhereTheFieldIsWrong) {
  const Joined all = joinedWith(wrongMap());
  EXPECT_GT(all.replaced, 500);
  const double ofMean = rmsInBand(all.mean), leastSquares = rmsInBand(all.leastSquares),
               result = rmsInBand(all.result);
  EXPECT_GT(leastSquares, 1.2 * ofMean);
  EXPECT_LT(result, 1.05 * ofMean);
}

TEST(Contradiction, IsTheSameAlongAnyAxis) {
  const Volume<float> shift = wrongMap();
  const Joined alongY = joinedWith(shift);
  for (const int axis : {0, 2})
    EXPECT_LT(
        (exchangedWithY(joinedWith(exchangedWithY(shift, axis), axis).result, axis) - alongY.result)
            .max(),
        0.02F);
}

TEST(Contradiction, TheMisfitIsOneWhereNoiseIsAllThatDiffers) {
  const glm::ivec3 dims{20, 24, 16};
  Random random(5);
  Volume<float> first(dims), second(dims), result, around;
  for (Volume<float>* image : {&first, &second})
    for (int i = 0; i < image->size(); ++i)
      image->data()[i] = 100 + (random.below(2) == 0 ? -2.0F : 2.0F);
  const Volume<float> none(dims, 0.0F);
  PairRestorer::Scratch scratch;
  PairRestorer(none, none, 1, {4, 4, 1, 50}).restore(first, second, result, scratch);
  averageAround(scratch.misfit, around);
  EXPECT_NEAR(around.mean(), 1, 0.05);
  // Nothing covers a voxel that falls off both images.
  const Volume<float> far(dims, 100.0F);
  PairRestorer(far, far, 1, {4, 4, 1, 50}).restore(first, second, result, scratch);
  EXPECT_EQ(scratch.misfit.min(), 1.0F);
  EXPECT_EQ(scratch.misfit.max(), 1.0F);
}

TEST(AverageAround, IsThatOfTheVoxelsThatThereAre) {
  const glm::ivec3 dims{5, 4, 3};
  const Volume<float> image = Random(9).volume(dims, 0, 1);
  Volume<float> found;
  averageAround(image, found);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) {
        double sum = 0, count = 0;
        for (int c = std::max(z - 1, 0); c <= std::min(z + 1, dims.z - 1); ++c)
          for (int b = std::max(y - 1, 0); b <= std::min(y + 1, dims.y - 1); ++b)
            for (int a = std::max(x - 1, 0); a <= std::min(x + 1, dims.x - 1); ++a, ++count)
              sum += static_cast<double>(image.at(a, b, c));
        EXPECT_NEAR(found.at(x, y, z), sum / count, 1e-5);
      }
  Volume<float> one(1, 1, 1, 3.0F);
  averageAround(one, found);
  EXPECT_EQ(found.at(0, 0, 0), 3.0F);
}

}  // namespace mirel
