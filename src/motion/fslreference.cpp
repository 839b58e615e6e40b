#include "motion/fslreference.h"

#include <cmath>
#include <glm/matrix.hpp>

#include "base/error.h"
#include "motion/credible.h"
#include "motion/fsltransforms.h"
#include "nifti/image.h"

namespace mirel {

namespace {

const char* const needsReference =
    " leads to the grid of an image that it does not name, since no volume stayed in place";

bool staysInPlace(const glm::dmat4& m, const nifti::Header& header) {
  return displacementMm(m, gridOf(header)) < inPlaceMm;
}

// In the coordinates of FSL; intensities below 0 do not count.
glm::dvec3 centreOfGravity(const std::string& image, int volume) {
  nifti::Reader reader(image);
  const Volume<float> values = reader.readVolume(volume);
  glm::dvec3 sum(0.0);
  double weight = 0;
  for (int z = 0; z < values.nz(); ++z)
    for (int y = 0; y < values.ny(); ++y)
      for (int x = 0; x < values.nx(); ++x)
        if (const double v = static_cast<double>(values.at(x, y, z)); v > 0 && std::isfinite(v)) {
          sum += v * glm::dvec3(x, y, z);
          weight += v;
        }
  if (!(weight > 0)) throw Error(image, "shows nothing whose centre could be found");
  return glm::dvec3(fslFromScanner(reader.header(), image) * reader.header().affine() *
                    glm::dvec4(sum / weight, 1.0));
}

}  // namespace

std::vector<glm::dmat4> fslFromReference(const std::vector<glm::dmat4>& matrices,
                                         const GivenMotion& given, const MovedSeries& series) {
  const glm::dmat4 fsl = fslFromScanner(series.header, series.file);
  glm::dmat4 reference = fsl;
  if (!given.referenceImage.empty()) {
    reference = fslFromScanner(nifti::Reader(given.referenceImage).header(), given.referenceImage);
  } else if (!given.referenceVolume) {
    bool found = false;
    for (const glm::dmat4& m : matrices)
      found = found || staysInPlace(glm::inverse(fsl) * m * fsl, series.header);
    if (!found) throw Error(given.file, needsReference, {Advice::Kind::giveMotionReference});
  }
  std::vector<glm::dmat4> pulled;
  for (const glm::dmat4& m : matrices)
    pulled.push_back(glm::inverse(glm::inverse(reference) * m * fsl));
  return pulled;
}

glm::dvec3 fslCentre(const std::vector<std::vector<double>>& rows, const GivenMotion& given,
                     const MovedSeries& series) {
  if (!given.referenceImage.empty()) return centreOfGravity(given.referenceImage, 0);
  if (given.referenceVolume) return centreOfGravity(series.file, *given.referenceVolume);
  for (std::size_t t = 0; t < rows.size(); ++t)
    if (rows[t] == std::vector<double>(6, 0.0))
      return centreOfGravity(series.file, static_cast<int>(t));
  throw Error(given.file, needsReference, {Advice::Kind::giveMotionReference});
}

}  // namespace mirel
