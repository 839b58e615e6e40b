#include "vdm/trialring.h"

#include <algorithm>

namespace mirel {

namespace {

// The trials of one image's voxel, linear interpolation where the position lies strictly between
// the first and the last row.
void tryColumn(const Volume<float>& image, glm::ivec3 p, float displacement,
               const std::vector<float>& shifts, float sign, float start, VoxelTrials& trials) {
  const int ny = image.ny();
  trials.start = start;
  trials.held = shifts.size();
  float value = start;
  for (std::size_t i = 0; i < shifts.size(); ++i) {
    const float position = static_cast<float>(p.y) + (shifts[i] + displacement) * sign;
    if (position > 0 && position < static_cast<float>(ny - 1)) {
      const int row0 = static_cast<int>(position);
      const int row1 = std::min(static_cast<int>(position + 1.0f), ny - 1);
      const float fraction = position - static_cast<float>(row0);
      value = fraction * image.at(p.x, row1, p.z) + (1 - fraction) * image.at(p.x, row0, p.z);
      trials.held = std::min(trials.held, i);
    }
    trials.values[i] = value;
  }
}

}  // namespace

void VoxelTrials::setFound(float value) { std::fill_n(values.begin(), held, value); }

TrialRing::TrialRing(const SearchImages& searched, const ConstantPattern& pattern,
                     const std::vector<float>& amplitudes, bool ssdCost, float foregroundThreshold,
                     SimdVariant simdVariant)
    : images(searched),
      useSsd(ssdCost),
      threshold(foregroundThreshold),
      variant(simdVariant),
      nx(static_cast<std::size_t>(images.vdm.nx())),
      ny(static_cast<std::size_t>(images.vdm.ny())),
      margin(static_cast<std::size_t>(pattern.dims.x / 2)),
      stride(nx + 2 * margin + trialBlock),
      squareStride(nx + 2 * margin + ssdBlock),
      squaresPerElement(
          static_cast<std::size_t>(paddedAmplitudes(static_cast<int>(amplitudes.size())))),
      depth(pattern.dims.z) {
  for (const float amplitude : amplitudes) shifts.push_back(pattern.value * amplitude);
  const std::size_t rows = static_cast<std::size_t>(depth) * ny;
  if (useSsd) {
    squareRows.assign(rows * squareStride * squaresPerElement, 0.0);
    apRows.assign(shifts.size() * stride, 0.0f);
    paRows.assign(shifts.size() * stride, 0.0f);
  } else {
    apRows.assign(rows * shifts.size() * stride, 0.0f);
    paRows.assign(rows * shifts.size() * stride, 0.0f);
  }
  foreground.assign(rows * nx, 0);
  awaits.assign(rows * nx, 0);
  awaiting.assign(rows, 0);
  sliceHeld.assign(rows, -1);
  allInside.assign(nx, 0);
  apTrials.resize(shifts.size());
  paTrials.resize(shifts.size());
  apVoxel.values.resize(shifts.size());
  paVoxel.values.resize(shifts.size());
}

void TrialRing::require(int y, int z) {
  if (holds(y, z)) return;
  loadRow(y, z);
  sliceHeld[rowIndex(y, z)] = z;
}

void TrialRing::loadRow(int y, int z) {
  const std::size_t row = rowIndex(y, z);
  openRow(y, z);
  awaiting[row] = 0;
  std::fill_n(awaits.data() + row * nx, nx, static_cast<unsigned char>(0));
  resampleTrialRow({&images.ap.at(0, 0, z), &images.pa.at(0, 0, z), &images.vdm.at(0, y, z), y,
                    images.vdm.nx(), images.vdm.ny(), shifts.data(), amplitudeCount(),
                    apTrials.data(), paTrials.data(), allInside.data()},
                   variant);
  for (int x = 0; x < images.vdm.nx(); ++x)
    if (!allInside[static_cast<std::size_t>(x)]) settleOutside({x, y, z});
  markForeground(apTrials.back(), paTrials.back(), threshold, images.vdm.nx(),
                 foreground.data() + row * nx, variant);
  closeRow(y, z);
}

// A voxel with positions outside: what later visits see, and whether the first sees something
// else.
void TrialRing::settleOutside(glm::ivec3 p) {
  tryVoxel(p);
  apVoxel.setFound(apVoxel.last());
  paVoxel.setFound(paVoxel.last());
  for (std::size_t i = 0; i < shifts.size(); ++i) {
    apTrials[i][p.x] = apVoxel.values[i];
    paTrials[i][p.x] = paVoxel.values[i];
  }
  if (!apVoxel.firstVisitDiffers() && !paVoxel.firstVisitDiffers()) return;
  awaits[byteIndex(p)] = 1;
  ++awaiting[rowIndex(p.y, p.z)];
}

// Trials of which only the squares are kept take the place of those before.
void TrialRing::openRow(int y, int z) {
  for (int i = 0; i < amplitudeCount(); ++i) {
    const std::size_t start = rowStart(i, useSsd ? 0 : y, useSsd ? 0 : z) + margin;
    apTrials[static_cast<std::size_t>(i)] = apRows.data() + start;
    paTrials[static_cast<std::size_t>(i)] = paRows.data() + start;
  }
}

void TrialRing::closeRow(int y, int z) {
  if (useSsd) {
    squareDifferences({apTrials.data(), paTrials.data(), amplitudeCount(), static_cast<int>(nx)},
                      squareRows.data() + squareIndex(margin, y, z), variant);
    return;
  }
  // Whole vectors were written.
  for (float* trials : apTrials) std::fill_n(trials + nx, trialBlock, 0.0f);
  for (float* trials : paTrials) std::fill_n(trials + nx, trialBlock, 0.0f);
}

// As the first visit sees it.
void TrialRing::tryVoxel(glm::ivec3 p) {
  const float displacement = images.vdm[p];
  tryColumn(images.ap, p, displacement, shifts, 1.0f, images.apUndistorted[p], apVoxel);
  tryColumn(images.pa, p, displacement, shifts, -1.0f, images.paUndistorted[p], paVoxel);
}

void TrialRing::takeFirstVisit(glm::ivec3 p) {
  awaits[byteIndex(p)] = 0;
  --awaiting[rowIndex(p.y, p.z)];
}

void TrialRing::placeFirstVisitValues(glm::ivec3 p) {
  tryVoxel(p);
  place(p);
}

void TrialRing::placeLaterValues(glm::ivec3 p) {
  tryVoxel(p);
  apVoxel.setFound(apVoxel.last());
  paVoxel.setFound(paVoxel.last());
  place(p);
}

void TrialRing::place(glm::ivec3 p) {
  const std::size_t x = margin + static_cast<std::size_t>(p.x);
  if (useSsd) {
    double* squares = squareRows.data() + squareIndex(x, p.y, p.z);
    for (std::size_t i = 0; i < shifts.size(); ++i) {
      const double difference = apVoxel.values[i] - paVoxel.values[i];
      squares[i] = difference * difference;
    }
    return;
  }
  for (std::size_t i = 0; i < shifts.size(); ++i) {
    const std::size_t element = rowStart(static_cast<int>(i), p.y, p.z) + x;
    apRows[element] = apVoxel.values[i];
    paRows[element] = paVoxel.values[i];
  }
}

}  // namespace mirel
