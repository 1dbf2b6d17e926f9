// The multiplexer of recordings in a media graph: one video stream becomes an AVI file.
#pragma once

#include <memory>

#include "graph/base_filter.h"
#include "platform/file.h"
#include "recording/avi_file.h"
#include "recording/file_writer.h"

namespace vexcap {

/// What became of the frames that came to a multiplexer since its file was made.
struct AviMuxCounts {
    uint32_t written = 0;        ///< In the file.
    uint32_t failures = 0;       ///< Not in the file, since they could not be written.
    uint64_t bytes = 0;          ///< Of the frames in the file.
    HRESULT lastFailure = S_OK;  ///< Also one of the file's end, which costs no frame.
};

/// Input "Input 01": FORMAT_VideoInfo, either RGB24 bottom-up, or a subtype of a four-character code that biCompression
/// has, too; what stands behind the bitmap header goes into the file. Output "AVI Out", to a CFileWriter, which says
/// where the file is.
///
/// The file is made when the graph leaves the stopped state and finished at the end of the stream or at the stop,
/// whichever comes first; a filter in front that holds pictures back (IDelayedStream) is asked for them before. Until
/// then, and whatever fails, the frames that were written can be read. A frame that cannot be written is lost, the next
/// one is tried, and the graph hears EC_ERRORABORT with the first code, once a recording.
///
/// When the times of the frames span more than a second, the finished file has the frame rate that they tell. Else it
/// has that of the stream's type, 30 a second where that is unknown.
class CAviMux final : public CBaseFilter {
public:
    CAviMux();

    size_t GetPinCount() override { return 2; }
    CBasePin* GetPin(size_t index) override;
    CBaseInputPin& Input();
    CBaseOutputPin& Output();
    /// Of the file that is being made, or of the last one. Any thread.
    AviMuxCounts Counts() VEX_EXCLUDES(writing);

    /// VFW_E_NOT_CONNECTED for an input whose output leads nowhere; the file writer's and the file system's codes.
    HRESULT Pause() override;
    HRESULT Stop() override;

private:
    class InputPin;
    class OutputPin;
    /// Times of the frames in the file.
    struct Span {
        int64_t first = 0;
        int64_t last = 0;
        uint32_t frames = 0;
    };

    ~CAviMux() override;
    Status OpenFile() VEX_EXCLUDES(writing);
    HRESULT Receive(CMediaSample& sample) VEX_EXCLUDES(writing);
    HRESULT EndOfStream() VEX_EXCLUDES(writing);
    void FinishFile() VEX_EXCLUDES(writing);
    Status Write(CMediaSample& sample) VEX_REQUIRES(writing);
    Status CloseFile() VEX_REQUIRES(writing);
    uint32_t Elapsed() const VEX_REQUIRES(writing);
    /// The code to tell the graph of; S_OK when it has heard of one before.
    Status FirstFailure(Status failure) VEX_REQUIRES(writing);

    const std::unique_ptr<InputPin> input;
    const std::unique_ptr<OutputPin> output;

    Mutex writing VEX_ACQUIRED_AFTER(interfaceLock);
    FilePlace place VEX_GUARDED_BY(writing);
    size_t frameBytes VEX_GUARDED_BY(writing) = 0;  // of each frame; 0 for compressed ones
    Span span VEX_GUARDED_BY(writing);
    AviMuxCounts counts VEX_GUARDED_BY(writing);
    bool failureTold VEX_GUARDED_BY(writing) = false;
    std::unique_ptr<AviFile> file VEX_GUARDED_BY(writing);  // null outside of a recording
};

}  // namespace vexcap
