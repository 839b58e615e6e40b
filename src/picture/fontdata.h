#pragma once

#include <span>

namespace mirel::picture {

/// The font file that is part of the program: DejaVu Sans, as TrueType.
std::span<const unsigned char> fontData();

}  // namespace mirel::picture
