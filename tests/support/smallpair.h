#pragma once

#include "pair/pairestimate.h"
#include "phantom/phantom.h"
#include "support/noprogress.h"

namespace mirel {

/// A simulated head of 40 x 48 x 28 voxels of 4.5 mm, for tests: A is encoded along "j-".
const Phantom& smallPhantom();

/// Its images as a pair, read from no file.
PairInput smallPair();

double correlationInBrain(const Volume<float>& a, const Volume<float>& b);
double rmsInBrain(const Volume<float>& a, const Volume<float>& b);

}  // namespace mirel
