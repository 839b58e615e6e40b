#include "vdm/vdmestimate.h"

#include <algorithm>
#include <ctime>
#include <glm/common.hpp>
#include <stdexcept>
#include <string>

#include "base/assertion.h"
#include "numerics/distance.h"
#include "numerics/volumegauss.h"
#include "vdm/simplevdmestimate.h"
#include "vdm/trialsearch.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

constexpr const char* sourceFile = "src/vdm/vdmestimate.cpp";
// Of the time that an estimate takes.
constexpr double columnFitShare = 0.35, searchShare = 0.63;
constexpr float foregroundThreshold = 100.0f;
constexpr float visitedWeight = 1.0f, unvisitedWeight = 0.25f;
const glm::dvec3 startSigma(1.5, 1.5, 1.5);  // voxels

void requireSchedule(const std::vector<Volume<float>>& patterns,
                     const std::vector<std::vector<float>>& amplitudes,
                     const std::vector<glm::dvec3>& sigmas) {
  for (std::size_t s = 0; s < patterns.size(); ++s) {
    const std::string scale = "Scale " + std::to_string(s) + " of the level schedule ";
    if (s >= amplitudes.size() || amplitudes[s].empty())
      throw std::invalid_argument(scale + "has no trial amplitudes.");
    if (s >= sigmas.size()) throw std::invalid_argument(scale + "has no smoothing sigma.");
    const glm::ivec3 d = patterns[s].dimensions();
    if (d.x % 2 == 0 || d.y % 2 == 0 || d.z % 2 == 0)
      throw std::invalid_argument(scale + "has a pattern without a centre voxel: its dimensions " +
                                  std::to_string(d.x) + " x " + std::to_string(d.y) + " x " +
                                  std::to_string(d.z) + " must be odd.");
  }
}

// The pair at one state of the search: the images, intensity-corrected if asked for, and both
// resampled through the current map.
struct ImagePair {
  const Volume<float>& apInput;
  const Volume<float>& paInput;
  bool intensityCorrection;
  Volume<float> ap, pa, apUndistorted, paUndistorted;

  ImagePair(const Volume<float>& apImage, const Volume<float>& paImage, bool correctIntensity)
      : apInput(apImage),
        paInput(paImage),
        intensityCorrection(correctIntensity),
        ap(apImage),
        pa(paImage),
        apUndistorted(apImage.dimensions()),
        paUndistorted(paImage.dimensions()) {}

  void resample(const Volume<float>& vdm) {
    if (intensityCorrection) correctIntensities(ap, pa, apInput, paInput, vdm);
    applyVdmYLinear(apUndistorted, ap, vdm, /*reverse=*/false);
    applyVdmYLinearReverse(paUndistorted, pa, vdm);
  }

  bool isForeground(int i) const {
    return apUndistorted.data()[i] > foregroundThreshold ||
           paUndistorted.data()[i] > foregroundThreshold;
  }

  double measure(bool useSsd) const {
    return useSsd ? ssd_norm(apUndistorted, paUndistorted) : ncc(apUndistorted, paUndistorted);
  }
};

// The voxels around a centre that a pattern covers, clipped to the image, and the voxels of the
// pattern that lie on them.
struct Neighbourhood {
  std::vector<glm::ivec3> voxels, localVoxels;

  void centreOn(glm::ivec3 centre, glm::ivec3 imageDims, glm::ivec3 patternDims) {
    const glm::ivec3 half = patternDims / 2;
    voxels.clear();
    localVoxels.clear();
    const glm::ivec3 first = glm::max(glm::ivec3(0), centre - half);
    const glm::ivec3 last = glm::min(imageDims - 1, centre + half);
    for (int z = first.z; z <= last.z; ++z)
      for (int y = first.y; y <= last.y; ++y)
        for (int x = first.x; x <= last.x; ++x) {
          voxels.emplace_back(x, y, z);
          localVoxels.push_back(half - centre + glm::ivec3(x, y, z));
        }
  }
};

// Tries all amplitudes at a neighbourhood and returns the first of least cost.
float bestAmplitude(ImagePair& pair, const Volume<float>& vdm, const Neighbourhood& around,
                    const Volume<float>& pattern, const std::vector<float>& amplitudes,
                    bool useSsd) {
  float best = amplitudes.front();
  double least = 0;
  for (std::size_t i = 0; i < amplitudes.size(); ++i) {
    applyVdmPlusLocalYLinearFast(pair.apUndistorted, pair.ap, vdm, around.voxels, pattern,
                                 around.localVoxels, amplitudes[i], /*reverse=*/false);
    applyVdmPlusLocalYLinearReverseFast(pair.paUndistorted, pair.pa, vdm, around.voxels, pattern,
                                        around.localVoxels, amplitudes[i]);
    const double cost = useSsd ? ssd(pair.apUndistorted, pair.paUndistorted, around.voxels)
                               : -ncc(pair.apUndistorted, pair.paUndistorted, around.voxels);
    if (i == 0 || cost < least) {
      least = cost;
      best = amplitudes[i];
    }
  }
  return best;
}

