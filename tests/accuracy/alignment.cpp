// Prints the table of docs/accuracy.md on heads that moved between a pair and a series: how far the
// motion that "mirel correct" finds is from the one that was made, and the map that the series gets
// with and without it from the true one.
//
//   mirel_alignment [SEED ...]      (default: 1 2 3)

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "accuracy/measure.h"
#include "field/fieldhz.h"
#include "jobs/correctpair.h"
#include "nifti/image.h"
#include "phantom/phantom.h"
#include "phantom/phantomfiles.h"
#include "support/noprogress.h"
#include "support/temporaryfolder.h"

using namespace mirel;

namespace {

constexpr double readoutSeconds = 0.05, echoSeconds = 0.03;
const std::string stem = "sub-phantom_";

struct Case {
  const char* name;
  RigidMotion motion;
  double echoSeconds;
};

const std::vector<Case> cases = {
    {"none", {}, echoSeconds},
    {"none, contrast of the pair", {}, 0},
    {"0.2 mm", {{0.1, 0.1, -0.15}, {}}, echoSeconds},
    {"0.4 mm, 0.3 degrees", {{0.2, -0.2, 0.3}, {0.2, 0.1, -0.2}}, echoSeconds},
    {"1 mm and 1 degree about each axis", {{1, -1, 1}, {-1, 1, 1}}, echoSeconds},
    {"3 mm and 3 degrees", {{3, 3, -3}, {3, -3, 3}}, echoSeconds},
    {"5 mm and 5 degrees", {{-5, 5, 5}, {5, 5, -5}}, echoSeconds},
    {"8 mm and 8 degrees", {{8, -8, 8}, {-8, 8, 8}}, echoSeconds},
    {"8 mm and 8 degrees, contrast of the pair", {{8, -8, 8}, {-8, 8, 8}}, 0},
};

double largest(const glm::dvec3& v) {
  return std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
}

void print(const Case& one, std::uint64_t seed) {
  PhantomOptions options;
  options.readoutSeconds = readoutSeconds;
  options.seed = seed;
  options.volumes = 4;
  options.seriesMotion = one.motion;
  options.seriesEchoSeconds = one.echoSeconds;
  const Phantom phantom = makePhantom(options);
  const TemporaryFolder folder;
  writePhantom(phantom, folder.file(""));
  CorrectPairOptions job;
  job.a.file = folder.file(stem + "dir-AP_epi.nii.gz");
  job.b.file = folder.file(stem + "dir-PA_epi.nii.gz");
  job.series = {{folder.file(stem + "task-rest_dir-AP_bold.nii.gz"), {}}};
  job.seriesSettings.align = true;
  job.seriesSettings.threads = 1;
  job.outputFolder = folder.file("out");
  NoProgress progress;
  const AlignmentRecord found = *correctPair(job, progress).series.front().alignment;

  const RigidMotion taken = found.moved() ? found.fit.motion : RigidMotion{};
  const FieldHz field = readField(folder.file("out/" + stem + "desc-preproc_fieldmap.nii.gz"));
  const Grid grid = gridOf(field);
  const auto mapFor = [&](const RigidMotion& motion) {
    return shiftVoxels(field, beforeMotion(grid, motion, found.centreMm), {1, -1}, readoutSeconds);
  };
  const bool moved = phantom.seriesShiftVoxels.size() > 0;
  const Volume<float>& truth = moved ? phantom.seriesShiftVoxels : phantom.shiftVoxels;
  // Of the head where it is in the series.
  const Mask head =
      maskAbove(phantom.seriesTruth.size() > 0 ? phantom.seriesTruth : phantom.truth, 300);
  std::printf("| %s | %llu | %s | %.3f | %.3f | %.3f | %.3f | %.3f |\n", one.name,
              static_cast<unsigned long long>(seed), nameOf(found.outcome).c_str(),
              largest(taken.translationMm - one.motion.translationMm),
              largest(taken.rotationDegrees - one.motion.rotationDegrees), found.displacementMm,
              rmsDifference(mapFor({}), truth, head), rmsDifference(mapFor(taken), truth, head));
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::uint64_t> seeds = seedsOf(argc, argv);
  std::printf(
      "| motion | seed | outcome | largest error mm | degrees | found displacement mm |"
      " map without, rms voxels | with |\n|---|---|---|---|---|---|---|---|\n");
  for (const Case& one : cases)
    for (const std::uint64_t seed : seeds) print(one, seed);
  return 0;
}
