#include "motion/headoutside.h"

#include "field/movedcorrector.h"

namespace mirel {

HeadOutside headOutside(const Volume<unsigned char>& head, const SeriesMotion& motion,
                        const Grid& grid, int axis) {
  HeadOutside most;
  const std::vector<glm::dmat4> moved = voxelMotions(motion, grid.affine);
  for (std::size_t t = 0; t < moved.size(); ++t) {
    double all = 0, outside = 0;
    for (int z = 0; z < head.nz(); ++z)
      for (int y = 0; y < head.ny(); ++y)
        for (int x = 0; x < head.nx(); ++x) {
          if (head.at(x, y, z) == 0) continue;
          const glm::dvec3 p(moved[t] * glm::dvec4(x, y, z, 1.0));
          bool measured = true;
          for (int other = 0; other < 3; ++other)
            measured = measured && (other == axis || isMeasured(p[other], grid.dims[other]));
          all += 1;
          outside += measured ? 0 : 1;
        }
    if (all > 0 && outside / all > most.part) most = {outside / all, static_cast<int>(t)};
  }
  return most;
}

}  // namespace mirel
