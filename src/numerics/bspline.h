#pragma once

#include <vector>

#include "numerics/parallel.h"

namespace mirel {

/// Cubic B-spline interpolation of regularly sampled data in one, two and three dimensions
/// (M. Unser, A. Aldroubi, M. Eden, IEEE Trans. Signal Process. 41:821, 1993), with coefficients
/// of zero outside the grid.
///
/// Arrays are contiguous doubles, x fastest: (x, y, z) at (z*ny + y)*nx + x; coefficients have
/// the shape of the samples. Positions are in samples, m of them per call; results go to arrays
/// of length m. Nothing is thrown but std::bad_alloc. A dimension of 1 is allowed; with one of 0
/// or less there is nothing to compute and every value is 0.
///
/// For users of the library: all but BSplineFactors, convertToBSplineCoeff3D and evalBSpline3D.

/// Factors of the tridiagonal system that yields the coefficients. They depend on the position
/// only: a table of n serves every length up to n. `n` of 0 or less gives an empty table.
struct BSplineFactors {
  std::vector<double> d, e;

  explicit BSplineFactors(int n);
};

/// Coefficients q with samples[i] = (q[i-1] + 4 q[i] + q[i+1]) / 6 and q[-1] = q[n] = 0,
/// separably in two and three dimensions. `samples` and `coeff` may be the same array.
void computeBSplineCoeff1D(double* samples, int n, double* coeff);
void computeBSplineCoeff2D(double* samples, int nx, int ny, double* coeff);
void computeBSplineCoeff3D(double* samples, int nx, int ny, int nz, double* coeff);

/// The same in place.
void convertToBSplineCoeff2D(double* data, int nx, int ny);
void convertToBSplineCoeff3D(double* data, int nx, int ny, int nz);
/// The same with its lines in parallel.
void convertToBSplineCoeff3D(double* data, int nx, int ny, int nz, const Parallel& parallel);

/// Values (and derivatives per sample spacing) of the spline with coefficients `coeff`.
/// At or below -2 and at or above n + 1 in any coordinate, and at NaN, all results are 0.
void evalBSpline1D(double* coeff, int n, double* x, int m, double* value);
void evalBSplineAndGrad1D(double* coeff, int n, double* x, int m, double* value, double* grad);
void evalBSpline2D(double* coeff, int nx, int ny, double* x, double* y, int m, double* value);
void evalBSplineAndGrad2D(double* coeff, int nx, int ny, double* x, double* y, int m, double* value,
                          double* gradX, double* gradY);
void evalBSpline3D(double* coeff, int nx, int ny, int nz, double* x, double* y, double* z, int m,
                   double* value);
void evalBSplineAndGrad3D(double* coeff, int nx, int ny, int nz, double* x, double* y, double* z,
                          int m, double* value, double* gradX, double* gradY, double* gradZ);

}  // namespace mirel
