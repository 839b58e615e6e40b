#include "dataset/fieldlabels.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "jobs/resultnames.h"

namespace mirel::dataset {

namespace {

const bids::Name& nameOf(const SubjectPlan& plan, std::size_t image) {
  return plan.images[image].image.name;
}

// What the second image's name has that the first one's has not.
std::string ownPart(const bids::Name& name, const bids::Name& other) {
  std::string part;
  for (const auto& entity : name.entities)
    if (entity.first != "dir" && entity.first != "sub" && entity.first != "ses" &&
        std::find(other.entities.begin(), other.entities.end(), entity) == other.entities.end())
      part += labelPart(entity.first) + labelPart(entity.second);
  return part;
}

std::string labelOf(const bids::Name& a, const bids::Name& b) {
  std::string label;
  if (a.suffix != "epi" || b.suffix != "epi") label = labelPart(a.suffix);
  if (a.suffix != b.suffix) label += labelPart(b.suffix);
  return label + ownPart(a, b) + ownPart(b, a);
}

// By the name of the field and its session.
std::vector<std::vector<PlannedField*>> ofOneName(SubjectPlan& plan) {
  std::map<std::string, std::vector<PlannedField*>> byName;
  for (PlannedField& field : plan.fields)
    byName[field.session + "/" + fieldResultName(plan, field, "fieldmap")].push_back(&field);
  std::vector<std::vector<PlannedField*>> repeated;
  for (const auto& [name, fields] : byName)
    if (fields.size() > 1) repeated.push_back(fields);
  return repeated;
}

}  // namespace

std::string fieldResultName(const SubjectPlan& plan, const PlannedField& field,
                            const std::string& suffix, const std::string& label) {
  return pairResultName(nameOf(plan, field.pair.a), nameOf(plan, field.pair.b), suffix, field.label,
                        label);
}

void labelFields(SubjectPlan& plan) {
  for (PlannedField& field : plan.fields)
    field.label = field.isMeasured
                      ? "Measured"
                      : labelOf(nameOf(plan, field.pair.a), nameOf(plan, field.pair.b));
  for (const auto& fields : ofOneName(plan))
    for (PlannedField* field : fields) {
      const auto direction = [&](std::size_t image) {
        return plan.images[image].image.entity("dir");
      };
      field->label += field->identifier.empty()
                          ? labelPart(direction(field->pair.a) + direction(field->pair.b))
                          : labelPart(field->identifier);
    }
  for (const auto& fields : ofOneName(plan))
    for (std::size_t n = 1; n < fields.size(); ++n)
      fields[n]->label += "Number" + std::to_string(n + 1);
}

}  // namespace mirel::dataset
