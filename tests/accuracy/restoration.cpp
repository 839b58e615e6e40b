// Prints the tables of docs/accuracy.md on joining both directions of simulated heads: rms errors
// of intensities against the truth, and the processor time beside that of correcting both.

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <optional>

#include "field/series.h"
#include "nifti/image.h"
#include "numerics/fft/fftw.h"
#include "pair/pairestimate.h"
#include "phantom/phantom.h"
#include "restore/restoreseries.h"
#include "restore/weightmeasurement.h"
#include "support/noprogress.h"
#include "support/temporaryfolder.h"

using namespace mirel;

namespace {

constexpr int y = 1;

PhantomOptions withShift(double voxels) {
  PhantomOptions options;
  options.maxShiftVoxels = voxels;
  options.volumes = 0;
  return options;
}

struct Images {
  Volume<float> mean, joined;
};

Images imagesOf(const Phantom& head, const Volume<float>& shift) {
  const Volume<float> reverse = -shift;
  Images images;
  images.mean = (correctVolume(head.ap, shift, y, Modulation::on) +
                 correctVolume(head.pa, reverse, y, Modulation::on)) *
                0.5f;
  WeightMeasurement measurement(shift, reverse, y);
  measurement.add(head.ap, head.pa);
  PairRestorer::Scratch scratch;
  PairRestorer(shift, reverse, y, measurement.weights())
      .restore(head.ap, head.pa, images.joined, scratch);
  return images;
}

// The shift as "mirel correct" estimates it.
Volume<float> estimatedShift(const Phantom& head) {
  PairInput pair;
  pair.a.image = head.ap;
  pair.b.image = head.pa;
  for (InputImage* image : {&pair.a, &pair.b}) {
    image->header.dims = head.ap.dimensions();
    image->header.setAffine(glm::dmat4(glm::dmat3(head.options.voxelMm.x)), 1);
    image->acquisition.direction = bids::StatedDirection{{y, image == &pair.a ? -1 : 1}};
  }
  pair.readoutSeconds = head.options.readoutSeconds;
  NoProgress progress;
  return estimatePairMap(pair, {}, progress).shift;
}

struct Errors {
  double mean = 0, joined = 0, count = 0;
  void add(double ofMean, double ofJoined) {
    mean += ofMean * ofMean;
    joined += ofJoined * ofJoined;
    count += 1;
  }
  void print() const {
    const double a = std::sqrt(mean / count), b = std::sqrt(joined / count);
    std::printf(" %.0f | %.2f | %.2f | %+.1f %% |", count, a, b, 100 * (b / a - 1));
  }
};

// In the head, where one direction stretches the true image by more than 1.5, and elsewhere.
std::array<Errors, 2> errorsOf(const Phantom& head, const Images& images) {
  const Volume<float> slope = shiftDerivative(head.shiftVoxels, PhaseEncodingAxis::y);
  std::array<Errors, 2> errors;
  for (int n = 0; n < slope.size(); ++n) {
    if (head.headMask.data()[n] == 0) continue;
    const double truth = static_cast<double>(head.truth.data()[n]);
    errors[std::abs(slope.data()[n]) > 0.5f ? 0 : 1].add(
        static_cast<double>(images.mean.data()[n]) - truth,
        static_cast<double>(images.joined.data()[n]) - truth);
  }
  return errors;
}

void printErrors() {
  std::printf(
      "| field | noise | shift | seed | voxels stretched > 1.5 | mean | joined | | elsewhere | "
      "mean "
      "| joined | |\n|---|---|---|---|---|---|---|---|---|---|---|---|\n");
  for (const bool estimated : {false, true})
    for (const double noise : {0.03, 0.1})
      for (const double shift : {6.0, 8.0})
        for (const unsigned seed : {1U, 2U, 3U}) {
          PhantomOptions options = withShift(shift);
          options.noise = noise;
          options.seed = seed;
          const Phantom head = makePhantom(options);
          const Images images = imagesOf(head, estimated ? estimatedShift(head) : head.shiftVoxels);
          std::printf("| %s | %.0f %% | %.0f | %u |", estimated ? "estimated" : "true", 100 * noise,
                      shift, seed);
          for (const Errors& errors : errorsOf(head, images)) errors.print();
          std::printf("\n");
          std::fflush(stdout);
        }
}

}  // namespace

int main() {
  bindEngine();
  printErrors();
  return 0;
}
