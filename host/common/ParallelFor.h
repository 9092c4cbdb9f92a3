// Runs fn(0) .. fn(count - 1) on up to `threads` threads (the calling
// thread included) and rethrows the first exception any call threw.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace veltrax::host {

// CPUs this process may run on (its affinity mask), at least 1.
unsigned usableCpuCount();

template <typename Fn>
void parallelFor(size_t count, unsigned threads, Fn&& fn) {
  std::atomic<size_t> next{0};
  std::exception_ptr failure;
  std::mutex failureLock;
  auto work = [&] {
    for (size_t i; (i = next.fetch_add(1)) < count;) {
      try {
        fn(i);
      } catch (...) {
        std::lock_guard<std::mutex> lock(failureLock);
        if (!failure) failure = std::current_exception();
      }
    }
  };
  const size_t helpers = std::min<size_t>(std::max(threads, 1u), count);
  std::vector<std::thread> workers;
  for (size_t t = 1; t < helpers; ++t) workers.emplace_back(work);
  work();
  for (auto& worker : workers) worker.join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace veltrax::host
