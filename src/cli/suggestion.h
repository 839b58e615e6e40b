#pragma once

#include <string>
#include <vector>

namespace mirel {

/// The one of `known` that somebody who typed `word` may have meant; empty when none is near: it
/// begins with the word ("--thread", "--threads"; of several the shortest), or one becomes the
/// other by at most one change per three letters, where a change is a letter inserted, left out,
/// replaced, or exchanged with its neighbour.
///
/// Source  R. Lowrance, R. A. Wagner, "An extension of the string-to-string correction problem",
///         J. ACM 22 (1975), in the restricted form that changes no place twice.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

}  // namespace mirel
