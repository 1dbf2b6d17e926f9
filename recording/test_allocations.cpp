#include "recording/test_allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local size_t counted = 0;

}  // namespace

size_t vexcap::test::allocations() { return counted; }

// Weak, since a sanitizer brings operators of its own; it tells of each allocation by the hook below instead.
__attribute__((weak)) void* operator new(size_t size) {
    ++counted;
    if (void* const memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
__attribute__((weak)) void operator delete(void* memory) noexcept { std::free(memory); }
__attribute__((weak)) void operator delete(void* memory, size_t) noexcept { std::free(memory); }

extern "C" __attribute__((visibility("default"))) void __sanitizer_malloc_hook(const volatile void*, size_t) {
    ++counted;
}
