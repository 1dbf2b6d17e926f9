// A camera library whose every answer is taken from the input of a fuzzer.
#include "tests/fuzzed_cameras/fuzzed_cameras.h"

#include <vexcap/camera_library.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

/// Takes answers from the input; zeros when it is used up.
class Bytes final {
public:
    void refill(const uint8_t* data, size_t size) {
        next = data;
        end = data + size;
    }
    uint8_t byte() { return next < end ? *next++ : 0; }
    uint32_t word() {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i) value = value << 8 | byte();
        return value;
    }
    /// Mostly a small size that makes sense, else anything at all.
    int32_t side() {
        const uint8_t choice = byte();
        return choice < 200 ? choice : int32_t(word());
    }
    /// Mostly S_OK.
    HRESULT result() { return byte() < 230 ? S_OK : HRESULT(word()); }
    bool chance(uint8_t of256) { return byte() < of256; }

private:
    const uint8_t* next = nullptr;
    const uint8_t* end = nullptr;
};

Bytes bytes;

/// A camera whose answers are bytes. Its stream is delivered by deliver(), on a thread of its own.
class FuzzedCamera final : public ICamera {
public:
    HRESULT QueryInterface(const vex_guid& iid, void** out) override {
        const auto is = [&](const vex_guid& one) { return std::memcmp(&iid, &one, sizeof iid) == 0; };
        *out = nullptr;
        if (is(VEX_IID_CAMERA_STATUS)) *out = static_cast<ICameraStatus*>(&status);
        if (is(VEX_IID_CAMERA_STILL)) *out = static_cast<ICameraStill*>(&still);
        if (is(VEX_IID_CAMERA_RAW)) *out = static_cast<ICameraRaw*>(&raw);
        if (*out == nullptr || bytes.chance(20)) return *out = nullptr, bytes.chance(200) ? E_NOINTERFACE : S_OK;
        return S_OK;
    }
    uint32_t AddRef() override { return bytes.word(); }
    uint32_t Release() override { return bytes.word(); }
    HRESULT GetSize(int32_t* width, int32_t* height) override {
        *width = bytes.side();
        *height = bytes.side();
        return bytes.result();
    }
    HRESULT GetEsize(uint32_t* index) override { return *index = bytes.word(), bytes.result(); }
    HRESULT GetWhiteBalanceGains(int32_t gains[3]) override {
        std::fill(gains, gains + 3, bytes.side());
        return bytes.result();
    }
    HRESULT GetExposureTime(uint32_t* time) override { return *time = bytes.word(), bytes.result(); }
    int32_t GetResolutionCount() override { return bytes.side(); }
    HRESULT GetResolution(uint32_t, int32_t* width, int32_t* height) override { return GetSize(width, height); }
    HRESULT GetTempTint(int32_t* temperature, int32_t* tint) override { return GetSize(temperature, tint); }
    uint32_t GetBitDepth() override { return bytes.chance(240) ? 8u + bytes.byte() % 9u : bytes.word(); }
    HRESULT GetRoi(uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height) override {
        if (x != nullptr) *x = bytes.word();
        if (y != nullptr) *y = bytes.word();
        *width = uint32_t(bytes.side());
        *height = uint32_t(bytes.side());
        return bytes.result();
    }
    HRESULT GetFrameRate(uint32_t* frames, uint32_t* time, uint32_t* total) override {
        *frames = bytes.word();
        *time = bytes.word();
        *total = bytes.word();
        return bytes.result();
    }
    HRESULT PutOption(uint32_t, int32_t) override { return bytes.result(); }
    HRESULT GetOption(uint32_t, int32_t* value) override {
        *value = bytes.chance(240) ? 1 : int32_t(bytes.word());
        return bytes.result();
    }
    HRESULT StartPull(uint32_t, uint32_t, vex_camera_frame_callback onFrame, vex_camera_buffer_callback onBuffer,
                      void* to, vex_camera_event_callback onEvent, void* eventTo, uint32_t, uint32_t,
                      const vex_texture_target*, uint32_t) override {
        frame = onFrame;
        buffer = onBuffer;
        event = onEvent;
        context = to;
        eventContext = eventTo;
        return bytes.result();
    }
    HRESULT Stop() override { return bytes.result(); }
    void Close() override {}
    HRESULT Snap(uint32_t, uint32_t, void*) override { return bytes.result(); }
    HRESULT Pause(uint32_t) override { return bytes.result(); }
    HRESULT Trigger(uint32_t) override { return bytes.result(); }
    uint32_t TextureAccepted() override { return bytes.word(); }
    HRESULT PipelineOcl(void*, void*, void*) override { return bytes.result(); }

    /// A few callbacks of the stream, whether it runs or not.
    void deliver() {
        if (frame == nullptr) return;
        for (uint8_t count = bytes.byte() % 8; count > 0; --count) {
            vex_frame_info info{bytes.word(), uint32_t(bytes.side()), uint32_t(bytes.side()), 0, bytes.word()};
            switch (bytes.byte() % 4) {
                case 0:
                    event(bytes.chance(128) ? uint32_t(VEX_CAMERA_EVENT_SIZE) : bytes.word(), eventContext);
                    break;
                case 1:
                    if (raw.callback != nullptr) deliverRaw(info);
                    break;
                default:
                    deliverFrame(info);
            }
        }
    }

