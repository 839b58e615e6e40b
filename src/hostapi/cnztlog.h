#pragma once

#include <ostream>
#include <sstream>

namespace mirel {

/// Output stream into the host's log pane. Text reaches the host at a flush, whole, in one call;
/// a flush with nothing pending still makes a call, with the empty text, and so does destruction.
class CNZTLog : public std::ostream {
 public:
  using LogFunction = void (*)(const char*);

  /// The stream's buffer: collects text and passes it to the log function at `sync`.
  class CNZTBuf : public std::stringbuf {
   public:
    explicit CNZTBuf(LogFunction function) : logFunction(function) {}
    /// The last text; a host that refuses it then cannot be told.
    ~CNZTBuf() noexcept override;

   protected:
    /// One call of the log function with all pending text; leaves the buffer empty. Returns 0.
    int sync() override;

   private:
    LogFunction logFunction;
  };

  /// @param logFunction receives every flushed text, NUL-terminated; not owned. Null: nobody does.
  explicit CNZTLog(LogFunction logFunction);
  CNZTLog(const CNZTLog&) = delete;
  CNZTLog& operator=(const CNZTLog&) = delete;
  ~CNZTLog() override;
};

}  // namespace mirel
