#include "reference/vdmestimate.h"

#include <algorithm>
#include <ctime>
#include <ostream>
#include <stdexcept>

#include "reference/distance.h"
#include "reference/simplevdmestimate.h"
#include "reference/vdm.h"
#include "reference/volumegauss.h"

namespace mirel::reference {

namespace {

struct Scale {
  const Volume<float>& pattern;
  const std::vector<float>& amplitudes;
};

struct Images {
  Volume<float> apC, paC, apU, paU;
};

struct Neighbourhood {
  std::vector<glm::ivec3> voxels, localVoxels;
};

void requireScales(const std::vector<Volume<float>>& patterns,
                   const std::vector<std::vector<float>>& amplitudes, std::size_t sigmas) {
  if (amplitudes.size() < patterns.size() || sigmas < patterns.size())
    throw std::invalid_argument("too few amplitude lists or sigmas");
  for (std::size_t s = 0; s < patterns.size(); ++s) {
    const Volume<float>& p = patterns[s];
    if (amplitudes[s].empty() || p.nx() % 2 == 0 || p.ny() % 2 == 0 || p.nz() % 2 == 0)
      throw std::invalid_argument("no amplitudes, or a pattern without a centre");
  }
}

Neighbourhood neighbourhood(glm::ivec3 centre, const Volume<float>& vdm,
                            const Volume<float>& pattern) {
  Neighbourhood n;
  const int x = centre.x, y = centre.y, z = centre.z;
  const int hx = pattern.nx() / 2, hy = pattern.ny() / 2, hz = pattern.nz() / 2;
  for (int w = std::max(0, z - hz); w <= std::min(vdm.nz() - 1, z + hz); ++w)
    for (int v = std::max(0, y - hy); v <= std::min(vdm.ny() - 1, y + hy); ++v)
      for (int u = std::max(0, x - hx); u <= std::min(vdm.nx() - 1, x + hx); ++u) {
        n.voxels.push_back(glm::ivec3(u, v, w));
        n.localVoxels.push_back(glm::ivec3(hx - x + u, hy - y + v, hz - z + w));
      }
  return n;
}

float bestAmplitude(const Neighbourhood& n, const Scale& scale, const Volume<float>& vdm,
                    bool use_ssd, Images& im) {
  std::vector<double> costs;
  for (const float a : scale.amplitudes) {
    applyVdmPlusLocalYLinearFast(im.apU, im.apC, vdm, n.voxels, scale.pattern, n.localVoxels, a,
                                 false);
    applyVdmPlusLocalYLinearReverseFast(im.paU, im.paC, vdm, n.voxels, scale.pattern, n.localVoxels,
                                        a);
    costs.push_back(use_ssd ? ssd(im.apU, im.paU, n.voxels) : -ncc(im.apU, im.paU, n.voxels));
  }
  std::size_t best = 0;
  for (std::size_t i = 1; i < costs.size(); ++i)
    if (costs[i] < costs[best]) best = i;
  return scale.amplitudes[best];
}

void sweep(const Scale& scale, const Volume<float>& vdm, bool use_ssd, Images& im,
           Volume<float>& vdmNew, Volume<float>& weights) {
  for (int z = 0; z < vdm.nz(); ++z)
    for (int y = 0; y < vdm.ny(); ++y)
      for (int x = 0; x < vdm.nx(); ++x) {
        if (!(im.apU.at(x, y, z) > 100.0f || im.paU.at(x, y, z) > 100.0f)) continue;
        const Neighbourhood n = neighbourhood(glm::ivec3(x, y, z), vdm, scale.pattern);
        const float a = bestAmplitude(n, scale, vdm, use_ssd, im);
        weights.at(x, y, z) = 1.0f;
        vdmNew.at(x, y, z) += a;
      }
}

}  // namespace

Volume<float> estimate_vdm(const Volume<float>& vol_ap, const Volume<float>& vol_pa,
                           const glm::dvec3&, const glm::dvec3& fitSigma, bool use_ssd,
                           const std::vector<Volume<float>>& patterns,
                           const std::vector<std::vector<float>>& amplitudes,
                           const std::vector<glm::dvec3>& sigmas, bool use_ic, std::ostream& log) {
  requireScales(patterns, amplitudes, sigmas.size());
  const glm::ivec3 none(0, 0, 0);
  Volume<float> vdm = simpleVDMestimate(vol_ap, vol_pa, fitSigma, log);
  applyGauss(vdm, glm::dvec3(1.5, 1.5, 1.5), none, true);

  Images im{vol_ap, vol_pa, Volume<float>(vol_ap.dimensions()), Volume<float>(vol_ap.dimensions())};
  const auto correct = [&] {
    if (use_ic) correctIntensities(im.apC, im.paC, vol_ap, vol_pa, vdm);
  };
  const auto resample = [&] {
    applyVdmYLinear(im.apU, im.apC, vdm, false);
    applyVdmYLinearReverse(im.paU, im.paC, vdm);
  };
  const auto measure = [&](bool asSsd) {
    return asSsd ? ssd_norm(im.apU, im.paU) : ncc(im.apU, im.paU);
  };
  const char* name = use_ssd ? "SSD" : "NCC";
  const char* otherName = use_ssd ? "NCC" : "SSD";

  correct();
  resample();
  log << name << " after applying smoothed VDM: " << measure(use_ssd) << std::flush;
  log << "\nStarting local optimizations" << std::flush;
  const std::clock_t start = std::clock();
  for (std::size_t s = 0; s < patterns.size(); ++s) {
    Volume<float> vdmNew = vdm;
    Volume<float> weights(vdm.dimensions(), 0.25f);
    sweep({patterns[s], amplitudes[s]}, vdm, use_ssd, im, vdmNew, weights);
    vdm = vdmNew;
    const Volume<float> kernel =
        createGaussianKernel3D<float>(glm::ivec3(9, 9, 9), sigmas[s], none, false);
    convolve3D(vdm, kernel, weights, true);
    log << "Smoothed (" << sigmas[s].x << ") and needed ";
    log << smoothErrors(vdm) << " iterations to improve inverse consistency" << std::flush;
    correct();
    resample();
    log << "Finished iteration with " << name << ": " << measure(use_ssd) << std::flush;
  }
  log << "Other distance measure " << otherName << ": " << measure(!use_ssd) << std::flush;
  log << "\nTime taken: " << static_cast<double>(std::clock() - start) / 1000000.0 << std::flush;
  log << "Inverse consistency check VDM: "
      << (nrOfErrorsInVDM(vdm) == 0 ? "PASSED" : "some inconsistencies found") << std::flush;
  return vdm;
}

}  // namespace mirel::reference