    void forget() {
        frame = nullptr;
        raw.callback = nullptr;
    }

private:
    void deliverRaw(const vex_frame_info& info) {
        // Memory of exactly the told size where that is small, else of one byte: nobody may read it before looking.
        const uint32_t depth = bytes.chance(240) ? 8u + bytes.byte() % 9u : bytes.word();
        const bool small = info.width <= 256 && info.height <= 256;
        const size_t size = small ? size_t(info.width) * info.height * (depth > 8 ? 2 : 1) : 1;
        const auto memory = std::make_unique<uint8_t[]>(size);
        raw.callback(bytes.chance(16) ? nullptr : memory.get(), bytes.chance(16) ? nullptr : &info, bytes.word(), depth,
                     raw.context);
    }
    void deliverFrame(const vex_frame_info& info) {
        void *display = nullptr, *rawRoom = nullptr, *deepRoom = nullptr;
        const uint32_t isStill = bytes.byte() % 2;
        buffer(isStill, bytes.chance(250) ? &display : nullptr, bytes.chance(128) ? &rawRoom : nullptr,
               bytes.chance(128) ? &deepRoom : nullptr, context);
        const void* shown = display;
        if (bytes.chance(8)) shown = reinterpret_cast<const void*>(uintptr_t{1});
        frame(shown, bytes.chance(8) ? nullptr : &info, isStill, rawRoom, deepRoom, bytes.byte() % 2, bytes.word(),
              bytes.word(), context);
    }

    struct Status final : ICameraStatus {
        HRESULT QueryInterface(const vex_guid&, void** out) override { return *out = nullptr, E_NOINTERFACE; }
        uint32_t AddRef() override { return bytes.word(); }
        uint32_t Release() override { return bytes.word(); }
        HRESULT GetState(uint32_t* state) override { return *state = bytes.byte() % 5, bytes.result(); }
        HRESULT GetLostFrames(uint32_t* lost) override { return *lost = bytes.word(), bytes.result(); }
        HRESULT GetMaxFrameRate(uint32_t, uint32_t* rate) override { return *rate = bytes.word(), bytes.result(); }
    } status;
    struct Still final : ICameraStill {
        HRESULT QueryInterface(const vex_guid&, void** out) override { return *out = nullptr, E_NOINTERFACE; }
        uint32_t AddRef() override { return bytes.word(); }
        uint32_t Release() override { return bytes.word(); }
        HRESULT GetStillSize(uint32_t* width, uint32_t* height) override {
            *width = uint32_t(bytes.side());
            *height = uint32_t(bytes.side());
            return bytes.result();
        }
        HRESULT SetStillIndex(uint32_t) override { return bytes.result(); }
        int32_t GetStillCount() override { return bytes.side(); }
        HRESULT GetStillResolution(uint32_t, int32_t* width, int32_t* height) override {
            *width = bytes.side();
            *height = bytes.side();
            return bytes.result();
        }
    } still;
    struct Raw final : ICameraRaw {
        HRESULT QueryInterface(const vex_guid&, void** out) override { return *out = nullptr, E_NOINTERFACE; }
        uint32_t AddRef() override { return bytes.word(); }
        uint32_t Release() override { return bytes.word(); }
        HRESULT GetRawFormat(uint32_t* fourcc, uint32_t* depth) override {
            *fourcc = bytes.word();
            *depth = bytes.chance(240) ? 8u + bytes.byte() % 9u : bytes.word();
            return bytes.result();
        }
        HRESULT SetRawCallback(vex_camera_raw_callback call, void* to) override {
            callback = call;
            context = to;
            return bytes.result();
        }
        vex_camera_raw_callback callback = nullptr;
        void* context = nullptr;
    } raw;

    vex_camera_frame_callback frame = nullptr;
    vex_camera_buffer_callback buffer = nullptr;
    vex_camera_event_callback event = nullptr;
    void* context = nullptr;
    void* eventContext = nullptr;
};

FuzzedCamera camera;

}  // namespace

extern "C" {

void fuzzed_input(const uint8_t* data, size_t size) { bytes.refill(data, size); }
uint8_t fuzzed_byte(void) { return bytes.byte(); }
void fuzzed_deliver(void) { camera.deliver(); }
void fuzzed_forget(void) { camera.forget(); }

FUZZED_API uint32_t Fuzzed_EnumV2(vex_camera_entry entries[VEX_CAMERA_ENTRIES]) {
    auto* const text = reinterpret_cast<uint8_t*>(entries);
    for (size_t i = 0; i < 64; ++i) text[i] = bytes.byte();
    return bytes.word();
}
FUZZED_API ICamera* Fuzzed_Open(const vex_char*) { return bytes.chance(250) ? &camera : nullptr; }
FUZZED_API double Fuzzed_calc_ClarityFactor(const void*, uint32_t, uint32_t, uint32_t) { return bytes.word(); }
FUZZED_API int32_t Fuzzed_InitOcl(void) { return int32_t(bytes.word()); }

}  // extern "C"
