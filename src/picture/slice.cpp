#include "picture/slice.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "picture/font.h"

namespace mirel::picture {

namespace {

constexpr int labelSize = 15;

// Axis of the array that runs to the right, upwards and through the slices.
struct Axes {
  int right, up, through;
};

Axes axesOf(SlicePlane plane) {
  switch (plane) {
    case SlicePlane::axial:
      return {0, 1, 2};
    case SlicePlane::coronal:
      return {0, 2, 1};
    case SlicePlane::sagittal:
      return {1, 2, 0};
  }
  return {0, 1, 2};
}

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

float grey(float value, Window window) {
  const float width = window.high > window.low ? window.high - window.low : 1.0F;
  const float t = (value - window.low) / width;
  return t >= 0.0F ? std::min(t, 1.0F) : 0.0F;  // NaN is 0
}

RgbImage enlarged(const RgbImage& image, int across, int down) {
  RgbImage result(image.width() * across, image.height() * down);
  for (int y = 0; y < result.height(); ++y)
    for (int x = 0; x < result.width(); ++x) result.set(x, y, image.at(x / across, y / down));
  return result;
}

// Draws the slice with colourAt(voxel).
template <typename ColourAt>
RgbImage draw(glm::ivec3 dims, const SliceView& view, ColourAt colourAt) {
  const Axes axes = axesOf(view.plane);
  if (view.index < 0 || view.index >= dims[axes.through])
    throw std::out_of_range("there is no slice " + std::to_string(view.index) +
                            ": the volume has " + std::to_string(dims[axes.through]));
  const float right = view.voxelMm[axes.right], up = view.voxelMm[axes.up];
  if (!(right > 0.0F) || !(up > 0.0F) || !std::isfinite(right / up) || view.pixelsPerVoxel < 1)
    throw std::invalid_argument("voxels must have positive sizes to be drawn");
  const float finest = std::min(right, up);
  const auto pixels = [&](float mm) {
    return static_cast<int>(static_cast<float>(view.pixelsPerVoxel) * std::min(mm / finest, 64.0F) +
                            0.5F);
  };
  RgbImage slice(dims[axes.right], dims[axes.up]);
  for (int v = 0; v < slice.height(); ++v)
    for (int u = 0; u < slice.width(); ++u) {
      glm::ivec3 voxel;
      voxel[axes.right] = u;
      voxel[axes.up] = slice.height() - 1 - v;
      voxel[axes.through] = view.index;
      slice.set(u, v, colourAt(voxel));
    }
  return enlarged(slice, pixels(right), pixels(up));
}

// Centred; cut short where it does not fit.
void writeLabel(RgbImage& sheet, const Font& font, const std::string& label, int left, int top,
                int width) {
  const std::string text = font.fitted(label, labelSize, width);
  font.write(sheet, left + (width - font.width(text, labelSize)) / 2, top, text, labelSize,
             {255, 255, 255});
}

}  // namespace

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
  return window.high > window.low ? window : Window{window.low, window.low + 1.0F};
}

float robustLimit(const Volume<float>& volume, double fraction) {
  std::vector<float> values;
  for (float v : finiteValues(volume))
    if (v != 0.0F) values.push_back(std::abs(v));
  return values.empty() ? 1e-6F : std::max(quantile(values, fraction), 1e-6F);
}

int sliceCount(glm::ivec3 dims, SlicePlane plane) { return dims[axesOf(plane).through]; }

RgbImage drawGrey(const Volume<float>& volume, const SliceView& view, Window window) {
  return draw(volume.dimensions(), view, [&](glm::ivec3 p) {
    const std::uint8_t g = toByte(grey(volume[p], window));
    return Colour{g, g, g};
  });
}

RgbImage drawOverlay(const Volume<float>& first, Window firstWindow, const Volume<float>& second,
                     Window secondWindow, const SliceView& view) {
  if (first.dimensions() != second.dimensions())
    throw std::invalid_argument("an overlay needs two volumes of the same dimensions");
  return draw(first.dimensions(), view, [&](glm::ivec3 p) {
    const std::uint8_t cyan = toByte(grey(second[p], secondWindow));
    return Colour{toByte(grey(first[p], firstWindow)), cyan, cyan};
  });
}

Colour divergingColour(float value) {
  if (!std::isfinite(value)) return {128, 128, 128};
  const float t = std::clamp(value, -1.0F, 1.0F);
  // Ends of the scale; between white and them colours are mixed in proportion.
  const std::array<float, 3> end = t < 0.0F ? std::array<float, 3>{33.0F, 70.0F, 160.0F}
                                            : std::array<float, 3>{178.0F, 24.0F, 43.0F};
  Colour colour{};
  for (std::size_t i = 0; i < 3; ++i)
    colour[i] = static_cast<std::uint8_t>(255.0F + (end[i] - 255.0F) * std::abs(t) + 0.5F);
  return colour;
}

RgbImage drawDiverging(const Volume<float>& volume, const SliceView& view, float limit) {
  const float scale = limit > 0.0F ? limit : 1.0F;
  return draw(volume.dimensions(), view,
              [&](glm::ivec3 p) { return divergingColour(volume[p] / scale); });
}

RgbImage sideBySide(const std::vector<Panel>& panels, int columns) {
  if (panels.empty() || columns < 1)
    throw std::invalid_argument("a picture needs at least one panel");
  constexpr int gap = 6, labelHeight = 20;
  const auto across = std::min(panels.size(), static_cast<std::size_t>(columns));
  const std::size_t down = (panels.size() + across - 1) / across;
  std::vector<int> left(across + 1, gap), top(down + 1, gap), labelSpace(down, 0);
  for (std::size_t i = 0; i < panels.size(); ++i) {  // first the sizes
    const Panel& panel = panels[i];
    left[i % across + 1] = std::max(left[i % across + 1], panel.image.width() + gap);
    top[i / across + 1] = std::max(top[i / across + 1], panel.image.height() + gap);
    if (!panel.label.empty()) labelSpace[i / across] = labelHeight;
  }
  for (std::size_t c = 1; c <= across; ++c) left[c] += left[c - 1];
  for (std::size_t r = 1; r <= down; ++r) top[r] += top[r - 1] + labelSpace[r - 1];

  const Font font;
  RgbImage sheet(left[across], top[down]);
  for (std::size_t i = 0; i < panels.size(); ++i) {
    const Panel& panel = panels[i];
    const std::size_t c = i % across, r = i / across;
    const int width = left[c + 1] - left[c] - gap;
    const int height = top[r + 1] - top[r] - gap - labelSpace[r];
    writeLabel(sheet, font, panel.label, left[c], top[r] + 2, width);
    sheet.paste(panel.image, left[c] + (width - panel.image.width()) / 2,
                top[r] + labelSpace[r] + (height - panel.image.height()) / 2);
  }
  return sheet;
}

}  // namespace mirel::picture
