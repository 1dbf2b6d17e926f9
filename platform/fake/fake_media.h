// Codecs and media files that a test makes up.
#pragma once

#include <atomic>
#include <map>
#include <set>

#include "base/dib.h"
#include "platform/media.h"

namespace vexcap {

/// A picture that tells its number: each byte depends on it and on its place.
void drawNumbered(std::span<std::byte> picture, uint64_t number);
std::vector<std::byte> numberedPicture(uint32_t width, uint32_t height, uint64_t number);

/// What the fake compressors make of a picture: the code "FAKE", its number, then its bytes, each turned round. An odd
/// number of bytes more than the picture has.
inline constexpr size_t fakeHeadBytes = 9;
inline constexpr std::byte fakeMask = std::byte(0xA5);
void fakeCompress(std::span<const std::byte> picture, uint32_t number, std::vector<std::byte>& out);
std::vector<std::byte> fakeCompressed(std::span<const std::byte> picture, uint32_t number);

/// How a fake compressor works, and what went through all that were opened.
struct FakeCodec {
    uint32_t fourcc = vexcap::fourcc("FAKE");
    std::vector<std::byte> extraData;
    size_t delay = 0;            ///< Pictures that it holds back.
    uint32_t keyDistance = 1;    ///< Every picture whose number is a multiple of it is a key frame.
    bool swapsPairs = false;     ///< Gives 0, 2, 1, 4, 3 and so on, as a file wants pictures that refer to later ones.
    size_t extraBytes = 0;       ///< Behind each compressed picture.
    HRESULT refusal = S_OK;      ///< Of every open from now on.
    uint32_t mostWidth = 16384;  ///< A larger size is refused with E_INVALIDARG.
    std::set<int64_t> failPut;   ///< Orders of pictures that it refuses.
    std::set<int64_t> failGet;   ///< Orders of pictures that it loses when they are asked for.
    HRESULT failure = E_FAIL;    ///< Code of both.

    uint32_t opened = 0;
    CompressorSettings settings;  ///< Of the last open.
    std::atomic<uint32_t> put{0};
    std::atomic<uint32_t> finished{0};
};

/// Compressors, decoders and files that a test makes up. The test's thread sets up before anything is opened.
struct FakeMedia final : IMedia {
    /// A file of numbered pictures, each shown for `info.interval`.
    struct File {
        MediaFileInfo info;
        uint64_t pictures = 0;
        uint64_t failAt = UINT64_MAX;  ///< Number of the picture at which the file breaks.
        HRESULT failure = E_FAIL;
    };

    std::vector<Compressor> Compressors() override { return compressors; }
    Result<std::unique_ptr<ICompressor>> OpenCompressor(std::u16string_view displayName,
                                                        const CompressorSettings& wanted) override;
    /// Takes what fakeCompress makes.
    Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t code, uint32_t width, uint32_t height) override;
    Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view path) override;

    /// Adds a compressor that is offered and can be opened.
    FakeCodec& addCompressor(const Compressor& listed) {
        compressors.push_back(listed);
        return codecs[listed.displayName];
    }

    bool available = true;  ///< False: nothing is installed that could open anything.
    std::vector<Compressor> compressors;
    std::map<std::u16string, FakeCodec, std::less<>> codecs;  ///< By display name.
    std::set<uint32_t> decoders = {fourcc("MJPG")};
    std::map<std::u16string, File, std::less<>> files;
};

}  // namespace vexcap
