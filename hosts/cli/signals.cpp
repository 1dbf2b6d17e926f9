#include "hosts/cli/signals.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdint>

#include "hosts/common/failure.h"

namespace vexcap::cli {

namespace {

bool readable(int descriptor, int milliseconds) {
    pollfd one = {descriptor, POLLIN, 0};
    return poll(&one, 1, milliseconds) > 0;
}

void raise(int eventDescriptor) {
    const uint64_t one = 1;
    // Cannot fail: the counter is far from its end.
    [[maybe_unused]] const ssize_t written = write(eventDescriptor, &one, sizeof one);
}

}  // namespace

Signals::Signals() {
    signal(SIGPIPE, SIG_IGN);
    sigset_t caught;
    sigemptyset(&caught);
    sigaddset(&caught, SIGINT);
    sigaddset(&caught, SIGTERM);
    // Ignored by nohup, which must keep its word.
    struct sigaction hangUp;
    if (sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler != SIG_IGN) sigaddset(&caught, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &caught, nullptr);
    source = signalfd(-1, &caught, SFD_CLOEXEC);
    asked = eventfd(0, EFD_CLOEXEC);
    quit = eventfd(0, EFD_CLOEXEC);
    if (source < 0 || asked < 0 || quit < 0) throw Failure(exitFailure, "out of file descriptors");
    listener = std::thread([this] { Listen(); });
}

Signals::~Signals() {
    raise(quit);
    listener.join();
    close(source);
    close(asked);
    close(quit);
}

bool Signals::Asked() const { return readable(asked, 0); }

void Signals::Listen() {
    for (int count = 0;;) {
        pollfd both[2] = {{source, POLLIN, 0}, {quit, POLLIN, 0}};
        if (poll(both, 2, -1) < 0) continue;
        if (both[1].revents) return;
        // Two that wait together count as two.
        signalfd_siginfo news[2];
        const ssize_t bytes = read(source, news, sizeof news);
        if (bytes > 0) count += static_cast<int>(bytes / ssize_t{sizeof news[0]});
        if (count > 1) {
            constexpr char text[] = "\nvexcap: aborted\n";
            [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, sizeof text - 1);
            _exit(exitAborted);
        }
        raise(asked);
    }
}

}  // namespace vexcap::cli
