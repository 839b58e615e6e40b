#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "dataset/plan.h"

namespace mirel::dataset {

/// Facts about images as tests invent them, and looks at the plan made of them.

/// An image that was read well, of 4 x 5 x 6 voxels and a readout time.
inline ImageFacts facts(const std::string& path, const std::string& direction) {
  ImageFacts image;
  image.image.path = path;
  image.image.name = bids::Name::of(path);
  image.image.subject = image.image.entity("sub");
  image.image.session = image.image.entity("ses");
  image.image.datatype = std::filesystem::path(path).parent_path().filename().string();
  if (!direction.empty()) image.direction = bids::parsePhaseEncoding(direction, path);
  if (!direction.empty()) image.readoutSeconds = 0.05;
  image.grid = Grid{{4, 5, 6}, glm::dmat4(1.0)};
  return image;
}

/// With one more thing set.
template <typename Member, typename Value>
ImageFacts with(ImageFacts image, Member member, Value value) {
  image.*member = value;
  return image;
}

using Texts = std::vector<std::string>;

inline ImageFacts identified(ImageFacts image, Texts by) {
  return with(std::move(image), &ImageFacts::identifiers, std::move(by));
}
inline ImageFacts asking(ImageFacts image, Texts forFields) {
  return with(std::move(image), &ImageFacts::fieldSources, std::move(forFields));
}
inline ImageFacts intended(ImageFacts image, Texts forImages) {
  return with(std::move(image), &ImageFacts::intendedFor, std::move(forImages));
}
inline ImageFacts at(ImageFacts image, double seconds) {
  return with(std::move(image), &ImageFacts::acquiredSeconds, seconds);
}

/// "AP_epi.nii.gz+PA_epi.nii.gz (IntendedFor)" of the field of an image, or "left: REASON"; of one
/// that was measured with one image "phasediff.nii.gz (IntendedFor)".
inline std::string fateOf(const SubjectPlan& plan, const std::string& path) {
  for (const PlannedImage& planned : plan.planned) {
    if (plan.images[planned.image].image.path != path) continue;
    if (!planned.field) return "left: " + planned.reason;
    const ImagePair& pair = plan.fields[*planned.field].pair;
    std::string sources = plan.images[pair.a].fileName();
    if (pair.a != pair.b) sources += "+" + plan.images[pair.b].fileName();
    return sources + " (" + nameOf(planned.rule) + ")";
  }
  return "not planned";
}

}  // namespace mirel::dataset
