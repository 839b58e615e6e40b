#pragma once

namespace mirel {

/// What dumps leave out in the middle of a row.
struct Shown {
  int first, last;  ///< so many entries are shown of each end
};

/// Calls item(i) for every i of 0 .. n-1 that a dump shows, elision() where it leaves some out.
template <typename Item, typename Elision>
void forShown(int n, Shown ends, Item item, Elision elision) {
  for (int i = 0; i < n; ++i) {
    item(i);
    if (i == ends.first - 1 && n > ends.first + ends.last) {
      elision();
      i = n - ends.last - 1;
    }
  }
}

}  // namespace mirel
