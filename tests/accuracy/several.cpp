// Prints the tables of docs/accuracy.md on several volumes of each direction: how far the field of
// "mirel correct --volumes all" is from the true one of a simulated head.
//
//   mirel_several [SEED ...]      (default: 1 2 3)

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "accuracy/measure.h"
#include "jobs/correctpair.h"
#include "nifti/image.h"
#include "phantom/phantom.h"
#include "phantom/phantomfiles.h"
#include "support/noprogress.h"
#include "support/temporaryfolder.h"

using namespace mirel;

namespace {

const std::string stem = "sub-phantom_dir-";

/// A simulated head and the folder with its images.
struct Head {
  explicit Head(std::uint64_t seed) : phantom(makePhantom(optionsOf(seed))) {
    writePhantom(phantom, folder.file(""));
  }

  static PhantomOptions optionsOf(std::uint64_t seed) {
    PhantomOptions options;
    options.seed = seed;
    options.volumes = 0;
    options.seriesMotion = {{1, 2, -1.5}, {2, -1, 1.5}};
    return options;
  }

  /// Volume n of a direction, with noise of its own.
  Volume<float> noisy(const Volume<float>& signal, int n, int direction) const {
    return addRicianNoise(signal, phantom.noiseSigma, phantom.options.seed,
                          static_cast<std::uint64_t>(1000 + 100 * direction + n));
  }

  /// Writes volumes in place of those of the phantom, whose sidecars stay.
  std::string write(const std::string& direction, const std::vector<Volume<float>>& volumes) const {
    const std::string file = folder.file(stem + direction + "_epi.nii.gz");
    nifti::Header header = nifti::Reader(file).header();
    header.volumes = static_cast<int>(volumes.size());
    nifti::Writer writer(file, header);
    for (const Volume<float>& volume : volumes) writer.write(volume);
    writer.finish();
    return file;
  }

  /// Root mean square error of the field in the brain in Hz.
  double error(int volumes, const std::function<void(std::vector<Volume<float>>&)>& spoil) const {
    std::vector<Volume<float>> ap, pa;
    for (int n = 0; n < volumes; ++n) {
      ap.push_back(noisy(phantom.apSignal, n, 0));
      pa.push_back(noisy(phantom.paSignal, n, 1));
    }
    if (spoil) spoil(ap);
    CorrectPairOptions job;
    job.a.file = write("AP", ap);
    job.b.file = write("PA", pa);
    job.a.choice.kind = job.b.choice.kind = VolumeChoice::Kind::all;
    job.outputFolder = folder.file("out");
    job.overwrite = true;
    NoProgress progress;
    const RunRecord run = correctPair(job, progress);
    for (const Remark& warning : run.warnings) std::fprintf(stderr, "  %s\n", warning.text.c_str());
    return rmsDifference(
        nifti::Reader(folder.file("out/sub-phantom_desc-preproc_fieldmap.nii.gz")).readVolume(0),
        phantom.fieldHz, phantom.brainMask);
  }

  Phantom phantom;
  TemporaryFolder folder;
};

void print(std::uint64_t seed) {
  const Head head(seed);
  double one = 0;
  for (int n = 1; n <= 4; ++n) {
    const double error = head.error(n, {});
    if (n == 1) one = error;
    std::printf("| %llu | %d | %.3f | %.2f |\n", static_cast<unsigned long long>(seed), n, error,
                n == 1 ? 0.0 : std::log(error / one) / std::log(n));
    std::fflush(stdout);
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::uint64_t> seeds;
  for (int n = 1; n < argc; ++n) seeds.push_back(std::strtoull(argv[n], nullptr, 10));
  if (seeds.empty()) seeds = {1, 2, 3};
  std::printf(
      "| seed | volumes of each direction | rms Hz in the brain | exponent, or cost |\n"
      "|---|---|---|---|\n");
  for (const std::uint64_t seed : seeds) print(seed);
  return 0;
}
