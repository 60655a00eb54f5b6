#include "property.h"

/// What libFuzzer calls, in each of the programs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zt::check({reinterpret_cast<const char*>(data), size});
  return 0;
}
