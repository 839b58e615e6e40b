#include "report/anatomy.h"

#include <algorithm>

#include "base/error.h"
#include "base/numbertext.h"
#include "bids/name.h"
#include "jobs/checksum.h"
#include "nifti/image.h"
#include "picture/headmask.h"

namespace mirel::report {

namespace {

constexpr double leastCovered = 0.5;

std::string subjectOf(const std::string& file) { return bids::Name::of(file).entity("sub"); }

double shareOf(const Volume<float>& mask) {
  const auto inside = std::count(mask.data(), mask.data() + mask.size(), 1.0F);
  return static_cast<double>(inside) / mask.size();
}

}  // namespace

Anatomy readAnatomy(const std::string& file) {
  nifti::Reader reader(file);
  const nifti::Header& header = reader.header();
  if (reader.storedVolumes() != 1)
    throw Error(file, "has " + std::to_string(reader.storedVolumes()) +
                          " volumes: an anatomical image has one");
  if (std::min({header.dims.x, header.dims.y, header.dims.z}) < 2)
    throw Error(file, "is a single slice: an anatomical image is of the whole head");
  if (!hasOrientation(header))
    throw Error(file,
                "does not say where it lies (sform_code and qform_code are 0), so that nothing "
                "can be drawn by it");
  return {file, gridOf(header), reader.readVolume(0), sha256Of(file)};
}

std::vector<Remark> doubtsAbout(const Anatomy& anatomy, const Grid& grid,
                                const std::string& image) {
  const double covered = shareOf(coverage(grid, anatomy.grid, anatomy.file));
  if (covered == 0) throw Error(anatomy.file, "does not overlap " + image + ", by their affines");
  std::vector<Remark> doubts;
  if (covered < leastCovered)
    doubts.emplace_back(anatomy.file + " covers only " + text("%.2g", 100 * covered) + " % of " +
                        image + ", by their affines: its outline in the report ends there");
  const std::string one = subjectOf(anatomy.file), other = subjectOf(image);
  if (!one.empty() && !other.empty() && one != other)
    doubts.emplace_back(anatomy.file + " is of sub-" + one + " and " + image + " of sub-" + other +
                        ", by their names: its outline in the report is of another head");
  return doubts;
}

Volume<float> headOn(const Grid& grid, const Anatomy& anatomy) {
  Volume<float> here =
      resampleTo(grid, anatomy.image, anatomy.grid.affine, anatomy.file, Interpolation::linear);
  // Beyond its borders it is continued, which is no head.
  here *= coverage(grid, anatomy.grid, anatomy.file);
  return picture::headMask(here);
}

double overlapOf(const Volume<float>& a, const Volume<float>& b) {
  double both = 0, all = 0;
  for (int n = 0; n < a.size(); ++n) {
    both += a.data()[n] * b.data()[n];
    all += a.data()[n] + b.data()[n];
  }
  return all > 0 ? 2 * both / all : 0;
}

}  // namespace mirel::report
