// A camera library made of scripted answers. Frames come when a test says so, on the test's thread or on another.
#pragma once

#include <vexcap/camera_library.h>

#include <map>
#include <string>
#include <vector>

namespace vexcap {

/// Answers and what was asked. The five interfaces are one object, as the contract says.
class FakeCamera final : public ICamera,
                         public ICameraStatus,
                         public ICameraStill,
                         public ICameraPreviewSize,
                         public ICameraRaw {
public:
    // Answers; a test sets them before the call.
    int32_t width = 64, height = 48;
    HRESULT sizeResult = S_OK;
    uint32_t roiWidth = 0, roiHeight = 0;
    HRESULT roiResult = E_NOTIMPL;
    uint32_t bitDepth = 12;
    std::map<uint32_t, int32_t> options;  ///< What GetOption knows.
    HRESULT startResult = S_OK;
    HRESULT optionResult = S_OK;
    bool textureAccepted = false;
    uint32_t state = VEX_CAMERA_STATE_OK;
    bool offersStatus = true, offersStill = false, offersRaw = true;
    int32_t resolutionCount = 1, stillCount = 2;
    uint32_t stillWidth = 128, stillHeight = 96;
    HRESULT rawFormatResult = S_OK;
    uint32_t rawFourcc = 0, rawDepth = 8;
    uint32_t rateFrames = 0, rateMilliseconds = 0, rateTotal = 0;
    HRESULT rateResult = S_OK;
    uint32_t resolution = 0;                                ///< Index of the present one.
    std::map<uint32_t, uint32_t> largestRates = {{0, 30}};  ///< By resolution.
    uint32_t exposure = 0;                                  ///< Microseconds, 0 when it cannot be told.
    HRESULT snapResult = S_OK;
    uint32_t sequence = 0;   ///< Number of the next frame.
    uint64_t timestamp = 0;  ///< Of the next frame.

    // What was asked.
    std::vector<std::string> calls;
    int references = 1;
    bool closed = false;
    bool streaming = false;
    vex_texture_target texture = {};
    bool textureOffered = false;
    void* snapValue = nullptr;

    // The callbacks of the stream, kept after Stop: a test may call them late.
    vex_camera_frame_callback frameCallback = nullptr;
    vex_camera_buffer_callback bufferCallback = nullptr;
    vex_camera_event_callback eventCallback = nullptr;
    void* context = nullptr;
    void* eventContext = nullptr;
    vex_camera_raw_callback rawCallback = nullptr;
    vex_camera_raw_callback lastRawCallback = nullptr;
    void* rawContext = nullptr;

    /// Delivers a frame into the buffers that the engine gives; `fill` is every byte of it. Raw samples have 8 bits,
    /// unless the device has more.
    void deliver(uint8_t fill, uint32_t frameWidth, uint32_t frameHeight, uint32_t still = 0);
    void deliverLoss();
    void deliverEvent(uint32_t event) { eventCallback(event, eventContext); }
    void deliverRaw(const void* samples, uint32_t frameWidth, uint32_t frameHeight, uint32_t depth);

    HRESULT QueryInterface(const vex_guid& iid, void** out) override;
    uint32_t AddRef() override { return uint32_t(++references); }
    uint32_t Release() override { return uint32_t(--references); }
    HRESULT GetSize(int32_t* w, int32_t* h) override;
    HRESULT GetEsize(uint32_t* index) override { return *index = resolution, S_OK; }
    HRESULT GetWhiteBalanceGains(int32_t*) override { return E_NOTIMPL; }
    HRESULT GetExposureTime(uint32_t* microseconds) override;
    int32_t GetResolutionCount() override { return resolutionCount; }
    HRESULT GetResolution(uint32_t index, int32_t* w, int32_t* h) override;
    HRESULT GetTempTint(int32_t*, int32_t*) override { return E_NOTIMPL; }
    uint32_t GetBitDepth() override { return bitDepth; }
    HRESULT GetRoi(uint32_t*, uint32_t*, uint32_t* w, uint32_t* h) override;
    HRESULT GetFrameRate(uint32_t* frames, uint32_t* milliseconds, uint32_t* total) override;
    HRESULT PutOption(uint32_t number, int32_t value) override;
    HRESULT GetOption(uint32_t number, int32_t* value) override;
    HRESULT StartPull(uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame,
                      vex_camera_buffer_callback buffer, void* callbackContext, vex_camera_event_callback event,
                      void* callbackEventContext, uint32_t zero2, uint32_t zero3, const vex_texture_target* target,
                      uint32_t one) override;
    HRESULT Stop() override;
    void Close() override;
    HRESULT Snap(uint32_t index, uint32_t count, void* value) override;
    HRESULT Pause(uint32_t pause) override;
    HRESULT Trigger(uint32_t on) override;
    uint32_t TextureAccepted() override { return textureAccepted; }
    HRESULT PipelineOcl(void*, void*, void*) override { return E_NOTIMPL; }

    HRESULT GetState(uint32_t* out) override { return *out = state, S_OK; }
    HRESULT GetLostFrames(uint32_t* lost) override { return *lost = 0, S_OK; }
    HRESULT GetMaxFrameRate(uint32_t index, uint32_t* rate) override;
    HRESULT GetStillSize(uint32_t* w, uint32_t* h) override;
    HRESULT SetStillIndex(uint32_t index) override;
    int32_t GetStillCount() override { return stillCount; }
    HRESULT GetStillResolution(uint32_t index, int32_t* w, int32_t* h) override;
    HRESULT GetPreviewIndex(uint32_t* index) override { return *index = 0, S_OK; }
    HRESULT GetPreviewSize(int32_t* w, int32_t* h) override { return GetSize(w, h); }
    HRESULT SetPreviewIndex(uint32_t) override { return S_OK; }
    HRESULT GetRawFormat(uint32_t* fourcc, uint32_t* depth) override;
    HRESULT SetRawCallback(vex_camera_raw_callback callback, void* callbackContext) override;

    bool wasCalled(const std::string& call) const;

private:
    HRESULT log(std::string call);
};

/// The library's functions over one scripted camera. One at a time, since the functions carry no context.
class FakeCameraLibrary {
public:
    FakeCameraLibrary() { current = this; }
    ~FakeCameraLibrary() { current = nullptr; }
    FakeCameraLibrary(const FakeCameraLibrary&) = delete;
    FakeCameraLibrary& operator=(const FakeCameraLibrary&) = delete;

    FakeCamera camera;
    std::vector<vex_camera_entry> entries;
    uint32_t countAnswer = UINT32_MAX;  ///< What EnumV2 says, UINT32_MAX for the true count.
    bool refuses = false;               ///< Open gives null.
    HRESULT openStatus = E_FAIL;        ///< Why.
    int32_t initOclAnswer = 0;
    int initOclCalls = 0;
    std::vector<std::u16string> opened;
    vex_camera_list_callback listChanged = nullptr;  ///< The callback of the watch, null without one.

    static uint32_t EnumV2(vex_camera_entry* out);
    static ICamera* Open(const vex_char* name);
    static HRESULT OpenStatus() { return current->openStatus; }
    static HRESULT Watch(vex_camera_list_callback callback, void*) {
        if (current) current->listChanged = callback;
        return S_OK;
    }
    /// The first byte of the picture.
    static double calc_ClarityFactor(const void* picture, uint32_t, uint32_t, uint32_t);
    static int32_t InitOcl();

private:
    static inline FakeCameraLibrary* current = nullptr;
};

}  // namespace vexcap
