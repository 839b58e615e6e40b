#pragma once

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace mirel {

/// A stream that keeps its text in entries, one per flush, as the host's log pane shows them.
class EntryLog : public std::ostream {
 public:
  EntryLog() : std::ostream(nullptr) { rdbuf(&buffer); }

  const std::vector<std::string>& entries() const { return buffer.entries; }
  /// What was written after the last flush.
  std::string pending() const { return buffer.str(); }

 private:
  struct Buffer : std::stringbuf {
    std::vector<std::string> entries;
    int sync() override {
      entries.push_back(str());
      str("");
      return 0;
    }
  };
  Buffer buffer;
};

/// As a stream with default formatting writes it.
inline std::string written(double value) {
  std::ostringstream os;
  os << value;
  return os.str();
}

}  // namespace mirel
