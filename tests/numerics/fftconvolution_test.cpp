// Convolution and smoothing by FFT.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <utility>

#include "numerics/fft/fftaccess.h"
#include "numerics/fft/fftw.h"
#include "numerics/volumegauss.h"
#include "reference/volumegauss.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

using compare::failsAssertion;
using compare::same;

class Fft : public testing::Test {
 protected:
  void SetUp() override { bindEngine(); }
};

int wrapped(int i, int n) { return ((i % n) + n) % n; }

// The defining sum of the circular convolution.
Volume<float> circular(const Volume<float>& a, const Volume<float>& b) {
  Volume<float> out(a.dimensions());
  for (int z = 0; z < a.nz(); ++z)
    for (int y = 0; y < a.ny(); ++y)
      for (int x = 0; x < a.nx(); ++x) {
        double sum = 0;
        for (int k = 0; k < a.nz(); ++k)
          for (int j = 0; j < a.ny(); ++j)
            for (int i = 0; i < a.nx(); ++i)
              sum += static_cast<double>(a.at(i, j, k)) *
                     b.at(wrapped(x - i, a.nx()), wrapped(y - j, a.ny()), wrapped(z - k, a.nz()));
        out.at(x, y, z) = static_cast<float>(sum);
      }
  return out;
}

TEST_F(Fft, IsTheCircularConvolution) {
  Random random(1);
  for (const glm::ivec3 d :
       {glm::ivec3(6, 5, 4), glm::ivec3(5, 5, 5), glm::ivec3(8, 3, 2), glm::ivec3(7, 1, 7)}) {
    Volume<float> a = random.volume(d, -10, 10), b = random.volume(d, -1, 1);
    const Volume<float> expected = circular(a, b);
    fftwConvolve3D(a, b);
    // Single-precision transforms: a few eps times the sum of magnitudes (at most 10 * 175).
    for (int i = 0; i < a.size(); ++i) EXPECT_NEAR(a.data()[i], expected.data()[i], 2e-4);
  }
}

TEST_F(Fft, CoversTheWholeSpectrumAlsoWhereZIsLongerThanX) {
  Random random(2);
  for (const glm::ivec3 d : {glm::ivec3(2, 3, 9), glm::ivec3(1, 1, 8), glm::ivec3(4, 5, 6)}) {
    Volume<float> a = random.volume(d, -10, 10), b = random.volume(d, -1, 1);
    const Volume<float> expected = circular(a, b);
    fftwConvolve3D(a, b);
    for (int i = 0; i < a.size(); ++i) EXPECT_NEAR(a.data()[i], expected.data()[i], 2e-4);
  }
}

TEST_F(Fft, WithAnImpulseAtZeroIsTheIdentity) {
  Random random(3);
  const Volume<float> original = random.volume({8, 7, 6}, 0, 100);
  Volume<float> v = original, impulse(8, 7, 6, 0.0f);
  impulse.at(0, 0, 0) = 1;
  fftwConvolve3D(v, impulse);
  for (int i = 0; i < v.size(); ++i) EXPECT_NEAR(v.data()[i], original.data()[i], 1e-4);
}

TEST_F(Fft, LeavesTheKernelAsItWas) {
  Random random(4);
  Volume<float> v = random.volume({8, 7, 6}, 0, 100), kernel = random.volume({8, 7, 6}, 0, 1);
  const Volume<float> before = kernel;
  fftwConvolve3D(v, kernel);
  EXPECT_EQ(kernel, before);
}

TEST_F(Fft, DifferentDimensionsFail) {
  Volume<float> a(2, 3, 4, 1.0f), b(3, 2, 4, 1.0f);
  EXPECT_TRUE(failsAssertion([&] { fftwConvolve3D(a, b); },
                             "assertion failure (src/numerics/volumegauss.cpp:198): "
                             "input.dimensions() == kernel.dimensions()"));
  EXPECT_EQ(a, Volume<float>(2, 3, 4, 1.0f));
}

TEST_F(Fft, OfNothingIsNothing) {
  Volume<float> a, b;
  fftwConvolve3D(a, b);
  EXPECT_EQ(a.size(), 0);
}

// The transforms asked for, slowest dimension first, and their flags.
struct Plan {
  int n0, n1, n2;
  unsigned flags;
  bool operator==(const Plan&) const = default;
};
std::vector<Plan> plans;
plugin_fftw_plan (*realForward)(int, int, int, float*, plugin_fftw_complex*, unsigned);
plugin_fftw_plan (*realBackward)(int, int, int, plugin_fftw_complex*, float*, unsigned);

