// Sources: a filter whose pins have a thread that makes or hands on samples.
#pragma once

#include <vector>

#include "graph/base_filter.h"
#include "graph/worker.h"

namespace vexcap {

class CSourceStream;

/// A filter of source pins. Derived classes make and own their pins.
class CSource : public CBaseFilter {
public:
    size_t GetPinCount() override { return pins.size(); }
    CBasePin* GetPin(size_t index) override;

protected:
    friend class CSourceStream;
    std::vector<CSourceStream*> pins;  // add themselves
};

/// An output pin with a worker. The worker knows five commands; between a run and a stop it is in
/// DoBufferProcessingLoop, which watches for commands itself.
class CSourceStream : public CAMThread, public CBaseOutputPin {
public:
    enum Command : uint32_t { CMD_INIT = 0, CMD_PAUSE = 1, CMD_RUN = 2, CMD_STOP = 3, CMD_EXIT = 4 };

    /// Commits the pool, makes the thread, sends init and pause. Nothing to do for a pin that is not connected.
    HRESULT Active() override;
    /// Sends stop and exit and waits for the thread's end.
    HRESULT Inactive() override;

protected:
    CSourceStream(CSource& owner, std::u16string_view pinName);
    ~CSourceStream() override = default;

    HRESULT ThreadProc() override;
    virtual HRESULT OnThreadCreate() { return S_OK; }
    virtual HRESULT OnThreadDestroy() { return S_OK; }
    /// Delivers until a stop comes (S_FALSE, the command is left for ThreadProc), or until it has nothing more to give.
    virtual HRESULT DoBufferProcessingLoop() = 0;
};

}  // namespace vexcap
