#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bids/sidecar.h"

/// For which images a field is meant, as the sidecars of a dataset say it.
namespace mirel::bids {

/// An image that a field comes from: one of a pair, or the field itself.
struct FieldOrigin {
  std::string image;
  std::optional<Sidecar> sidecar;
};

/// The origin `image` with the sidecar that was read of it or, where none was (options told all
/// that was asked for), those that apply to it. What cannot be read is silent here.
FieldOrigin originOf(const std::string& image, const std::optional<Sidecar>& known);

/// What the sidecars say against correcting `image` with the field of `origins`, in sentences;
/// none where they agree or are silent.
///
///   B0FieldSource in the image's sidecar and B0FieldIdentifier in one of the origins': they have a
///   name in common, or they say no. Where both are there, IntendedFor does not count.
///   IntendedFor in an origin's sidecar: it names the image (isIntended), or it says no.
///
/// Each is a text or a list of texts; values of other types count as not there. An origin is meant
/// for itself.
///
/// @param field  what sentences call it: "the pair"
/// Source  Brain Imaging Data Structure 1.8, "Using B0FieldIdentifier metadata" and "Using
///         IntendedFor metadata".
std::vector<std::string> doubtsAboutUse(const std::vector<FieldOrigin>& origins,
                                        const std::string& field, const std::string& image,
                                        const std::optional<Sidecar>& sidecar);

/// A sentence when both have identifiers and none in common, so that they are not of one field.
std::optional<std::string> doubtAboutPair(const FieldOrigin& a, const FieldOrigin& b);

/// Whether an entry of IntendedFor names an image: a BIDS URI (bids::sub-01/func/X.nii.gz,
/// bids:dataset:...), a path from the subject's folder (ses-1/func/X.nii.gz), with the subject in
/// front or with "./". File names decide, since they hold subject and session: the same suffix and
/// entities; the image may have `desc`, `space`, `res` or `den` in addition, as what was derived
/// from the named one has, and be another echo or part of it, or its single-band reference.
bool isIntended(const std::string& entry, const std::string& image);

}  // namespace mirel::bids