TEST_F(Fft, PassesTheDimensionsSlowestFirstAndTheEstimateFlag) {
  plans.clear();
  realForward = plugin_fftw_plan_dft_r2c_3d;
  realBackward = plugin_fftw_plan_dft_c2r_3d;
  plugin_fftw_plan_dft_r2c_3d = [](int a, int b, int c, float* in, plugin_fftw_complex* out,
                                   unsigned flags) {
    plans.push_back({a, b, c, flags});
    return realForward(a, b, c, in, out, flags);
  };
  plugin_fftw_plan_dft_c2r_3d = [](int a, int b, int c, plugin_fftw_complex* in, float* out,
                                   unsigned flags) {
    plans.push_back({a, b, c, flags});
    return realBackward(a, b, c, in, out, flags);
  };
  Volume<float> a(6, 5, 4, 1.0f), b(6, 5, 4, 1.0f);
  fftwConvolve3D(a, b);
  EXPECT_EQ(plans, std::vector<Plan>(3, Plan{4, 5, 6, 64}));
}

int allocated, freed, destroyed;
void* (*realMalloc)(std::size_t);
void (*realFree)(void*);
void (*realDestroy)(plugin_fftw_plan);

TEST_F(Fft, FreesWhatItAllocatesAndDestroysItsPlans) {
  allocated = freed = destroyed = 0;
  realMalloc = plugin_fftw_malloc;
  realFree = plugin_fftw_free;
  realDestroy = plugin_fftw_destroy_plan;
  plugin_fftw_malloc = [](std::size_t n) { return ++allocated, realMalloc(n); };
  plugin_fftw_free = [](void* p) { ++freed, realFree(p); };
  plugin_fftw_destroy_plan = [](plugin_fftw_plan p) { ++destroyed, realDestroy(p); };
  Volume<float> a(6, 5, 4, 1.0f), b(6, 5, 4, 1.0f);
  fftwConvolve3D(a, b);
  EXPECT_EQ(allocated, 3);
  EXPECT_EQ(freed, 3);
  EXPECT_EQ(destroyed, 3);
}

TEST_F(Fft, WithoutMemoryOrAPlanThrowsAndKeepsTheInput) {
  const Volume<float> original(4, 4, 4, 2.0f);
  Volume<float> a = original, b(4, 4, 4, 1.0f);
  plugin_fftw_malloc = [](std::size_t) -> void* { return nullptr; };
  EXPECT_THROW(fftwConvolve3D(a, b), std::bad_alloc);
  EXPECT_EQ(a, original);
  bindEngine();
  plugin_fftw_plan_dft_r2c_3d = [](int, int, int, float*, plugin_fftw_complex*,
                                   unsigned) -> plugin_fftw_plan { return nullptr; };
  EXPECT_THROW(fftwConvolve3D(a, b), std::runtime_error);
  EXPECT_EQ(a, original);
}

TEST_F(Fft, AgreesWithTheReference) {
  Random random(5);
  for (const glm::ivec3 d : testSizes()) {
    SCOPED_TRACE(testing::Message() << d.x << "x" << d.y << "x" << d.z);
    Volume<float> a = random.volume(d, -100, 1000), kernel = random.volume(d, -1, 1);
    Volume<float> b = a, sameKernel = kernel;
    fftwConvolve3D(a, kernel);
    reference::fftwConvolve3D(b, sameKernel);
    EXPECT_TRUE(same(a, b));
  }
}

TEST_F(Fft, SmoothingKeepsAConstant) {
  Volume<float> v(10, 12, 9, 50.0f);
  applyGauss<float>(v, {1.0, 1.0, 1.0}, {0, 0, 0}, true);
  EXPECT_EQ(v.dimensions(), glm::ivec3(10, 12, 9));
  for (int i = 0; i < v.size(); ++i) EXPECT_NEAR(v.data()[i], 50, 0.001);
}

TEST_F(Fft, SmoothingAnImpulseYieldsTheKernel) {
  Volume<float> v(15, 15, 15, 0.0f);
  v.at(7, 7, 7) = 1;
  applyGauss<float>(v, {1.0, 1.0, 1.0}, {0, 0, 0}, true);
  const auto g = createGauss1D(15, 1.0, 0);
  for (int y = 0; y < 15; ++y)
    EXPECT_NEAR(v.at(7, y, 7), g[7] * g[7] * g[static_cast<std::size_t>(y)], 1e-6);
}

