#pragma once

#include <string>

#include "base/json.h"

namespace mirel::report {

/// A template of the mustache language (mustache.github.io/mustache.5.html) filled with `data`:
/// lists and objects open sections, null and false close them, texts are escaped for HTML (also
/// between quotes) wherever the template does not say {{{raw}}}. Numbers are texts already: how
/// many digits they have is a matter of what they are.
///
/// Bytes of texts that are not UTF-8 become the replacement character.
/// Errors  std::logic_error for a template that cannot be read, or data with numbers in it.
std::string filled(const std::string& page, const Json& data);

}  // namespace mirel::report
