// A libFuzzer program for one target, chosen when it is compiled.

#include <cstddef>
#include <cstdint>

#include "fuzz/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kestrane::fuzz::KESTRANE_FUZZ_TARGET(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
