#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "phantom/phantom.h"

namespace mirel {

/// What a dataset of phantoms is made from. Equal options make equal files.
struct PhantomDatasetOptions {
  PhantomDatasetOptions();

  int subjects = 4;  ///< 1 to 9999
  int sessions = 0;  ///< 0 to 99; 0: one session without a folder of its own
  /// Of subject 1, with defaults that make small images: 32 x 36 x 20 voxels of 7 mm, shifts of up
  /// to 2.5 voxels in the pair. Subject n has the seed `image.seed` + n - 1. `axis` and `paMotion`
  /// do not count: the axis goes round, and heads lie still.
  PhantomOptions image;
  std::string programVersion;  ///< for the descriptions
};

/// How a dataset tells which images a pair's field is for.
enum class FieldLink {
  identifier,  ///< B0FieldIdentifier in the pair, B0FieldSource in the series
  uri,         ///< IntendedFor with BIDS URIs
  relative,    ///< IntendedFor with paths from the subject's folder
  none,
};

/// What a subject of a dataset is.
struct SubjectPlan {
  std::string label;  ///< "01"
  std::uint64_t seed = 0;
  FieldLink link = FieldLink::none;
  PhaseEncodingAxis axis = PhaseEncodingAxis::y;
  /// Whether the series is phase encoded as the second image of the pair (PA, LR).
  bool seriesLikeSecond = false;
  /// Whether there are volumes of b = 0 in the direction against the diffusion-weighted ones.
  bool reversedDiffusion = false;
  double pairReadout = 0.0, seriesReadout = 0.0, diffusionReadout = 0.0;  ///< total, in s

  double longestReadout() const;
  /// "AP" or "RL" for false, "PA" or "LR" for true.
  std::string direction(bool second) const;
  /// "j-" or "i-" for false, "j" or "i" for true.
  std::string phaseEncoding(bool second) const;
};

/// Subject `number`, counted from 1. What subjects differ in goes round with periods such that four
/// of them show all links on both axes, and eight each link on each axis.
///
///   link            identifier, uri, relative, none
///   axis            y, x, y, x; x, y, x, y
///   series          twice like the first image of the pair, twice like the second
///   reversed b = 0  the second of three
///   readout         of the pair 1, 1.1, 0.9 times that of the options; of the series 0.75, of the
///                   diffusion-weighted images 1.25 times the pair's; in whole microseconds
SubjectPlan planSubject(const PhantomDatasetOptions& options, int number);

/// Of the subject's head, for `PhantomHead`: no scan of it folds.
PhantomOptions headOptions(const PhantomDatasetOptions& options, const SubjectPlan& plan);

/// The labels of the sessions, "01" and so on; one empty text without sessions.
std::vector<std::string> sessionLabels(const PhantomDatasetOptions& options);

}  // namespace mirel
