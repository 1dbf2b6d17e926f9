#include "platform/fake/fake_media.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vexcap {
namespace {

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
    explicit Reader(const FakeMedia::File& opened) : file(opened) {}
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
    const FakeMedia::File file;
    uint64_t next = 0;
};

}  // namespace

void drawNumbered(std::span<std::byte> picture, uint64_t number) {
    for (size_t i = 0; i < picture.size(); ++i) picture[i] = std::byte(uint8_t(number * 31 + i * 7 + (i >> 8)));
}

std::vector<std::byte> numberedPicture(uint32_t width, uint32_t height, uint64_t number) {
    std::vector<std::byte> picture(dibStride(width, 3) * height);
    drawNumbered(picture, number);
    return picture;
}

void fakeCompress(std::span<const std::byte> picture, uint32_t number, std::vector<std::byte>& out) {
    constexpr uint32_t code = fourcc("FAKE");
    out.assign(fakeHeadBytes + picture.size(), std::byte(0));
    std::memcpy(out.data(), &code, sizeof code);
    std::memcpy(out.data() + sizeof code, &number, sizeof number);
    std::ranges::transform(picture, out.begin() + fakeHeadBytes, [](std::byte b) { return b ^ fakeMask; });
}

std::vector<std::byte> fakeCompressed(std::span<const std::byte> picture, uint32_t number) {
    std::vector<std::byte> out;
    fakeCompress(picture, number, out);
    return out;
}

Result<std::unique_ptr<ICompressor>> FakeMedia::OpenCompressor(std::u16string_view displayName,
                                                               const CompressorSettings& wanted) {
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

Result<std::unique_ptr<IPictureDecoder>> FakeMedia::OpenDecoder(uint32_t code, uint32_t width, uint32_t height) {
    if (!available) return VEX_E_NO_MODULE;
    if (!decoders.contains(code) || !width || !height) return E_INVALIDARG;
    return std::unique_ptr<IPictureDecoder>(std::make_unique<Decoder>(dibStride(width, 3) * height));
}

Result<std::unique_ptr<IMediaReader>> FakeMedia::OpenFile(std::u16string_view path) {
    if (!available) return VEX_E_NO_MODULE;
    const auto found = files.find(path);
    if (found == files.end()) return VEX_E_FILE_NOT_FOUND;
    return std::unique_ptr<IMediaReader>(std::make_unique<Reader>(found->second));
}

}  // namespace vexcap
