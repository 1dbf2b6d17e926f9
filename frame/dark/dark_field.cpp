#include "frame/dark/dark_field.h"

#include <vexcap/records.h>

#include <bit>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "base/dib.h"
#include "frame/pixel_buffer.h"
#include "platform/file.h"

namespace vexcap {
namespace {

constexpr uint32_t darkBytesPerPixel = 3;

/// Channels of a picture; 0 for one that has none or that no sink could hold.
size_t channelsOf(int32_t width, int32_t height) {
    if (width < 1 || height < 1) return 0;
    const uint64_t pixels = uint64_t(width) * uint64_t(height);
    return pixels > maxPictureBytes / darkBytesPerPixel ? 0 : size_t(pixels) * darkBytesPerPixel;
}

size_t packedRow(int32_t width) { return size_t(width) * darkBytesPerPixel; }

// What stands before the pixels in a file, low byte first as on the machines that this runs on.
struct [[gnu::packed]] BitmapHeaders {
    uint16_t type;
    uint32_t fileBytes;
    uint32_t reserved;
    uint32_t pixelOffset;
    vex_bitmap_header picture;
};
static_assert(sizeof(BitmapHeaders) == 54 && std::endian::native == std::endian::little);
constexpr size_t fileHeaderBytes = offsetof(BitmapHeaders, picture);
constexpr uint16_t bitmapType = 'M' << 8 | 'B';

struct DarkFrame {
    std::unique_ptr<uint8_t[]> pixels;  // with room for the row padding of a file
    int32_t width = 0;
    int32_t height = 0;
};

/// Pixels as they lie in the file, with the row padding zero.
std::unique_ptr<uint8_t[]> padded(const uint8_t* dark, int32_t width, int32_t height) {
    const size_t stride = dibStride(uint32_t(width), darkBytesPerPixel);
    std::unique_ptr<uint8_t[]> rows(new (std::nothrow) uint8_t[stride * size_t(height)]());
    if (!rows) return rows;
    for (size_t y = 0; y < size_t(height); ++y)
        std::memcpy(&rows[y * stride], dark + y * packedRow(width), packedRow(width));
    return rows;
}

Status writeBitmap(IFileSystem& files, const vex_char* path, const DarkFrame& frame) {
    const size_t bytes = dibStride(uint32_t(frame.width), darkBytesPerPixel) * size_t(frame.height);
    BitmapHeaders headers{};
    headers.type = bitmapType;
    headers.fileBytes = uint32_t(bytes + sizeof headers);
    headers.pixelOffset = sizeof headers;
    headers.picture.biSize = sizeof headers.picture;
    headers.picture.biWidth = frame.width;
    headers.picture.biHeight = frame.height;
    headers.picture.biPlanes = 1;
    headers.picture.biBitCount = darkBytesPerPixel * 8;
    headers.picture.biSizeImage = uint32_t(bytes + sizeof headers.picture);  // the header counts as well in these files

    Result<std::unique_ptr<IFile>> file = files.Create(path);
    if (!file.ok()) return file.status();
    const Bytes pieces[] = {std::as_bytes(std::span(&headers, 1)), std::as_bytes(std::span(frame.pixels.get(), bytes))};
    return file.value()->WriteGathered(0, pieces);
}

/// Reads all of `bytes` at `position`.
Status readWhole(IFile& file, uint64_t position, std::span<std::byte> bytes) {
    const Result<size_t> got = file.ReadAt(position, bytes);
    if (!got.ok()) return got.status();
    return got.value() == bytes.size() ? S_OK : E_FAIL;
}

/// Rows of a file, brought together in place.
void removePadding(uint8_t* rows, int32_t width, int32_t height) {
    const size_t stride = dibStride(uint32_t(width), darkBytesPerPixel);
    if (stride == packedRow(width)) return;
    for (size_t y = 1; y < size_t(height); ++y)
        std::memmove(rows + y * packedRow(width), rows + y * stride, packedRow(width));
}

Result<DarkFrame> readBitmap(IFileSystem& files, const vex_char* path) {
    Result<std::unique_ptr<IFile>> opened = files.Open(path);
    if (!opened.ok()) return opened.status();
    IFile& file = *opened.value();

    BitmapHeaders headers{};
    const std::span<std::byte> bytes = std::as_writable_bytes(std::span(&headers, 1));
    if (const Status s = readWhole(file, 0, bytes.first(fileHeaderBytes)); !s.ok()) return s;
    if (headers.type != bitmapType) return E_FAIL;
    if (const Status s = readWhole(file, fileHeaderBytes, bytes.subspan(fileHeaderBytes)); !s.ok()) return s;
    const vex_bitmap_header picture = headers.picture;
    if (picture.biSize != sizeof picture || picture.biBitCount != darkBytesPerPixel * 8 || picture.biCompression != 0 ||
        picture.biWidth < 1 || picture.biHeight < 1)
        return E_FAIL;

    // The file has to be as large as it says, before memory is asked for by what it says.
    const uint64_t need = pictureBytes(uint32_t(picture.biWidth), uint32_t(picture.biHeight), darkBytesPerPixel);
    const Result<uint64_t> size = file.Size();
    if (!size.ok()) return size.status();
    if (need == unholdable || size.value() < sizeof headers + need) return E_FAIL;
    DarkFrame frame{std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[size_t(need)]), picture.biWidth,
                    picture.biHeight};
    if (!frame.pixels) return E_OUTOFMEMORY;
    const std::span<uint8_t> pixels(frame.pixels.get(), size_t(need));
    if (const Status s = readWhole(file, sizeof headers, std::as_writable_bytes(pixels)); !s.ok()) return s;
    removePadding(frame.pixels.get(), frame.width, frame.height);
    return frame;
}

}  // namespace

