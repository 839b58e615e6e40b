#include "motion/motioncheck.h"

#include <algorithm>
#include <glm/matrix.hpp>

#include "field/movedcorrector.h"
#include "field/seriesparts.h"
#include "field/signcheck.h"
#include "motion/credible.h"
#include "nifti/image.h"
#include "numerics/spikes.h"

namespace mirel {

namespace {

constexpr std::size_t mostVolumes = 4;
constexpr double leastMm = 0.1;

class Comparison {
 public:
  Comparison(const MovedImages& what, const SeriesMotion& how)
      : images(what),
        motion(how),
        reader(what.file),
        corrector(what.shift, what.axis, Modulation::off) {}

  // Which volumes are compared; false: none moved.
  bool choose(MotionCheck& check) const {
    std::vector<int> sorted = images.usable;
    const auto least = std::min_element(sorted.begin(), sorted.end(), [&](int a, int b) {
      return displacement(at(a)) < displacement(at(b));
    });
    if (least == sorted.end()) return false;
    check.against = *least;
    const glm::dmat4 back = glm::inverse(at(check.against));
    std::stable_sort(sorted.begin(), sorted.end(), [&](int a, int b) {
      return displacement(at(a) * back) > displacement(at(b) * back);
    });
    check.largestMm = displacement(at(sorted.front()) * back);
    for (const int t : sorted)
      if (check.volumes.size() < mostVolumes && displacement(at(t) * back) >= leastMm)
        check.volumes.push_back(t);
    return !check.volumes.empty();
  }

  void compare(MotionCheck& check) {
    const PlacedImage reference{through(volume(check.against), glm::dmat4(1.0)), images.grid.affine,
                                images.file};
    const glm::dmat4& still = at(check.against);
    double asGiven = 0, opposite = 0, unmoved = 0;
    for (const int t : check.volumes) {
      const Volume<float> image = volume(t);
      const Volume<float> given = through(image, at(t) * glm::inverse(still));
      const auto against = [&](const glm::dmat4& m) {
        return compareSigns(given, through(image, m), images.grid.affine, reference);
      };
      const SignCheck back = against(glm::inverse(at(t)) * still), none = against(glm::dmat4(1.0));
      asGiven += back.asGiven;
      opposite += back.opposite;
      unmoved += none.opposite;
    }
    const auto count = static_cast<double>(check.volumes.size());
    check.asGiven = asGiven / count;
    check.opposite = opposite / count;
    check.unmoved = unmoved / count;
  }

 private:
  const glm::dmat4& at(int t) const { return motion.fromReference[static_cast<std::size_t>(t)]; }
  double displacement(const glm::dmat4& m) const { return displacementMm(m, images.grid); }

  Volume<float> volume(int t) {
    Volume<float> read = reader.readVolume(t);
    replaceNonFinite(read);
    return withoutSpikes(std::move(read)) - static_cast<float>(images.background);
  }

  // Of a volume in which the head is where `m` brings it from its place in the reference.
  Volume<float> through(const Volume<float>& image, const glm::dmat4& m) {
    Volume<float> result;
    corrector.correct(image, glm::inverse(images.grid.affine) * m * images.grid.affine, result,
                      scratch);
    return result;
  }

  const MovedImages& images;
  const SeriesMotion& motion;
  nifti::Reader reader;
  MovedCorrector corrector;
  MovedCorrector::Scratch scratch;
};

MotionCheck::Verdict verdictOf(const MotionCheck& check) {
  const auto beats = [](double one, double a, double b) {
    return one > std::max(a, b) + decisiveNmiDifference;
  };
  if (beats(check.asGiven, check.opposite, check.unmoved)) return MotionCheck::Verdict::right;
  if (check.opposite > std::max(check.asGiven + decisiveNmiDifference, check.unmoved))
    return MotionCheck::Verdict::opposite;
  if (check.unmoved > check.asGiven + decisiveNmiDifference) return MotionCheck::Verdict::unmoved;
  return MotionCheck::Verdict::undecided;
}

}  // namespace

MotionCheck checkMotion(const MovedImages& images, const SeriesMotion& motion) {
  MotionCheck check;
  Comparison comparison(images, motion);
  if (!comparison.choose(check)) return check;
  comparison.compare(check);
  check.verdict = verdictOf(check);
  return check;
}

}  // namespace mirel
