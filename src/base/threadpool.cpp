#include "base/threadpool.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

namespace mirel {

namespace {

// Waking a thread that sleeps takes about as long. Longer waits sleep.
constexpr std::chrono::microseconds awake{30};
constexpr int mostParts = 0xffff;

// Waits until done() for a moment, giving way to others that want to run; whether it was done.
template <typename Done>
bool waitAwake(const Done& done) {
  const auto end = std::chrono::steady_clock::now() + awake;
  do {
    for (int k = 0; k < 64; ++k)
      if (done()) return true;
    std::this_thread::yield();
  } while (std::chrono::steady_clock::now() < end);
  return done();
}

}  // namespace

ThreadPool::ThreadPool(int threads) {
  const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  const int wanted = std::min(threads > 0 ? threads : cores, most);
  helpers.reserve(static_cast<std::size_t>(wanted - 1));
  try {
    for (int n = 1; n < wanted; ++n) helpers.emplace_back([this] { help(); });
  } catch (const std::system_error&) {
    // The system gives no more threads: those that run do the work.
  }
}

ThreadPool::~ThreadPool() {
  ending = true;
  ++begun;
  begun.notify_all();
}

void ThreadPool::run(int parts, const std::function<void(int)>& work) {
  for (int from = 0; from < parts; from += mostParts) {
    const int count = std::min(parts - from, mostParts);
    const std::function<void(int)> shifted = [&](int part) { work(from + part); };
    now = &shifted;
    left = count;
    const std::uint32_t piece = begun + 1;
    ticket = {piece, 0, static_cast<std::uint16_t>(count)};
    begun = piece;
    begun.notify_all();
    while (doNext()) {
    }
    if (!waitAwake([this] { return left == 0; }))
      for (int rest = left; rest != 0; rest = left) left.wait(rest);
    if (failed.exchange(false)) std::rethrow_exception(std::exchange(failure, nullptr));
  }
}

std::function<void(int, const std::function<void(int)>&)> ThreadPool::asParallel() {
  if (helpers.empty()) return {};
  return [this](int parts, const std::function<void(int)>& work) { run(parts, work); };
}

// Does the next part of the work that there is; false if there is none.
bool ThreadPool::doNext() {
  Ticket seen = ticket;
  do {
    if (seen.taken == seen.parts) return false;
  } while (!ticket.compare_exchange_weak(
      seen, {seen.piece, static_cast<std::uint16_t>(seen.taken + 1), seen.parts}));
  // The piece of work lasts until this part is done.
  try {
    if (!failed) (*now)(seen.taken);
  } catch (...) {
    const std::lock_guard lock(failing);
    failed = true;
    if (!failure) failure = std::current_exception();
  }
  if (--left == 0) left.notify_all();
  return true;
}

void ThreadPool::help() {
  for (std::uint32_t seen = 0; !ending;) {
    while (doNext()) {
    }
    waitForWork(seen);
    seen = begun;
  }
}

// Returns when the number of pieces of work is not `seen`.
void ThreadPool::waitForWork(std::uint32_t seen) const {
  if (waitAwake([&] { return begun != seen; })) return;
  begun.wait(seen);
}

}  // namespace mirel
