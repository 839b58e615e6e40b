#include "jobs/unknownreadout.h"

#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "base/numbertext.h"
#include "pair/readoutratio.h"

namespace mirel {

namespace {

std::string timeOf(const SeriesInput& input) {
  const bids::Readout& readout = *input.acquisition.readout;
  return text(readout.seconds) + " s (" + sourceText(readout) + ")";
}

}  // namespace

void doubtUnknownReadout(const std::string& source, const Advice& advice,
                         std::vector<SeriesInput>& series) {
  const SeriesInput* first = nullptr;
  for (SeriesInput& input : series) {
    if (!input.acquisition.readout) continue;
    if (first == nullptr) first = &input;
    const double one = first->acquisition.readout->seconds,
                 other = input.acquisition.readout->seconds;
    if (std::abs(one - other) > readoutTolerance * std::max(one, other))
      throw Error(first->file + " has a readout time of " + timeOf(*first) + " and " + input.file +
                      " one of " + timeOf(input) + ", but that of " + source +
                      " is not known: a map in voxels is not right for both",
                  advice);
    input.warnings.emplace_back(input.file + " has a readout time of " + timeOf(input) +
                                    ", but that of " + source +
                                    " is not known: it is taken to be the same, and if it is "
                                    "another one, the correction is too large or too small",
                                advice);
  }
}

}  // namespace mirel
