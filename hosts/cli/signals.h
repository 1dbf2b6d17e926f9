/// Ctrl-C and its kin.
#pragma once

#include <thread>

#include "hosts/cli/host.h"
#include "hosts/common/stop_request.h"

namespace vexcap::cli {

/// Turns SIGINT, SIGTERM and, unless it was ignored, SIGHUP into a wish to end; the second one ends the process at
/// once with exitAborted, even while the main thread waits for a disk or a camera. SIGPIPE is ignored: a reader of the
/// output that went away is no reason to lose a recording.
/// Made before any other thread, which so inherits the blocked signals. One at a time.
class Signals final : public StopRequest {
public:
    Signals();
    ~Signals() override;
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    int Descriptor() const override { return asked; }
    bool Asked() const override;

private:
    void Listen();
    int source = -1;  ///< signalfd
    int asked = -1;   ///< eventfd, written once
    int quit = -1;    ///< eventfd, ends the thread
    std::thread listener;
};

}  // namespace vexcap::cli
