#include "lv2/BlockScratch.h"

#include <new>

namespace veltrax::lv2 {

bool BlockScratch::reserve(uint32_t frames) {
  if (frames <= capacity_) return true;
  std::unique_ptr<double[]> input(new (std::nothrow) double[frames]);
  std::unique_ptr<double[]> output(new (std::nothrow) double[frames]);
  if (!input || !output) return false;
  input_ = std::move(input);
  output_ = std::move(output);
  capacity_ = frames;
  return true;
}

}  // namespace veltrax::lv2
