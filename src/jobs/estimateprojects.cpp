#include "jobs/estimateprojects.h"

#include <cstdio>
#include <utility>

#include "base/numbertext.h"
#include "files/mapfile.h"
#include "files/mapset.h"
#include "files/usablemap.h"
#include "masspreserving/masspreserving.h"
#include "numerics/fft/fftw.h"
#include "numerics/spikes.h"

namespace mirel {

namespace {

void tellMotion(const RigidMotion& motion, std::ostream& log) {
  if (motion.isNone()) {
    log << "No motion of the head between the images." << std::flush;
    return;
  }
  const glm::dvec3 t = motion.translationMm, r = motion.rotationDegrees;
  char text[200];
  std::snprintf(text, sizeof text,
                "Motion of the head between the images: %.2f, %.2f, %.2f mm along and %.2f, %.2f, "
                "%.2f degrees about x, y, z.",
                t.x, t.y, t.z, r.x, r.y, r.z);
  log << text << std::flush;
}

// The image without the voxels that stand far out of all others; says how many there are.
Volume<float> cleaned(const Volume<float>& image, const char* which, std::ostream& log) {
  const Spikes spikes = findSpikes(image);
  if (spikes.empty()) return image;
  char text[200];
  std::snprintf(
      text, sizeof text, "Left out of the %s image: %s far out of all others, the largest %g.",
      which, counted(spikes.voxels.size(), "voxel").c_str(), static_cast<double>(spikes.largest));
  log << text << std::flush;
  return withoutSpikes(image, spikes);
}

void addMap(const Volume<float>& map, bool transpose, float param1, float param2,
            const std::string& fileName, MapSet& maps) {
  Map file = mapOf(transpose ? map.transposeXY() : map);
  file.header.kind = 1;
  file.header.param1 = param1;
  file.header.param2 = param2;
  refuseUnusableMap(file, fileName);
  maps.add(fileName, std::move(file));
}

}  // namespace

void estimateProjectsMassPreserving(const ProjectPair& pair, bool estimateMotion,
                                    std::ostream& log) {
  bindEngine();
  MassPreservingOptions options;
  options.estimateMotion = estimateMotion;
  const PairEstimator estimator = [&](const Volume<float>& first, const Volume<float>& second,
                                      const glm::dvec3& voxelMm, std::ostream& text) {
    MassPreservingResult found = estimateMassPreserving(
        cleaned(first, "first", text), cleaned(second, "second", text), voxelMm, options);
    // The images come with x and y exchanged where phase encoding runs along x.
    const RigidMotion motion = pair.rllr ? found.motion.withExchanged(0, 1) : found.motion;
    if (estimateMotion) tellMotion(motion, text);
    return std::move(found.shiftVoxels);
  };
  // They appear before projects are corrected with them.
  MapSet maps;
  const std::size_t wanted = pair.saveDerivative ? 4 : 2;
  const MapWriter keepMap = [&](const Volume<float>& map, bool transpose, float param1,
                                float param2, const std::string& fileName) {
    addMap(map, transpose, param1, param2, fileName, maps);
    if (maps.size() == wanted) maps.write();
  };
  estimateProjectPair(pair, estimator, keepMap, log);
}

}  // namespace mirel
