#pragma once

#include <functional>

#include "containers/volume.h"

namespace mirel {

/// Solves H x = rhs from the x that is given by conjugate gradients, H symmetric and positive
/// semidefinite, with a diagonal preconditioner (entries above 0). `product(v, out)` is H v. Ends
/// when the residual's norm, of the preconditioner, is at most `tolerance` times that of rhs, or
/// after `most` steps. Returns the steps.
int conjugateGradients(const std::function<void(const Volume<double>&, Volume<double>&)>& product,
                       const Volume<double>& diagonal, const Volume<double>& rhs, Volume<double>& x,
                       double tolerance, int most);

}  // namespace mirel
