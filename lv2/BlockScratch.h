// The two double buffers a float block is converted through: LV2 audio ports
// carry float, the effect processes double. Grow-only: a block allocates only
// when it is longer than every block reserved or seen before.
#pragma once

#include <cstdint>
#include <memory>

namespace veltrax::lv2 {

class BlockScratch {
 public:
  // Makes room for `frames` frames in both buffers. Allocates only when
  // `frames` exceeds the capacity; false (buffers unchanged) if the memory
  // cannot be had. Never throws.
  bool reserve(uint32_t frames);

  uint32_t capacity() const { return capacity_; }
  double* input() { return input_.get(); }
  double* output() { return output_.get(); }

 private:
  std::unique_ptr<double[]> input_;
  std::unique_ptr<double[]> output_;
  uint32_t capacity_ = 0;
};

}  // namespace veltrax::lv2
