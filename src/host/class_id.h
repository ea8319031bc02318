// How the host names a class: a super class (the family: geometry, camera,
// material...) and a two-word class id within it.
#pragma once

#include <cstdint>

namespace kvl::host {

using SClass_ID = uint32_t;

class Class_ID {
 public:
  Class_ID(uint32_t a = 0, uint32_t b = 0) : a_(a), b_(b) {}
  uint32_t PartA() const { return a_; }
  uint32_t PartB() const { return b_; }
  bool operator==(const Class_ID&) const = default;

 private:
  uint32_t a_, b_;
};

}  // namespace kvl::host
