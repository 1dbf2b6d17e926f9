// Whether this build runs under a sanitizer, which makes everything about ten times slower.
#pragma once

namespace vexcap::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool underSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool underSanitizer = true;
#else
constexpr bool underSanitizer = false;
#endif
#else
constexpr bool underSanitizer = false;
#endif

}  // namespace vexcap::test
