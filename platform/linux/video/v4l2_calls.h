// What the video devices ask of the system's kernel.
#pragma once

#include <poll.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <utility>

#include "base/status.h"
#include "base/text.h"

namespace vexcap {

/// The system calls of a video device. Each gives 0, or the system's error number. Any thread.
struct V4l2Calls {
    virtual ~V4l2Calls() = default;
    /// For reading and writing, never waiting.
    virtual int Open(const std::string& path, int& fd) = 0;
    virtual void Close(int fd) = 0;
    virtual int Control(int fd, unsigned long request, void* argument) = 0;
    /// Shared memory of the device, for reading and writing.
    virtual int Map(int fd, size_t length, off_t offset, void*& memory) = 0;
    virtual void Unmap(void* memory, size_t length) = 0;
    virtual int Poll(std::span<pollfd> watched, int milliseconds) = 0;
    /// Steady clock, 100-nanosecond units: the one that frames are stamped with.
    virtual int64_t Now() = 0;
};

/// The kernel itself.
V4l2Calls& systemV4l2Calls();

/// As statusFromErrno, but a device that went away is VEX_E_DEVICE_LOST.
Status v4l2Status(int error);

/// A list that is longer than this comes from a driver that does not know its end.
inline constexpr uint32_t v4l2LongestList = 512;

/// A text in a field of a driver, which need not end it.
template <size_t room>
std::u16string v4l2Text(const uint8_t (&field)[room]) {
    const auto* const text = reinterpret_cast<const char*>(field);
    return toUtf16({text, ::strnlen(text, room)});
}

/// An open node. Any thread may make calls while it stays.
class V4l2Node final {
public:
    static Result<V4l2Node> open(V4l2Calls& calls, const std::string& path);
    V4l2Node(V4l2Node&& other) noexcept : calls(other.calls), fd(std::exchange(other.fd, -1)) {}
    V4l2Node& operator=(V4l2Node&&) = delete;
    ~V4l2Node() {
        if (fd >= 0) calls.Close(fd);
    }
    V4l2Calls& system() const { return calls; }
    int descriptor() const { return fd; }
    /// The error number, 0 when done. A call that a signal broke off is made again.
    int Control(unsigned long request, void* argument) const;

private:
    V4l2Node(V4l2Calls& system, int opened) : calls(system), fd(opened) {}
    V4l2Calls& calls;
    int fd;
};

}  // namespace vexcap
