#pragma once

#include <exception>
#include <string>

#include "base/advice.h"

namespace mirel {

/// The sentence with what the user can do about it, in the words of the command line:
/// "... has no PhaseEncodingDirection; give it with --pe-a".
std::string withAdvice(const std::string& sentence, const Advice& advice);

inline std::string sentenceOf(const Remark& remark) {
  return withAdvice(remark.text, remark.advice);
}
/// Of an Error with its advice, of any other exception its text.
std::string sentenceOf(const std::exception& failure);

}  // namespace mirel
