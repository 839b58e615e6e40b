#include "dataset/unknownreadouts.h"

#include <algorithm>

#include "base/numbertext.h"

namespace mirel::dataset {

namespace {

// The images that it corrects and that tell a readout time.
std::vector<PlannedImage*> imagesWithReadout(SubjectPlan& plan, std::size_t field) {
  std::vector<PlannedImage*> telling;
  for (PlannedImage& image : plan.planned)
    if (image.field == field && plan.images[image.image].readoutSeconds) telling.push_back(&image);
  return telling;
}

std::string readoutText(const ImageFacts& image) { return text(*image.readoutSeconds) + " s"; }

void settleReadoutsOf(std::size_t field, SubjectPlan& plan) {
  const std::vector<PlannedImage*> telling = imagesWithReadout(plan, field);
  const std::string unknown = namesOf(plan.images, plan.fields[field].pair) + " is not known";
  for (PlannedImage* each : telling) {
    const ImageFacts& image = plan.images[each->image];
    const auto other = std::find_if(telling.begin(), telling.end(), [&](const PlannedImage* one) {
      return !haveSameReadout(plan.images[one->image], image);
    });
    if (other == telling.end()) {
      plan.warnings.emplace_back(image.image.path + " has a readout time of " + readoutText(image) +
                                 ", but that of " + unknown + ": it is taken to be the same");
      continue;
    }
    each->field.reset();
    const ImageFacts& contradicting = plan.images[(*other)->image];
    each->reason = "the readout time of " + unknown +
                   ", and their map in voxels is not right both for it (" + readoutText(image) +
                   ") and for " + contradicting.fileName() + " (" + readoutText(contradicting) +
                   ")";
  }
}

}  // namespace

bool isInHz(const SubjectPlan& plan, const PlannedField& field) {
  return field.isMeasured || plan.images[field.pair.a].readoutSeconds ||
         plan.images[field.pair.b].readoutSeconds;
}

void settleUnknownReadouts(SubjectPlan& plan) {
  for (std::size_t field = 0; field < plan.fields.size(); ++field)
    if (!isInHz(plan, plan.fields[field])) settleReadoutsOf(field, plan);
}

}  // namespace mirel::dataset
