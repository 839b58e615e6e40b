#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/advice.h"
#include "dataset/rules.h"

namespace mirel::dataset {

/// A field to be estimated from a pair, or to be made of what measured it.
struct PlannedField {
  /// Numbers of images in SubjectPlan::images; twice the same where a single one measured it.
  ImagePair pair;
  int volumeA = 0, volumeB = 0;
  std::string session;     ///< of its first image; its results lie there
  std::string identifier;  ///< its B0FieldIdentifier, where it was found by that
  /// Goes into the descriptions of its results, so that fields of one session have other names;
  /// empty for a pair of field maps, as a rule.
  std::string label;
  /// Whether both are single images of the folder fmap, which are corrected as a pair, with the
  /// head's motion between them undone.
  bool correctsPair = false;
  bool isMeasured = false;  ///< it is not estimated from the images, which measured it

  std::vector<std::size_t> sources() const {
    return pair.a == pair.b ? std::vector{pair.a} : std::vector{pair.a, pair.b};
  }
};

/// What is to become of an EPI image.
struct PlannedImage {
  std::size_t image = 0;  ///< its number in SubjectPlan::images
  std::optional<std::size_t> field;
  Rule rule = Rule::images;  ///< by which it was found, or sought at last
  std::string reason;        ///< why this field; why it is left uncorrected
};

/// What is to become of the images of one subject.
struct SubjectPlan {
  std::string subject;
  std::vector<ImageFacts> images;  ///< EPI images and other fields, sorted by path
  std::vector<PlannedField> fields;
  std::vector<PlannedImage> planned;  ///< one for every EPI image, in the same order
  std::vector<Remark> warnings;
};

/// Finds the field of every EPI image of a subject, or the reason why it is left uncorrected.
///
/// Images of one acquisition share one field (groupsOf). Which pair it is estimated from is said by
/// the first rule that says something (rules.h); a field map that is one of the pair of a field is
/// corrected with that. An image of unknown direction, or without a readout time where the field
/// needs one, is left; so are those whose readout times contradict each other where that of the
/// pair is not known (unknownreadouts.h).
///
/// Warnings  an entry of IntendedFor that names no file, or one of another dataset; IntendedFor
///           that contradicts B0FieldSource, which counts; of images without a direction or a
///           readout time, that a sidecar which could have told it does not count; a readout time
///           that is taken to be that of a pair without one
///
/// @param images      facts of all images for which isEpi or isOtherField holds
/// @param otherPaths  of the subject's other images, which IntendedFor may name
SubjectPlan planSubject(const std::string& subject, std::vector<ImageFacts> images,
                        const std::vector<std::string>& otherPaths = {});

/// Plans a subject of a dataset.
SubjectPlan planSubject(const Index& index, const std::string& subject,
                        Headers headers = Headers::read);

}  // namespace mirel::dataset
