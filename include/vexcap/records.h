/// Records that cross the boundary. Their sizes and offsets never change.
#ifndef VEXCAP_RECORDS_H
#define VEXCAP_RECORDS_H

#include <vexcap/types.h>

/// Device kinds, `vex_device.kind`.
enum {
    VEX_KIND_CAMERA = 1,         ///< A camera of the camera library.
    VEX_KIND_NETWORK_LIST = 2,   ///< An entry of the network library's list; opened by either library.
    VEX_KIND_VIDEO_INPUT = 3,    ///< A video input device of the system.
    VEX_KIND_FILE = 4,           ///< A media file. Never in a record.
    VEX_KIND_READER = 5,         ///< A broadcast URL.
    VEX_KIND_NETWORK_CAMERA = 6  ///< A network camera by name.
};

/// One source that can be opened, 24 bytes. An array of them ends with a record of two nulls and kind 0.
/// The strings belong to the array, and the array goes back through vexcap_free_dsvi.
typedef struct vex_device {
    const vex_char* name;     ///< What opens the device. For kind 1 an open-mode character (VEX_OPEN_... of
                              ///< vexcap/camera_library.h), which follows from astroMode and gainBalance of
                              ///< vexcap_init, then the identifier. A host that stores a device stores what is behind
                              ///< this character: in a run of another mode the whole name would open another mode.
    const vex_char* display;  ///< What a user sees.
    uint32_t kind;            ///< 1 to 6, VEX_KIND_...
    uint32_t reserved;        ///< 0.
} vex_device;

/// Header of an uncompressed picture, 40 bytes, as a Windows bitmap file has it after its file header.
/// A positive biHeight means rows from the bottom to the top, each ((biWidth * biBitCount + 31) / 32) * 4 bytes long.
typedef struct vex_bitmap_header {
    uint32_t biSize;          ///< 40.
    int32_t biWidth;          ///< Pixels.
    int32_t biHeight;         ///< Pixels; positive is bottom-up.
    uint16_t biPlanes;        ///< 1.
    uint16_t biBitCount;      ///< Bits a pixel.
    uint32_t biCompression;   ///< 0, or the FourCC of a raw frame.
    uint32_t biSizeImage;     ///< Bytes of the picture.
    int32_t biXPelsPerMeter;  ///< 0.
    int32_t biYPelsPerMeter;  ///< 0.
    uint32_t biClrUsed;       ///< 0.
    uint32_t biClrImportant;  ///< 0.
} vex_bitmap_header;

/// One offered format of a source, 80 bytes. For a camera only biWidth and biHeight are filled, the rest is zero.
typedef struct vex_capability {
    vex_bitmap_header header;
    int32_t inputSize[2];      ///< Width, height of the sensor or signal.
    int32_t minOutputSize[2];  ///< Smallest size.
    int32_t maxOutputSize[2];  ///< Largest size.
    int64_t minFrameInterval;  ///< 100-nanosecond units.
    int64_t maxFrameInterval;  ///< 100-nanosecond units.
} vex_capability;

/// Layout of the frames that a source delivers, 48 bytes. A later version may append fields.
typedef struct vex_picture_format {
    uint32_t size;          ///< The caller's sizeof(vex_picture_format); becomes the number of bytes that were written.
    uint32_t width;         ///< Pixels, after region of interest, binning and rotation.
    uint32_t height;        ///< Pixels.
    uint32_t displayBits;   ///< Bits a pixel of the display picture: 24.
    uint32_t displayPitch;  ///< Bytes from one of its rows to the next, padded to four.
    uint32_t displayBytes;  ///< Bytes of the picture: the room that vexcap_grabber needs behind the header.
    uint32_t rawFourcc;     ///< Mosaic of raw frames from the first row in memory; 0 for mono.
    uint32_t rawBits;       ///< Bits of a raw sample, 8 to 16; 0 where the source has no raw frames.
    uint32_t rawPitch;      ///< Bytes from one row to the next, without padding; one byte a sample at 8 bits, else two.
    uint32_t rawBytes;      ///< As displayBytes.
    uint32_t deepBits;      ///< Bits of a deep sample, three samples a pixel; 0 where the source has no deep pictures.
    uint32_t deepBytes;     ///< As displayBytes; rows are padded to four bytes.
} vex_picture_format;

