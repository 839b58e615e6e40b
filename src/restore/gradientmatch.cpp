#include "restore/gradientmatch.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <numbers>
#include <optional>
#include <tuple>

namespace mirel {

namespace {

using nifti::GradientTable;

constexpr double largestAngleDegrees = 2;
constexpr double leastToleranceOfB = 20, relativeToleranceOfB = 0.02;

struct Candidate {
  int tenthsOfDegree;
  VolumePair pair;
  double angle, differenceOfB;
};

bool isWeighted(const GradientTable& table, int t) {
  return table.bValues[static_cast<std::size_t>(t)] > nifti::greatestUnweighted;
}

glm::dvec3 directionOf(const GradientTable& table, int t) {
  return table.directions[static_cast<std::size_t>(t)];
}

// Between the lines of two directions; 0 between two that are none, nothing between one and none.
std::optional<double> degreesBetween(glm::dvec3 a, glm::dvec3 b) {
  const double lengths = glm::length(a) * glm::length(b);
  if (!(lengths > 0)) {
    if (glm::length(a) > 0 || glm::length(b) > 0) return std::nullopt;
    return 0.0;
  }
  // The sine is exact for small angles, where the cosine is not.
  return std::atan2(glm::length(glm::cross(a, b)), std::abs(glm::dot(a, b))) * 180 /
         std::numbers::pi;
}

std::optional<Candidate> candidate(const GradientTable& first, const GradientTable& second,
                                   VolumePair pair) {
  const bool weighted = isWeighted(first, pair.first);
  if (weighted != isWeighted(second, pair.second)) return std::nullopt;
  if (!weighted) return Candidate{0, pair, 0, 0};
  const double one = static_cast<double>(first.bValues[static_cast<std::size_t>(pair.first)]),
               other = static_cast<double>(second.bValues[static_cast<std::size_t>(pair.second)]);
  const double difference = std::abs(one - other);
  if (difference > std::max(leastToleranceOfB, relativeToleranceOfB * std::max(one, other)))
    return std::nullopt;
  const std::optional<double> angle =
      degreesBetween(directionOf(first, pair.first), directionOf(second, pair.second));
  if (!angle || *angle > largestAngleDegrees) return std::nullopt;
  return Candidate{static_cast<int>(std::lround(10 * *angle)), pair, *angle, difference};
}

std::vector<int> unused(const std::vector<char>& used) {
  std::vector<int> volumes;
  for (std::size_t t = 0; t < used.size(); ++t)
    if (used[t] == 0) volumes.push_back(static_cast<int>(t));
  return volumes;
}

GradientMatch matchAsGiven(const GradientTable& first, const GradientTable& second) {
  const int volumes = static_cast<int>(first.bValues.size()),
            others = static_cast<int>(second.bValues.size());
  std::vector<Candidate> candidates;
  for (int a = 0; a < volumes; ++a)
    for (int b = 0; b < others; ++b)
      if (const auto found = candidate(first, second, {a, b})) candidates.push_back(*found);
  std::stable_sort(
      candidates.begin(), candidates.end(),
      [](const Candidate& a, const Candidate& b) { return a.tenthsOfDegree < b.tenthsOfDegree; });
  std::vector<char> usedOfFirst(first.bValues.size(), 0), usedOfSecond(second.bValues.size(), 0);
  GradientMatch match;
  for (const Candidate& one : candidates) {
    char& a = usedOfFirst[static_cast<std::size_t>(one.pair.first)];
    char& b = usedOfSecond[static_cast<std::size_t>(one.pair.second)];
    if (a != 0 || b != 0) continue;
    a = b = 1;
    match.pairs.push_back(one.pair);
    match.largestAngle = std::max(match.largestAngle, one.angle);
    match.largestDifferenceOfB = std::max(match.largestDifferenceOfB, one.differenceOfB);
  }
  std::sort(match.pairs.begin(), match.pairs.end(),
            [](const VolumePair& a, const VolumePair& b) { return a.first < b.first; });
  match.onlyFirst = unused(usedOfFirst);
  match.onlySecond = unused(usedOfSecond);
  return match;
}

int weightedPairs(const GradientMatch& match, const GradientTable& first) {
  return static_cast<int>(
      std::count_if(match.pairs.begin(), match.pairs.end(),
                    [&](const VolumePair& pair) { return isWeighted(first, pair.first); }));
}

// The axis by whose sign the tables differ (GradientMatch::negatedAxis).
int negatedAxisOf(const GradientMatch& match, const GradientTable& first,
                  const GradientTable& second) {
  int weighted = 0;
  for (int t = 0; t < static_cast<int>(first.bValues.size()); ++t) weighted += isWeighted(first, t);
  for (int axis = 0; axis < 3; ++axis) {
    GradientTable negated = second;
    for (glm::vec3& direction : negated.directions) direction[axis] = -direction[axis];
    const int found = weightedPairs(matchAsGiven(first, negated), first);
    if (2 * found > weighted && found >= 2 * std::max(1, weightedPairs(match, first))) return axis;
  }
  return -1;
}

}  // namespace

GradientMatch matchGradients(const GradientTable& first, const GradientTable& second) {
  GradientMatch match = matchAsGiven(first, second);
  match.negatedAxis = negatedAxisOf(match, first, second);
  return match;
}

GradientTable joinedGradients(const GradientTable& first, const GradientTable& second,
                              const std::vector<VolumePair>& pairs) {
  GradientTable table;
  for (const VolumePair& pair : pairs) {
    const auto a = static_cast<std::size_t>(pair.first), b = static_cast<std::size_t>(pair.second);
    table.bValues.push_back((first.bValues[a] + second.bValues[b]) / 2);
    const glm::vec3 one = first.directions[a];
    const float sense = glm::dot(one, second.directions[b]) < 0 ? -1.0f : 1.0f;
    const glm::vec3 other = sense * second.directions[b];
    const bool same = one == other || !isWeighted(first, pair.first);
    table.directions.push_back(same ? one : glm::normalize(one + other) * glm::length(one));
  }
  return table;
}

}  // namespace mirel
