#include "picture/headmask.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <glm/vector_relational.hpp>
#include <iterator>
#include <limits>
#include <vector>

#include "pair/foreground.h"

namespace mirel::picture {

namespace {

using Flags = Volume<unsigned char>;
// Skin and fat are dim in echo-planar images: a voxel belongs to the head above this part of the
// threshold, where it is above so many times the median of the air, too. Of Rician noise alone one
// voxel of 500 is.
constexpr double dimPart = 0.25, timesAir = 3;

// Pieces of less than this part of the largest one are left out. Skin may be apart from the brain.
constexpr double leastPiece = 0.05;

constexpr glm::ivec3 along(1, 0, 0);
constexpr std::array<glm::ivec3, 4> beside{glm::ivec3(0, 1, 0), glm::ivec3(0, -1, 0),
                                           glm::ivec3(0, 0, 1), glm::ivec3(0, 0, -1)};

bool isInside(glm::ivec3 p, glm::ivec3 dims) {
  return p.x >= 0 && p.y >= 0 && p.z >= 0 && p.x < dims.x && p.y < dims.y && p.z < dims.z;
}

glm::ivec3 placeOf(int index, glm::ivec3 dims) {
  return {index % dims.x, index / dims.x % dims.y, index / (dims.x * dims.y)};
}

// A place on every run of value `from` along x, between two places of a row.
void addRuns(const Flags& flags, glm::ivec3 first, int last, unsigned char from,
             std::vector<glm::ivec3>& open) {
  const unsigned char* at = &flags[first];
  for (glm::ivec3 p = first; p.x <= last; ++p.x, ++at)
    if (*at == from && (p.x == first.x || at[-1] != from)) open.push_back(p);
}

// Turns the piece of value `from` that hangs together with a voxel to `to`; returns its size. Run
// by run along x: half the time that voxel by voxel takes.
int flood(Flags& flags, glm::ivec3 start, unsigned char from, unsigned char to) {
  std::vector<glm::ivec3> open{start};
  const glm::ivec3 dims = flags.dimensions();
  int count = 0;
  while (!open.empty()) {
    glm::ivec3 first = open.back();
    open.pop_back();
    if (flags[first] != from) continue;
    glm::ivec3 end = first;
    while (first.x > 0 && flags[first - along] == from) first.x--;
    for (; end.x < dims.x && flags[end] == from; ++end.x) {
    }
    std::fill_n(&flags[first], end.x - first.x, to);
    count += end.x - first.x;
    for (const glm::ivec3 step : beside)
      if (isInside(first + step, dims)) addRuns(flags, first + step, end.x - 1, from, open);
  }
  return count;
}

void keepLargePieces(Flags& flags) {
  constexpr unsigned char unseen = 1, seen = 2;
  struct Piece {
    glm::ivec3 place;
    int size;
  };
  std::vector<Piece> pieces;
  int largest = 0;
  for (int i = 0; i < flags.size(); ++i)
    if (flags.data()[i] == unseen) {
      const glm::ivec3 p = placeOf(i, flags.dimensions());
      pieces.push_back({p, flood(flags, p, unseen, seen)});
      largest = std::max(largest, pieces.back().size);
    }
  for (const Piece& piece : pieces)
    if (piece.size >= leastPiece * largest) flood(flags, piece.place, seen, unseen);
  std::transform(flags.data(), flags.data() + flags.size(), flags.data(),
                 [](unsigned char f) { return static_cast<unsigned char>(f == unseen); });
}

// Outside is what hangs together with the border of the volume.
void fillCavities(Flags& flags) {
  constexpr unsigned char open = 2;
  const glm::ivec3 last = flags.dimensions() - 1;
  for (int i = 0; i < flags.size(); ++i) {
    const glm::ivec3 p = placeOf(i, flags.dimensions());
    const bool onBorder = glm::any(glm::equal(p, glm::ivec3(0))) || glm::any(glm::equal(p, last));
    if (onBorder && flags[p] == 0) flood(flags, p, 0, open);
  }
  std::transform(flags.data(), flags.data() + flags.size(), flags.data(),
                 [](unsigned char f) { return static_cast<unsigned char>(f != open); });
}

// The slice of index `at` across an axis, as a volume with a border of 0 in the plane.
Flags framedSlice(const Flags& flags, int axis, int at) {
  glm::ivec3 size = flags.dimensions() + 2, shift(-1);
  size[axis] = 1;
  shift[axis] = at;
  Flags slice(size);
  for (int i = 0; i < slice.size(); ++i) slice.data()[i] = flags.get(placeOf(i, size) + shift);
  return slice;
}

// Fills what each slice across an axis encloses; `result` takes what is filled.
void fillSlices(const Flags& flags, int axis, Flags& result) {
  glm::ivec3 corner(1);
  corner[axis] = 0;
  for (int at = 0; at < flags.dimensions()[axis]; ++at) {
    Flags slice = framedSlice(flags, axis, at);
    flood(slice, glm::ivec3(0), 0, 2);
    glm::ivec3 shift = -corner;
    shift[axis] = at;
    for (int i = 0; i < slice.size(); ++i)
      if (const glm::ivec3 p = placeOf(i, slice.dimensions()) + shift;
          slice.data()[i] != 2 && isInside(p, flags.dimensions()))
        result[p] = 1;
  }
}

// Adds to every count those of its neighbours along an axis.
void addNeighbours(Flags& counts, int axis) {
  const Flags before = counts;
  const glm::ivec3 dims = counts.dimensions();
  const int step = axis == 0 ? 1 : axis == 1 ? dims.x : dims.x * dims.y;
  const auto add = [&](int to, int from) {
    counts.data()[to] = static_cast<unsigned char>(counts.data()[to] + before.data()[from]);
  };
  for (int line = 0; line < counts.size(); line += step * dims[axis])
    for (int at = 0; at < dims[axis]; ++at)
      for (int i = line + at * step; i < line + (at + 1) * step; ++i) {
        if (at > 0) add(i, i - step);
        if (at + 1 < dims[axis]) add(i, i + step);
      }
}

// The majority of the voxel and its neighbours, those beyond the border left out.
void takeMajority(Flags& flags) {
  for (int axis = 0; axis < 3; ++axis) addNeighbours(flags, axis);
  const glm::ivec3 last = flags.dimensions() - 1;
  for (int z = 0, i = 0; z <= last.z; ++z)
    for (int y = 0; y <= last.y; ++y) {
      const int ofPlane = (1 + (z > 0) + (z < last.z)) * (1 + (y > 0) + (y < last.y));
      for (int x = 0; x <= last.x; ++x, ++i) {
        const int all = ofPlane * (1 + (x > 0) + (x < last.x));
        flags.data()[i] = static_cast<unsigned char>(2 * flags.data()[i] > all);
      }
    }
}

// Takes off what hangs on by a thread, and what was joined by nothing else.
void smooth(Flags& flags) {
  takeMajority(flags);
  takeMajority(flags);
  keepLargePieces(flags);
}

double dimThreshold(const Volume<float>& image, double threshold) {
  std::vector<float> air;
  std::copy_if(image.data(), image.data() + image.size(), std::back_inserter(air),
               [threshold](float v) { return v > 0.0F && static_cast<double>(v) <= threshold; });
  if (air.empty()) return threshold;
  const auto middle = air.begin() + static_cast<std::ptrdiff_t>(air.size() / 2);
  std::nth_element(air.begin(), middle, air.end());
  return std::clamp(timesAir * static_cast<double>(*middle), dimPart * threshold, threshold);
}

Flags signalOf(const Volume<float>& image) {
  const double threshold = headThreshold(image);
  const double dim = dimThreshold(image, threshold);
  Flags flags(image.dimensions(), 0);
  for (int i = 0; i < image.size(); ++i)
    flags.data()[i] = static_cast<double>(image.data()[i]) > dim;
  keepLargePieces(flags);
  fillCavities(flags);
  smooth(flags);
  return flags;
}

Volume<float> asFloats(const Flags& flags) {
  Volume<float> mask(flags.dimensions());
  std::transform(flags.data(), flags.data() + flags.size(), mask.data(),
                 [](unsigned char f) { return static_cast<float>(f); });
  return mask;
}

}  // namespace

Volume<float> signalMask(const Volume<float>& image) { return asFloats(signalOf(image)); }

Volume<float> headMask(const Volume<float>& image) { return headMaskAround(signalMask(image)); }

Volume<float> headMaskAround(const Volume<float>& signal) {
  Flags flags(signal.dimensions());
  std::transform(signal.data(), signal.data() + signal.size(), flags.data(),
                 [](float v) { return static_cast<unsigned char>(v != 0.0F); });
  Flags filled = flags;
  for (int axis = 0; axis < 3; ++axis) fillSlices(flags, axis, filled);
  smooth(filled);
  return asFloats(filled);
}

bool isBinary(const Volume<float>& image) {
  float other = 0.0F;
  for (int i = 0; i < image.size(); ++i) {
    const float v = image.data()[i];
    if (v == 0.0F || v == other) continue;
    if (other != 0.0F || !(v > 0.0F)) return false;
    other = v;
  }
  return true;
}

float maskLevel(const Volume<float>& mask) {
  float least = std::numeric_limits<float>::infinity(), most = 0.0F;
  for (int i = 0; i < mask.size(); ++i) {
    const float v = mask.data()[i];
    if (!(v > 0.0F) || !std::isfinite(v)) continue;
    least = std::min(least, v);
    most = std::max(most, v);
  }
  if (most == 0.0F) return 0.5F;
  if (least == most) return least / 2;
  return most <= 1.0F ? 0.5F : least / 2;
}

}  // namespace mirel::picture
