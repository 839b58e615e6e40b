#include "report/thumbnail.h"

#include <exception>

#include "base/inputfile.h"

namespace mirel::report {

namespace {

// A page begins with what it is and its icon.
constexpr std::size_t lookedAt = std::size_t{1} << 16U;

constexpr const char* base64Letters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";

}  // namespace

std::string thumbnailOf(const std::string& pageFile) {
  std::string page;
  try {
    page = readBeginning(pageFile, lookedAt);
  } catch (const std::exception&) {
    return "";
  }
  const std::string front = "<link rel=\"icon\" href=\"", kind = "data:image/png;base64,";
  const std::size_t at = page.find(front + kind);
  if (at == std::string::npos) return "";
  const std::size_t from = at + front.size(), data = from + kind.size();
  const std::size_t end = page.find_first_not_of(base64Letters, data);
  // A file of others may hold anything.
  if (end == std::string::npos || page[end] != '"' || end == data) return "";
  return page.substr(from, end - from);
}

}  // namespace mirel::report
