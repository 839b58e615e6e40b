#include "phase/conjugategradients.h"

namespace mirel {

namespace {

double dot(const Volume<double>& a, const Volume<double>& b) {
  double sum = 0;
  for (int n = 0; n < a.size(); ++n) sum += a.data()[n] * b.data()[n];
  return sum;
}

// v' W v with W on the diagonal.
double squareOf(const Volume<double>& v, const Volume<double>& weights) {
  double sum = 0;
  for (int n = 0; n < v.size(); ++n) sum += v.data()[n] * v.data()[n] * weights.data()[n];
  return sum;
}

}  // namespace

int conjugateGradients(const std::function<void(const Volume<double>&, Volume<double>&)>& product,
                       const Volume<double>& diagonal, const Volume<double>& rhs, Volume<double>& x,
                       double tolerance, int most) {
  Volume<double> image(x.dimensions(), 0.0), direction(x.dimensions(), 0.0);
  product(x, image);
  Volume<double> residual = rhs - image;
  Volume<double> inverse(diagonal.dimensions(), 1.0);
  inverse /= diagonal;
  const double goal = tolerance * tolerance * squareOf(rhs, inverse);
  double size = squareOf(residual, inverse), last = 1;
  int steps = 0;
  for (; steps < most && size > goal; ++steps) {
    const double keep = steps == 0 ? 0 : size / last;
    for (int n = 0; n < x.size(); ++n)
      direction.data()[n] = residual.data()[n] * inverse.data()[n] + keep * direction.data()[n];
    product(direction, image);
    const double bend = dot(direction, image);
    if (!(bend > 0)) break;  // rounding leaves no descent
    const double length = size / bend;
    for (int n = 0; n < x.size(); ++n) {
      x.data()[n] += length * direction.data()[n];
      residual.data()[n] -= length * image.data()[n];
    }
    last = size;
    size = squareOf(residual, inverse);
  }
  return steps;
}

}  // namespace mirel
