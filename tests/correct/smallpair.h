#pragma once

#include "correct/pairestimate.h"
#include "phantom/phantom.h"

/// A simulated head of 40 x 48 x 28 voxels of 4.5 mm, for tests: A is encoded along "j-".
const Phantom& smallPhantom();

/// Its images as a pair, read from no file.
correct::PairInput smallPair();

/// Without a bar.
inline const correct::Progress noProgress = [](const std::string&, double) {};

double correlationInBrain(const Volume<float>& a, const Volume<float>& b);
double rmsInBrain(const Volume<float>& a, const Volume<float>& b);
