// The way from a context to its source.
#pragma once

#include <vexcap/records.h>

#include <vector>

#include "engine/context_state.h"

namespace vexcap {

/// One of the four ways to a source: camera library, network library, media reader, media graph. A context has the one
/// that its device needs; every action goes through it. Host's thread.
class Road {
public:
    explicit Road(ContextState& context) : state(context) {}
    virtual ~Road() = default;

    /// Opens the source; one that an earlier start left open is closed first.
    virtual Status OpenSource() = 0;
    virtual bool HasSource() const = 0;
    /// Closes it; no callback comes any more.
    virtual void CloseSource() = 0;

    /// Makes the preview sink and whatever stands between it and the source.
    virtual Status CreatePreviewSink() = 0;
    /// Tells the sink the size of its frames, and the context its own.
    virtual Status ConnectPreviewSink() = 0;
    /// Makes the still path where the source has one; a failure leaves the preview without stills.
    virtual void BuildStillPath() = 0;

    /// Lets frames come.
    virtual Status Run() = 0;
    /// No callback comes once it returned.
    virtual Status Halt() = 0;

    /// True while a start that failed is tried again: for 8 seconds where the host asked for it, and never on a camera.
    bool MayRetryStart() const {
        constexpr uint32_t milliseconds = 8000;
        return state.retryStart && !state.cameraSource &&
               state.engine.platform->clock.Tick() - state.startTick < milliseconds;
    }
    /// The pause between two tries.
    void PauseBeforeRetry() const { state.engine.platform->clock.Sleep(20); }

    /// Asked after a failure: did the source say that it was pulled out?
    virtual bool SourceRemoved() { return false; }

    /// Goes from one play state to another; false where this road does not, or the source refused.
    virtual bool ChangeState(uint32_t from, uint32_t to) = 0;
    /// Position in a file, 100-nanosecond units.
    virtual void SetPosition(int64_t) {}
    /// -1 where there is none.
    virtual int64_t Position() { return -1; }

    /// Does the preview have this size already? `size` and what it means are told at vexcap_set_esize.
    virtual bool SizeIsSet(uint32_t) { return false; }
    /// Sets the size of preview or stills; the preview stands still but for a camera's stills.
    virtual void SetSize(uint32_t, bool) {}

    /// Final size of a frame, after region of interest, binning and rotation.
    virtual Status FinalSize(uint32_t& width, uint32_t& height) = 0;
    /// Frames a second that the source can give as it is set now, 1 to 1023.
    virtual uint32_t LargestFrameRate() = 0;
    /// Frames, milliseconds they took, and frames since the start.
    virtual Status FrameRate(uint32_t& frames, uint32_t& milliseconds, uint32_t& total) = 0;
    /// Count of preview or still sizes, negative when it cannot be told; the records are filled when it is above 0.
    virtual int32_t Capabilities(std::vector<vex_capability>& out) = 0;
    virtual int32_t StillCapabilities(std::vector<vex_capability>& out) = 0;
    /// What frames bring beside the display picture, VEX_GRAB_...
    virtual Status PutCapture(uint32_t) { return E_UNEXPECTED; }
    /// Count of still sizes; 0 where no still can be taken.
    virtual uint32_t StillCount() { return 0; }
    /// Asks for one still, which comes to the still sink.
    virtual Status TakeStill(void*) { return E_UNEXPECTED; }
    /// The source's own object for the host, or null.
    virtual void* Handle() = 0;

    /// Begins to hand raw frames to `context.recording`, whose gate token is given.
    virtual Status StartRawFrames(void* token) = 0;
    /// Raw format of the frames to come.
    virtual Status RawFormat(uint32_t& fourcc, uint32_t& depth) = 0;
    /// Once it returned, no raw frame comes.
    virtual void StopRawFrames() = 0;
    /// A recording began (`recording`) or the context is free for the next one.
    virtual void TellRecordingState(bool recording) = 0;
    /// Sets the rates of display frames and repaints to what recording and trigger ask for.
    virtual void RefreshSinkOptions() = 0;

protected:
    ContextState& state;
};

}  // namespace vexcap
