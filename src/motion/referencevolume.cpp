#include "motion/referencevolume.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "field/inorder.h"
#include "field/seriesparts.h"
#include "motion/volumealigner.h"
#include "nifti/image.h"
#include "numerics/spikes.h"

namespace mirel {

namespace {

constexpr std::size_t mostCompared = 8;
constexpr double leastLikeness = 0.5;
constexpr double clearlyLess = 0.5, worthAChange = 0.002;

double differenceOf(const Volume<float>& a, const Volume<float>& b) {
  double sum = 0;
  for (int n = 0; n < a.size(); ++n)
    sum += std::fabs(static_cast<double>(a.data()[n]) - static_cast<double>(b.data()[n]));
  return sum;
}

struct Typical {
  int volume = 0;
  std::vector<int> shown;  // those that are not constant
};

// By the mean of all, constant ones or not.
Typical typicalOf(const SeriesToRealign& series, const std::vector<int>& volumes) {
  nifti::Reader reader(series.file);
  const Volume<float> mean = meanOfVolumes(series.file, volumes);
  struct Buffers {
    Volume<float> volume;
    double difference = 0;
    bool constant = false;
  };
  Typical typical{volumes.front(), {}};
  double least = std::numeric_limits<double>::infinity();
  inOrder<Buffers>(
      static_cast<int>(volumes.size()), series.threads,
      [&](int n, Buffers& buffers) {
        reader.readVolume(volumes[static_cast<std::size_t>(n)], buffers.volume);
      },
      [&](Buffers& buffers) {
        replaceNonFinite(buffers.volume);
        buffers.difference = differenceOf(buffers.volume, mean);
        buffers.constant = buffers.volume.min() == buffers.volume.max();
      },
      [&](int n, const Buffers& buffers) {
        const int volume = volumes[static_cast<std::size_t>(n)];
        if (!buffers.constant) typical.shown.push_back(volume);
        if (!(buffers.difference < least)) return;
        least = buffers.difference;
        typical.volume = volume;
      });
  return typical;
}

// The typical one and others, evenly among those that are shown.
std::vector<int> comparedWith(const Typical& typical) {
  std::vector<int> others;
  for (const int volume : typical.shown)
    if (volume != typical.volume) others.push_back(volume);
  std::vector<int> compared = {typical.volume};
  const std::size_t count = std::min(others.size(), mostCompared - 1);
  for (std::size_t n = 0; n < count; ++n)
    compared.push_back(others[(2 * n + 1) * others.size() / (2 * count)]);
  return compared;
}

// Of the other volumes with one, aligned to it.
struct Likeness {
  std::vector<double> correlations;  // 0 with itself

  bool ofMost() const { return 2 * resembling() >= static_cast<int>(correlations.size()) - 1; }
  int resembling() const {
    return static_cast<int>(std::count_if(correlations.begin(), correlations.end(),
                                          [](double one) { return one >= leastLikeness; }));
  }
  // Which of the volumes is the one in the middle, by their correlations.
  std::size_t middle() const {
    std::vector<std::size_t> order(correlations.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      return correlations[a] > correlations[b];
    });
    return order[(order.size() - 2) / 2];
  }
  double unexplained() const { return 1 - correlations[middle()]; }
};

class ReferenceTrials {
 public:
  ReferenceTrials(const SeriesToRealign& what, const std::vector<int>& compared) : series(what) {
    nifti::Reader reader(series.file);
    for (const int volume : compared)
      images.push_back(comparableVolume(reader.readVolume(volume), series.background));
  }

  Likeness with(std::size_t reference) const {
    const VolumeAligner aligner(images[reference], series.place, series.file);
    Likeness likeness{std::vector<double>(images.size(), 0.0)};
    if (!aligner.canCompare()) return likeness;
    struct Buffers {
      std::size_t image = 0;
      VolumeAligner::Scratch scratch;
      VolumeFit fit;
    };
    inOrder<Buffers>(
        static_cast<int>(images.size()), series.threads,
        [](int n, Buffers& buffers) { buffers.image = static_cast<std::size_t>(n); },
        [&](Buffers& buffers) {
          buffers.fit = {};
          if (buffers.image != reference)
            buffers.fit = aligner.align(images[buffers.image], buffers.scratch);
        },
        [&](int n, const Buffers& buffers) {
          if (isCredible(buffers.fit))
            likeness.correlations[static_cast<std::size_t>(n)] = buffers.fit.correlation;
        });
    return likeness;
  }

 private:
  // Volumes of noise resemble one another by the density that the field gives them all.
  bool isCredible(const VolumeFit& fit) const {
    return fit.converged && judgedFit(fit, series.place.grid).reason.empty();
  }

  const SeriesToRealign& series;
  std::vector<Volume<float>> images;
};

// Which of the volumes most others resemble.
std::size_t mostResembled(const ReferenceTrials& trials, std::size_t count, const Likeness& first) {
  std::size_t best = 0;
  int most = first.resembling();
  for (std::size_t n = 1; n < count; ++n)
    if (const int resembling = trials.with(n).resembling(); resembling > most) {
      most = resembling;
      best = n;
    }
  return best;
}

}  // namespace

Volume<float> comparableVolume(Volume<float> volume, double background) {
  replaceNonFinite(volume);
  return withoutSpikes(std::move(volume)) - static_cast<float>(background);
}

int referenceVolume(const SeriesToRealign& series) {
  Typical typical = typicalOf(series, series.like);
  if (typical.shown.empty()) return typical.volume;
  if (typical.shown.size() < series.like.size()) typical = typicalOf(series, typical.shown);
  const std::vector<int> compared = comparedWith(typical);
  if (compared.size() < 3) return typical.volume;
  const ReferenceTrials trials(series, compared);
  const Likeness here = trials.with(0);
  if (!here.ofMost()) return compared[mostResembled(trials, compared.size(), here)];
  if (here.unexplained() <= worthAChange) return typical.volume;
  const double there = trials.with(here.middle()).unexplained();
  const bool better =
      there < clearlyLess * here.unexplained() && there < here.unexplained() - worthAChange;
  return better ? compared[here.middle()] : typical.volume;
}

}  // namespace mirel
