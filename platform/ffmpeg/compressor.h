// The compressors of libavcodec that an AVI file can hold.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/media.h"

namespace vexcap::ffmpeg {

/// Those whose encoder is there and opens, in the order in which a user sees them. Opens each of them once.
std::vector<Compressor> findCompressors();

/// E_INVALIDARG for a name that no compressor has, for a quality that is no number from 0 to 1, and for a size that the
/// codec cannot take: H.264 and Xvid want even sides, and each codec has a longest side: MPEG-4 and its kin 8191
/// pixels, H.264 16384, MJPEG 65500, the others 65535. An interval of 0 or less counts as 1/25 second.
///
/// MJPEG, MPEG-4 and their kin work with one fixed quantiser: 31 at quality 0, the codec's finest at 1, the same factor
/// from step to step between them. H.264 has a constant rate factor of 40 at 0 and 12 at 1. The lossless ones have
/// nothing to choose. No compressor puts a picture behind a later one, since an AVI file has no place to tell it; a key
/// frame begins about every second.
Result<std::unique_ptr<ICompressor>> openCompressor(std::u16string_view displayName,
                                                    const CompressorSettings& settings);

}  // namespace vexcap::ffmpeg
