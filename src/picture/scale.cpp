#include "picture/scale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

namespace mirel::picture {

namespace {

float quantile(std::vector<float>& values, double fraction) {
  const auto nth = values.begin() + static_cast<std::ptrdiff_t>(
                                        fraction * static_cast<double>(values.size() - 1) + 0.5);
  std::nth_element(values.begin(), nth, values.end());
  return *nth;
}

std::vector<float> finiteValues(const Volume<float>& volume) {
  std::vector<float> values;
  values.reserve(static_cast<std::size_t>(volume.size()));
  std::copy_if(volume.data(), volume.data() + volume.size(), std::back_inserter(values),
               [](float v) { return std::isfinite(v); });
  return values;
}

std::vector<float> magnitudes(const Volume<float>& map, const Volume<float>& weight) {
  std::vector<float> values;
  for (int i = 0; i < map.size(); ++i) {
    const float v = map.data()[i];
    if (std::isfinite(v) && v != 0.0F && (weight.size() == 0 || weight.data()[i] != 0.0F))
      values.push_back(std::abs(v));
  }
  return values;
}

// `digits` are those of the value's magnitude.
std::string withSign(double value, const std::string& digits) {
  const bool isZero = digits.find_first_not_of("0.") == std::string::npos;
  return (value < 0 && !isZero ? "\u2212" : "") + digits;
}

}  // namespace

float Window::grey(float value) const {
  const float width = high > low ? high - low : 1.0F;
  const float t = (value - low) / width;
  return t >= 0.0F ? std::min(t, 1.0F) : 0.0F;  // NaN is 0
}

Window robustWindow(const Volume<float>& volume) {
  std::vector<float> values = finiteValues(volume);
  if (values.empty()) return {};
  const float least = *std::min_element(values.begin(), values.end());
  const float threshold = least + 0.1F * (quantile(values, 0.995) - least);
  std::vector<float> foreground;
  std::copy_if(values.begin(), values.end(), std::back_inserter(foreground),
               [threshold](float v) { return v > threshold; });
  if (foreground.empty()) return {least, least + 1.0F};
  const Window window{quantile(foreground, 0.02), quantile(foreground, 0.98)};
  if (window.high > window.low) return window;
  return {least, window.low};  // a foreground of one value, as a mask's, is white
}

float robustLimit(const Volume<float>& map, const Volume<float>& weight, double fraction) {
  std::vector<float> values = magnitudes(map, weight);
  if (values.empty()) values = magnitudes(map, {});
  return values.empty() ? 1.0F : quantile(values, fraction);
}

float roundedUp(float value) {
  const double exact = static_cast<double>(value);
  const double power = std::pow(10.0, std::floor(std::log10(exact)));
  for (const double step : {1.0, 1.5, 2.0, 2.5, 3.0, 4.0, 5.0, 6.0, 8.0})
    // A float that was meant to be a step may lie a rounding above it.
    if (step * power >= exact * (1 - 1e-6)) return static_cast<float>(step * power);
  return static_cast<float>(10 * power);
}

std::string numberText(double value) {
  const double size = std::abs(value);
  if (size >= 1000 && size < 1e6) return fixedText(value, 0);
  char text[32];
  std::snprintf(text, sizeof text, "%.3g", size);
  return withSign(value, text);
}

std::string fixedText(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, std::abs(value));
  return withSign(value, text);
}

Colour divergingColour(float value) {
  if (!std::isfinite(value)) return {128, 128, 128};
  const float t = std::clamp(value, -1.0F, 1.0F);
  const Colour end = t < 0.0F ? Colour{33, 70, 160} : Colour{178, 24, 43};
  return mixed({255, 255, 255}, end, std::abs(t));
}

}  // namespace mirel::picture
