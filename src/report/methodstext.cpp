#include "report/methodstext.h"

#include <algorithm>

#include "base/numbertext.h"

namespace mirel::report {

namespace {

constexpr const char* distortion =
    "P. Jezzard, R. S. Balaban: Correction for geometric distortion in echo planar images from B0 "
    "field variations. Magn. Reson. Med. 34:65-73, 1995.";
constexpr const char* reversed =
    "H. Chang, J. M. Fitzpatrick: A technique for accurate magnetic resonance imaging in the "
    "presence of field inhomogeneities. IEEE Trans. Med. Imaging 11:319-329, 1992.";
constexpr const char* reversedEpi =
    "P. S. Morgan, R. W. Bowtell, D. J. O. McIntyre, B. S. Worthington: Correction of spatial "
    "distortion in EPI due to inhomogeneous static magnetic fields using the reversed gradient "
    "method. J. Magn. Reson. Imaging 19:499-507, 2004.";
constexpr const char* information =
    "C. Studholme, D. L. G. Hill, D. J. Hawkes: An overlap invariant entropy measure of 3D medical "
    "image alignment. Pattern Recognition 32:71-86, 1999.";

constexpr const char* windowedSinc =
    "C. E. Duchon: Lanczos filtering in one and two dimensions. J. Appl. Meteorol. 18:1016-1022, "
    "1979.";

constexpr const char* realigned =
    "K. J. Friston, J. Ashburner, C. D. Frith, J.-B. Poline, J. D. Heather, R. S. J. Frackowiak: "
    "Spatial registration and normalization of images. Hum. Brain Mapp. 3:165-189, 1995.";

class Writer {
 public:
  Writer(const RunRecord& what, const std::optional<MeasuredMap>& measured)
      : run(what), map(measured) {}

  MethodsText written() {
    result.paragraph =
        "Geometric distortion of the echo-planar images along the phase-encoding "
        "axis " +
        cited({distortion}) + " was corrected with Mirel " + run.version + ".";
    if (run.pair) tellPair(*run.pair);
    if (run.source) tellSource(*run.source);
    tellSeries();
    return std::move(result);
  }

 private:
  std::string cited(const std::vector<const char*>& references) {
    std::string numbers;
    for (const char* reference : references) {
      auto& list = result.references;
      auto at = std::find(list.begin(), list.end(), reference);
      if (at == list.end()) at = list.insert(list.end(), reference);
      numbers += (numbers.empty() ? "" : ", ") + std::to_string(at - list.begin() + 1);
    }
    return "[" + numbers + "]";
  }
  void add(const std::string& sentence) { result.paragraph += " " + sentence; }

  void tellPair(const PairRecord& pair) {
    if (pair.settings.estimator == Estimator::none)
      add("The off-resonance field was measured, and was scaled by the total readout time of each "
          "image; two images with opposite phase encoding (directions " +
          nameOf(pair.a.direction()) + " and " + nameOf(pair.b.direction()) + readoutText(pair) +
          ") were corrected with it.");
    else
      add("The displacement of every voxel was estimated from two images with opposite phase "
          "encoding " +
          cited({reversed, reversedEpi}) + " (directions " + nameOf(pair.a.direction()) + " and " +
          nameOf(pair.b.direction()) + readoutText(pair) + ")" + howEstimated(pair) + ".");
    const PairAgreement& found = pair.findings.agreement;
    if (map)
      add("In the head the displacement had a median of " + text("%.2f", map->displacement.median) +
          " and a 99th percentile of " + text("%.2f", map->displacement.high) + " voxels (" +
          text("%.2f", map->displacement.high * map->voxelMm) +
          " mm), and the correlation of the two images was " + text("%.3f", found.before) +
          " before and " + text("%.3f", found.after) + " after the correction.");
  }

