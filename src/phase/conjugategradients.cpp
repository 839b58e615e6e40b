#include "phase/conjugategradients.h"

namespace mirel {

namespace {

// a' D^-1 b; without D where it is null.
double dot(const Volume<double>& a, const Volume<double>& b, const Volume<double>* diagonal) {
  double sum = 0;
  for (int n = 0; n < a.size(); ++n)
    sum += a.data()[n] * b.data()[n] / (diagonal == nullptr ? 1.0 : diagonal->data()[n]);
  return sum;
}

}  // namespace

int conjugateGradients(const std::function<void(const Volume<double>&, Volume<double>&)>& product,
                       const Volume<double>& diagonal, const Volume<double>& rhs, Volume<double>& x,
                       double tolerance, int most) {
  Volume<double> image(x.dimensions(), 0.0), direction(x.dimensions(), 0.0);
  product(x, image);
  Volume<double> residual = rhs - image;
  const double goal = tolerance * tolerance * dot(rhs, rhs, &diagonal);
  double size = dot(residual, residual, &diagonal), last = 1;
  int steps = 0;
  for (; steps < most && size > goal; ++steps) {
    const double keep = steps == 0 ? 0 : size / last;
    for (int n = 0; n < x.size(); ++n)
      direction.data()[n] = residual.data()[n] / diagonal.data()[n] + keep * direction.data()[n];
    product(direction, image);
    const double bend = dot(direction, image, nullptr);
    if (!(bend > 0)) break;  // rounding leaves no descent
    const double length = size / bend;
    for (int n = 0; n < x.size(); ++n) {
      x.data()[n] += length * direction.data()[n];
      residual.data()[n] -= length * image.data()[n];
    }
    last = size;
    size = dot(residual, residual, &diagonal);
  }
  return steps;
}

}  // namespace mirel
