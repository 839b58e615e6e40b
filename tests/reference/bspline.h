#pragma once

/// Cubic B-spline interpolation with zero coefficients beyond the grid. Positions in samples, x
/// fastest; positions that are NaN, at or below -2, or at or above n + 1 give 0.
namespace mirel::reference {

void computeBSplineCoeff1D(double* samples, int n, double* coeff);
void computeBSplineCoeff2D(double* samples, int nx, int ny, double* coeff);
void computeBSplineCoeff3D(double* samples, int nx, int ny, int nz, double* coeff);
void convertToBSplineCoeff2D(double* data, int nx, int ny);
void convertToBSplineCoeff3D(double* data, int nx, int ny, int nz);

void evalBSpline1D(double* coeff, int n, double* x, int m, double* value);
void evalBSplineAndGrad1D(double* coeff, int n, double* x, int m, double* value, double* grad);
void evalBSpline2D(double* coeff, int nx, int ny, double* x, double* y, int m, double* value);
void evalBSplineAndGrad2D(double* coeff, int nx, int ny, double* x, double* y, int m, double* value,
                          double* gradX, double* gradY);
void evalBSpline3D(double* coeff, int nx, int ny, int nz, double* x, double* y, double* z, int m,
                   double* value);
void evalBSplineAndGrad3D(double* coeff, int nx, int ny, int nz, double* x, double* y, double* z,
                          int m, double* value, double* gradX, double* gradY, double* gradZ);

}  // namespace mirel::reference
