#pragma once

#include "nifti/gradients.h"
#include "phantom/field.h"
#include "phantom/phantom.h"
#include "phantom/phantomscan.h"

namespace mirel {

/// What is scanned while a head lies in the scanner: all scans have one field, but each its own
/// readout time.
struct PhantomSession {
  Volume<float> fieldHz;
  Volume<unsigned char> brainMask, headMask;
  double noiseSigma = 0.0;  ///< as in Phantom, of the spin-echo image
  PhantomScan spinEcho;     ///< one volume, as the pair and a volume of b = 0 show the head
  PhantomScan reference;    ///< one volume, the contrast of the series
  PhantomScan series;       ///< `volumes` of them, active and drifting as Phantom::seriesVolume
  PhantomScan diffusion;
  /// Of `diffusion`: b = 0, three directions, b = 0, three more, b = 0; b is 1000 s/mm^2. White
  /// matter loses most along x; what is not brain keeps its signal.
  nifti::GradientTable gradients;

  /// How far the field moves signal along the phase-encoding axis, in voxels:
  /// +f * readout for the directions "j" and "i", -f * readout for "j-" and "i-".
  Volume<float> shiftVoxels(double readoutSeconds, bool positive) const;
};

/// A head that comes to the scanner once or several times.
class PhantomHead {
 public:
  /// The field is made for scans along `options.axis` of `options.readoutSeconds`: up to that, no
  /// scan folds, unless folds are allowed. There is no motion within a session.
  /// Errors  as makePhantom
  explicit PhantomHead(const PhantomOptions& options);

  /// Each session has the head turned by up to 2 degrees about each axis and moved by up to a
  /// quarter of a voxel, and 0.75 to 1 times the field that was asked for, as the shim is another.
  PhantomSession session(int number) const;

 private:
  PhantomOptions options;
  PhantomGrid grid;
  HeadField field;
};

}  // namespace mirel
