#include "accuracy/series.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "accuracy/measure.h"
#include "field/fieldhz.h"
#include "field/series.h"
#include "jobs/correctpair.h"
#include "nifti/image.h"
#include "support/noprogress.h"
#include "support/temporaryfolder.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;

struct Run {
  const char* name;
  std::string file, result;
  bids::PhaseEncodingDirection direction;
  double readoutSeconds;
};

class Measurement {
 public:
  explicit Measurement(const std::string& folder)
      : measured(readField(folder + "/derived/sub-01_fieldmap_Hz.nii.gz")),
        inside(readPlaced(folder + "/derived/sub-01_approx_brainmask.nii.gz")) {}

  // How the mean of the first `count` volumes (0: all) agrees with the mean corrected by the
  // measured field: as it is, and as it was corrected.
  void print(const Run& run, int count, const char* what) const {
    const nifti::Header header = nifti::Reader(run.file).header();
    const Volume<float> before = meanOfSeries(run.file, count);
    const Volume<float> after = meanOfSeries(run.result, count);
    const Volume<float> shift = shiftVoxels(measured, header, run.direction, run.readoutSeconds);
    const Volume<float> expected = correctVolume(before, shift, run.direction.axis, Modulation::on);
    const Mask brain = eroded(maskAbove(resampledTo({before, header.affine()}, inside), 0.5), 1);
    std::printf("| %s, %s | %d | %.3f | %.3f |\n", run.name, what, header.volumes,
                correlation(before, expected, brain), correlation(after, expected, brain));
  }

  // The mean over the volumes of the correlation between both directions.
  void printPairs(const Run& a, const Run& b) const {
    nifti::Reader readers[] = {nifti::Reader(a.file), nifti::Reader(b.file),
                               nifti::Reader(a.result), nifti::Reader(b.result)};
    const nifti::Header& header = readers[0].header();
    const Mask brain =
        eroded(maskAbove(resampledTo({readers[0].readVolume(0), header.affine()}, inside), 0.5), 1);
    double before = 0, after = 0;
    for (int t = 0; t < header.volumes; ++t) {
      before += correlation(readers[0].readVolume(t), readers[1].readVolume(t), brain);
      after += correlation(readers[2].readVolume(t), readers[3].readVolume(t), brain);
    }
    std::printf("mean correlation of AP and PA over %d volumes: %.3f before, %.3f after\n",
                header.volumes, before / header.volumes, after / header.volumes);
  }

 private:
  FieldHz measured;
  Placed inside;
};

}  // namespace

void printSeriesAccuracy(const std::string& folder) {
  const TemporaryFolder scratch;
  CorrectPairOptions options;
  options.a.file = folder + "/dwi/sub-01_dir-AP_b0.nii.gz";
  options.b.file = folder + "/dwi/sub-01_dir-PA_b0.nii.gz";
  options.outputFolder = scratch.file("");
  const std::string files[] = {folder + "/dwi/sub-01_dir-AP_dwi.nii.gz",
                               folder + "/dwi/sub-01_dir-PA_dwi.nii.gz",
                               folder + "/func/sub-01_task-fa_dir-AP_bold.nii.gz"};
  for (const std::string& file : files) options.series.push_back({file, {}});
  const auto start = std::chrono::steady_clock::now();
  NoProgress progress;
  const RunRecord report = correctPair(options, progress);
  std::printf("series: the whole job took %.1f s\n",
              std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  const char* names[] = {"diffusion AP", "diffusion PA", "BOLD"};
  const Measurement measurement(folder);
  std::printf("| series | volumes | as it came | corrected |\n|---|---|---|---|\n");
  std::vector<Run> runs;
  for (std::size_t s = 0; s < report.series.size(); ++s) {
    const SeriesRecord& result = report.series[s];
    runs.push_back({names[s], result.file, scratch.file(result.output),
                    result.acquisition.direction->value, result.acquisition.readout->seconds});
    if (s < 2) measurement.print(runs[s], 1, "b=0");
    measurement.print(runs[s], 0, "mean");
  }
  measurement.printPairs(runs[0], runs[1]);
}

}  // namespace mirel
