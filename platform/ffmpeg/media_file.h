// Video files, read through libavformat.
#pragma once

#include <memory>

#include "platform/file.h"
#include "platform/media.h"

namespace vexcap::ffmpeg {

/// Opens the best video stream of a file: whatever libavformat knows by its content, not by its name. All bytes come
/// from this one file: one that refers to others (a playlist, a list of pictures) is refused, and no network is ever
/// asked. The picture's size is that of the first one; later ones of another size are scaled to it. E_FAIL for a file
/// without video, or with none that could be decoded; the file's own code when it cannot be read.
///
/// A picture that its decoder calls damaged is left out. Read gives the file's code when it cannot be read further, and
/// E_FAIL when its layout is lost. Seek works in every file; where a file has no index and no times it decodes
/// from the beginning.
Result<std::unique_ptr<IMediaReader>> openMediaFile(std::unique_ptr<IFile> file);

}  // namespace vexcap::ffmpeg
