// What runs one input of a fuzz target; called by libFuzzer, or by replay.cpp for files.
#ifndef LUTC_TESTS_FUZZ_TARGET_H
#define LUTC_TESTS_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif
