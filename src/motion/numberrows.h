#pragma once

#include <span>
#include <string>
#include <vector>

namespace mirel {

/// The words of a table of transforms, row by row, without comments (from "#" to the end of the
/// line). Errors  Error, naming the file: see readWholeFile and requirePlainText; a folder; larger
/// than 64 MB.
std::vector<std::vector<std::string>> readTransformWords(const std::string& fileName);

/// The numbers of words at one place of a file, as an error calls it: "row 1". Errors  Error,
/// naming the file and the place: a word that is no finite number.
std::vector<double> numbersIn(std::span<const std::string> words, const std::string& place,
                              const std::string& fileName);

/// The numbers of such rows. Errors  Error, naming the file and the row, counted from 1: a word
/// that is no finite number; rows of different lengths; no rows.
std::vector<std::vector<double>> numbersOf(const std::vector<std::vector<std::string>>& words,
                                           const std::string& fileName);

}  // namespace mirel
