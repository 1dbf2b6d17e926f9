#include "platform/fake/allocations.h"

#include <cerrno>

#if defined(__has_feature)
#define VEX_HAS_FEATURE(x) __has_feature(x)
#else
#define VEX_HAS_FEATURE(x) 0
#endif
#define VEX_EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

thread_local size_t counted = 0;

}  // namespace

size_t vexcap::allocations() { return counted; }

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || VEX_HAS_FEATURE(address_sanitizer) || \
    VEX_HAS_FEATURE(thread_sanitizer)

// A sanitizer has taken the allocator's place, and tells of each allocation here.
VEX_EXPORTED void __sanitizer_malloc_hook(const volatile void*, size_t) { ++counted; }

#else

// Every function of the C library that allocates; operator new ends here, too.
extern "C" void* __libc_malloc(size_t);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);
extern "C" void* __libc_memalign(size_t, size_t);

VEX_EXPORTED void* malloc(size_t size) noexcept {
    ++counted;
    return __libc_malloc(size);
}
VEX_EXPORTED void* calloc(size_t number, size_t size) noexcept {
    ++counted;
    return __libc_calloc(number, size);
}
VEX_EXPORTED void* realloc(void* memory, size_t size) noexcept {
    ++counted;
    return __libc_realloc(memory, size);
}
VEX_EXPORTED void* aligned_alloc(size_t alignment, size_t size) noexcept {
    ++counted;
    return __libc_memalign(alignment, size);
}
VEX_EXPORTED int posix_memalign(void** memory, size_t alignment, size_t size) noexcept {
    ++counted;
    *memory = __libc_memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}

#endif
