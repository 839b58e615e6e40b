#pragma once

#include <sstream>

#include "pair/pairestimate.h"

namespace mirel {

/// Takes the log of the full estimate and reports how far it is: the column-wise fit is about a
/// third of the work, each scale of the search about a fifth.
class EstimateLog : public std::ostream {
 public:
  explicit EstimateLog(const Progress& progress);

 private:
  class Buffer : public std::stringbuf {
   public:
    explicit Buffer(const Progress& report) : progress(report) {}

   protected:
    int sync() override;

   private:
    const Progress& progress;
    int scales = 0;
  };

  Buffer buffer;
};

}  // namespace mirel
