// Filters in the middle: they change, copy or wrap numbered samples.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>

#include "graph/testing/numbered_source.h"
#include "graph/transform.h"

namespace vexcap::test {

/// Adds `added` to the number of each sample, in place.
class AddInPlace final : public CTransInPlaceFilter {
public:
    explicit AddInPlace(int64_t number) : added(number) {}
    /// What Transform gives; asked for each sample.
    std::function<HRESULT(int64_t number)> answer = [](int64_t) { return S_OK; };

private:
    HRESULT CheckInputType(const MediaType* candidate) override {
        if (!candidate) return E_POINTER;
        return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    using CTransInPlaceFilter::Transform;
    HRESULT Transform(CMediaSample& sample) override {
        const HRESULT result = answer(numberOf(sample));
        setNumber(sample, numberOf(sample) + added);
        return result;
    }
    const int64_t added;
};

/// Sets the last byte of each sample, where it lies.
class Stamp final : public CTransInPlaceFilter {
public:
    static constexpr uint8_t mark = 0x5A;

private:
    ~Stamp() override = default;
    using CTransInPlaceFilter::Transform;
    HRESULT CheckInputType(const MediaType* candidate) override {
        return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT Transform(CMediaSample& sample) override {
        sample.GetPointer()[sample.GetActualDataLength() - 1] = mark;
        return S_OK;
    }
};

/// Copies samples of any video into another type.
class Recode final : public CTransformFilter {
public:
    explicit Recode(std::function<MediaType(const MediaType&)> rule) : target(std::move(rule)) {}

private:
    ~Recode() override = default;
    HRESULT CheckInputType(const MediaType* candidate) override {
        return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT CheckTransform(const MediaType& in, const MediaType& out) override {
        return out == target(in) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    HRESULT GetMediaType(int32_t position, MediaType* out) override {
        if (position > 0) return VFW_S_NO_MORE_ITEMS;
        *out = target(input->CurrentMediaType());
        return S_OK;
    }
    HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties& wanted) override {
        return pool.SetProperties({std::max(2u, wanted.buffers), input->CurrentMediaType().sampleSize}).code();
    }
    HRESULT Transform(CMediaSample& in, CMediaSample& out) override {
        std::memcpy(out.GetPointer(), in.GetPointer(), in.GetActualDataLength());
        return out.SetActualDataLength(in.GetActualDataLength()).code();
    }

    const std::function<MediaType(const MediaType&)> target;
};

inline MediaType toRgb24(const MediaType& from) {
    vex_bitmap_header header;
    from.GetBitmapHeader(header);
    return rgb24Type(header.biWidth, header.biHeight, from.AverageTimePerFrame());
}

inline MediaType toFile(const MediaType& from) {
    MediaType type = from;
    type.major = MEDIATYPE_Stream;
    type.subtype = MEDIASUBTYPE_Avi;
    return type;
}

/// Takes video, and hands it on as a file's bytes; its output may be connected first.
class Mux final : public CBaseFilter {
public:
    Mux() : input(*this), output(*this) {}
    size_t GetPinCount() override { return 2; }
    CBasePin* GetPin(size_t index) override {
        if (index == 0) return &input;
        return index == 1 ? &output : nullptr;
    }

private:
    ~Mux() override = default;

    class Output final : public CBaseOutputPin {
    public:
        explicit Output(Mux& owner) : CBaseOutputPin(owner, u"Output") {}
        HRESULT GetMediaType(int32_t position, MediaType* out) override {
            if (position > 0) return VFW_S_NO_MORE_ITEMS;
            *out = toFile({});
            return S_OK;
        }
        HRESULT CheckMediaType(const MediaType* candidate) override {
            return candidate->major == MEDIATYPE_Stream ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }

    private:
        HRESULT DecideBufferSize(CBaseAllocator& pool, const AllocatorProperties&) override {
            return pool.SetProperties({2, sizeof(int64_t)}).code();
        }
    };
    class Input final : public CBaseInputPin {
    public:
        explicit Input(Mux& owner) : CBaseInputPin(owner, u"Input"), mux(owner) {}
        HRESULT CheckMediaType(const MediaType* candidate) override {
            return candidate->major == MEDIATYPE_Video ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }
        HRESULT Receive(CMediaSample& sample) override {
            if (const HRESULT result = CheckStreaming(); result != S_OK) return result;
            const auto made = mux.output.GetDeliveryBuffer(0);
            if (!made.ok()) return made.code();
            std::memcpy(made.value()->GetPointer(), sample.GetPointer(), sizeof(int64_t));
            return mux.output.Deliver(*made.value());
        }
        HRESULT EndOfStream() override {
            filter.NotifyEvent(EC_COMPLETE, S_OK, 0);  // which is not the file's
            return mux.output.DeliverEndOfStream();
        }

    private:
        Mux& mux;
    };

    Input input;
    Output output;
};

}  // namespace vexcap::test
