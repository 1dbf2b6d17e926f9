// Pictures turned by any angle.
#pragma once

#include <vexcap/records.h>

#include <cstdint>

namespace vexcap {

/// A picture of 24 bits in memory: its header with its pixels right behind it, rows padded to four bytes. biWidth and
/// biHeight are above 0.
using Dib = uint8_t;

/// Size of the picture turned by an angle in degrees. Within 0.01 of 0, 90, 180 and 270 degrees the sides stay or
/// change places; 360 is none of these.
void RotatedSize(int32_t& outWidth, int32_t& outHeight, const Dib* dib, float angleDegrees);

/// Bytes of the turned picture at the DIB stride of `bytesPerPixel`; 0 when there are none, or more than 4 GiB.
uint64_t rotatedBytes(const Dib* dib, float angleDegrees, uint32_t bytesPerPixel);

/// Turns the picture into `destination` of rotatedBytes, or into zeroed memory of its own from malloc when that is
/// null, and writes the header of what came out. Null, with nothing written, where memory is short and for a null dib.
///
/// Pixels are written 3 bytes apart whatever `bytesPerPixel` (3 or 4) says. At 0, 90, 180 and 270 degrees it gives the
/// stride of the rows, whose rest is left as it was. At other angles rows, too, have the stride of 3 bytes a pixel, and
/// everything else of the memory becomes black, as does what lies outside of the picture.
uint8_t* RotateDib(vex_bitmap_header& outHeader, uint8_t* destination, const Dib* dib, float angleDegrees,
                   uint32_t bytesPerPixel);

}  // namespace vexcap
