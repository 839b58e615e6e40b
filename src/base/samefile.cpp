#include "base/samefile.h"

#include <filesystem>

#include "base/error.h"

namespace mirel {

namespace fs = std::filesystem;

namespace {

fs::path resolved(const std::string& name) {
  std::error_code error;
  const fs::path path(name);
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  fs::path canonical = fs::weakly_canonical(folder, error);
  if (error) canonical = fs::absolute(folder, error);
  return canonical / path.filename();
}

}  // namespace

bool sameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  if (fs::equivalent(a, b, error)) return true;
  return resolved(a) == resolved(b);
}

void refuseOverwrite(const std::string& output, const std::string& input) {
  if (sameFile(output, input)) throw Error("the output " + output + " would overwrite an input");
}

}  // namespace mirel
