#include "head.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <glm/geometric.hpp>
#include <list>
#include <stdexcept>
#include <string>

#include "vdm/vdm.h"

namespace mirel {

namespace {

// From -1 to 1 across the field of view.
glm::vec3 centred(glm::ivec3 p, glm::ivec3 dims) {
  return (glm::vec3(p) + 0.5f) / glm::vec3(dims) * 2.0f - 1.0f;
}

// A scalp-like rim, darker and brighter tissue, and folds.
float headAt(glm::vec3 p) {
  const float r = glm::length(p / glm::vec3(0.78f, 0.88f, 0.92f));
  if (r > 1) return 4 + 3 * std::sin(40 * p.x) * std::sin(37 * p.y);
  const float rim = r > 0.93f ? 500.0f : 0.0f;
  const float folds = std::sin(23 * p.x + 5 * p.z) * std::sin(19 * p.y) * std::sin(17 * p.z + 2);
  const float ventricles = std::exp(-30 * glm::dot(p, p));
  return 480 + rim + 180 * folds + 700 * ventricles;
}

float fieldAt(glm::vec3 p) {
  return 2.8f *
             std::exp(-6 * glm::dot(p - glm::vec3(0, 0.6f, -0.4f), p - glm::vec3(0, 0.6f, -0.4f))) -
         1.7f * std::exp(-9 * glm::dot(p - glm::vec3(0.4f, -0.3f, -0.5f),
                                       p - glm::vec3(0.4f, -0.3f, -0.5f))) +
         0.4f * p.y;
}

}  // namespace

HeadPair makeHead(glm::ivec3 dims) {
  Volume<float> truth(dims), field(dims);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) {
        const glm::vec3 p = centred({x, y, z}, dims);
        truth.at(x, y, z) = headAt(p);
        field.at(x, y, z) = fieldAt(p) * static_cast<float>(dims.y) / 104.0f;
      }
  HeadPair pair{Volume<float>(dims), Volume<float>(dims), field};
  // Stretching thins out the signal: the observed images carry the field's derivative.
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) {
        const float row = static_cast<float>(y), shift = field.at(x, y, z);
        const float slope = y + 1 < dims.y ? field.at(x, y + 1, z) - shift : 0.0f;
        const float fx = static_cast<float>(x), fz = static_cast<float>(z);
        pair.ap.at(x, y, z) = truth.linear(fx, row - shift, fz) * (1 - slope);
        pair.pa.at(x, y, z) = truth.linear(fx, row + shift, fz) * (1 + slope);
      }
  return pair;
}

glm::ivec3 taskSize() {
  glm::ivec3 size(104, 104, 72);
  const char* wanted = std::getenv("MIREL_BENCH_SIZE");
  if (wanted && (std::sscanf(wanted, "%dx%dx%d", &size.x, &size.y, &size.z) != 3 || size.x < 4 ||
                 size.y < 4 || size.z < 4 || size.z > size.x))
    throw std::runtime_error("MIREL_BENCH_SIZE is " + std::string(wanted) +
                             ", expected for example 104x104x72 (z not above x, at least 4).");
  return size;
}

glm::ivec3 kernelSize() { return taskSize() / 2; }

const HeadPair& headOf(glm::ivec3 dims) {
  static std::list<HeadPair> heads;
  for (const HeadPair& head : heads)
    if (head.ap.dimensions() == dims) return head;
  heads.push_back(makeHead(dims));
  return heads.back();
}

}  // namespace mirel
