#pragma once

#include <string>
#include <vector>

namespace mirel::dataset {

/// The rules of a .bidsignore file, which names the files of a dataset that do not follow the
/// standard.
///
/// Every line is a pattern as in .gitignore: "*", "?" and "[a-z]" match within one name, "**" any
/// number of folders; a pattern with a "/" at its front or within holds from the root on, one
/// without in every folder; one with a "/" at its end means folders only; "!" takes back what an
/// earlier line said; lines that begin with "#" and empty ones say nothing. What lies in an ignored
/// folder is ignored, too.
class IgnoreRules {
 public:
  IgnoreRules() = default;
  explicit IgnoreRules(const std::string& text);

  /// @param path  from the root on, with "/" between its parts: "sub-01/func/x_bold.nii.gz"; that
  ///              of a folder ends with "/"
  bool ignores(const std::string& path) const;

 private:
  struct Rule {
    std::vector<std::string> parts;
    bool takesBack = false;
    bool foldersOnly = false;
  };

  bool saysNo(const std::vector<std::string>& path, bool isFolder) const;

  std::vector<Rule> rules;
};

}  // namespace mirel::dataset
