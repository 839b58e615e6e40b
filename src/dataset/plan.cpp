#include "dataset/plan.h"

#include <algorithm>

#include "dataset/fieldlabels.h"
#include "dataset/intentdoubts.h"
#include "dataset/unknownreadouts.h"

namespace mirel::dataset {

namespace {

int volumeOf(const ImageFacts& image) { return std::max(image.unweightedVolume, 0); }

class Planner {
 public:
  explicit Planner(SubjectPlan& result) : plan(result), subject(result.images) {}

  void run() {
    for (std::size_t n = 0; n < plan.images.size(); ++n)
      if (isEpi(plan.images[n].image)) plan.planned.push_back({n, {}, Rule::images, ""});
    for (PlannedImage& image : plan.planned) image.reason = whyLeft(plan.images[image.image]);
    // Field maps last: those of which fields are estimated are corrected with them.
    for (const bool fieldMaps : {false, true})
      for (const Group& group : subject.groups)
        if (group.isFieldMap == fieldMaps) decide(group);
    for (PlannedImage& image : plan.planned) leaveWithoutReadout(image);
    settleUnknownReadouts(plan);
    labelFields(plan);
  }

 private:
  static std::string whyLeft(const ImageFacts& image) {
    if (isPartOfComplex(image.image))
      return "it is the " + image.image.entity("part") +
             " part of a complex image: only magnitudes are corrected";
    if (!image.fault.empty()) return image.fault;
    if (!image.direction)
      return "its phase-encoding direction is not known: no PhaseEncodingDirection is in its "
             "sidecars";
    return "";
  }

  void decide(const Group& group) {
    if (group.isFieldMap && takeOwnField(group)) return;
    Choice choice = choiceFor(group);
    std::optional<std::size_t> field;
    if (choice.pair)
      field = fieldOf(choice);
    else if (!choice.measured.empty())
      field = measuredField(choice);
    for (const std::size_t member : group.members) set(member, field, choice.rule, choice.reason);
  }

  Choice choiceFor(const Group& group) {
    const std::optional<Choice> identified = byIdentifier(subject, group);
    const std::optional<Choice> intended = byIntent(subject, group);
    if (identified) {
      if (intended && intended->pair && identified->pair && *intended->pair != *identified->pair)
        plan.warnings.emplace_back("IntendedFor gives " + plan.images[group.front()].image.path +
                                   " the field of " + namesOf(plan.images, *intended->pair) +
                                   ", B0FieldSource that of " +
                                   namesOf(plan.images, *identified->pair) + ", which counts");
      return *identified;
    }
    return intended ? *intended : byImages(subject, group);
  }

  // Of the fields that its image is a source of, the first.
  bool takeOwnField(const Group& group) {
    for (std::size_t n = 0; n < plan.fields.size(); ++n)
      for (const std::size_t member : group.members) {
        if (!plan.fields[n].pair.has(member)) continue;
        for (const std::size_t each : group.members)
          set(each, n, ruleOfField[n], "a field is estimated from it");
        return true;
      }
    return false;
  }

  std::size_t fieldOf(const Choice& choice) {
    const ImagePair pair = *choice.pair;
    for (std::size_t n = 0; n < plan.fields.size(); ++n)
      if (plan.fields[n].pair == pair) return n;
    const ImageFacts &a = plan.images[pair.a], &b = plan.images[pair.b];
    PlannedField field{pair, volumeOf(a), volumeOf(b), a.image.session, choice.identifier,
                       "",   false};
    field.correctsPair = a.image.datatype == "fmap" && b.image.datatype == "fmap" &&
                         a.volumes == 1 && b.volumes == 1;
    plan.fields.push_back(field);
    ruleOfField.push_back(choice.rule);
    return plan.fields.size() - 1;
  }

  std::size_t measuredField(const Choice& choice) {
    const ImagePair pair{choice.measured.front(), choice.measured.back()};
    for (std::size_t n = 0; n < plan.fields.size(); ++n)
      if (plan.fields[n].pair == pair) return n;
    PlannedField field;
    field.pair = pair;
    field.isMeasured = true;
    field.session = plan.images[field.pair.a].image.session;
    field.identifier = choice.identifier;
    plan.fields.push_back(field);
    ruleOfField.push_back(choice.rule);
    return plan.fields.size() - 1;
  }

  void set(std::size_t image, std::optional<std::size_t> field, Rule rule,
           const std::string& reason) {
    for (PlannedImage& planned : plan.planned)
      if (planned.image == image) planned = {image, field, rule, reason};
  }

  // A field in Hz needs to know for how long it worked on an image.
  void leaveWithoutReadout(PlannedImage& image) const {
    if (!image.field || plan.images[image.image].readoutSeconds) return;
    const PlannedField& field = plan.fields[*image.field];
    if (!isInHz(plan, field) || (field.correctsPair && field.pair.has(image.image))) return;
    image.field.reset();
    image.reason =
        "its readout time is not known: neither TotalReadoutTime nor EffectiveEchoSpacing is in "
        "its sidecars";
  }

  SubjectPlan& plan;
  SubjectImages subject;
  std::vector<Rule> ruleOfField;
};

}  // namespace

SubjectPlan planSubject(const std::string& subject, std::vector<ImageFacts> images,
                        const std::vector<std::string>& otherPaths) {
  SubjectPlan plan;
  plan.subject = subject;
  plan.images = std::move(images);
  plan.warnings = doubtsAboutIntent(plan.images, otherPaths);
  for (const ImageFacts& image : plan.images)
    if (!image.direction || !image.readoutSeconds)
      plan.warnings.insert(plan.warnings.end(), image.notes.begin(), image.notes.end());
  Planner(plan).run();
  return plan;
}

SubjectPlan planSubject(const Index& index, const std::string& subject, Headers headers) {
  std::vector<ImageFacts> images;
  std::vector<std::string> others;
  for (const IndexedImage& image : index.images) {
    if (image.subject != subject) continue;
    if (isEpi(image) || isOtherField(image))
      images.push_back(factsOf(index, image, headers));
    else
      others.push_back(image.path);
  }
  return planSubject(subject, std::move(images), others);
}

}  // namespace mirel::dataset
