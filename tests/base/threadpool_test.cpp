#include "base/threadpool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace mirel {

TEST(ThreadPool, DoesEachPartOnce) {
  for (const int threads : {1, 2, 3, 5}) {
    ThreadPool pool(threads);
    EXPECT_EQ(pool.threads(), threads);
    for (const int parts : {0, 1, 2, 7, 1000, 70000}) {
      std::vector<int> done(static_cast<std::size_t>(parts), 0);
      pool.run(parts, [&](int part) { ++done[static_cast<std::size_t>(part)]; });
      EXPECT_EQ(done, std::vector<int>(done.size(), 1)) << threads << " " << parts;
    }
  }
}

TEST(ThreadPool, DoesOnePieceOfWorkAfterTheOther) {
  ThreadPool pool(4);
  std::atomic<int> sum = 0;
  for (int piece = 0; piece < 2000; ++piece) {
    pool.run(3, [&](int part) { sum += part; });
    ASSERT_EQ(sum, 3 * (piece + 1));
  }
}

TEST(ThreadPool, TellsItsCallerWhatAPartThrowsAndGoesOn) {
  for (const int threads : {1, 3}) {
    ThreadPool pool(threads);
    EXPECT_THROW(pool.run(50,
                          [](int part) {
                            if (part == 20) throw std::runtime_error("part 20");
                          }),
                 std::runtime_error);
    std::atomic<int> done = 0;
    pool.run(50, [&](int) { ++done; });
    EXPECT_EQ(done, 50);
  }
}

TEST(ThreadPool, TakesAsManyAsThereAreCoresAndNoMoreThanGain) {
  EXPECT_GE(ThreadPool(0).threads(), 1);
  EXPECT_EQ(ThreadPool(1000).threads(), ThreadPool::most);
  EXPECT_FALSE(ThreadPool(1).asParallel());
}

}  // namespace mirel
