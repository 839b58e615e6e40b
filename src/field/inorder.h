#pragma once

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace mirel {

/// Work on the volumes 0 .. count - 1 of a series in threads: each takes the next volume, computes
/// it beside the others and waits for its turn to put it down. So volumes are read and written in
/// order, and there are no more of them in memory than threads.
///
///   read(t, buffers)     in the order of t, by one thread at a time
///   compute(buffers)     side by side
///   write(t, buffers)    in the order of t, by one thread at a time
///
/// `Buffers` is the memory of one thread, used again from volume to volume.
/// Errors  what any of the three throws ends the work, and is thrown by `run`.
template <typename Buffers, typename Read, typename Compute, typename Write>
class InOrder {
 public:
  InOrder(int volumes, Read how, Compute work, Write put)
      : count(volumes), read(std::move(how)), compute(std::move(work)), write(std::move(put)) {}

  /// @param threads  0: as many as there are cores; never more than there are volumes.
  void run(int threads) {
    const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    const int wanted = std::clamp(threads > 0 ? threads : cores, 1, std::max(count, 1));
    std::vector<std::thread> helpers;
    helpers.reserve(static_cast<std::size_t>(wanted));
    try {
      for (int n = 1; n < wanted; ++n) helpers.emplace_back([this] { serve(); });
    } catch (const std::exception&) {
      // The system gives no more threads, or no memory for them: those that run do the work.
    }
    serve();
    for (std::thread& helper : helpers) helper.join();
    if (failure) std::rethrow_exception(failure);
  }

 private:
  void serve() {
    try {
      Buffers buffers;
      for (int t = take(buffers); t < count; t = take(buffers)) {
        compute(buffers);
        if (!put(t, buffers)) return;
      }
    } catch (...) {
      const std::lock_guard lock(writing);
      if (!failure) failure = std::current_exception();
      turn.notify_all();
    }
  }

  /// Reads the next volume; its index, or `count` when there are no more.
  int take(Buffers& buffers) {
    const std::lock_guard lock(reading);
    if (next < count) read(next, buffers);
    return next < count ? next++ : count;
  }

  /// False when another thread has failed.
  bool put(int t, const Buffers& buffers) {
    std::unique_lock lock(writing);
    turn.wait(lock, [&] { return failure || written == t; });
    if (failure) return false;
    write(t, buffers);
    ++written;
    turn.notify_all();
    return true;
  }

  const int count;
  Read read;
  Compute compute;
  Write write;

  std::mutex reading;
  int next = 0;  // guarded by reading

  std::mutex writing;  // guards all that follows
  std::condition_variable turn;
  int written = 0;
  std::exception_ptr failure;
};

/// The same in one call.
template <typename Buffers, typename Read, typename Compute, typename Write>
void inOrder(int volumes, int threads, Read read, Compute compute, Write write) {
  InOrder<Buffers, Read, Compute, Write>(volumes, std::move(read), std::move(compute),
                                         std::move(write))
      .run(threads);
}

}  // namespace mirel
