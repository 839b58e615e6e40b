#include "pair/acrosspair.h"

#include <cmath>

#include "average/volumealignment.h"
#include "base/error.h"
#include "base/numbertext.h"
#include "bids/doubts.h"
#include "field/beforemotion.h"
#include "field/fieldhz.h"
#include "pair/agreement.h"
#include "pair/foreground.h"
#include "pair/readoutratio.h"

namespace mirel {

namespace {

constexpr double leastCorrelation = 0.5;  // of two fields of one head

std::string namesOf(const PairInput& pair) { return pair.a.title() + " and " + pair.b.title(); }

FieldHz fieldOf(const PairInput& pair, const PairEstimate& estimate) {
  if (!pair.readoutSeconds)
    throw Error(pair.a.options.file,
                "has no known readout time: its field cannot be taken to images of another axis");
  return fieldFromShift(estimate.shift, gridOf(pair.a.header), pair.a.direction(),
                        *pair.readoutSeconds, pair.a.options.file);
}

// Of the pair by a map of it.
Volume<float> correctedMean(const PairInput& pair, const Volume<float>& shift) {
  return meanOf(correctVolume(pair.a.image, shift, pair.axis(), Modulation::on),
                correctVolume(pair.b.image, mapOfSecond(pair, shift), pair.axis(), Modulation::on));
}

// The field of the pair across and its deviation, joined with the map of the pair.
class Weighing {
 public:
  Weighing(const PairInput& thePair, const PairEstimate& itsAcross, AcrossFindings& found)
      : pair(thePair), across(itsAcross), findings(found) {}

  void operator()(Volume<float>& shift, Volume<float>& deviation) const {
    FieldHz field = fieldOf(*pair.across, across), error = field;
    error.hz = *across.deviation * static_cast<float>(1 / *pair.across->readoutSeconds);
    const Volume<float> mean = correctedMean(pair, shift);
    field.affine = error.affine = alignedAffine(field, mean);
    const Grid grid = gridOf(pair.a.header);
    const Volume<float> covered = coverage(grid, gridOf(field), field.name);
    if (covered.max() == 0)
      throw Error(field.name, "has no place in common with " + pair.a.options.file +
                                  " by their orientations: are they of one session?");
    const Volume<float> other = shiftVoxels(field, grid, pair.a.direction(), *pair.readoutSeconds);
    const Volume<float> otherDeviation =
        shiftVoxels(error, grid, {pair.axis(), 1}, *pair.readoutSeconds);
    findings.with = agreementWithStart(shift, other, headMask(mean, headThreshold(mean)));
    for (int i = 0; i < shift.size(); ++i) {
      if (covered.data()[i] == 0) continue;
      const auto precision = [](float s) {
        return 1 / (static_cast<double>(s) * static_cast<double>(s));
      };
      const double own = precision(deviation.data()[i]), its = precision(otherDeviation.data()[i]);
      shift.data()[i] = static_cast<float>((own * static_cast<double>(shift.data()[i]) +
                                            its * static_cast<double>(other.data()[i])) /
                                           (own + its));
      deviation.data()[i] = static_cast<float>(std::sqrt(1 / (own + its)));
    }
  }

 private:
  // With the head where it is in the pair.
  glm::dmat4 alignedAffine(const FieldHz& field, const Volume<float>& mean) const {
    const Grid grid = gridOf(pair.a.header);
    const RigidAligner aligner({mean, grid.affine, namesOf(pair)});
    const VolumeAlignment found =
        alignVolume(aligner, grid, {across.meanToCompare(), field.affine, namesOf(*pair.across)});
    findings.displacementMm = found.displacementMm;
    if (!found.moved) return field.affine;
    findings.motion = found.motion;
    findings.notes.emplace_back(
        "the head moved between " + namesOf(pair) + " and " + namesOf(*pair.across) + " by " +
        text("%.2g", found.displacementMm) + " mm: the field of the latter was taken along");
    return beforeMotion(gridOf(field), found.motion, aligner.centreMm()).affine;
  }

  const PairInput& pair;
  const PairEstimate& across;
  AcrossFindings& findings;
};

void tellOf(const PairInput& across, const PairEstimate& estimate, AcrossFindings& findings) {
  findings.notes = across.notes;
  findings.warnings = across.warnings;
  const std::vector<Remark>& reasons = estimate.verdict.reasons;
  findings.warnings.insert(findings.warnings.end(), reasons.begin(), reasons.end());
}

}  // namespace

PairEstimate estimateWithAcross(const PairInput& pair, const EstimateSettings& settings,
                                Progress& progress, AcrossFindings& findings) {
  const PairInput& across = *pair.across;
  for (const std::string& doubt :
       bids::doubtsAboutSubject(across.a.options.file, pair.a.options.file))
    findings.warnings.emplace_back(doubt);
  EstimateSettings withDeviation = settings;
  withDeviation.uncertainty = true;
  const PairEstimate other = estimatePairMap(across, withDeviation, progress);
  tellOf(across, other, findings);
  findings.used = other.verdict.trust != Trust::doNotTrust;
  if (!findings.used) {
    findings.warnings.emplace_back("the field of " + namesOf(across) +
                                   " is not to be trusted: it was left out");
    return estimatePairMap(pair, settings, progress);
  }
  PairEstimate estimate =
      estimatePairMap(pair, settings, progress, Weighing(pair, other, findings));
  if (findings.with->correlation < leastCorrelation)
    findings.warnings.emplace_back("the fields of " + namesOf(pair) + " and of " + namesOf(across) +
                                   " are hardly alike (correlation " +
                                   text("%.2f", findings.with->correlation) +
                                   "): they may be of different heads or sessions, or a "
                                   "direction may be wrong");
  return estimate;
}

}  // namespace mirel
