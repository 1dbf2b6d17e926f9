// What the fuzzer calls of the camera library that answers with its bytes. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

#define FUZZED_API __attribute__((visibility("default")))

/// The answers from now on. The memory stays the caller's and must live as long as answers are taken.
FUZZED_API void fuzzed_input(const uint8_t* data, size_t size);

/// The next byte of the answers, 0 when they are used up.
FUZZED_API uint8_t fuzzed_byte(void);

/// Makes a few callbacks of the stream that was started last, whether it still runs or not.
FUZZED_API void fuzzed_deliver(void);

/// Forgets the callbacks of the stream.
FUZZED_API void fuzzed_forget(void);

}  // extern "C"
