#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace mirel {

/// An allocator of memory that starts where the widest register may: loads and stores of whole
/// registers at multiples of their size then never touch two cache lines.
template <typename T>
struct RegisterAligned {
  using value_type = T;
  static constexpr std::align_val_t alignment{64};

  RegisterAligned() = default;
  template <typename U>
  explicit RegisterAligned(const RegisterAligned<U>&) {}

  T* allocate(std::size_t n) { return static_cast<T*>(::operator new(n * sizeof(T), alignment)); }
  void deallocate(T* p, std::size_t) { ::operator delete(p, alignment); }

  bool operator==(const RegisterAligned&) const { return true; }
};

using AlignedFloats = std::vector<float, RegisterAligned<float>>;
using AlignedDoubles = std::vector<double, RegisterAligned<double>>;

}  // namespace mirel