bool isConstant(const Volume<float>& pattern) {
  const float* first = pattern.data();
  return std::all_of(first, first + pattern.size(), [&](float v) { return v == *first; });
}

// One sweep over the image. The trials resample through `vdm` as it stands at the scale's start;
// the updates are collected in `updated`, and `weights` marks the visited voxels.
void searchScale(ImagePair& pair, const Volume<float>& vdm, const Volume<float>& pattern,
                 const std::vector<float>& amplitudes, bool useSsd, Volume<float>& updated,
                 Volume<float>& weights) {
  if (isConstant(pattern)) {
    searchConstantPattern({pair.ap, pair.pa, pair.apUndistorted, pair.paUndistorted, vdm},
                          {pattern.dimensions(), *pattern.data()}, amplitudes, useSsd,
                          foregroundThreshold, updated, weights, chosenVariant());
    return;
  }
  Neighbourhood around;
  for (int z = 0; z < vdm.nz(); ++z)
    for (int y = 0; y < vdm.ny(); ++y)
      for (int x = 0; x < vdm.nx(); ++x) {
        const int i = vdm.index(x, y, z);
        if (!pair.isForeground(i)) continue;
        around.centreOn({x, y, z}, vdm.dimensions(), pattern.dimensions());
        updated.data()[i] += bestAmplitude(pair, vdm, around, pattern, amplitudes, useSsd);
        weights.data()[i] = visitedWeight;
      }
}

const char* measureName(bool useSsd) { return useSsd ? "SSD" : "NCC"; }

}  // namespace

Volume<float> estimate_vdm(const Volume<float>& vol_ap, const Volume<float>& vol_pa,
                           const glm::dvec3&, const glm::dvec3& fitSigma, bool use_ssd,
                           const std::vector<Volume<float>>& patterns,
                           const std::vector<std::vector<float>>& amplitudes,
                           const std::vector<glm::dvec3>& sigmas, bool use_ic, std::ostream& log,
                           const ReportDone& done) {
  require(vol_ap.dimensions() == vol_pa.dimensions(), sourceFile, 53,
          "vol_ap.dimensions() == vol_pa.dimensions()");
  requireSchedule(patterns, amplitudes, sigmas);
  Volume<float> vdm = simpleVDMestimate(vol_ap, vol_pa, fitSigma, log);
  applyGauss(vdm, startSigma, glm::ivec3(0, 0, 0), true);
  ImagePair pair(vol_ap, vol_pa, use_ic);
  pair.resample(vdm);
  log << measureName(use_ssd) << " after applying smoothed VDM: " << pair.measure(use_ssd)
      << std::flush;
  log << "\nStarting local optimizations" << std::flush;
  if (done) done(columnFitShare);
  const std::clock_t start = std::clock();
  for (std::size_t s = 0; s < patterns.size(); ++s) {
    Volume<float> updated = vdm;
    Volume<float> weights(vdm.dimensions(), unvisitedWeight);
    searchScale(pair, vdm, patterns[s], amplitudes[s], use_ssd, updated, weights);
    vdm = std::move(updated);
    const Volume<float> kernel = createGaussianKernel3D<float>(glm::ivec3(9, 9, 9), sigmas[s],
                                                               glm::ivec3(0, 0, 0), /*wrap=*/false);
    convolve3D(vdm, kernel, weights, /*normalize=*/true);
    log << "Smoothed (" << sigmas[s].x << ") and needed " << smoothErrors(vdm)
        << " iterations to improve inverse consistency" << std::flush;
    pair.resample(vdm);
    log << "Finished iteration with " << measureName(use_ssd) << ": " << pair.measure(use_ssd)
        << std::flush;
    if (done) done(columnFitShare + searchShare * static_cast<double>(s + 1) / static_cast<double>(patterns.size()));
  }
  log << "Other distance measure " << measureName(!use_ssd) << ": " << pair.measure(!use_ssd)
      << std::flush;
  log << "\nTime taken: " << static_cast<double>(std::clock() - start) / 1000000.0 << std::flush;
  log << "Inverse consistency check VDM: "
      << (nrOfErrorsInVDM(vdm) == 0 ? "PASSED" : "some inconsistencies found") << std::flush;
  return vdm;
}

}  // namespace mirel
