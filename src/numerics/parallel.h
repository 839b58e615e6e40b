#pragma once

#include <algorithm>
#include <functional>
#include <glm/vec3.hpp>

namespace mirel {

/// How work of independent parts is done: calls part(0) .. part(parts - 1), each once, in any order
/// and perhaps several at a time, and returns when none is at work any more. What a part throws is
/// thrown to the caller; parts that had not begun by then may be left out. Empty: one part after
/// the other, in their order.
///
/// So a library that starts no threads runs in those of its caller (ThreadPool). Its results are
/// the same bits in any case, as parts write to places of their own and sums are added up
/// afterwards, in one order. Parts do not start parts.
using Parallel = std::function<void(int parts, const std::function<void(int part)>& work)>;

/// work(from, to) for ranges from .. to - 1 that make up 0 .. count - 1: `atOnce` long, but for the
/// last.
template <typename Work>
void inRanges(const Parallel& parallel, int count, int atOnce, const Work& work) {
  const int parts = (count + atOnce - 1) / atOnce;
  const auto part = [&](int k) { work(k * atOnce, std::min((k + 1) * atOnce, count)); };
  if (parallel && parts > 1) {
    parallel(parts, part);
    return;
  }
  for (int k = 0; k < parts; ++k) part(k);
}

/// How many of `count` pieces with `each` elements are worth being told to another thread: a few
/// microseconds of work.
inline int piecesAtOnce(int each) {
  constexpr int elements = 12000;
  return std::max(elements / std::max(each, 1), 1);
}

/// The same for the slices along z of a volume.
template <typename Work>
void inSlices(const Parallel& parallel, glm::ivec3 dims, const Work& work) {
  inRanges(parallel, dims.z, piecesAtOnce(dims.x * dims.y), work);
}

/// The same for single elements.
template <typename Work>
void inElements(const Parallel& parallel, int count, const Work& work) {
  inRanges(parallel, count, piecesAtOnce(1), work);
}

}  // namespace mirel
