// What hosts read of the present picture: whole images and single pixels.
#pragma once

#include <vexcap/types.h>

#include <cstdint>

#include "frame/picture_store.h"
#include "pixel/kernels.h"

namespace vexcap {

/// Bytes that grabImage would write behind the header now; 0 where there is no such picture. The store's lock is held
/// by the caller, here and below.
uint64_t grabBytes(const PictureStore& pictures, uint32_t kind);
/// See IFrameInfo::GetImage.
HRESULT grabImage(const PictureStore& pictures, const PixelKernels& kernels, void* bitmap, int32_t capacity,
                  uint32_t kind);
/// See IFrameInfo::GetPixels; `points` and `values` are there.
int32_t grabPixels(const PictureStore& pictures, const vex_point* points, uint32_t count, uint16_t* values,
                   uint32_t* maximum);

}  // namespace vexcap
