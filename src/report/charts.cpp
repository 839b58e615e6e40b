#include "report/charts.h"

#include <algorithm>
#include <cmath>

#include "base/numbertext.h"
#include "picture/scale.h"

namespace mirel::report {

namespace {

using picture::numberText;

constexpr double left = 60, right = 630, top = 10, bottom = 200;
constexpr int bins = 61;

std::string one(double value) { return text("%.1f", value); }

Json tick(double at, const std::string& label) { return {{"at", one(at)}, {"text", label}}; }

double across(double part) { return left + (right - left) * part; }
double upwards(double part) { return bottom - (bottom - top) * part; }

std::vector<double> counted(const std::vector<float>& values, double limit) {
  std::vector<double> counts(bins, 0.0);
  for (const float value : values) {
    const double part = (static_cast<double>(value) / limit + 1) / 2;
    counts[static_cast<std::size_t>(std::clamp(std::floor(part * bins), 0.0, bins - 1.0))] += 1;
  }
  return counts;
}

std::string barsOf(const std::vector<double>& counts, double most) {
  std::string path;
  for (std::size_t n = 0; n < counts.size(); ++n) {
    if (counts[n] == 0) continue;
    path += "M" + one(across(static_cast<double>(n) / bins)) + " " + one(bottom) + "V" +
            one(upwards(counts[n] / most)) + "H" +
            one(across((static_cast<double>(n) + 1) / bins)) + "V" + one(bottom) + "Z";
  }
  return path;
}

std::string lineOf(const std::vector<double>& values, double limit) {
  std::string path;
  bool drawing = false;
  const double last = std::max<double>(1, static_cast<double>(values.size()) - 1);
  for (std::size_t n = 0; n < values.size(); ++n) {
    if (!std::isfinite(values[n])) {
      drawing = false;
      continue;
    }
    path += (drawing ? "L" : "M") + one(across(static_cast<double>(n) / last)) + " " +
            one(upwards(values[n] / limit));
    drawing = true;
  }
  return path;
}

}  // namespace

Json histogram(const std::string& title, const std::string& unit, const std::vector<float>& values,
               double limit) {
  const std::vector<double> counts = counted(values, limit);
  const double most = std::max(1.0, *std::max_element(counts.begin(), counts.end()));
  const double share = values.empty() ? 0 : 100 * most / static_cast<double>(values.size());
  Json xTicks = Json::array();
  for (const double part : {0.0, 0.25, 0.5, 0.75, 1.0})
    xTicks.push_back(tick(across(part), numberText((2 * part - 1) * limit)));
  return {{"title", title},
          {"note", "share of the head's voxels; what lies beyond the ends counts there"},
          {"alt", title + ", from " + numberText(-limit) + " to " + numberText(limit) + " " + unit},
          {"xTicks", xTicks},
          {"yTicks", Json::array({tick(bottom, "0"), tick(top, text("%.3g", share) + " %")})},
          {"xLabel", unit},
          {"yLabel", "voxels"},
          {"paths", Json::array({Json{{"kind", "bars"}, {"d", barsOf(counts, most)}}})},
          {"hasKeys", false},
          {"keys", nullptr}};
}

Json profile(const std::string& title, const std::string& xLabel, const std::string& yLabel,
             const std::vector<ProfileLine>& lines) {
  double most = 0;
  std::size_t slices = 0;
  for (const ProfileLine& line : lines) {
    slices = std::max(slices, line.values.size());
    for (const double value : line.values)
      if (std::isfinite(value)) most = std::max(most, value);
  }
  const double limit = most > 0 ? picture::roundedUp(static_cast<float>(most)) : 1;
  Json xTicks = Json::array(), paths = Json::array(), keys = Json::array();
  const std::size_t last = std::max<std::size_t>(slices, 2) - 1;
  for (const std::size_t n : {std::size_t{0}, last / 2, last})
    xTicks.push_back(
        tick(across(static_cast<double>(n) / static_cast<double>(last)), std::to_string(n)));
  for (const ProfileLine& line : lines) {
    paths.push_back(Json{{"kind", line.kind}, {"d", lineOf(line.values, limit)}});
    keys.push_back(Json{{"kind", line.kind}, {"text", line.label}});
  }
  return {{"title", title},
          {"note", "in the head"},
          {"alt", title + ", from 0 to " + numberText(most) + " " + yLabel},
          {"xTicks", xTicks},
          {"yTicks", Json::array({tick(bottom, "0"), tick(upwards(0.5), numberText(limit / 2)),
                                  tick(top, numberText(limit))})},
          {"xLabel", xLabel},
          {"yLabel", yLabel},
          {"paths", paths},
          {"hasKeys", true},
          {"keys", keys}};
}

}  // namespace mirel::report
