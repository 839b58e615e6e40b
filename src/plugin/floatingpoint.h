#pragma once

#include <cfenv>

namespace mirel {

/// The floating-point environment that every program starts with (round to nearest, subnormal
/// numbers kept, no traps) for its lifetime; then the host's again. Results are exact in that
/// environment only, and a trap set by the host would end it at the first 0/0 of an empty column.
class PlainFloatingPoint {
 public:
  PlainFloatingPoint() {
    std::fegetenv(&hosts);
    std::fesetenv(FE_DFL_ENV);
  }
  PlainFloatingPoint(const PlainFloatingPoint&) = delete;
  PlainFloatingPoint& operator=(const PlainFloatingPoint&) = delete;
  ~PlainFloatingPoint() { std::fesetenv(&hosts); }

 private:
  std::fenv_t hosts{};
};

}  // namespace mirel
