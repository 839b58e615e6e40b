#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"

/// What the targets share: the fuzzer's bytes cut to pieces, files that stay in memory, and what
/// counts as an answer.
namespace mirel::fuzz {

/// The parts of an input between lines of "%%": `count` of them, missing ones empty. The last one
/// has all that is left.
std::vector<std::string> sectionsOf(std::string_view bytes, std::size_t count);

/// Values taken from the front of the fuzzer's bytes; zeros once they are used up.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : bytes(reinterpret_cast<const char*>(data), size) {}

  template <class Value>
  Value take() {
    Value value{};
    const std::size_t count = std::min(sizeof value, bytes.size());
    std::memcpy(&value, bytes.data(), count);
    bytes.remove_prefix(count);
    return value;
  }
  /// One of 0 .. most, which is at most 255.
  int upTo(int most) { return take<std::uint8_t>() % (most + 1); }
  bool flag() { return (take<std::uint8_t>() & 1) != 0; }
  /// All that is left, also still there for the next call.
  std::string_view rest() const { return bytes; }
  std::string_view takeBytes(std::size_t count);

 private:
  std::string_view bytes;
};

/// A folder of the file system in memory (where there is one), emptied when it goes.
class MemoryFolder {
 public:
  MemoryFolder();
  MemoryFolder(const MemoryFolder&) = delete;
  MemoryFolder& operator=(const MemoryFolder&) = delete;
  ~MemoryFolder();
  std::string path(const std::string& name) const { return folder + "/" + name; }
  /// Writes a file, in folders of its own if `name` has any; returns its path.
  std::string put(const std::string& name, std::string_view bytes) const;

 private:
  std::string folder;
};

/// Runs what reads the fuzzer's bytes. An Error is an answer; any other exception, a failed check,
/// and what the sanitizers say is a finding. Returns whether there was no Error.
template <class Work>
bool answers(const Work& work) {
  try {
    work();
    return true;
  } catch (const Error& error) {
    if (*error.what() == '\0') __builtin_trap();  // a refusal without a reason
    return false;
  }
}

/// A finding unless `holds`, with its text on standard error.
void require(bool holds, const char* what);

}  // namespace mirel::fuzz
