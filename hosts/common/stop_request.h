/// The wish of a user to end what a host waits for.
#pragma once

namespace vexcap::host {

class StopRequest {
public:
    virtual ~StopRequest() = default;
    /// Readable from the request on, for poll; -1 where none ever comes.
    virtual int Descriptor() const = 0;
    /// True from the request on. Any thread.
    virtual bool Asked() const = 0;
};

/// Never comes.
class NoStopRequest final : public StopRequest {
public:
    int Descriptor() const override { return -1; }
    bool Asked() const override { return false; }
};

}  // namespace vexcap::host
