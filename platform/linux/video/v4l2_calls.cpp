#include "platform/linux/video/v4l2_calls.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "platform/linux/errno_status.h"
#include "platform/video_devices.h"

namespace vexcap {
namespace {

int errorOf(int result) { return result < 0 ? errno : 0; }

struct SystemCalls final : V4l2Calls {
    int Open(const std::string& path, int& fd) override {
        return errorOf(fd = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    }
    void Close(int fd) override { ::close(fd); }
    int Control(int fd, unsigned long request, void* argument) override {
        return errorOf(::ioctl(fd, request, argument));
    }
    int Map(int fd, size_t length, off_t offset, void*& memory) override {
        void* const mapped = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, offset);
        if (mapped == MAP_FAILED) return errno;
        memory = mapped;
        return 0;
    }
    void Unmap(void* memory, size_t length) override { ::munmap(memory, length); }
    int Poll(std::span<pollfd> watched, int milliseconds) override {
        return errorOf(::poll(watched.data(), watched.size(), milliseconds));
    }
    int64_t Now() override {
        timespec time = {};
        ::clock_gettime(CLOCK_MONOTONIC, &time);
        return int64_t(time.tv_sec) * 10'000'000 + time.tv_nsec / 100;
    }
};

}  // namespace

V4l2Calls& systemV4l2Calls() {
    static SystemCalls calls;
    return calls;
}

Status v4l2Status(int error) { return error == ENODEV ? Status(VEX_E_DEVICE_LOST) : statusFromErrno(error); }

Result<V4l2Node> V4l2Node::open(V4l2Calls& calls, const std::string& path) {
    for (;;) {
        int fd = -1;
        const int error = calls.Open(path, fd);
        if (!error) return V4l2Node(calls, fd);
        if (error != EINTR) return v4l2Status(error);
    }
}

int V4l2Node::Control(unsigned long request, void* argument) const {
    for (;;)
        if (const int error = calls.Control(fd, request, argument); error != EINTR) return error;
}

}  // namespace vexcap
