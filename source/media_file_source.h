// The source of a media file.
#pragma once

#include <memory>

#include "graph/source.h"
#include "platform/media.h"

namespace vexcap {

/// One pin, "Output", whose worker decodes the file into samples of RGB24, rows bottom-up. It reads ahead as far as
/// downstream has buffers. Times are counted from the place of the last seek, which is told by NewSegment; behind the
/// last picture comes the end of the stream. A failure of the file is EC_ERRORABORT with its code, and ends the stream.
/// A filter that was stopped goes on with the picture that it handed on last, or that it was seeked to.
///
/// The pin has IMediaSeeking, for any thread and in every state; a seek on the way waits for the reader. Its position
/// is that of the picture handed on last. A file that cannot seek answers SetPosition with E_NOTIMPL; a negative
/// position is E_INVALIDARG.
class CMediaFileSource final : public CSource {
public:
    explicit CMediaFileSource(std::unique_ptr<IMediaReader> reader);

private:
    class OutputPin;

    ~CMediaFileSource() override;

    const std::unique_ptr<OutputPin> pin;
};

}  // namespace vexcap
