#include "base/outputfolder.h"

#include <unistd.h>

#include <algorithm>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/moveall.h"
#include "base/progress.h"
#include "base/samefile.h"

namespace mirel {

namespace fs = std::filesystem;

namespace {

// What is copied are tables beside an image.
constexpr std::uintmax_t largestCopy = 64U << 20U;

// The nearest folder above that exists, to be able to say early that writing will fail.
fs::path existingParent(fs::path path) {
  std::error_code ignored;
  path = fs::absolute(path, ignored);
  while (!fs::exists(path, ignored) && path.has_parent_path() && path != path.parent_path())
    path = path.parent_path();
  return path;
}

}  // namespace

OutputFolder::OutputFolder(const std::string& where) : folder(where) {
  std::error_code ignored;
  if (where.empty()) throw Error("the output folder has an empty name");
  if (fs::exists(folder, ignored) && !fs::is_directory(folder, ignored))
    throw Error(where, "is a file, not a folder to write to");
  const fs::path parent = existingParent(folder);
  if (!fs::is_directory(parent, ignored))
    throw Error("the output folder " + where + " cannot be made: " + parent.string() +
                " is not a folder");
  if (access(parent.c_str(), W_OK | X_OK) != 0)
    throw Error("the output folder " + where + " cannot be " +
                (fs::exists(folder, ignored) ? "written to" : "made") +
                ": no permission to write to " + parent.string());
  // What a killed run left is finished before anybody asks what is there.
  clearLeftovers(parent);
}

OutputFolder::~OutputFolder() {
  files.reset();
  if (committed) return;
  for (auto path = made.rbegin(); path != made.rend(); ++path) rmdir(path->c_str());
}

void OutputFolder::announce(const std::string& name, const std::vector<std::string>& inputs) {
  const std::string target = this->target(name);
  if (isAnnounced(name))
    throw Error("two results would have the name " + target +
                ": name every image once, or correct them in separate folders");
  std::error_code ignored;
  if (fs::is_directory(target, ignored))
    throw Error(target, "is a directory, not a file to write to");
  for (const std::string& input : inputs) refuseOverwrite(target, input);
  names.push_back(name);
}

void OutputFolder::withdraw(const std::string& name) { std::erase(names, name); }

bool OutputFolder::isThere(const std::string& name) const {
  std::error_code ignored;
  return fs::exists(folder / name, ignored);
}

bool OutputFolder::isAnnounced(const std::string& name) const {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<std::string> OutputFolder::targets() const {
  std::vector<std::string> paths;
  for (const std::string& name : names) paths.push_back(target(name));
  return paths;
}

std::vector<std::string> OutputFolder::write(const std::function<void()>& work) {
  open();
  try {
    work();
    return commit();
  } catch (const Cancelled&) {
    throw;
  } catch (const Error& error) {
    throw Error(plain(error.what()), error.advice());
  }
}

void OutputFolder::open() {
  std::error_code failure;
  fs::path path;
  for (const fs::path& part : folder) {
    path /= part;
    if (part.empty() || fs::exists(path, failure)) continue;
    // Another run may have made it meanwhile.
    if (!fs::create_directory(path, failure) && !failure) continue;
    if (failure)
      throw Error("the output folder " + folder.string() + " cannot be made: " + failure.message());
    made.push_back(path);
  }
  files = std::make_unique<OutFolder>(folder);
}

std::string OutputFolder::path(const std::string& name) const { return files->path(name); }

void OutputFolder::writeText(const std::string& name, const std::string& text) {
  files->write(name, text);
}

void OutputFolder::copy(const std::string& file, const std::string& name) {
  writeText(name, readWholeFile(file, largestCopy));
}

// Only now do the files have their names.
std::vector<std::string> OutputFolder::commit() {
  std::vector<std::string> paths = files->commit(names);
  committed = true;
  std::error_code ignored;
  for (const std::string& name : retired) fs::remove(folder / name, ignored);
  return paths;
}

// The message without the hidden folder in its file names.
std::string OutputFolder::plain(const std::string& message) const {
  return files ? files->plain(message) : message;
}

}  // namespace mirel
