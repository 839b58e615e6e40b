#include <algorithm>

#include "base/error.h"
#include "dataset/rules.h"

namespace mirel::dataset {

namespace {

using Numbers = std::vector<std::size_t>;

bool haveSameShim(const ImageFacts& a, const ImageFacts& b) {
  return a.shim.empty() || b.shim.empty() || a.shim == b.shim;
}

bool overlap(const ImageFacts& a, const ImageFacts& b) {
  if (!a.grid || !b.grid) return true;
  try {
    return coverage(*a.grid, *b.grid, b.image.path).max() > 0.0F;
  } catch (const Error&) {
    return false;
  }
}

bool isLinked(const ImageFacts& image) {
  return !image.identifiers.empty() || !image.fieldSources.empty() || !image.intendedFor.empty();
}

// The images that may be looked at for a group, and what speaks against the others.
class Search {
 public:
  Search(const SubjectImages& all, const Group& of)
      : subject(all), images(all.images), group(of), own(all.images[of.front()]) {}

  Choice choose() {
    const Numbers fieldMaps = sources(/*ofFieldMaps=*/true);
    if (const auto choice = chooseAmong(possible(pairsOf(images, fieldMaps)))) return *choice;
    std::vector<ImagePair> mixed;
    for (const std::size_t one : fieldMaps)
      for (const std::size_t member : group.members)
        if (one != member && whyNoPair(images[one], images[member]).empty()) {
          mixed.push_back({one, member});
          break;
        }
    if (!group.isFieldMap)
      if (const auto choice = chooseAmong(possible(mixed))) return *choice;
    const Numbers ownKind = sources(/*ofFieldMaps=*/false);
    if (const auto choice = chooseAmong(possible(pairsOf(images, ownKind)))) return *choice;
    const Numbers measuring = imagesThatMeasure();
    if (const auto choice = chooseMeasured(measurementsAmong(images, measuring))) return *choice;
    return {Rule::images, {}, whyNothing(fieldMaps, ownKind, measuring)};
  }

 private:
  // Field maps of the session, or series of the group's own folder.
  Numbers sources(bool ofFieldMaps) {
    Numbers found;
    for (const Group& other : subject.groups) {
      const ImageFacts& image = images[other.front()];
      const bool wanted = ofFieldMaps ? other.isFieldMap
                                      : !other.isFieldMap && !group.isFieldMap &&
                                            image.image.datatype == own.image.datatype;
      if (!wanted || other.session != group.session) continue;
      if (&other != &group && isLinked(image)) {
        linked.push_back(other.front());
      } else if (!haveSameShim(own, image)) {
        otherwiseShimmed.push_back(other.front());
      } else {
        found.push_back(other.front());
      }
    }
    return found;
  }

  std::vector<ImagePair> possible(std::vector<ImagePair> pairs) const {
    std::erase_if(pairs, [&](const ImagePair& pair) {
      return !haveSameReadout(images[pair.a], images[pair.b]) ||
             !haveSameShim(images[pair.a], images[pair.b]) || !overlap(own, images[pair.a]) ||
             (group.isFieldMap && !pair.has(group.front()));
    });
    return pairs;
  }

  std::optional<Choice> chooseAmong(const std::vector<ImagePair>& pairs) const {
    if (pairs.empty()) return std::nullopt;
    Choice choice{Rule::images, {}, ""};
    const NearestPair nearest = nearestPair(images, pairs, group.front());
    if (!nearest.pair) {
      for (const ImagePair& pair : pairs)
        choice.reason += (choice.reason.empty() ? "" : ", or ") + namesOf(images, pair);
      choice.reason =
          "several pairs of its session could tell its field, and nothing says which: " +
          choice.reason;
      return choice;
    }
    choice.pair = nearest.pair;
    const bool shimKnown = !own.shim.empty() && !images[nearest.pair->a].shim.empty();
    choice.reason = "assumed, since no sidecar says it: " + namesOf(images, *nearest.pair) +
                    " are of its session and of opposite directions" +
                    (shimKnown ? ", with its ShimSetting" : "") + nearest.how;
    return choice;
  }

  // Of the session, for no other images by their sidecars.
  Numbers imagesThatMeasure() {
    Numbers found;
    for (std::size_t n = 0; n < images.size(); ++n) {
      if (!isOtherField(images[n].image) || images[n].image.session != group.session) continue;
      if (isLinked(images[n]))
        linked.push_back(n);
      else if (!haveSameShim(own, images[n]))
        otherwiseShimmed.push_back(n);
      else
        found.push_back(n);
    }
    return found;
  }

  std::optional<Choice> chooseMeasured(const std::vector<MeasuringImages>& all) const {
    if (all.empty()) return std::nullopt;
    Choice choice{Rule::images, {}, ""};
    if (const auto nearest = nearestMeasurement(images, all, group.front())) {
      choice.measured = *nearest;
      choice.reason = "assumed, since no sidecar says it: " + namesOf(images, *nearest) +
                      (nearest->size() > 1 ? " measure" : " measures") + " a field of its session";
      return choice;
    }
    for (const MeasuringImages& each : all)
      choice.reason += (choice.reason.empty() ? "" : ", or ") + namesOf(images, each);
    choice.reason =
        "several images of its session measure a field, and nothing says which counts: " +
        choice.reason;
    return choice;
  }

  std::string whyNothing(const Numbers& fieldMaps, const Numbers& ownKind,
                         const Numbers& measuring) const {
    std::string why = "nothing in its session tells its field: ";
    Numbers pool = fieldMaps.empty() ? ownKind : fieldMaps;
    if (fieldMaps.size() == 1 && !group.isFieldMap) pool.push_back(group.front());
    std::string none = whyNone(images, pool);
    if (none.empty()) none = "what there is has another readout time, ShimSetting or place";
    why += none;
    if (!linked.empty())
      why += "; " + namesOf(images, linked) + " are by their sidecars for other images";
    if (!otherwiseShimmed.empty())
      why += "; " + namesOf(images, otherwiseShimmed) + " have another ShimSetting";
    if (!measuring.empty()) why += "; " + whyNoMeasurement(images, measuring);
    return why;
  }

  const SubjectImages& subject;
  const std::vector<ImageFacts>& images;
  const Group& group;
  const ImageFacts& own;
  Numbers linked, otherwiseShimmed;
};

}  // namespace

Choice byImages(const SubjectImages& subject, const Group& group) {
  return Search(subject, group).choose();
}

}  // namespace mirel::dataset
