#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dataset/groups.h"
#include "dataset/measurement.h"
#include "dataset/pairing.h"

/// The rules by which the field of an image is found, in the order in which they count.
namespace mirel::dataset {

enum class Rule {
  identifier,  ///< B0FieldSource asks for a B0FieldIdentifier
  intent,      ///< IntendedFor of field map images names it
  images,      ///< an assumption: what the images themselves tell
};

/// "B0FieldIdentifier", "IntendedFor", "images".
std::string nameOf(Rule rule);

/// What a rule says about a group: the pair that its field is estimated from, or else the images
/// that measure it, or why there is neither.
struct Choice {
  Rule rule = Rule::images;
  std::optional<ImagePair> pair;
  std::string reason;           ///< a sentence without a full stop
  std::string identifier = {};  ///< of the field, by the first rule
  MeasuringImages measured = {};

  bool hasField() const { return pair || !measured.empty(); }
};

/// The images of one subject.
struct SubjectImages {
  const std::vector<ImageFacts>& images;
  std::vector<Group> groups;

  explicit SubjectImages(const std::vector<ImageFacts>& all) : images(all), groups(groupsOf(all)) {}

  /// Of every group with members in `which` the best one of these.
  std::vector<std::size_t> representatives(const std::vector<std::size_t>& which) const;
};

/// By B0FieldSource, of a field map also by its own B0FieldIdentifier; nothing where there is none.
/// All images of the subject with the identifier are sources of the field: a pair of them, else
/// what measures it. An identifier in two sessions stands for no field.
std::optional<Choice> byIdentifier(const SubjectImages& subject, const Group& group);

/// By the images whose IntendedFor names a member of the group: two of them of opposite directions,
/// else one and the group itself, else what measures a field. Of a field map also by the images
/// that are intended for the same. Nothing where there is none.
std::optional<Choice> byIntent(const SubjectImages& subject, const Group& group);

/// By the images of the same session that no identifier and no IntendedFor links to others, with
/// the same ShimSetting (or none) and a place in common: the nearest pair of field maps; one field
/// map of the opposite direction and the group itself; the nearest pair of the group's own kind;
/// what measures a field. Where several are possible and no time of acquisition decides, none is
/// taken.
Choice byImages(const SubjectImages& subject, const Group& group);

}  // namespace mirel::dataset
