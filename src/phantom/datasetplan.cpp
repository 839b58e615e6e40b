#include "phantom/datasetplan.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace mirel {

namespace {

constexpr int mostSubjects = 9999, mostSessions = 99;

// Two digits, or as many as the largest number has.
std::string labelOf(int number, int largest) {
  const std::size_t width = std::max<std::size_t>(2, std::to_string(largest).size());
  const std::string digits = std::to_string(number);
  return std::string(width - digits.size(), '0') + digits;
}

double wholeMicroseconds(double seconds) { return std::round(seconds * 1e6) / 1e6; }

}  // namespace

PhantomDatasetOptions::PhantomDatasetOptions() {
  image.size = {32, 36, 20};
  image.voxelMm = glm::dvec3(7.0);
  image.maxShiftVoxels = 2.5;
}

double SubjectPlan::longestReadout() const {
  return std::max({pairReadout, seriesReadout, diffusionReadout});
}

std::string SubjectPlan::direction(bool second) const {
  if (axis == PhaseEncodingAxis::y) return second ? "PA" : "AP";
  return second ? "LR" : "RL";
}

std::string SubjectPlan::phaseEncoding(bool second) const {
  return std::string(axis == PhaseEncodingAxis::y ? "j" : "i") + (second ? "" : "-");
}

SubjectPlan planSubject(const PhantomDatasetOptions& options, int number) {
  if (options.subjects < 1 || options.subjects > mostSubjects)
    throw std::invalid_argument("a dataset of " + std::to_string(options.subjects) +
                                " subjects is not possible");
  constexpr FieldLink links[] = {FieldLink::identifier, FieldLink::uri, FieldLink::relative,
                                 FieldLink::none};
  constexpr double readouts[] = {1.0, 1.1, 0.9};
  const int n = number - 1;
  SubjectPlan plan;
  plan.label = labelOf(number, options.subjects);
  plan.seed = options.image.seed + static_cast<std::uint64_t>(n);
  plan.link = links[n % 4];
  plan.axis = (n + n / 4) % 2 == 0 ? PhaseEncodingAxis::y : PhaseEncodingAxis::x;
  plan.seriesLikeSecond = n / 2 % 2 == 1;
  plan.reversedDiffusion = n % 3 == 1;
  const double readout = options.image.readoutSeconds * readouts[n % 3];
  plan.pairReadout = wholeMicroseconds(readout);
  plan.seriesReadout = wholeMicroseconds(0.75 * readout);
  plan.diffusionReadout = wholeMicroseconds(1.25 * readout);
  if (!(plan.seriesReadout > 0.0))
    throw std::invalid_argument(
        "the total readout time of a dataset must be 2 microseconds or more");
  return plan;
}

PhantomOptions headOptions(const PhantomDatasetOptions& options, const SubjectPlan& plan) {
  PhantomOptions head = options.image;
  head.seed = plan.seed;
  head.axis = plan.axis;
  head.paMotion = {};
  head.readoutSeconds = plan.longestReadout();
  // What is asked for is the pair's.
  head.maxShiftVoxels =
      wantedShiftVoxels(options.image) * head.readoutSeconds / options.image.readoutSeconds;
  return head;
}

std::vector<std::string> sessionLabels(const PhantomDatasetOptions& options) {
  if (options.sessions < 0 || options.sessions > mostSessions)
    throw std::invalid_argument("a dataset of " + std::to_string(options.sessions) +
                                " sessions is not possible");
  if (options.sessions == 0) return {""};
  std::vector<std::string> labels;
  for (int number = 1; number <= options.sessions; ++number)
    labels.push_back(labelOf(number, options.sessions));
  return labels;
}

}  // namespace mirel
