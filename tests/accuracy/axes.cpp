// Prints the tables of docs/accuracy.md on pairs along two axes, and on pairs of two readout times:
// how far the field of "mirel correct" is from the true one of a simulated head.
//
//   mirel_axes [SEED ...]      (default: 1 2 3)

#include <cmath>
#include <cstdio>
#include <fstream>
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

constexpr double readoutSeconds = 0.05;

/// A simulated head, and images of it in any direction.
struct Head {
  Head(std::uint64_t seed, double noise) {
    PhantomOptions options;
    options.seed = seed;
    options.size = {64, 72, 44};
    options.voxelMm = glm::dvec3(3.4);
    options.readoutSeconds = readoutSeconds;
    options.noise = noise;
    options.volumes = 0;
    phantom = makePhantom(options);
    density = sampleHead({options.size, options.voxelMm}, seed).density;
    writePhantom(phantom, folder.file(""));
  }

  /// Writes an image encoded along `direction`, with a part of the readout time.
  std::string write(const std::string& direction, double part = 1) {
    const bool along = direction.starts_with('j');
    const double sign = direction.ends_with('-') ? 1 : -1;  // the map is that of j-
    const Volume<float> signal =
        distort(density, phantom.shiftVoxels * static_cast<float>(sign * part),
                along ? PhaseEncodingAxis::y : PhaseEncodingAxis::x, HeadObject::cellsPerVoxel);
    const std::string name = "sub-1_dir-" + std::to_string(++images) + "_epi";
    const std::string file = folder.file(name + ".nii.gz");
    nifti::Writer writer(file,
                         nifti::Reader(folder.file("sub-phantom_dir-AP_epi.nii.gz")).header());
    writer.write(addRicianNoise(signal, phantom.noiseSigma, phantom.options.seed,
                                static_cast<std::uint64_t>(100 + images)));
    writer.finish();
    std::ofstream(folder.file(name + ".json"))
        << R"({"PhaseEncodingDirection": ")" << direction << R"(", "TotalReadoutTime": )"
        << part * readoutSeconds << "}\n";
    return file;
  }

  Volume<float> fieldOf(CorrectPairOptions job) {
    job.outputFolder = folder.file("out" + std::to_string(++runs));
    NoProgress progress;
    const RunRecord run = correctPair(job, progress);
    for (const Remark& warning : run.warnings) std::fprintf(stderr, "  %s\n", warning.text.c_str());
    for (const std::string& file : run.outputs)
      if (file.ends_with("_desc-preproc_fieldmap.nii.gz")) return nifti::Reader(file).readVolume(0);
    return {};
  }

  double error(const Volume<float>& hz) const {
    return rmsDifference(hz, phantom.fieldHz, phantom.brainMask);
  }

  Phantom phantom;
  Volume<float> density;
  TemporaryFolder folder;
  int images = 0, runs = 0;
};

CorrectPairOptions jobOf(const std::string& a, const std::string& b) {
  CorrectPairOptions job;
  job.a.file = a;
  job.b.file = b;
  return job;
}

void print(std::uint64_t seed, double noise) {
  Head head(seed, noise);
  const auto row = [&](const char* what, double error) {
    std::printf("| %.0f %% | %llu | %s | %.3f |\n", 100 * noise,
                static_cast<unsigned long long>(seed), what, error);
    std::fflush(stdout);
  };
  const CorrectPairOptions first = jobOf(head.write("j-"), head.write("j"));
  const CorrectPairOptions second = jobOf(head.write("i-"), head.write("i"));
  row("AP and PA", head.error(head.fieldOf(first)));
  row("RL and LR", head.error(head.fieldOf(second)));
  CorrectPairOptions both = first;
  both.more = {second.a.file, second.b.file};
  row("all four", head.error(head.fieldOf(both)));
  row("AP and PA at 0.6 T",
      head.error(head.fieldOf(jobOf(head.write("j-"), head.write("j", 0.6)))));
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::uint64_t> seeds = seedsOf(argc, argv);
  std::printf("| noise | seed | images | rms Hz in the brain |\n|---|---|---|---|\n");
  for (const double noise : {0.03, 0.1})
    for (const std::uint64_t seed : seeds) print(seed, noise);
  return 0;
}
