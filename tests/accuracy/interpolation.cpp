// Prints the table of docs/accuracy.md on the kernels by which images are interpolated: how far
// corrected images are from the undistorted one, what they leave of noise, and how long they take.
//
//   mirel_interpolation [SEED ...]      (default: 1 2 3, of which it prints the mean)

#include <array>
#include <cstdio>
#include <ctime>
#include <functional>
#include <glm/matrix.hpp>
#include <map>
#include <string>
#include <vector>

#include "accuracy/measure.h"
#include "field/grid.h"
#include "field/movedcorrector.h"
#include "masspreserving/masspreserving.h"
#include "phantom/gridheader.h"
#include "phantom/phantom.h"

using namespace mirel;

namespace {

constexpr std::array kernels = {InterpolationKernel::linear, InterpolationKernel::cubic,
                                InterpolationKernel::lanczos};
const RigidMotion motion = {{-4, 4, 4}, {4, -4, 4}};

// Sums over the seeds, a column for each kernel.
class Table {
 public:
  void add(const std::string& row, std::size_t kernel, double value) {
    if (!rows.contains(row)) order.push_back(row);
    rows[row][kernel] += value;
  }
  void print(std::size_t seeds) const {
    std::printf("| | linear | cubic | lanczos |\n|---|---|---|---|\n");
    for (const std::string& row : order) {
      std::printf("| %s |", row.c_str());
      for (const double sum : rows.at(row))
        std::printf(" %.3g |", sum / static_cast<double>(seeds));
      std::printf("\n");
    }
  }

 private:
  std::vector<std::string> order;
  std::map<std::string, std::array<double, kernels.size()>> rows;
};

// Of processor time.
double milliseconds(const std::function<void()>& work) {
  const std::clock_t start = std::clock();
  work();
  return 1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// With a series of two volumes, before the second of which the head moved.
Phantom movedPhantom(std::uint64_t seed, double noise) {
  PhantomOptions options;
  options.seed = seed;
  options.noise = noise;
  options.volumes = 2;
  options.volumeMotion = {{}, motion};
  return makePhantom(options);
}

// From voxels of the undistorted image to where the second volume of the series has their tissue.
glm::dmat4 toSecondVolume(const PhantomOptions& options) {
  const glm::dmat4 affine =
      headerOn({options.size, options.voxelMm}, nifti::DataType::float32, 1, 2, "").affine();
  glm::dmat4 place(motion.rotation());
  place[3] = glm::dvec4(motion.translationMm, 1.0);
  return glm::inverse(affine) * place * affine;
}

class Measurement {
 public:
  Measurement(const Phantom& what, Table& where)
      : phantom(what), table(where), noise(text(100 * what.options.noise) + " % of noise") {}

  void still(const std::string& field, const Volume<float>& shift) {
    each([&](std::size_t k) {
      const Volume<float> image = correctVolume(phantom.ap, shift, 1, Modulation::on, kernels[k]);
      table.add("rms, " + field + ", " + noise, k, error(image));
    });
  }
  void moved() {
    const Volume<float> volume = phantom.seriesVolume(1) * (1.0F / seriesDrift(1));
    each([&](std::size_t k) {
      const MovedCorrector corrector(phantom.shiftVoxels, 1, Modulation::on, kernels[k]);
      Volume<float> image;
      MovedCorrector::Scratch scratch;
      corrector.correct(volume, toSecondVolume(phantom.options), image, scratch);
      table.add("rms, true field and motion of 4 mm and 4 degrees, " + noise, k, error(image));
      const double ms = milliseconds(
          [&] { corrector.correct(volume, toSecondVolume(phantom.options), image, scratch); });
      table.add("ms per volume, with motion, " + noise, k, ms);
    });
  }
  // All kernels are linear in the image: what they make of noise is the difference that it makes.
  void noiseLeft() {
    const double before = rmsDifference(phantom.ap, phantom.apSignal, phantom.brainMask);
    each([&](std::size_t k) {
      const auto through = [&](const Volume<float>& image) {
        return correctVolume(image, phantom.shiftVoxels, 1, Modulation::off, kernels[k]);
      };
      const double after =
          rmsDifference(through(phantom.ap), through(phantom.apSignal), phantom.brainMask);
      table.add("noise after / before, " + noise, k, after / before);
    });
  }
  void time() {
    each([&](std::size_t k) {
      const Corrector corrector(phantom.shiftVoxels, 1, Modulation::on, kernels[k]);
      Volume<float> image;
      Corrector::Scratch scratch;
      corrector.correct(phantom.ap, image, scratch);
      const double ms = milliseconds([&] {
        for (int i = 0; i < 10; ++i) corrector.correct(phantom.ap, image, scratch);
      });
      table.add("ms per volume, without motion, " + noise, k, ms / 10);
    });
  }

 private:
  static std::string text(double value) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%g", value);
    return digits;
  }
  template <typename Work>
  static void each(const Work& work) {
    for (std::size_t k = 0; k < kernels.size(); ++k) work(k);
  }
  double error(const Volume<float>& image) const {
    return rmsDifference(image, phantom.truth, phantom.brainMask);
  }

  const Phantom& phantom;
  Table& table;
  std::string noise;
};

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::uint64_t> seeds = seedsOf(argc, argv);
  Table table;
  for (const double noise : {0.0, 0.03, 0.1})
    for (const std::uint64_t seed : seeds) {
      const Phantom phantom = movedPhantom(seed, noise);
      Measurement measurement(phantom, table);
      measurement.still("true field", phantom.shiftVoxels);
      measurement.still(
          "estimated field",
          estimateMassPreserving(phantom.ap, phantom.pa, phantom.options.voxelMm).shiftVoxels);
      measurement.moved();
      if (noise > 0) measurement.noiseLeft();
      measurement.time();
    }
  table.print(seeds.size());
  return 0;
}
