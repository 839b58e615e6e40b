#include "masspreserving/noise.h"

#include <gtest/gtest.h>

#include <cmath>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::ivec3 size(40, 30, 20);
const Volume<float> signal(size, 2.0F);

TEST(FitNoise, FindsTheVarianceOfNormalResiduals) {
  for (const NoiseTails tails : {NoiseTails::normal, NoiseTails::student}) {
    const NoiseFit fit = fitNoise(testdata::noise<float>(size, 3.0, 1), signal, signal, tails);
    EXPECT_NEAR(fit.noise.variance, 9.0, tails == NoiseTails::normal ? 0.3 : 0.9);
    EXPECT_GE(fit.noise.nu, 15.0);
    EXPECT_NEAR(fit.effectiveCount, 24000.0, 1e-6);
  }
}

TEST(FitNoise, FindsTheTailsOfStudentResiduals) {
  // A normal deviate over the root of a chi-square deviate with four degrees of freedom.
  Volume<float> r = testdata::noise<float>(size, 2.0, 1);
  Volume<float> squares(size, 0.0F);
  for (std::uint64_t stream = 2; stream < 6; ++stream) {
    const Volume<float> part = testdata::noise<float>(size, 1.0, stream);
    squares += part * part;
  }
  for (int i = 0; i < r.size(); ++i) r.data()[i] /= std::sqrt(squares.data()[i] / 4.0F);
  const NoiseFit fit = fitNoise(r, signal, signal, NoiseTails::student);
  EXPECT_EQ(fit.noise.nu, 4.0);
  EXPECT_NEAR(fit.noise.variance, 4.0, 0.3);
}

TEST(FitNoise, CountsResidualsOnlyWhereThereIsSignal) {
  Volume<float> r = testdata::noise<float>(size, 1.0, 1), s = signal;
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < 20; ++x) {
        r.at(x, y, z) = 1000.0F;
        s.at(x, y, z) = 0.0F;
      }
  EXPECT_NEAR(fitNoise(r, s, s, NoiseTails::normal).noise.variance, 1.0, 0.05);
}

TEST(FitNoise, WithoutSignalOrResidualsIsZero) {
  const Volume<float> none(size, 0.0F), nowhere(size, 0.0F);
  EXPECT_EQ(fitNoise(none, signal, signal, NoiseTails::student).noise.variance, 0.0);
  EXPECT_EQ(fitNoise(testdata::noise<float>(size, 1.0, 1), nowhere, nowhere, NoiseTails::student)
                .noise.variance,
            0.0);
}

TEST(ResidualNoise, WeighsOutliersDownOnlyWithTails) {
  const ResidualNoise normal{4.0}, student{4.0, 3.0};
  EXPECT_EQ(normal.relativeWeight(100.0), 1.0);
  EXPECT_DOUBLE_EQ(student.relativeWeight(2.0), 1.0);
  EXPECT_LT(student.relativeWeight(20.0), 0.05);
}

}  // namespace

}  // namespace mirel
