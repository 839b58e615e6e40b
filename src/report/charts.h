#pragma once

#include <string>
#include <vector>

#include "base/json.h"

/// Charts as the data of the page's templates, drawn on 640 x 240 units: the plot is from 60 to 630
/// and from 10 to 200.
namespace mirel::report {

/// How often values occur: 61 bins from -limit to limit, beyond which values count in the
/// outermost; the highest bar has the full height.
///
/// @param values  finite
Json histogram(const std::string& title, const std::string& unit, const std::vector<float>& values,
               double limit);

/// What is drawn against the slices of a volume, 0 to the largest value.
struct ProfileLine {
  std::string kind;            ///< class of the line: "median", "high"
  std::string label;           ///< in the key
  std::vector<double> values;  ///< of slice 0, 1, ...; NaN where there are none
};

Json profile(const std::string& title, const std::string& xLabel, const std::string& yLabel,
             const std::vector<ProfileLine>& lines);

}  // namespace mirel::report
