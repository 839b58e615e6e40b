#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace mirel {

/// Threads that do parts of one piece of work after the other, the caller among them. They live as
/// long as the pool, and sleep while there is nothing to do, but for the first moment after a piece
/// of work: pieces often follow one another within microseconds.
class ThreadPool {
 public:
  /// @param threads  the caller's included; 0: as many as there are cores. At most `most`, and no
  ///                 more than the system gives.
  explicit ThreadPool(int threads);
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;
  ~ThreadPool();

  /// What waits for the slowest of many threads gains less and less.
  static constexpr int most = 8;

  /// The caller's included.
  int threads() const { return static_cast<int>(helpers.size()) + 1; }

  /// Calls part(0) .. part(parts - 1), each once, in any order and several at a time. Returns when
  /// none is at work any more. For one caller at a time; parts do not call it.
  /// Errors  what a part throws first; parts that had not begun by then are left out.
  void run(int parts, const std::function<void(int part)>& work);
  /// The same as a function, for who knows no pool; empty where the caller is alone. Not for longer
  /// than the pool lives.
  std::function<void(int parts, const std::function<void(int part)>& work)> asParallel();

 private:
  void help();
  bool doNext();
  void waitForWork(std::uint32_t seen) const;

  // The piece of work and its next part: its number, the parts taken and all parts. One word, so
  // that a part is taken of the piece that is meant or not at all; aligned as one word, which clang
  // needs to do without a lock.
  struct alignas(8) Ticket {
    std::uint32_t piece;
    std::uint16_t taken, parts;
  };
  std::atomic<Ticket> ticket{Ticket{0, 0, 0}};
  static_assert(std::atomic<Ticket>::is_always_lock_free);
  const std::function<void(int)>* now = nullptr;  // while parts of it are left
  std::atomic<std::uint32_t> begun{0};            // pieces of work; the end of all counts as one
  std::atomic<int> left{0};                       // parts that are not done yet
  std::atomic<bool> ending{false};

  std::atomic<bool> failed{false};
  std::mutex failing;
  std::exception_ptr failure;  // guarded by failing
  std::vector<std::jthread> helpers;
};

}  // namespace mirel
