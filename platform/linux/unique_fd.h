// A file descriptor with one owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace vexcap {

class UniqueFd final {
public:
    explicit UniqueFd(int owned = -1) : fd(owned) {}
    UniqueFd(UniqueFd&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(fd, other.fd);
        return *this;
    }
    ~UniqueFd() {
        if (fd >= 0) ::close(fd);
    }
    int get() const { return fd; }
    explicit operator bool() const { return fd >= 0; }

private:
    int fd;
};

}  // namespace vexcap
