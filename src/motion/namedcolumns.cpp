#include "motion/namedcolumns.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

#include "base/error.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;

constexpr const char* transformsEnd = "_from-orig_to-boldref_mode-image_desc-hmc_xfm.txt";
constexpr std::size_t longestName = 40;

// "nan" and "inf" are numbers here: rows of them name no columns.
bool isNumber(const std::string& word) {
  char* end = nullptr;
  std::strtod(word.c_str(), &end);
  return end != word.c_str() && *end == '\0';
}

bool areMotionParameters(const std::vector<std::string>& names) {
  constexpr std::array<const char*, 6> motion = {"trans_x", "trans_y", "trans_z",
                                                 "rot_x",   "rot_y",   "rot_z"};
  return std::any_of(motion.begin(), motion.end(), [&](const char* name) {
    return std::find(names.begin(), names.end(), name) != names.end();
  });
}

// sub-01_task-rest_desc-confounds_timeseries.tsv stands beside sub-01_task-rest_from-orig_...
std::string transformsBeside(const std::string& fileName) {
  const fs::path path(fileName);
  const std::string name = path.filename().string();
  const std::size_t end = name.find("_desc-");
  if (end == std::string::npos) return {};
  const fs::path transforms = path.parent_path() / (name.substr(0, end) + transformsEnd);
  std::error_code ignored;
  return fs::is_regular_file(transforms, ignored) ? transforms.string() : "";
}

}  // namespace

void refuseNamedColumns(const std::vector<std::vector<std::string>>& words,
                        const std::string& fileName) {
  if (words.empty() || std::any_of(words[0].begin(), words[0].end(), isNumber)) return;
  const std::string beside = transformsBeside(fileName);
  const std::string instead =
      beside.empty() ? "give a file of transforms instead, as fMRIPrep writes it beside its "
                       "confounds (..." +
                           std::string(transformsEnd) + ")"
                     : "give " + beside + " instead";
  const std::string first = "(\"" + words[0].front().substr(0, longestName) + "\" in row 1)";
  throw Error(fileName,
              areMotionParameters(words[0])
                  ? "is a table of regressors " + first +
                        ", whose columns trans_x to rot_z do not tell the point that the head "
                        "turns about: " +
                        instead
                  : "begins with words " + first +
                        ", as a table with named columns, not with rigid transforms: " + instead);
}

}  // namespace mirel
