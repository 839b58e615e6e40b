// Prints the tables of docs/accuracy.md on joining both directions of simulated heads: rms errors
// of intensities against the truth, and the processor time beside that of correcting both.
//
//   mirel_restoration [PICTURE.csv]    also writes a slice: truth, mean, joined, as numbers

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
#include "restore/contradiction.h"
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
  Contradiction::Scratch ofMean;
  Contradiction(shift, reverse, y, measurement.weights())
      .replaceWithMean(head.ap, head.pa, scratch.misfit, images.joined, ofMean);
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

double secondsOf(const std::function<void()>& work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

void printTimes() {
  const TemporaryFolder folder;
  const Phantom head = makePhantom(withShift(6));
  const Volume<float> reverse = -head.shiftVoxels;
  std::printf("| volumes | correcting both, s | joining, s | times |\n|---|---|---|---|\n");
  for (const int volumes : {7, 64}) {
    nifti::Header header;
    header.dims = head.ap.dimensions();
    header.volumes = volumes;
    header.type = nifti::DataType::int16;
    std::vector<VolumePair> pairs;
    for (int t = 0; t < volumes; ++t) pairs.push_back({t, t});
    for (const bool first : {true, false}) {
      nifti::Writer writer(folder.file(first ? "a.nii.gz" : "b.nii.gz"), header);
      for (int t = 0; t < volumes; ++t) writer.write(first ? head.ap : head.pa);
      writer.finish();
    }
    const double correcting = secondsOf([&] {
      SeriesOptions how;
      how.modulation = Modulation::on;
      correctSeries(folder.file("a.nii.gz"), head.shiftVoxels, how, folder.file("ac.nii.gz"));
      correctSeries(folder.file("b.nii.gz"), reverse, how, folder.file("bc.nii.gz"));
    });
    const double joining = secondsOf([&] {
      joinSeries({folder.file("a.nii.gz"), head.shiftVoxels}, {folder.file("b.nii.gz"), reverse},
                 pairs, {}, folder.file("joined.nii.gz"));
    });
    std::printf("| %d | %.2f | %.2f | %.2f |\n", volumes, correcting, joining,
                joining / correcting);
  }
}

// The slice with most stretched voxels, as rows of numbers: truth, mean and joined side by side.
void writeSlice(const std::string& fileName) {
  const Phantom head = makePhantom(withShift(8));
  const Images images = imagesOf(head, head.shiftVoxels);
  const Volume<float> slope = shiftDerivative(head.shiftVoxels, PhaseEncodingAxis::y);
  int best = 0, most = -1;
  for (int z = 0; z < slope.nz(); ++z) {
    int count = 0;
    for (int j = 0; j < slope.ny(); ++j)
      for (int x = 0; x < slope.nx(); ++x)
        count += head.headMask.at(x, j, z) != 0 && std::abs(slope.at(x, j, z)) > 0.5f;
    if (count > most) {
      most = count;
      best = z;
    }
  }
  std::ofstream os(fileName);
  for (int j = slope.ny() - 1; j >= 0; --j) {
    for (const Volume<float>* image : {&head.truth, &images.mean, &images.joined})
      for (int x = 0; x < slope.nx(); ++x) os << image->at(x, j, best) << " ";
    os << "\n";
  }
}

}  // namespace

int main(int argc, char** argv) {
  bindEngine();
  if (argc > 1) writeSlice(argv[1]);
  printTimes();
  printErrors();
  return 0;
}
