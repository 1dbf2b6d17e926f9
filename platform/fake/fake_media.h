// Codecs and media files that a test makes up.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <set>
#include <utility>

#include "base/dib.h"
#include "platform/media.h"

namespace vexcap {

/// A picture that tells its number: each byte depends on it and on its place.
inline void drawNumbered(std::span<std::byte> picture, uint64_t number) {
    for (size_t i = 0; i < picture.size(); ++i) picture[i] = std::byte(uint8_t(number * 31 + i * 7 + (i >> 8)));
}
inline std::vector<std::byte> numberedPicture(uint32_t width, uint32_t height, uint64_t number) {
    std::vector<std::byte> picture(dibStride(width, 3) * height);
    drawNumbered(picture, number);
    return picture;
}

/// What the fake compressors make of a picture: the code "FAKE", its number, then its bytes, each turned round. An odd
/// number of bytes more than the picture has.
inline constexpr size_t fakeHeadBytes = 9;
inline constexpr std::byte fakeMask = std::byte(0xA5);
inline void fakeCompress(std::span<const std::byte> picture, uint32_t number, std::vector<std::byte>& out) {
    constexpr uint32_t code = fourcc("FAKE");
    out.assign(fakeHeadBytes + picture.size(), std::byte(0));
    std::memcpy(out.data(), &code, sizeof code);
    std::memcpy(out.data() + sizeof code, &number, sizeof number);
    std::ranges::transform(picture, out.begin() + fakeHeadBytes, [](std::byte b) { return b ^ fakeMask; });
}
inline std::vector<std::byte> fakeCompressed(std::span<const std::byte> picture, uint32_t number) {
    std::vector<std::byte> out;
    fakeCompress(picture, number, out);
    return out;
}

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
                                                        const CompressorSettings& wanted) override {
        if (!available) return VEX_E_NO_MODULE;
        const auto found = codecs.find(displayName);
        if (found == codecs.end()) return E_INVALIDARG;
        FakeCodec& codec = found->second;
        ++codec.opened;
        codec.settings = wanted;
        if (codec.refusal < 0) return codec.refusal;
        if (!wanted.width || !wanted.height || wanted.width > codec.mostWidth) return E_INVALIDARG;
        return std::unique_ptr<ICompressor>(std::make_unique<OpenedCompressor>(codec));
    }
    /// Takes what fakeCompress makes.
    Result<std::unique_ptr<IPictureDecoder>> OpenDecoder(uint32_t code, uint32_t width, uint32_t height) override {
        if (!available) return VEX_E_NO_MODULE;
        if (!decoders.contains(code) || !width || !height) return E_INVALIDARG;
        return std::unique_ptr<IPictureDecoder>(std::make_unique<Decoder>(dibStride(width, 3) * height));
    }
    Result<std::unique_ptr<IMediaReader>> OpenFile(std::u16string_view path) override {
        if (!available) return VEX_E_NO_MODULE;
        const auto found = files.find(path);
        if (found == files.end()) return VEX_E_FILE_NOT_FOUND;
        return std::unique_ptr<IMediaReader>(std::make_unique<Reader>(found->second));
    }

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

private:
    class OpenedCompressor final : public ICompressor {
    public:
        explicit OpenedCompressor(FakeCodec& shared) : codec(shared) {}
        uint32_t FourCC() const override { return codec.fourcc; }
        std::span<const std::byte> ExtraData() const override { return codec.extraData; }
        Status Put(std::span<const std::byte> picture, int64_t order) override {
            if (finishing) return E_UNEXPECTED;
            if (codec.failPut.contains(order)) return codec.failure;
            ++codec.put;
            Inside& added = inside.emplace_back();
            added.order = order;
            fakeCompress(picture, uint32_t(order), added.bytes);
            added.bytes.resize(added.bytes.size() + codec.extraBytes);
            return S_OK;
        }
        Status Get(CompressedPicture& out) override {
            const size_t atLeast = codec.swapsPairs ? std::max<size_t>(codec.delay, 1) : codec.delay;
            if (inside.empty() || (!finishing && inside.size() <= atLeast)) return S_FALSE;
            // The later one of a pair goes first; picture 0 has no partner.
            const bool swap = codec.swapsPairs && given % 2 == 1 && inside.size() > 1;
            const auto next = inside.begin() + (swap ? 1 : 0);
            ++given;
            last = std::move(*next);
            inside.erase(next);
            if (codec.failGet.contains(last.order)) return codec.failure;
            out.bytes = last.bytes;
            out.order = last.order;
            out.keyFrame = last.order % codec.keyDistance == 0;
            return S_OK;
        }
        Status Finish() override {
            finishing = true;
            ++codec.finished;
            return S_OK;
        }

    private:
        struct Inside {
            int64_t order = 0;
            std::vector<std::byte> bytes;
        };
        FakeCodec& codec;
        std::vector<Inside> inside;
        Inside last;
        uint64_t given = 0;
        bool finishing = false;
    };

    class Decoder final : public IPictureDecoder {
    public:
        explicit Decoder(size_t bytes) : pictureBytes(bytes) {}
        Status Decode(std::span<const std::byte> compressed, std::span<std::byte> picture) override {
            constexpr uint32_t wanted = fourcc("FAKE");
            uint32_t code = 0;
            if (compressed.size() != fakeHeadBytes + pictureBytes || picture.size() < pictureBytes) return E_FAIL;
            std::memcpy(&code, compressed.data(), sizeof code);
            if (code != wanted) return E_FAIL;
            std::ranges::transform(compressed.subspan(fakeHeadBytes), picture.begin(),
                                   [](std::byte b) { return b ^ fakeMask; });
            return S_OK;
        }

    private:
        const size_t pictureBytes;
    };

    class Reader final : public IMediaReader {
    public:
        explicit Reader(const File& opened) : file(opened) {}
        const MediaFileInfo& Info() const override { return file.info; }
        Status Read(std::span<std::byte> picture, MediaTimes& times) override {
            if (next >= file.pictures) return S_FALSE;
            if (next == file.failAt) return file.failure;
            drawNumbered(picture.first(dibStride(file.info.width, 3) * file.info.height), next);
            times = {int64_t(next) * file.info.interval, int64_t(next + 1) * file.info.interval};
            ++next;
            return S_OK;
        }
        Status Seek(int64_t position) override {
            if (!file.info.seekable || file.info.interval <= 0) return E_NOTIMPL;
            if (position < 0) return E_INVALIDARG;
            next = uint64_t(position / file.info.interval);
            return S_OK;
        }

    private:
        const File file;
        uint64_t next = 0;
    };
};

}  // namespace vexcap
