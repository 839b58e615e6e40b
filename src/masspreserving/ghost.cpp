#include "masspreserving/ghost.h"

#include <algorithm>
#include <cmath>

#include "masspreserving/intensityscale.h"

namespace mirel {

namespace {

constexpr double dark = 0.25, bright = 0.5;  // of the signal's level
constexpr int margin = 2;                    // voxels from what is not dark
constexpr double leastAmplitude = 0.025;
constexpr double leastPart = 1.0 / 200.0;  // of the voxels, in each kind of air
constexpr double leastDeviations = 5.0, voxelsPerObservation = 8.0;
constexpr int nearHalf = 2;  // rows by which the best shift may miss half the field of view
constexpr int rounds = 4;

// 1 where a voxel and its neighbours in x and y are dark.
Volume<unsigned char> airOf(const Volume<float>& image, double level) {
  Volume<unsigned char> alongX(image.dimensions(), 1), air(image.dimensions(), 1);
  const int nx = image.nx(), ny = image.ny();
  for (int z = 0; z < image.nz(); ++z) {
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < nx; ++x) {
        if (!(static_cast<double>(image.at(x, y, z)) >= dark * level)) continue;
        for (int at = std::max(x - margin, 0); at <= std::min(x + margin, nx - 1); ++at)
          alongX.at(at, y, z) = 0;
      }
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < nx; ++x) {
        if (alongX.at(x, y, z) != 0) continue;
        for (int at = std::max(y - margin, 0); at <= std::min(y + margin, ny - 1); ++at)
          air.at(x, at, z) = 0;
      }
  }
  return air;
}

// Sums over voxels of the air: of I^2 and (P I)^2, of their squares and product.
struct AirSums {
  double count = 0.0, own = 0.0, ownSquares = 0.0, away = 0.0, awaySquares = 0.0, both = 0.0;

  void add(double value, double partner) {
    const double i = value * value, p = partner * partner;
    ++count;
    own += i;
    ownSquares += i * i;
    away += p;
    awaySquares += p * p;
    both += i * p;
  }
  double mean() const { return own / count; }
  double varianceOfMean() const {
    return (ownSquares / count - mean() * mean()) * voxelsPerObservation / count;
  }
  double correlation() const {
    const double spread = (ownSquares - own * own / count) * (awaySquares - away * away / count);
    return spread > 0.0 ? (both - own * away / count) / std::sqrt(spread) : 0.0;
  }
};

// Takes columns along y that are exactly 0 out of the air: they were not acquired but added, and
// hold neither noise nor a ghost. Returns the number of voxels in the others.
int withoutEmptyColumns(const Volume<float>& image, Volume<unsigned char>& air) {
  int left = 0;
  for (int z = 0; z < image.nz(); ++z)
    for (int x = 0; x < image.nx(); ++x) {
      bool empty = true;
      for (int y = 0; y < image.ny() && empty; ++y) empty = image.at(x, y, z) == 0.0F;
      for (int y = 0; y < image.ny() && empty; ++y) air.at(x, y, z) = 0;
      if (!empty) left += image.ny();
    }
  return left;
}

// The air by the signal `rows` beyond half a field of view away.
struct AirBySignal {
  AirSums all, ofBright, ofDark;

  AirBySignal(const Volume<float>& image, const Volume<float>& away,
              const Volume<unsigned char>& air, double level, int rows) {
    const int ny = image.ny();
    for (int z = 0; z < image.nz(); ++z)
      for (int y = 0, row = (rows + ny) % ny; y < ny; ++y, row = row + 1 < ny ? row + 1 : 0)
        for (int x = 0; x < image.nx(); ++x) {
          if (air.at(x, y, z) == 0) continue;
          const float v = image.at(x, y, z);
          const double value = std::isfinite(v) ? static_cast<double>(v) : 0.0;
          const double partner = static_cast<double>(away.at(x, row, z));
          all.add(value, partner);
          if (partner > bright * level)
            ofBright.add(value, partner);
          else if (partner < dark * level)
            ofDark.add(value, partner);
        }
  }
  bool holds(double least) const { return ofBright.count >= least && ofDark.count >= least; }
  bool isSignificant() const {
    const double difference = ofBright.mean() - ofDark.mean(),
                 variance = ofBright.varianceOfMean() + ofDark.varianceOfMean();
    return difference > 0.0 &&
           difference * difference > leastDeviations * leastDeviations * variance;
  }
  double amplitudeSquared() const {
    return (ofBright.mean() - ofDark.mean()) /
           (ofBright.away / ofBright.count - ofDark.away / ofDark.count);
  }
};

}  // namespace

Volume<float> halfAway(const Volume<float>& image) {
  const int ny = image.ny(), half = ny / 2;
  Volume<float> result(image.dimensions());
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < image.nx(); ++x) {
        const auto value = [&](int rows) {
          const float v = image.at(x, (y + half + rows + ny) % ny, z);
          return std::isfinite(v) ? v : 0.0F;
        };
        result.at(x, y, z) =
            ny % 2 == 0 ? value(0)
                        : 0.5625F * (value(0) + value(1)) - 0.0625F * (value(-1) + value(2));
      }
  return result;
}

double ghostInAir(const Volume<float>& image) {
  const double level = signalLevel(image);
  if (!(level > 0.0)) return 0.0;
  const Volume<float> away = halfAway(image);
  Volume<unsigned char> air = airOf(image, level);
  const int acquired = withoutEmptyColumns(image, air);
  const AirBySignal here(image, away, air, level, 0);
  if (!here.holds(leastPart * acquired)) return 0.0;
  const double square = here.amplitudeSquared();
  if (!(square >= leastAmplitude * leastAmplitude) || !here.isSignificant()) return 0.0;
  double nearest = 0.0, farther = 0.0;
  for (int rows = -image.ny() / 4; rows <= image.ny() / 4; ++rows) {
    double& most = std::abs(rows) <= nearHalf ? nearest : farther;
    most = std::max(most, AirBySignal(image, away, air, level, rows).all.correlation());
  }
  return nearest > farther ? std::sqrt(square) : 0.0;
}

Volume<float> withoutGhost(const Volume<float>& image, double a, double cosine) {
  if (a == 0.0) return image;
  Volume<float> result = image;
  for (int round = 0; round < rounds; ++round) {
    const Volume<float> away = halfAway(result);
    for (int i = 0; i < image.size(); ++i) {
      const double v = static_cast<double>(image.data()[i]),
                   s = a * std::max(static_cast<double>(away.data()[i]), 0.0);
      if (!(v > 0.0) || !std::isfinite(v) || s == 0.0) continue;
      const double left = v < 2.0 * s
                              ? std::sqrt(std::max(v * v - s * s, 0.0))
                              : std::sqrt(v * v - (1.0 - cosine * cosine) * s * s) - cosine * s;
      result.data()[i] = static_cast<float>(left);
    }
  }
  return result;
}

}  // namespace mirel
