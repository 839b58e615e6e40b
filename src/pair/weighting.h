#pragma once

#include "pair/pairinput.h"

namespace mirel {

/// Takes down in `pair` what the b-values in the .bval file beside an image of the pair say about
/// the volumes chosen from it: a note when one has more than 100 s/mm^2, which names those that
/// have not; a warning when the file cannot be read or has another number of entries than the image
/// has volumes. Nothing without such a file.
void checkWeighting(const ImageDescription& image, PairInput& pair);

}  // namespace mirel