  static std::string readoutText(const PairRecord& pair) {
    const auto &a = pair.a.acquisition.readout, &b = pair.b.acquisition.readout;
    if (!a || !b) return "";
    const std::string first = text("%.4g", 1000 * a->seconds),
                      second = text("%.4g", 1000 * b->seconds);
    return first == second ? ", total readout time " + first + " ms"
                           : ", total readout times " + first + " and " + second + " ms";
  }

  static std::string howEstimated(const PairRecord& pair) {
    if (pair.settings.estimator == Estimator::search)
      return pair.settings.search.fast
                 ? ", column by column"
                 : std::string(", by a search over scales that ") +
                       (pair.settings.search.useSsd ? "minimises squared differences"
                                                    : "maximises normalised cross-correlation");
    return std::string(", by a model in which signal is conserved where it piles up or thins out") +
           (pair.settings.motion ? ", together with the rigid motion of the head between the two"
                                 : "");
  }

  void tellSource(const SourceRecord& source) {
    add(source.kind == SourceRecord::Kind::field
            ? "The off-resonance field was given, and was scaled by the total readout time of each "
              "series."
            : "The voxel displacement map was given.");
  }

  void tellSeries() {
    const bool modulated = run.seriesSettings.modulation == Modulation::on;
    int volumes = 0;
    for (const SeriesRecord& series : run.series) volumes += series.volumes;
    std::string sentence = run.series.empty() ? "Both images were" : "";
    if (!run.series.empty()) {
      const std::size_t count = run.series.size();
      sentence = std::to_string(count) + (count == 1 ? " series of " : " series of in all ") +
                 std::to_string(volumes) + (volumes == 1 ? " volume was" : " volumes were");
    }
    const bool within = std::any_of(run.series.begin(), run.series.end(),
                                    [](const SeriesRecord& s) { return s.motion.has_value(); });
    add(sentence + " resampled once, " + interpolation() + " " +
        (within ? "in three dimensions, through the motion of the head that was estimated "
                  "beforehand and the displacement together"
                : "along the phase-encoding axis") +
        (modulated ? std::string(", and multiplied by the Jacobian of the displacement") +
                         (within ? " along the axis as the turned head sees it." : ".")
                   : ", without modulation of intensities."));
    const bool found = std::any_of(run.series.begin(), run.series.end(),
                                   [](const SeriesRecord& s) { return s.realignment && s.motion; });
    if (found)
      add("That motion was found by rigid alignment of the volumes of a series to one of them, by "
          "least squares of intensities " +
          cited({realigned}) + " with the distortion in the model.");
    const bool across =
        std::any_of(run.series.begin(), run.series.end(), [](const SeriesRecord& s) {
          return s.realignment && s.motion && !s.realignment->across.empty();
        });
    if (across)
      add("Volumes with diffusion gradients were aligned by normalised mutual information " +
          cited({information}) + ".");
    const bool moved = std::any_of(run.series.begin(), run.series.end(), [](const SeriesRecord& s) {
      return s.alignment && s.alignment->moved();
    });
    if (moved)
      add("Where the head had moved, as rigid alignment by normalised mutual information " +
          cited({information}) + " showed, the field was carried along with it.");
    const bool checked = std::any_of(run.series.begin(), run.series.end(),
                                     [](const SeriesRecord& s) { return s.signs.has_value(); });
    if (checked)
      add("The sign of the phase encoding of each series was checked by normalised mutual "
          "information " +
          cited({information}) + " with an undistorted image.");
  }

  std::string interpolation() {
    switch (run.seriesSettings.interpolation) {
      case InterpolationKernel::linear:
        return "with linear interpolation";
      case InterpolationKernel::lanczos:
        return "with sinc functions of three lobes to each side under a Lanczos window " +
               cited({windowedSinc});
      case InterpolationKernel::cubic:
        break;
    }
    return "with cubic B-splines";
  }

  const RunRecord& run;
  const std::optional<MeasuredMap>& map;
  MethodsText result;
};

}  // namespace

MethodsText methodsText(const RunRecord& run, const std::optional<MeasuredMap>& map) {
  return Writer(run, map).written();
}

}  // namespace mirel::report