IDfcBaseImpl::IDfcBaseImpl(IFileSystem& files) : darkFiles(files), darkKernels(kernels()) {}

int32_t IDfcBaseImpl::Capture(uint32_t frames, DarkFieldCallback told, void* toldContext) {
    const RecursiveMutexGuard guard(darkLock);
    State& state = darkField;
    state.callback = told;
    state.context = toldContext;
    if (state.accumulator) Finish();
    const size_t channels = channelsOf(state.width, state.height);
    if (channels == 0) return 0;
    SetAccumulator(std::unique_ptr<uint16_t[]>(new (std::nothrow) uint16_t[channels]()));
    if (!state.accumulator) return 0;
    state.target = frames;
    state.count = 0;
    return 1;
}

HRESULT IDfcBaseImpl::Enable(uint32_t on) {
    enabled.store(on, std::memory_order_relaxed);
    return S_OK;
}

HRESULT IDfcBaseImpl::SetDark(std::unique_ptr<uint8_t[]> frame, int32_t frameWidth, int32_t frameHeight) {
    const RecursiveMutexGuard guard(darkLock);
    State& state = darkField;
    if (!frame || channelsOf(frameWidth, frameHeight) == 0) {
        AdoptDark(nullptr);
        return S_OK;
    }
    if (frameWidth != state.width || frameHeight != state.height) SetAccumulator(nullptr);
    state.width = frameWidth;
    state.height = frameHeight;
    AdoptDark(std::move(frame));
    ListHotPixels();
    return S_OK;
}

HRESULT IDfcBaseImpl::TakeDark(std::unique_ptr<uint8_t[]>* frame, int32_t* frameWidth, int32_t* frameHeight) {
    if (!frame) return E_POINTER;
    const RecursiveMutexGuard guard(darkLock);
    *frame = std::move(darkField.dark);
    AdoptDark(nullptr);
    if (frameWidth) *frameWidth = darkField.width;
    if (frameHeight) *frameHeight = darkField.height;
    return S_OK;
}

HRESULT IDfcBaseImpl::Export(const vex_char* path) {
    DarkFrame frame;
    {
        const RecursiveMutexGuard guard(darkLock);
        if (!darkField.dark) return E_UNEXPECTED;
        frame = {padded(darkField.dark.get(), darkField.width, darkField.height), darkField.width, darkField.height};
    }
    if (!frame.pixels) return E_UNEXPECTED;
    return path && writeBitmap(darkFiles, path, frame).ok() ? S_OK : E_FAIL;
}

