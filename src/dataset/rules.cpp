#include "dataset/rules.h"

#include <algorithm>

#include "base/isoneof.h"
#include "base/joined.h"

namespace mirel::dataset {

namespace {

using Numbers = std::vector<std::size_t>;

void addNew(std::vector<std::string>& texts, const std::vector<std::string>& more) {
  for (const std::string& text : more)
    if (!isOneOf(text, texts)) texts.push_back(text);
}

std::vector<std::string> allIdentifiers(const std::vector<ImageFacts>& images) {
  std::vector<std::string> all;
  for (const ImageFacts& image : images) addNew(all, image.identifiers);
  return all;
}

Choice fieldNamed(const SubjectImages& subject, const std::string& identifier, const Group& group) {
  const std::vector<ImageFacts>& images = subject.images;
  Choice choice{Rule::identifier, {}, "", identifier};
  Numbers sources, others;
  std::vector<std::string> sessions;
  for (std::size_t n = 0; n < images.size(); ++n) {
    if (!isOneOf(identifier, images[n].identifiers)) continue;
    (isOtherField(images[n].image) ? others : sources).push_back(n);
    addNew(sessions, {"ses-" + images[n].image.session});
  }
  const std::string field = "the field " + identifier + " that B0FieldSource asks for";
  if (sessions.size() > 1) {
    choice.reason = "the B0FieldIdentifier " + identifier + " is in several sessions, " +
                    joined(sessions) + ": it has to stand for one field";
    return choice;
  }
  const NearestPair nearest =
      nearestPair(images, pairsOf(images, subject.representatives(sources)), group.front());
  const std::vector<ImagePair> pairs = pairsOf(images, subject.representatives(sources));
  if (!pairs.empty()) {
    choice.pair = nearest.pair.value_or(pairs[0]);
    choice.reason = field + (nearest.pair ? nearest.how : ", of several pairs the first by name");
  } else if (const auto measurements = measurementsAmong(images, others); !measurements.empty()) {
    const auto nearestOne = nearestMeasurement(images, measurements, group.front());
    choice.measured = nearestOne.value_or(measurements[0]);
    choice.reason = field + " is measured by " + namesOf(images, choice.measured) +
                    (nearestOne ? "" : ", of several the first by name");
  } else if (!sources.empty() || !others.empty()) {
    choice.reason = field + " cannot be found: " +
                    (sources.empty() ? whyNoMeasurement(images, others) : whyNone(images, sources));
  } else {
    const auto known = allIdentifiers(images);
    choice.reason = field + " is the B0FieldIdentifier of no image" +
                    (known.empty() ? "" : " (there are " + joined(known) + ")");
  }
  return choice;
}

}  // namespace

std::string nameOf(Rule rule) {
  switch (rule) {
    case Rule::identifier:
      return "B0FieldIdentifier";
    case Rule::intent:
      return "IntendedFor";
    case Rule::images:
      break;
  }
  return "images";
}

Numbers SubjectImages::representatives(const Numbers& which) const {
  Numbers result;
  for (const Group& group : groups) {
    const auto best =
        std::find_if(group.members.begin(), group.members.end(), [&](std::size_t member) {
          return std::find(which.begin(), which.end(), member) != which.end();
        });
    if (best != group.members.end()) result.push_back(*best);
  }
  return result;
}

std::optional<Choice> byIdentifier(const SubjectImages& subject, const Group& group) {
  std::vector<std::string> asked;
  for (const std::size_t member : group.members) addNew(asked, subject.images[member].fieldSources);
  if (group.isFieldMap) addNew(asked, subject.images[group.front()].identifiers);
  std::optional<Choice> first;
  for (const std::string& identifier : asked) {
    const Choice choice = fieldNamed(subject, identifier, group);
    if (choice.hasField()) return choice;
    if (!first) first = choice;
  }
  return first;
}

}  // namespace mirel::dataset
