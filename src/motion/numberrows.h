#pragma once

#include <string>
#include <vector>

namespace mirel {

/// The words of a table of transforms, row by row, without comments (from "#" to the end of the
/// line). Errors  Error, naming the file: see readWholeFile; a folder; larger than 64 MB.
std::vector<std::vector<std::string>> readTransformWords(const std::string& fileName);

/// The numbers of such words. Errors  Error, naming the file and the row, counted from 1: a word
/// that is no finite number; rows of different lengths; no rows.
std::vector<std::vector<double>> numbersOf(const std::vector<std::vector<std::string>>& words,
                                           const std::string& fileName);

}  // namespace mirel
