#include "field/seriesparts.h"

#include <cmath>

#include "base/error.h"
#include "base/numbertext.h"
#include "nifti/finite.h"
#include "simd/valuekernels.h"

namespace mirel {

namespace {

std::string nonFiniteSentence(const std::string& in, std::int64_t count, const std::string& what) {
  const bool one = count == 1;
  return in + " has " + counted(count, "value") + (one ? " that is " : " that are ") + what +
         (one ? "; it counts as 0" : "; they count as 0");
}

bool isUnsigned(nifti::DataType type) { return nameOf(type).starts_with("uint"); }

std::string clampedSentence(const std::string& in, std::int64_t count, nifti::DataType type,
                            bool above) {
  const bool one = count == 1;
  const std::string verb = above ? (one ? "exceeds" : "exceed") : (one ? "falls" : "fall");
  return std::to_string(count) + (one ? " voxel of " : " voxels of ") + in + ", corrected, " +
         verb + (above ? " the largest value that " : " below the least value that ") +
         nameOf(type) + " holds; that value is written" +
         (isUnsigned(type) && !above ? ""
          : one                      ? " (32-bit floats would hold it)"
                                     : " (32-bit floats would hold them)");
}

std::string roundingSentence(const std::string& in, const nifti::RoundingLoss& loss,
                             nifti::DataType type) {
  return in + " is computed with 32-bit floats, which do not hold all digits of its " +
         nameOf(type) + " values: " + std::to_string(loss.values) +
         (loss.values == 1 ? " is" : " are") + " rounded, by " + text("%.3g", loss.largest) +
         " at most";
}

// What the data type of the input, or that of the output, did to values.
void tellOfTypes(const std::string& in, nifti::DataType typeRead, SeriesReport& report) {
  const nifti::DataType written = report.header.type;
  if (report.rounding.values > 0)
    report.warnings.push_back(roundingSentence(in, report.rounding, typeRead));
  if (report.clamped > 0)
    report.warnings.push_back(clampedSentence(in, report.clamped, written, /*above=*/true));
  if (report.clampedBelow == 0) return;
  // Interpolation beside air falls a little below it: of types that begin with 0 that is ordinary.
  (isUnsigned(written) ? report.notes : report.warnings)
      .push_back(clampedSentence(in, report.clampedBelow, written, /*above=*/false));
}

}  // namespace

std::int64_t replaceNonFinite(Volume<float>& volume) {
  std::int64_t replaced = 0;
  float* values = volume.data();
  if (allFinite(values, volume.size(), chosenVariant())) return replaced;
  for (int n = 0; n < volume.size(); ++n)
    if (!std::isfinite(values[n])) {
      values[n] = 0;
      ++replaced;
    }
  return replaced;
}

void MeanOfVolumes::add(const Volume<float>& volume) {
  if (count == wanted) return;
  addValues(sum.data(), volume.data(), sum.size(), chosenVariant());
  ++count;
}

Volume<float> MeanOfVolumes::value() const {
  Volume<float> mean(sum.dimensions(), 0.0f);
  for (int n = 0; n < sum.size() && count > 0; ++n)
    mean.data()[n] = static_cast<float>(sum.data()[n] / count);
  return mean;
}

void tellOfValues(const std::string& in, nifti::DataType typeRead, SeriesReport& report) {
  if (report.nonFinite > 0) {
    const std::string what =
        nifti::whatIsNotFinite(static_cast<std::size_t>(report.nonFinite), report.rounding.beyond);
    if (report.nonFinite == std::int64_t{report.meanAfter.size()} * report.volumes)
      throw Error(in, "holds no image: every value is " + what);
    report.warnings.push_back(nonFiniteSentence(in, report.nonFinite, what));
  }
  tellOfTypes(in, typeRead, report);
}

}  // namespace mirel
