#pragma once

#include <functional>
#include <string>

#include "base/error.h"

/// Where a long job stands, and the one way to end it: whoever is told may throw, from the
/// terminal's progress bar down to the kernels that report to it.
namespace mirel {

/// The stages of a job, in the order in which they come.
enum class Stage {
  reading,
  estimating,
  checking,
  writing,     ///< from here on there are files on the disk that an ending job takes away again
  correcting,  ///< a series
  finishing,   ///< the results get their names
};

/// Thrown by a Progress when the job is to end.
class Cancelled : public Error {
 public:
  Cancelled() : Error("interrupted; nothing was written") {}
};

/// Who is told by a job where it stands.
class Progress {
 public:
  virtual ~Progress() = default;
  /// @param done     0 .. 1 of the stage
  /// @param subject  what the stage works on, where there are several: a file
  /// What it throws ends the job; nothing of it is left behind then.
  virtual void at(Stage stage, double done, const std::string& subject = {}) = 0;

 protected:
  Progress() = default;
  Progress(const Progress&) = default;
  Progress& operator=(const Progress&) = default;
};

/// Told by a part of a job how far it is, 0 .. 1; what it throws ends the work. May be empty.
using ReportDone = std::function<void(double done)>;

}  // namespace mirel
