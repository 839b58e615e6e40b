#pragma once

namespace mirel {

/// Of the conjugate gradients that make fields smooth or continue them (improveSolution).
inline constexpr double fieldTolerance = 1e-5;
inline constexpr int mostFieldSteps = 2000;

}  // namespace mirel
