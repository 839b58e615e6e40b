#pragma once

#include <vector>

namespace mirel {

/// Places in sets, in each of which all phases are known but for one number of whole turns that
/// they have in common: disjoint sets with an offset along every edge (R. E. Tarjan, J. ACM 22:215,
/// 1975). At first every place is a set of its own.
class TurnSets {
 public:
  explicit TurnSets(int places);

  /// One place of the set, the same for all of its places.
  int rootOf(int place);
  /// Turns to add to the phase at a place, beside those of its root.
  int turnsOf(int place);
  int sizeOf(int place);
  /// Makes one set of two, in which b's turns are `turns` more than a's. The larger set keeps
  /// its root and its turns. Nothing when both are of one set.
  void join(int a, int b, int turns);

 private:
  struct Place {
    int parent;
    int turns;  ///< beyond the parent's
    int size;   ///< of the set, at its root
  };
  std::vector<Place> places;
};

}  // namespace mirel
