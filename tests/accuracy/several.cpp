// Prints the tables of docs/accuracy.md on several volumes of each direction: how far the field of
// "mirel correct --volumes all" is from the true one of a simulated head.
//
//   mirel_several [SEED ...]      (default: 1 2 3)

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "accuracy/measure.h"
#include "base/numbertext.h"
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
  Head(std::uint64_t seed, double noise) : phantom(makePhantom(optionsOf(seed, noise))) {
    writePhantom(phantom, folder.file(""));
  }

  static PhantomOptions optionsOf(std::uint64_t seed, double noise) {
    PhantomOptions options;
    options.seed = seed;
    options.noise = noise;
    options.size = {64, 72, 44};
    options.voxelMm = glm::dvec3(3.4);
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

using Spoil = std::function<void(const Head&, std::vector<Volume<float>>&)>;

struct Case {
  const char* name;
  Spoil spoil;
};

void scaleSlices(Volume<float>& image, float factor, int from, int to, int step) {
  for (int z = from; z < to; z += step)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x) image.at(x, y, z) *= factor;
}

// Every other slice was taken after the head moved.
Volume<float> interleaved(const Volume<float>& before, const Volume<float>& after) {
  Volume<float> mixed = before;
  for (int z = 1; z < mixed.nz(); z += 2)
    for (int y = 0; y < mixed.ny(); ++y)
      for (int x = 0; x < mixed.nx(); ++x) mixed.at(x, y, z) = after.at(x, y, z);
  return mixed;
}

// Brighter, and what has more signal the more so.
Volume<float> beforeSteadyState(const Phantom& phantom) {
  Volume<float> image = phantom.apSignal;
  for (int i = 0; i < image.size(); ++i) image.data()[i] *= 1.1F + 1e-4F * image.data()[i];
  return image;
}

const std::vector<Case> cases = {
    {"a third of volume 1 without signal",
     [](const Head&, auto& ap) { scaleSlices(ap[1], 0.3F, 15, 30, 1); }},
    {"each fifth slice of volume 2 at half its signal",
     [](const Head&, auto& ap) { scaleSlices(ap[2], 0.5F, 0, 44, 5); }},
    {"the head moved within volume 1",
     [](const Head& h, auto& ap) {
       ap[1] = h.noisy(interleaved(h.phantom.apSignal, h.phantom.seriesSignal), 1, 0);
     }},
    {"the head moved before volume 2 and back after it",
     [](const Head& h, auto& ap) { ap[2] = h.noisy(h.phantom.seriesSignal, 2, 0); }},
    {"volume 0 before the steady state",
     [](const Head& h, auto& ap) { ap[0] = h.noisy(beforeSteadyState(h.phantom), 0, 0); }},
};

void print(std::uint64_t seed, double noise) {
  const Head head(seed, noise);
  const std::string beginning = "| " + text("%.0f", 100 * noise) + " % | " + std::to_string(seed);
  double one = 0, four = 0;
  for (int n = 1; n <= 4; ++n) {
    const double error = four = head.error(n, {});
    if (n == 1) one = error;
    std::printf("%s | %d | %.3f | %s |\n", beginning.c_str(), n, error,
                n == 1 ? "" : text("%.2f", std::log(error / one) / std::log(n)).c_str());
    std::fflush(stdout);
  }
  for (const Case& each : cases) {
    const double error = head.error(4, [&](auto& ap) { each.spoil(head, ap); });
    std::printf("%s | 4, %s | %.3f | %+.1f %% |\n", beginning.c_str(), each.name, error,
                100 * (error / four - 1));
    std::fflush(stdout);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::uint64_t> seeds = seedsOf(argc, argv);
  std::printf(
      "| noise | seed | volumes of each direction | rms Hz in the brain | exponent, or cost |\n"
      "|---|---|---|---|---|\n");
  for (const double noise : {0.03, 0.1})
    for (const std::uint64_t seed : seeds) print(seed, noise);
  return 0;
}
