// How long tests wait for what other threads do.
#pragma once

#include <chrono>
#include <thread>

namespace vexcap::test {

/// Far beyond what a loaded machine needs: only a test that has failed waits so long.
inline constexpr std::chrono::seconds patience{60};

/// Waits until a condition holds; false when the patience is over first.
template <typename Condition>
[[nodiscard]] bool eventually(const Condition& holds) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace vexcap::test
