#pragma once

#include <stdexcept>

namespace mirel {

/// The failure of a broken internal contract:
///
///   "assertion failure (" file ":" line "): " expression
///
/// `file` is a path relative to the repository, `line` a stable code of the site (it does not
/// follow the check around when code moves), `expression` the text of the failed condition.
/// Returns the exception; the site throws it.
std::logic_error assertion_failed(const char* file, int line, const char* expression);

/// Throws `assertion_failed(file, line, expression)` unless `condition` holds.
inline void require(bool condition, const char* file, int line, const char* expression) {
  if (!condition) throw assertion_failed(file, line, expression);
}

}  // namespace mirel
