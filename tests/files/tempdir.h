#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace mirel {

/// A directory of one test's own, removed with all that is in it.
class TempDir {
 public:
  TempDir() {
    std::string pattern = testing::TempDir() + "mirel_files_XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
      throw std::runtime_error("cannot create a directory in " + testing::TempDir());
    root = pattern + "/";
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  /// The name of a file in the directory.
  std::string file(const std::string& name) const { return root + name; }

  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
  }

  std::string read(const std::string& name) const {
    std::ostringstream text;
    std::ifstream is(file(name), std::ios::binary);
    text << is.rdbuf();
    return text.str();
  }

  bool exists(const std::string& name) const { return std::filesystem::exists(file(name)); }

 private:
  std::string root;
};

/// The text of the exception of type Error that `action` throws; a failure when it throws none.
template <typename Error, typename Action>
std::string messageOf(Action action) {
  try {
    action();
  } catch (const Error& e) {
    return e.what();
  }
  ADD_FAILURE() << "no exception";
  return "";
}

}  // namespace mirel
