#include "host/common/ParallelFor.h"

#include <sched.h>

namespace veltrax::host {

unsigned usableCpuCount() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0) return std::max(1, CPU_COUNT(&set));
  return std::max(1u, std::thread::hardware_concurrency());
}

}  // namespace veltrax::host
