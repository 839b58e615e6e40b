#include "phase/turnsets.h"

#include <utility>

namespace mirel {

TurnSets::TurnSets(int count) {
  places.reserve(static_cast<std::size_t>(count));
  for (int n = 0; n < count; ++n) places.push_back({n, 0, 1});
}

// Halves the way to the root as it goes, as short ways keep it fast.
int TurnSets::rootOf(int place) {
  auto at = [this](int n) -> Place& { return places[static_cast<std::size_t>(n)]; };
  while (at(place).parent != place) {
    Place& here = at(place);
    const Place& above = at(here.parent);
    if (above.parent != here.parent) {
      here.turns += above.turns;
      here.parent = above.parent;
    }
    place = here.parent;
  }
  return place;
}

int TurnSets::turnsOf(int place) {
  int turns = 0;
  for (const int root = rootOf(place); place != root;) {
    const Place& here = places[static_cast<std::size_t>(place)];
    turns += here.turns;
    place = here.parent;
  }
  return turns;
}

int TurnSets::sizeOf(int place) { return places[static_cast<std::size_t>(rootOf(place))].size; }

void TurnSets::join(int a, int b, int turns) {
  int rootA = rootOf(a), rootB = rootOf(b);
  if (rootA == rootB) return;
  // turnsOf(b) + moved = turnsOf(a) + turns
  int moved = turnsOf(a) + turns - turnsOf(b);
  if (sizeOf(rootA) < sizeOf(rootB)) {
    std::swap(rootA, rootB);
    moved = -moved;
  }
  Place& upper = places[static_cast<std::size_t>(rootA)];
  Place& lower = places[static_cast<std::size_t>(rootB)];
  lower.parent = rootA;
  lower.turns = moved;
  upper.size += lower.size;
}

}  // namespace mirel