HRESULT IDfcBaseImpl::Import(const vex_char* path) {
    if (!path) return E_FAIL;
    Result<DarkFrame> read = readBitmap(darkFiles, path);
    if (!read.ok()) return E_FAIL;
    DarkFrame frame = std::move(read).value();
    const RecursiveMutexGuard guard(darkLock);
    if (frame.width != darkField.width || frame.height != darkField.height) return E_INVALIDARG;
    AdoptDark(std::move(frame.pixels));
    ListHotPixels();
    return S_OK;
}

void IDfcBaseImpl::SetDarkSize(uint32_t frameWidth, uint32_t frameHeight) {
    const RecursiveMutexGuard guard(darkLock);
    if (HasSize(frameWidth, frameHeight)) return;
    enabled.store(0, std::memory_order_relaxed);
    SetAccumulator(nullptr);
    AdoptDark(nullptr);
    State& state = darkField;
    state.callback = nullptr;
    state.context = nullptr;
    state.width = int32_t(frameWidth);
    state.height = int32_t(frameHeight);
}

HRESULT IDfcBaseImpl::Accumulate(const uint8_t* frame, uint32_t bytesPerPixel, uint32_t frameWidth,
                                 uint32_t frameHeight) {
    if (!capturing.load(std::memory_order_relaxed)) return S_FALSE;
    const RecursiveMutexGuard guard(darkLock);
    State& state = darkField;
    if (!state.accumulator || !HasSize(frameWidth, frameHeight)) return S_FALSE;
    darkKernels.addToSums(state.accumulator.get(), frame, ptrdiff_t(dibStride(frameWidth, bytesPerPixel)), frameWidth,
                          frameHeight, bytesPerPixel);
    ++state.count;
    if (state.count >= state.target) {
        Finish();
    } else if (state.callback) {
        state.callback(state.context, state.count, state.target, nullptr, 0, 0);
    }
    return S_OK;
}

void IDfcBaseImpl::Apply(uint8_t* frame, uint32_t bytesPerPixel, uint32_t frameWidth, uint32_t frameHeight) {
    if (!IsDfc() || !HasDfc()) return;
    const RecursiveMutexGuard guard(darkLock);
    const State& state = darkField;
    if (!IsDfc() || !state.dark || !HasSize(frameWidth, frameHeight)) return;
    const size_t stride = dibStride(frameWidth, bytesPerPixel);
    darkKernels.subtractDark(frame, ptrdiff_t(stride), state.dark.get(), frameWidth, frameHeight, bytesPerPixel);
    mendHotPixels(state.hotPixels, frame, stride, frameWidth, frameHeight, bytesPerPixel);
}

/// Ends a capture with the mean of the frames that it has. With none, or where memory is short, the dark frame stays.
void IDfcBaseImpl::Finish() {
    State& state = darkField;
    const size_t channels = channelsOf(state.width, state.height);
    if (state.accumulator && state.count != 0) {
        if (!state.dark) AdoptDark(std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[channels]));
        if (state.dark) {
            darkKernels.divideSums(state.dark.get(), state.accumulator.get(), channels, state.count);
            ListHotPixels();
        }
    }
    SetAccumulator(nullptr);
    if (state.dark && state.callback) {
        const uint32_t width = uint32_t(state.width), height = uint32_t(state.height);
        state.callback(state.context, width, height, state.dark.get(), width, height);
    }
}

/// Replaces the dark frame; null leaves none.
void IDfcBaseImpl::AdoptDark(std::unique_ptr<uint8_t[]> frame) {
    darkField.dark = std::move(frame);
    hasDark.store(darkField.dark != nullptr, std::memory_order_relaxed);
}

/// Replaces the sums and forgets what was captured; null ends the capture.
void IDfcBaseImpl::SetAccumulator(std::unique_ptr<uint16_t[]> sums) {
    darkField.accumulator = std::move(sums);
    darkField.target = 0;
    darkField.count = 0;
    capturing.store(darkField.accumulator != nullptr, std::memory_order_relaxed);
}

void IDfcBaseImpl::ListHotPixels() {
    listHotPixels(darkField.hotPixels, darkField.dark.get(), uint32_t(darkField.width), uint32_t(darkField.height));
}

bool IDfcBaseImpl::HasSize(uint32_t frameWidth, uint32_t frameHeight) const {
    return frameWidth == uint32_t(darkField.width) && frameHeight == uint32_t(darkField.height);
}

}  // namespace vexcap
