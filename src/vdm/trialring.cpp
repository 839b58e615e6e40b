#include "vdm/trialring.h"

#include <algorithm>

namespace {

// What one image's voxel shows at each trial: linear interpolation where the position lies
// strictly between the first and the last row, else what it held before.
std::vector<float> columnTrials(const Volume<float>& image, glm::ivec3 p, float displacement,
                                const std::vector<float>& shifts, float sign, float held) {
  const int ny = image.ny();
  std::vector<float> values;
  for (const float shift : shifts) {
    const float position = static_cast<float>(p.y) + (shift + displacement) * sign;
    if (position > 0 && position < static_cast<float>(ny - 1)) {
      const int row0 = static_cast<int>(position);
      const int row1 = std::min(static_cast<int>(position + 1.0f), ny - 1);
      const float fraction = position - static_cast<float>(row0);
      held = fraction * image.at(p.x, row1, p.z) + (1 - fraction) * image.at(p.x, row0, p.z);
    }
    values.push_back(held);
  }
  return values;
}

bool sameTrials(const std::vector<float>& a, const std::vector<float>& b) {
  return std::equal(a.begin(), a.end(), b.begin());
}

}  // namespace

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
      depth(pattern.dims.z) {
  for (const float amplitude : amplitudes) shifts.push_back(pattern.value * amplitude);
  const std::size_t rows = static_cast<std::size_t>(depth) * ny;
  if (useSsd) {
    squareRows.assign(rows * shifts.size() * stride, 0.0);
  } else {
    apRows.assign(rows * shifts.size() * stride, 0.0f);
    paRows.assign(rows * shifts.size() * stride, 0.0f);
  }
  foreground.assign(rows * nx, 0);
  awaits.assign(rows * nx, 0);
  awaiting.assign(rows, 0);
  allInside.assign(nx, 0);
  scratch.assign(2 * shifts.size() * (nx + trialBlock), 0.0f);
  for (std::size_t i = 0; i < shifts.size(); ++i) {
    apScratch.push_back(scratch.data() + 2 * i * (nx + trialBlock));
    paScratch.push_back(apScratch.back() + nx + trialBlock);
  }
}

void TrialRing::loadSlice(int z) {
  for (int y = 0; y < images.vdm.ny(); ++y) loadRow(y, z);
}

void TrialRing::loadRow(int y, int z) {
  const std::size_t row = slot(z) * ny + static_cast<std::size_t>(y);
  awaiting[row] = 0;
  std::fill_n(awaits.data() + row * nx, nx, static_cast<unsigned char>(0));
  resampleTrialRow({&images.ap.at(0, 0, z), &images.pa.at(0, 0, z), &images.vdm.at(0, y, z), y,
                    images.vdm.nx(), images.vdm.ny(), shifts.data(), amplitudeCount(),
                    apScratch.data(), paScratch.data(), allInside.data()},
                   variant);
  for (int x = 0; x < images.vdm.nx(); ++x)
    if (!allInside[static_cast<std::size_t>(x)]) settleOutside({x, y, z});
  const float* lastAp = apScratch.back();
  const float* lastPa = paScratch.back();
  for (std::size_t x = 0; x < nx; ++x)
    foreground[row * nx + x] = lastAp[x] > threshold || lastPa[x] > threshold;
  storeRow(y, z);
}

// A voxel with positions outside: what later visits see, and whether the first sees something
// else.
void TrialRing::settleOutside(glm::ivec3 p) {
  const VoxelTrials first = trialsOf(p, images.apUndistorted[p], images.paUndistorted[p]);
  const VoxelTrials later = trialsOf(p, first.ap.back(), first.pa.back());
  for (std::size_t i = 0; i < shifts.size(); ++i) {
    apScratch[i][p.x] = later.ap[i];
    paScratch[i][p.x] = later.pa[i];
  }
  if (sameTrials(first.ap, later.ap) && sameTrials(first.pa, later.pa)) return;
  awaits[byteIndex(p)] = 1;
  ++awaiting[slot(p.z) * ny + static_cast<std::size_t>(p.y)];
}

void TrialRing::storeRow(int y, int z) {
  for (int i = 0; i < amplitudeCount(); ++i) {
    const float* ap = apScratch[static_cast<std::size_t>(i)];
    const float* pa = paScratch[static_cast<std::size_t>(i)];
    const std::size_t start = rowStart(i, y, z) + margin;
    if (useSsd) {
      squareDifferences(ap, pa, static_cast<int>(nx), squareRows.data() + start, variant);
    } else {
      std::copy_n(ap, nx, apRows.data() + start);
      std::copy_n(pa, nx, paRows.data() + start);
    }
  }
}

VoxelTrials TrialRing::trialsOf(glm::ivec3 p, float heldAp, float heldPa) const {
  return {columnTrials(images.ap, p, images.vdm[p], shifts, 1.0f, heldAp),
          columnTrials(images.pa, p, images.vdm[p], shifts, -1.0f, heldPa)};
}

void TrialRing::takeFirstVisit(glm::ivec3 p) {
  awaits[byteIndex(p)] = 0;
  --awaiting[slot(p.z) * ny + static_cast<std::size_t>(p.y)];
}

void TrialRing::placeFirstVisitValues(glm::ivec3 p) {
  place(p, trialsOf(p, images.apUndistorted[p], images.paUndistorted[p]));
}

void TrialRing::placeLaterValues(glm::ivec3 p) {
  const VoxelTrials first = trialsOf(p, images.apUndistorted[p], images.paUndistorted[p]);
  place(p, trialsOf(p, first.ap.back(), first.pa.back()));
}

void TrialRing::place(glm::ivec3 p, const VoxelTrials& trials) {
  for (int i = 0; i < amplitudeCount(); ++i) {
    const std::size_t element = rowStart(i, p.y, p.z) + margin + static_cast<std::size_t>(p.x);
    const float* ap = &trials.ap[static_cast<std::size_t>(i)];
    const float* pa = &trials.pa[static_cast<std::size_t>(i)];
    if (useSsd) {
      squareDifferences(ap, pa, 1, squareRows.data() + element, variant);
    } else {
      apRows[element] = *ap;
      paRows[element] = *pa;
    }
  }
}
