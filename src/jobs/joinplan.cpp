#include "jobs/joinplan.h"

#include <algorithm>
#include <cmath>

#include "base/dimensions.h"
#include "base/error.h"
#include "base/joined.h"
#include "base/numbertext.h"
#include "field/grid.h"
#include "jobs/resultnames.h"

namespace mirel {

namespace {

constexpr double largestDifference = 0.01;  // of times
constexpr double doubtfulAngle = 0.5;       // degrees

bool hasGradients(const SeriesInput& input) { return input.gradientFiles.size() == 2; }

SeriesInput takeOut(std::vector<SeriesInput>& series) {
  const auto found = std::find_if(series.begin(), series.end(), hasGradients);
  SeriesInput taken = std::move(*found);
  series.erase(found);
  return taken;
}

void refuseDirections(const SeriesInput& first, const SeriesInput& second) {
  const bids::PhaseEncodingDirection one = first.acquisition.direction->value,
                                     other = second.acquisition.direction->value;
  if (one.opposite() != other)
    throw Error(first.file,
                "(" + nameOf(one) + ") and " + second.file + " (" + nameOf(other) +
                    ") do not have opposite phase-encoding directions: they cannot be joined");
}

void refuseGrids(const SeriesInput& first, const SeriesInput& second) {
  if (first.header.dims != second.header.dims)
    throw Error(first.file, "has " + text(first.header.dims) + " voxels and " + second.file + " " +
                                text(second.header.dims) + ": they cannot be joined");
  const double apart = cornersApart(gridOf(first.header), gridOf(second.header), second.file);
  if (!(apart <= samePlaceVoxels))
    throw Error(first.file, "and " + second.file + " lie at different places (up to " +
                                counted("%.3g", apart, "voxel") + " apart): they cannot be joined");
}

double echoTimeOf(const SeriesInput& input) {
  const auto& sidecar = input.acquisition.sidecar;
  return sidecar ? sidecar->json().numberOf("EchoTime").value_or(0) : 0;
}

bool differ(double a, double b) {
  return a > 0 && b > 0 && std::abs(a - b) > largestDifference * std::max(a, b);
}

void refuseEchoTimes(const SeriesInput& first, const SeriesInput& second) {
  const double one = echoTimeOf(first), other = echoTimeOf(second);
  if (differ(one, other))
    throw Error(first.file, "has an echo time of " + text(one) + " s and " + second.file + " of " +
                                text(other) + " s: of different contrast, they cannot be joined");
}

nifti::GradientTable gradientsOf(const SeriesInput& input) {
  return nifti::readGradients(input.gradientFiles[0].fileName(), input.gradientFiles[1].fileName(),
                              input.header.volumes);
}

void addDoubts(const GradientMatch& match, JoinPlan& plan) {
  const std::string both = plan.first.file + " and " + plan.second.file;
  if (match.largestAngle > doubtfulAngle || match.largestDifferenceOfB > 0)
    plan.notes.emplace_back("the gradients of joined volumes of " + both + " differ by up to " +
                            counted("%.2g", match.largestAngle, "degree") + " and " +
                            text("%.3g", match.largestDifferenceOfB) +
                            " s/mm^2: the table written has their middle");
  if (match.negatedAxis >= 0)
    plan.warnings.emplace_back("more volumes of " + both + " would match with the gradients' " +
                               std::string(1, "xyz"[match.negatedAxis]) +
                               " negated in one of them: its .bvec may be wrong");
  const auto &one = plan.first.acquisition.readout, &other = plan.second.acquisition.readout;
  if (one && other && differ(one->seconds, other->seconds))
    plan.warnings.emplace_back("the readout times of " + both + " differ (" + text(one->seconds) +
                               " and " + text(other->seconds) + " s): each is taken with its own");
}

void leaveOver(const SeriesInput& input, const std::vector<int>& volumes, JoinPlan& plan,
               std::vector<SeriesInput>& series) {
  if (volumes.empty()) return;
  const bool one = volumes.size() == 1;
  plan.warnings.emplace_back(
      (one ? "volume " : "volumes ") + rangesOf(volumes) + " of " + input.file +
      " (counted from 0) " + (one ? "has no partner" : "have no partners") +
      " of the same gradient in the other series: " + (one ? "it is" : "they are") +
      " corrected alone, in desc-preprocUnmatched");
  SeriesInput rest = input;
  rest.volumes = volumes;
  rest.notes.clear();
  rest.warnings.clear();
  series.push_back(std::move(rest));
}

}  // namespace

JoinPlan planJoining(std::vector<SeriesInput>& series) {
  const auto count = std::count_if(series.begin(), series.end(), hasGradients);
  if (count != 2)
    throw Error(
        "two diffusion series, each with .bval and .bvec beside it, are joined; of those "
        "given " +
        std::to_string(count) + (count == 1 ? " has" : " have") + " both");
  JoinPlan plan;
  plan.first = takeOut(series);
  plan.second = takeOut(series);
  refuseDirections(plan.first, plan.second);
  refuseGrids(plan.first, plan.second);
  refuseEchoTimes(plan.first, plan.second);
  const nifti::GradientTable first = gradientsOf(plan.first), second = gradientsOf(plan.second);
  const GradientMatch match = matchGradients(first, second);
  if (match.pairs.empty())
    throw Error(plan.first.file, "and " + plan.second.file +
                                     " have no volumes of the same b and direction: there is "
                                     "nothing to join");
  plan.pairs = match.pairs;
  plan.gradients = joinedGradients(first, second, match.pairs);
  plan.stem = restoredName(bids::Name::of(plan.first.file), bids::Name::of(plan.second.file));
  addDoubts(match, plan);
  leaveOver(plan.first, match.onlyFirst, plan, series);
  leaveOver(plan.second, match.onlySecond, plan, series);
  return plan;
}

}  // namespace mirel
