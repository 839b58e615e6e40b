#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jobs/joinplan.h"
#include "jobs/seriescorrection.h"

namespace mirel {

/// The part of a run that joins two series of opposite directions (joinSeries).
class SeriesJoining {
 public:
  SeriesJoining(JoinPlan what, const SeriesSettings& how, OutputFolder& where);

  /// The files that both are read from.
  std::vector<std::string> inputFiles() const;
  /// As SeriesCorrection::announce.
  void announce(const std::vector<std::string>& inputs, const std::vector<ResultInput>& common,
                const EarlierResults& earlier);

  /// Writes
  ///
  ///   STEM.nii.gz (sub-01_desc-restored_dwi) with .bval, .bvec and a sidecar that holds the fields
  ///   that are the same in both, and what was joined
  ///   the displacement fields of both where asked for
  ///
  /// and takes down in `run` what was done, as SeriesCorrection::run does. Warnings tell of volumes
  /// in which both series show different things.
  ///
  /// Errors  those of joinSeries; what `progress` throws.
  void run(const Distortion& distortion, const std::optional<Reference>& reference,
           const SourceNames& names, RunReport* report, RunRecord& run, Progress& progress);

 private:
  std::vector<ResultInput> inputs() const;
  void writeTexts(const SourceNames& names, const Json& origin);
  void writeWarps(const Volume<float>& first, const Volume<float>& second, const SourceNames& names,
                  const Json& origin);

  JoinPlan plan;
  SeriesSettings settings;
  OutputFolder& folder;
  std::vector<ResultInput> others;
};

}  // namespace mirel
