#include <algorithm>

#include "bids/intent.h"
#include "dataset/rules.h"

namespace mirel::dataset {

namespace {

using Numbers = std::vector<std::size_t>;

bool isOfOtherDataset(const std::string& entry) {
  return entry.starts_with("bids:") && !entry.starts_with("bids::");
}

bool isMeantFor(const ImageFacts& source, const ImageFacts& image) {
  return std::any_of(source.intendedFor.begin(), source.intendedFor.end(),
                     [&](const std::string& entry) {
                       return !isOfOtherDataset(entry) && bids::isIntended(entry, image.image.path);
                     });
}

bool haveIntentInCommon(const ImageFacts& a, const ImageFacts& b) {
  return std::any_of(a.intendedFor.begin(), a.intendedFor.end(), [&](const std::string& entry) {
    return std::find(b.intendedFor.begin(), b.intendedFor.end(), entry) != b.intendedFor.end();
  });
}

// The images that are meant for the group; for a field map those that are meant for the same.
Numbers sourcesOf(const SubjectImages& subject, const Group& group) {
  const std::vector<ImageFacts>& images = subject.images;
  Numbers sources;
  for (std::size_t n = 0; n < images.size(); ++n) {
    const auto serves = [&](std::size_t member) {
      return member != n && isMeantFor(images[n], images[member]);
    };
    const bool alike = group.isFieldMap && haveIntentInCommon(images[n], images[group.front()]);
    if (alike || std::any_of(group.members.begin(), group.members.end(), serves))
      sources.push_back(n);
  }
  return sources;
}

// A field map and the group itself, or a series that it is meant for.
std::optional<ImagePair> pairWithSeries(const SubjectImages& subject, const Numbers& pool,
                                        const Group& group) {
  const std::vector<ImageFacts>& images = subject.images;
  for (const std::size_t source : pool)
    for (const std::size_t member : group.members)
      if (source != member && whyNoPair(images[source], images[member]).empty())
        return ImagePair{source, member};
  if (!group.isFieldMap) return std::nullopt;
  for (const Group& series : subject.groups)
    for (const std::size_t member : series.members)
      if (isMeantFor(images[group.front()], images[member]) &&
          whyNoPair(images[group.front()], images[member]).empty())
        return ImagePair{group.front(), member};
  return std::nullopt;
}

// Images that would make a pair with one of the pool, but are meant for others.
std::string partnersOfOthers(const SubjectImages& subject, const Numbers& pool) {
  const std::vector<ImageFacts>& images = subject.images;
  Numbers partners;
  for (const Group& group : subject.groups)
    if (group.isFieldMap && std::find(pool.begin(), pool.end(), group.front()) == pool.end() &&
        std::any_of(pool.begin(), pool.end(), [&](std::size_t one) {
          return whyNoPair(images[one], images[group.front()]).empty();
        }))
      partners.push_back(group.front());
  if (partners.empty()) return "";
  return " (opposite would be " + namesOf(images, partners) + ", by IntendedFor not for it)";
}

}  // namespace

std::optional<Choice> byIntent(const SubjectImages& subject, const Group& group) {
  const std::vector<ImageFacts>& images = subject.images;
  const Numbers sources = sourcesOf(subject, group);
  if (sources.empty()) return std::nullopt;
  Choice choice{Rule::intent, {}, ""};
  const Numbers pool = subject.representatives(sources);
  const std::vector<ImagePair> pairs = pairsOf(images, pool);
  if (!pairs.empty()) {
    const NearestPair nearest = nearestPair(images, pairs, group.front());
    choice.pair = nearest.pair.value_or(pairs[0]);
    choice.reason = "IntendedFor in the sidecars of " + namesOf(images, *choice.pair) +
                    (nearest.pair ? nearest.how : ", of several pairs the first by name");
    return choice;
  }
  choice.pair = pairWithSeries(subject, pool, group);
  if (choice.pair) {
    choice.reason = "IntendedFor in the sidecar of " + images[choice.pair->a].fileName() +
                    ", which is opposite to " + images[choice.pair->b].fileName();
    return choice;
  }
  if (const auto measurements = measurementsAmong(images, sources); !measurements.empty()) {
    const auto nearest = nearestMeasurement(images, measurements, group.front());
    choice.measured = nearest.value_or(measurements[0]);
    choice.reason = "IntendedFor in the sidecar of what measures its field, " +
                    namesOf(images, choice.measured) +
                    (nearest ? "" : ", of several the first by name");
    return choice;
  }
  Numbers epi = sources;
  std::erase_if(epi, [&](std::size_t n) { return isOtherField(images[n].image); });
  if (epi.empty()) {
    choice.reason =
        "what is meant for it by IntendedFor tells no field: " + whyNoMeasurement(images, sources);
    return choice;
  }
  choice.reason = namesOf(images, epi) + (epi.size() > 1 ? " are" : " is") +
                  " meant for it by IntendedFor, but " + whyNone(images, epi) +
                  partnersOfOthers(subject, pool);
  return choice;
}

}  // namespace mirel::dataset
