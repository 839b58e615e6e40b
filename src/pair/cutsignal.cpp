#include "pair/cutsignal.h"

#include <algorithm>
#include <cmath>

#include "base/numbertext.h"
#include "masspreserving/intensityscale.h"
#include "pair/columns.h"

namespace mirel {

namespace {

constexpr double clearOfLevel = 0.7;

// Simulated heads cut by masks of their own: 0.0021 to 0.0089. Whole ones, cut in the air or in the
// scalp, darker voxels set to 0, or of 8 greys and more: 0.0007 at most.
constexpr double mostCutOff = 0.0015;

// 1 where the voxel of the distorted image that a corrected one comes from is 0, in columns that
// are not 0 throughout.
Volume<unsigned char> zerosOf(const CorrectedImage& image, const Columns& columns) {
  const float* values = image.distorted.data();
  Volume<unsigned char> zeros(image.distorted.dimensions(), 0);
  for (const int start : columns.first) {
    const bool empty =
        columns.total(start, [&](int i) { return values[i] != 0.0F ? 1.0 : 0.0; }) == 0.0;
    for (int n = 0; n < columns.length && !empty; ++n) {
      const int i = start + n * columns.step;
      const double at = n + std::round(static_cast<double>(image.shift.data()[i]));
      if (!(at >= 0.0 && at < columns.length)) continue;
      const int from = start + static_cast<int>(at) * columns.step;
      zeros.data()[i] = values[from] == 0.0F ? 1 : 0;
    }
  }
  return zeros;
}

}  // namespace

double signalCutOff(const CorrectedImage& first, const CorrectedImage& second, double ratio,
                    int axis) {
  const Columns columns(first.distorted.dimensions(), axis);
  const Volume<unsigned char> ofFirst = zerosOf(first, columns),
                              ofSecond = zerosOf(second, columns);
  const Volume<float> scaled = second.corrected * static_cast<float>(ratio);
  const Volume<float> mean = (first.corrected + scaled) * 0.5F;
  const double clear = clearOfLevel * signalLevel(mean);
  double cut = 0.0, all = 0.0;
  for (int i = 0; i < mean.size(); ++i) {
    const double a = first.corrected.data()[i], b = scaled.data()[i], m = mean.data()[i];
    all += m * m;
    if (ofFirst.data()[i] == ofSecond.data()[i]) continue;
    const double shown = ofFirst.data()[i] != 0 ? b : a;
    if (shown > clear) cut += shown * shown;
  }
  return all > 0.0 ? cut / all : 0.0;
}

void doubtOwnMasks(const PairInput& pair, double cutOff, Verdict& verdict) {
  if (!(cutOff > mostCutOff)) return;
  verdict.add(Trust::doubtful,
              pair.a.title() + " and " + pair.b.title() +
                  " are exactly 0 in different places: corrected, one of them shows " +
                  text("%.2g", 100 * cutOff) +
                  " % of the squared signal where the other has nothing, as if each had been cut "
                  "by a mask of its own; give the images as they were acquired, and with --mask "
                  "where to look");
}

}  // namespace mirel
