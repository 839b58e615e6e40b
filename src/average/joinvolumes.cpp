#include "average/joinvolumes.h"

#include <algorithm>

#include "average/joinremarks.h"
#include "average/volumeagreement.h"
#include "average/volumealignment.h"
#include "numerics/statistics.h"

namespace mirel {

namespace {

using Fate = JoinedPart::Fate;

constexpr double brighter = 1.05;       // than those after it, before the steady state
constexpr double referenceShare = 0.9;  // that has to agree
constexpr double leastShare = 0.25;

Grid gridOf(const PlacedImage& image) { return {image.values.dimensions(), image.affine}; }

// Of the volumes that are left, with what they were before.
class Joining {
 public:
  explicit Joining(std::vector<VolumeToJoin>&& given) : volumes(std::move(given)) {
    for (const VolumeToJoin& one : volumes)
      result.parts.push_back({one.image.name, one.file, one.volume});
  }

  JoinedVolumes run() {
    leaveOutUnsteady();
    chooseReference();
    align();
    join();
    addJoinRemarks(result);
    return std::move(result);
  }

 private:
  std::vector<std::size_t> counted() const {
    std::vector<std::size_t> indices;
    for (std::size_t n = 0; n < volumes.size(); ++n)
      if (result.parts[n].fate == Fate::counted) indices.push_back(n);
    return indices;
  }

  void leaveOutUnsteady();
  void leaveOutUnsteady(std::size_t from, std::size_t to);
  void chooseReference();
  void align();
  void join();

  std::vector<VolumeToJoin> volumes;
  std::vector<std::size_t> left;       // those that are not left out, and
  std::vector<AlignedVolume> aligned;  // the same in the reference's place
  JoinedVolumes result;
};

void Joining::leaveOutUnsteady() {
  for (std::size_t from = 0; from < volumes.size();) {
    std::size_t to = from + 1;
    while (to < volumes.size() && volumes[to].file == volumes[from].file) ++to;
    leaveOutUnsteady(from, to);
    from = to;
  }
}

// Of a file. Against its last volume: signal that is lost in some of its slices leaves the median
// as it is.
void Joining::leaveOutUnsteady(std::size_t from, std::size_t to) {
  const Volume<float>& last = volumes[to - 1].image.values;
  std::vector<float> gains;
  for (std::size_t n = from; n < to; ++n)
    gains.push_back(static_cast<float>(gainOver(last, {volumes[n].image.values})));
  std::vector<float> later(gains.begin() + static_cast<std::ptrdiff_t>(gains.size() / 2),
                           gains.end());
  const double steady = static_cast<double>(quantile(later, 0.5));
  for (std::size_t n = 0; from + n + 1 < to && volumes[from + n].volume == static_cast<int>(n);
       ++n) {
    const double gain = static_cast<double>(gains[n]) / steady;
    if (!(gain > brighter)) break;
    result.parts[from + n].fate = Fate::beforeSteady;
    result.parts[from + n].gain = gain;
  }
}

std::vector<AlignedVolume> unaligned(const std::vector<VolumeToJoin>& volumes,
                                     const std::vector<std::size_t>& which) {
  std::vector<AlignedVolume> result;
  for (const std::size_t n : which) result.push_back({volumes[n].image.values});
  return result;
}

// On the grid of the first volume: it is that of the result.
void Joining::chooseReference() {
  const std::vector<std::size_t> steady = counted();
  result.reference = steady.front();
  if (steady.size() < 3) return;
  const std::vector<VolumeAgreement> agreements = agreementsOf(unaligned(volumes, steady));
  double best = 0;
  for (std::size_t n = 0; n < steady.size() && best < referenceShare; ++n) {
    if (!(agreements[n].share > best) ||
        !coincide(gridOf(volumes[steady[n]].image), gridOf(volumes.front().image)))
      continue;
    best = agreements[n].share;
    result.reference = steady[n];
  }
}

void Joining::align() {
  left = counted();
  const PlacedImage& reference = volumes[result.reference].image;
  if (left.size() == 1) {
    aligned.push_back({reference.values});
    return;
  }
  const RigidAligner aligner(reference);
  result.centreMm = aligner.centreMm();
  for (const std::size_t n : left) {
    PlacedImage& image = volumes[n].image;
    if (n == result.reference) {
      aligned.push_back({image.values});
      continue;
    }
    VolumeAlignment found = alignVolume(aligner, gridOf(reference), image);
    image.values = {};
    JoinedPart& part = result.parts[n];
    part.displacementMm = found.displacementMm;
    part.moved = found.moved;
    part.motion = found.motion;
    aligned.push_back(std::move(found.volume));
  }
}

void takeDown(VolumeAgreement& agreement, JoinedPart& part) {
  part.gain = agreement.gain;
  part.share = agreement.share;
  if (agreement.share < leastShare) {
    part.fate = Fate::differs;
    std::fill(agreement.weights.begin(), agreement.weights.end(), 0.0);
  }
  for (std::size_t k = 0; k < agreement.weights.size(); ++k)
    if (agreement.weights[k] < 1) part.weakSlices.push_back(static_cast<int>(k));
}

void Joining::join() {
  std::vector<VolumeAgreement> agreements = agreementsOf(aligned);
  std::vector<AlignedVolume> whole;
  bool plain = true;
  for (std::size_t n = 0; n < left.size(); ++n) {
    JoinedPart& part = result.parts[left[n]];
    takeDown(agreements[n], part);
    if (part.fate != Fate::counted) continue;
    plain = plain && part.weakSlices.empty() && aligned[n].covered.size() == 0;
    if (plain) whole.push_back(aligned[n]);
  }
  const auto reference = static_cast<std::size_t>(
      std::find(left.begin(), left.end(), result.reference) - left.begin());
  result.image = plain ? plainMean(whole) : weightedMean(aligned, agreements, reference);
}

}  // namespace

std::vector<int> JoinedVolumes::volumesOf(const std::string& file) const {
  std::vector<int> volumes;
  for (const JoinedPart& part : parts)
    if (part.file == file) volumes.push_back(part.volume);
  return volumes;
}

JoinedVolumes joinVolumes(std::vector<VolumeToJoin> volumes) {
  return Joining(std::move(volumes)).run();
}

}  // namespace mirel