/// About the picture that vexcap_grabber copied last, 32 bytes. A later version may append fields.
typedef struct vex_grab_info {
    uint32_t size;      ///< The caller's sizeof(vex_grab_info); becomes the number of bytes that were written.
    uint32_t still;     ///< 1 when it was the last still, 0 when it was a picture of the preview.
    uint32_t age;       ///< Milliseconds from the arrival of the frame to this call: the wall clock now, less these, is
                        ///< when it came.
    uint32_t numbered;  ///< 1 where the source numbers its frames, as cameras of a camera library do.
    uint64_t number;    ///< Number of the sensor's frame since the start of the preview, from 0; see `numbered`.
    uint64_t timestamp;  ///< Start of its exposure in 100-nanosecond units of a steady clock of the camera, whose zero
                         ///< is anywhere: good for differences. 0 when unknown.
} vex_grab_info;

/// What became of the frames of a recording. 40 bytes.
typedef struct vex_recording_counts {
    uint32_t offered;     ///< Frames that reached the recording before its limits: those kept, those that time lapse
                          ///< left out, and those lost before they could be kept.
    uint32_t kept;        ///< Frames that time lapse let through: vexcap_dwframecount, but for a recording through a
                          ///< compressor, of which it counts the frames handed to it.
    uint32_t written;     ///< Frames that are in the file.
    uint32_t lost;        ///< Frames that should be in the file and are not: the disk refused them, their size was
                          ///< not that of the recording, or a video input device lost them. Frames
                          ///< that a camera lost on their way to the library are counted by the camera alone, see
                          ///< ICameraStatus of vexcap/camera_library.h.
    uint64_t bytes;       ///< Bytes of the frames written.
    HRESULT lastFailure;  ///< Code of the last frame lost to the disk, S_OK when there was none.
    uint32_t elapsed;     ///< Milliseconds from start to now, or to the stop.
    uint64_t reserved;    ///< 0.
} vex_recording_counts;

#ifdef __cplusplus
#define VEX_RECORD_ASSERT static_assert
#else
#define VEX_RECORD_ASSERT _Static_assert
#endif
VEX_RECORD_ASSERT(sizeof(vex_guid) == 16 && sizeof(vex_rect) == 16 && sizeof(vex_point) == 8, "record size");
VEX_RECORD_ASSERT(sizeof(void*) != 8 || sizeof(vex_device) == 24, "record size");
VEX_RECORD_ASSERT(sizeof(void*) != 8 || offsetof(vex_device, kind) == 16, "record layout");
VEX_RECORD_ASSERT(sizeof(vex_bitmap_header) == 40, "record size");
VEX_RECORD_ASSERT(offsetof(vex_bitmap_header, biWidth) == 4 && offsetof(vex_bitmap_header, biHeight) == 8, "layout");
VEX_RECORD_ASSERT(offsetof(vex_bitmap_header, biBitCount) == 14, "layout");
VEX_RECORD_ASSERT(sizeof(vex_capability) == 80 && offsetof(vex_capability, inputSize) == 40, "record layout");
VEX_RECORD_ASSERT(offsetof(vex_capability, minFrameInterval) == 64, "record layout");
VEX_RECORD_ASSERT(sizeof(vex_picture_format) == 48 && offsetof(vex_picture_format, deepBytes) == 44, "record layout");
VEX_RECORD_ASSERT(sizeof(vex_grab_info) == 32 && offsetof(vex_grab_info, number) == 16, "record layout");
VEX_RECORD_ASSERT(sizeof(vex_recording_counts) == 40 && offsetof(vex_recording_counts, bytes) == 16, "record layout");

#endif
