#include "average/volumeagreement.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "numerics/statistics.h"

namespace mirel {

namespace {

constexpr double countsFully = 1.5, countsNot = 3;
constexpr std::size_t fewestVoxels = 100;  // of a slice that tell a variance
constexpr double leastGain = 0.01;         // nothing is to be divided by that of an empty volume

int sliceSize(const Volume<float>& volume) { return volume.nx() * volume.ny(); }

double middleOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n == 0 ? 0.0 : 0.5 * (values[(n - 1) / 2] + values[n / 2]);
}

// Voxel by voxel, of the volumes that cover it; 0 where none does.
Volume<float> medianOf(const std::vector<AlignedVolume>& volumes,
                       const std::vector<VolumeAgreement>& agreements) {
  Volume<float> result(volumes.front().image.dimensions(), 0.0F);
  std::vector<double> values;
  for (int i = 0; i < result.size(); ++i) {
    values.clear();
    for (std::size_t v = 0; v < volumes.size(); ++v)
      if (volumes[v].covers(i))
        values.push_back(static_cast<double>(volumes[v].image.data()[i]) / agreements[v].gain);
    result.data()[i] = static_cast<float>(middleOf(values));
  }
  return result;
}

double meanOf(const Volume<float>& image) {
  double sum = 0;
  for (int i = 0; i < image.size(); ++i) sum += static_cast<double>(image.data()[i]);
  return sum / image.size();
}

// Of a volume about the middle of all where that exceeds `head`, from voxel to voxel; nothing
// where there are too few.
std::optional<double> varianceAbout(const Volume<float>& middle, const AlignedVolume& volume,
                                    double gain, double head, int from, int to) {
  double squares = 0;
  std::size_t count = 0;
  for (int i = from; i < to; ++i) {
    const double expected = static_cast<double>(middle.data()[i]);
    if (!(expected > head) || !volume.covers(i)) continue;
    const double apart = static_cast<double>(volume.image.data()[i]) / gain - expected;
    squares += apart * apart;
    ++count;
  }
  if (count < fewestVoxels) return std::nullopt;
  return squares / static_cast<double>(count);
}

// In each slice; where there is little of the head, of air.
std::vector<double> variancesAbout(const Volume<float>& middle, const AlignedVolume& volume,
                                   double gain) {
  const double head = meanOf(middle);
  constexpr double everywhere = -std::numeric_limits<double>::infinity();
  std::vector<double> variances;
  for (int k = 0; k < middle.nz(); ++k) {
    const int from = k * sliceSize(middle), to = from + sliceSize(middle);
    const auto inHead = varianceAbout(middle, volume, gain, head, from, to);
    variances.push_back(
        inHead ? *inHead : varianceAbout(middle, volume, gain, everywhere, from, to).value_or(0.0));
  }
  return variances;
}

double expectedOfNoise(const std::vector<AlignedVolume>& volumes, std::size_t which) {
  const auto n = static_cast<double>(volumes.size());
  double others = 0;
  for (std::size_t v = 0; v < volumes.size(); ++v)
    if (v != which) others += volumes[v].noiseLeft;
  return volumes[which].noiseLeft * (1 - 1 / n) * (1 - 1 / n) + others / (n * n);
}

double weightAt(double excess, double chance) {
  const double e = excess / chance;
  if (!(e > countsFully)) return 1;
  return e < countsNot ? (countsNot - e) / (countsNot - countsFully) : 0;
}

// What the variance of so many voxels of noise may be by chance, 4 standard deviations, over its
// expectation.
double largestByChance(const Volume<float>& middle, double threshold, int slice) {
  const auto head = static_cast<float>(threshold);
  const float* first = &middle.at(0, 0, slice);
  const auto inHead = static_cast<std::size_t>(
      std::count_if(first, first + sliceSize(middle), [&](float v) { return v > head; }));
  const std::size_t count =
      inHead < fewestVoxels ? static_cast<std::size_t>(sliceSize(middle)) : inHead;
  return 1 + 4 * std::sqrt(2.0 / static_cast<double>(count));
}

void weigh(const Volume<float>& middle, const std::vector<std::vector<double>>& excesses,
           std::vector<VolumeAgreement>& agreements) {
  const double head = meanOf(middle);
  for (std::size_t k = 0; k < excesses.front().size(); ++k) {
    std::vector<double> ofAll;
    for (const std::vector<double>& excess : excesses) ofAll.push_back(excess[k]);
    const double typical = middleOf(ofAll);
    const double chance = largestByChance(middle, head, static_cast<int>(k));
    for (std::size_t v = 0; v < excesses.size(); ++v)
      agreements[v].weights.push_back(typical > 0 ? weightAt(ofAll[v] / typical, chance) : 1.0);
  }
}

void findShares(const Volume<float>& middle, std::vector<VolumeAgreement>& agreements) {
  const int size = sliceSize(middle);
  std::vector<double> signal(static_cast<std::size_t>(middle.nz()), 0.0);
  for (int i = 0; i < middle.size(); ++i)
    signal[static_cast<std::size_t>(i / size)] += std::abs(static_cast<double>(middle.data()[i]));
  for (VolumeAgreement& agreement : agreements) {
    double all = 0, counted = 0;
    for (std::size_t k = 0; k < signal.size(); ++k) {
      all += signal[k];
      counted += signal[k] * agreement.weights[k];
    }
    agreement.share = all > 0 ? counted / all : 1.0;
  }
}

}  // namespace

double gainOver(const Volume<float>& reference, const AlignedVolume& volume) {
  const auto head = static_cast<float>(meanOf(reference));
  std::vector<double> ofSlices;
  for (int k = 0; k < reference.nz(); ++k) {
    std::vector<float> ratios;
    for (int i = k * sliceSize(reference); i < (k + 1) * sliceSize(reference); ++i)
      if (reference.data()[i] > head && volume.covers(i))
        ratios.push_back(volume.image.data()[i] / reference.data()[i]);
    if (ratios.size() >= fewestVoxels)
      ofSlices.push_back(static_cast<double>(quantile(ratios, 0.5)));
  }
  const double gain = ofSlices.empty() ? 1.0 : middleOf(ofSlices);
  return gain > leastGain ? gain : 1.0;
}

std::vector<VolumeAgreement> agreementsOf(const std::vector<AlignedVolume>& volumes) {
  std::vector<VolumeAgreement> agreements(volumes.size());
  const Volume<float> unscaled = medianOf(volumes, agreements);
  for (std::size_t v = 0; v < volumes.size(); ++v)
    agreements[v].gain = gainOver(unscaled, volumes[v]);
  const Volume<float> middle = medianOf(volumes, agreements);
  std::vector<std::vector<double>> excesses;
  for (std::size_t v = 0; v < volumes.size(); ++v) {
    excesses.push_back(variancesAbout(middle, volumes[v], agreements[v].gain));
    for (double& variance : excesses.back()) variance /= expectedOfNoise(volumes, v);
  }
  weigh(middle, excesses, agreements);
  findShares(middle, agreements);
  return agreements;
}

}  // namespace mirel
