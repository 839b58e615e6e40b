#pragma once

#include <cstdint>
#include <string>

namespace mirel {

/// In bytes. A table has a row per volume or image, of 40 bytes and some thousand in the largest:
/// what is longer is something else.
inline constexpr std::uintmax_t largestTable = 16U << 20U;

/// The bytes of a text file that is small by its nature, such as a sidecar or a gradient table.
///
/// @param most  so many bytes at the most: a file of another kind under that name is not taken
///              into memory
/// Errors  Error, which names the file: it cannot be opened or read, with the system's reason (a
///         read that fails is not the end of a file), it is a directory, or it is larger.
std::string readWholeFile(const std::string& fileName, std::uintmax_t most);

/// The first `most` bytes of a file, or all where there are fewer. Errors: the same, but for size.
std::string readBeginning(const std::string& fileName, std::uintmax_t most);

}  // namespace mirel