TEST_F(Fft, TheDerivativeOfARampIsItsSlope) {
  // Within the centre the ramp's replicated ends are beyond the kernel's reach.
  Volume<float> v(5, 31, 5);
  for (int z = 0; z < 5; ++z)
    for (int y = 0; y < 31; ++y)
      for (int x = 0; x < 5; ++x) v.at(x, y, z) = 3.0f * static_cast<float>(y);
  const Volume<float> d = getAppliedGauss<float>(v, {1.0, 1.5, 1.0}, {0, 1, 0});
  EXPECT_NEAR(d.at(2, 15, 2), 3, 0.01) << "positive where the image rises";
}

TEST_F(Fft, SmoothingIgnoresItsFlag) {
  Random random(6);
  Volume<float> a = random.volume({7, 8, 6}, 0, 100), b = a;
  const Volume<float> original = a;
  applyGauss<float>(a, {1.2, 1.2, 1.2}, {0, 0, 0}, true);
  applyGauss<float>(b, {1.2, 1.2, 1.2}, {0, 0, 0}, false);
  EXPECT_EQ(a, b);
  EXPECT_NE(a, original);
}

TEST_F(Fft, SmoothedCopyLeavesTheOriginal) {
  Random random(7);
  const Volume<float> original = random.volume({7, 8, 6}, 0, 100);
  Volume<float> v = original;
  const Volume<float> copy = getAppliedGauss<float>(v, {1.2, 1.2, 1.2}, {0, 1, 0});
  EXPECT_EQ(v, original);
  applyGauss<float>(v, {1.2, 1.2, 1.2}, {0, 1, 0}, true);
  EXPECT_EQ(copy, v);
}

TEST_F(Fft, TheMarginIsSevenVoxelsWhateverTheSigma) {
  // A bright far side shows on the near one only when the kernel reaches around both margins.
  Volume<float> v(4, 40, 4, 0.0f);
  for (int z = 0; z < 4; ++z)
    for (int x = 0; x < 4; ++x) v.at(x, 39, z) = 1000;
  const Volume<float> narrow = getAppliedGauss<float>(v, {1.0, 2.0, 1.0}, {0, 0, 0});
  const Volume<float> wide = getAppliedGauss<float>(v, {1.0, 6.0, 1.0}, {0, 0, 0});
  EXPECT_NEAR(narrow.at(1, 0, 1), 0, 0.5);
  EXPECT_GT(wide.at(1, 0, 1), 50);
}

TEST_F(Fft, SmoothingAgreesWithTheReference) {
  Random random(8);
  for (const glm::ivec3 d : testSizes())
    for (const glm::ivec3 order : {glm::ivec3(0, 0, 0), glm::ivec3(0, 1, 0)}) {
      SCOPED_TRACE(testing::Message() << d.x << "x" << d.y << "x" << d.z << ", order " << order.y);
      const glm::dvec3 sigma(random.uniform(0.5, 3.0), random.uniform(0.5, 3.0), 1.0);
      Volume<float> a = random.volume(d, 0, 1000), b = a;
      EXPECT_TRUE(
          same(getAppliedGauss(a, sigma, order), reference::getAppliedGauss(a, sigma, order)));
      sprinkleOddValues(a, random);
      b = a;
      applyGauss(a, sigma, order, false);
      reference::applyGauss(b, sigma, order, true);
      EXPECT_TRUE(same(a, b));
    }
}

TEST_F(Fft, SmoothingNothingIsNothing) {
  for (const glm::ivec3 d : {glm::ivec3(0, 0, 0), glm::ivec3(0, 4, 4), glm::ivec3(4, 0, 4)}) {
    Volume<float> v(d);
    applyGauss<float>(v, {1, 1, 1}, {0, 0, 0}, true);
    EXPECT_EQ(v.dimensions(), d);
  }
}

}  // namespace

TEST_F(Fft, WithoutTheHostsTransformsIsRefused) {
  Volume<float> image(4, 4, 4, 1.0f), kernel(4, 4, 4, 1.0f);
  const auto bound = std::exchange(plugin_fftw_execute, nullptr);
  EXPECT_THROW(fftwConvolve3D(image, kernel), std::runtime_error);
  plugin_fftw_execute = bound;
  EXPECT_EQ(image, Volume<float>(4, 4, 4, 1.0f));
}

}  // namespace mirel
