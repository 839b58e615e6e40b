#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "containers/volume.h"
#include "phantom/distort.h"
#include "phantom/object.h"

namespace mirel {

/// What a phantom is made from. Equal options make equal phantoms.
struct PhantomOptions {
  glm::ivec3 size{90, 104, 60};
  glm::dvec3 voxelMm{2.4};
  double readoutSeconds = 0.05;  ///< total readout time (that of BIDS)
  /// Largest |shift| in the head, in voxels; if not given 120 Hz * readoutSeconds, 6 voxels by
  /// default. Where it would fold the image, or push signal out of it, it is smaller, unless
  /// `allowFolds`.
  std::optional<double> maxShiftVoxels;
  bool allowFolds = false;
  /// Standard deviation of the noise in the real and the imaginary part, as a fraction of the
  /// undistorted image's mean in the brain.
  double noise = 0.03;
  std::uint64_t seed = 1;
  PhaseEncodingAxis axis = PhaseEncodingAxis::y;
  int volumes = 8;  ///< of the series
  /// Of the head before the PA image was taken; its field moves along.
  RigidMotion paMotion;
  /// Of the head before the series was taken; its field moves along.
  RigidMotion seriesMotion;
  /// Of the head before each volume of the series, in place of seriesMotion; its field moves along.
  /// Empty: it keeps still during the series.
  std::vector<RigidMotion> volumeMotion;
  /// Makes the series one of gradient echoes with this echo time in s (gradientecho.h): of another
  /// contrast, and with signal lost where the field changes. 0: it shows what the AP image does.
  double seriesEchoSeconds = 0;
};

/// A head whose echo-planar images are distorted by a known field.
///
/// With the axes x to the right, y anterior, z superior, the AP image is phase encoded along -y
/// ("j-") and the PA image along +y ("j"). With `PhaseEncodingAxis::x` read RL ("i-") for AP and
/// LR ("i") for PA, and x for y in what follows.
///
/// With the field f in Hz and the total readout time T in s, b = -f T is the displacement in
/// voxels of the AP image's signal, at its place in the undistorted image, and
///
///   true(y) = AP(y + b(y)) * (1 + b'(y)) = PA(y - b(y)) * (1 - b'(y)).
///
/// So b, applied forward to the AP image and reverse to the PA image, takes the distortion out
/// of both.
struct Phantom {
  PhantomOptions options;
  Volume<float> truth;        ///< the undistorted image, without noise; brain about 500 to 1600
  Volume<float> ap, pa;       ///< the distorted pair, with noise
  Volume<float> fieldHz;      ///< f
  Volume<float> shiftVoxels;  ///< b
  Volume<unsigned char> brainMask, headMask;  ///< undistorted; the head with its cavities
  double noiseSigma = 0.0;                    ///< standard deviation per part, in image units
  double fieldSmoothingMm = 0.0;
  /// With motion: undistorted image and shift b where the head is in the PA image. Otherwise
  /// empty, since they are `truth` and `shiftVoxels`.
  Volume<float> paTruth, paShiftVoxels;

  /// Volume t of a series that is phase encoded as the AP image: it swings by 2 % in a region of
  /// the cortex (four volumes of rest, four of activity, and so on), drifts by 0.1 % per volume
  /// and has noise of its own. The same t gives the same volume.
  /// Errors  std::out_of_range unless 0 <= t < options.volumes.
  Volume<float> seriesVolume(int t) const;

  Volume<float> apSignal;        ///< the AP image without noise
  Volume<float> paSignal;        ///< the PA image without noise
  Volume<float> seriesSignal;    ///< the series at rest without noise; empty: it is `apSignal`
  Volume<float> activitySignal;  ///< of the active region, as the series shows it
  /// With volumeMotion: the series without noise and drift, volume by volume.
  std::vector<Volume<float>> volumeSignals;
  /// With motion or gradient echoes: the undistorted image of the series, and with motion the
  /// shift b where the head is in it. Otherwise empty, since they are `truth` and `shiftVoxels`.
  Volume<float> seriesTruth, seriesShiftVoxels;
};

/// Errors  std::invalid_argument with a sentence for options that make no sense: a size below 1
/// or too large, a voxel size, readout, noise or shift that is not a sensible number, a negative
/// number of volumes, a motion of more than 1000 mm or 360 degrees, another number of motions than
/// volumes, motion both of the series and of its volumes.
Phantom makePhantom(const PhantomOptions& options);

/// Throws as makePhantom for options that make no sense, before anything is made; sizes, shifts and
/// what a grid can hold are refused while it is made.
void checkPhantomOptions(const PhantomOptions& options);

/// The largest |shift| that options ask for, in voxels.
double wantedShiftVoxels(const PhantomOptions& options);

/// Of a head's density the part that is active in a series: a smooth spot of the cortex.
Volume<float> activeRegion(const Volume<float>& density);

/// The factors of volume t of a series: of the whole image, and of the active region before that.
float seriesDrift(int t);
float seriesActivity(int t);

/// The magnitude of `signal` with normal noise of `sigma` in its real and imaginary part (Rician;
/// in air Rayleigh, with mean sigma * sqrt(pi / 2)). `stream` tells apart images of one seed.
Volume<float> addRicianNoise(const Volume<float>& signal, double sigma, std::uint64_t seed,
                             std::uint64_t stream);

/// Mean of `image` where `mask` is not 0; 0 if that is nowhere.
double meanInMask(const Volume<float>& image, const Volume<unsigned char>& mask);

}  // namespace mirel
