// Objects written in C++, called from C: each operation stands in the slot that its number says, and its arguments
// arrive as they were given.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/headers/slots.h"

namespace slots_test {

int64_t lastSlot;  // of operations without a result

const SlotArguments arguments = {
    {0xF58A8E13, 0x175A, 0x40DB, {0xA2, 0xB2, 0x41, 0xCA, 0x34, 0x07, 0xCB, 0x96}},
    0x11,
    0x22,
    0x33,
    0x44,
    -55,
    reinterpret_cast<void*>(0x1111),
    reinterpret_cast<void*>(0x2222),
    reinterpret_cast<void*>(0x3333),
    {reinterpret_cast<void*>(0x4444), reinterpret_cast<void*>(0x5555), reinterpret_cast<void*>(0x6666)},
    &lastSlot};

int closes;  // of the one operation that has no result

/// Answers each operation with the number of its slot, negative when an argument came wrong.
template <typename Interface>
class Answering : public Interface {
public:
    HRESULT QueryInterface(const vex_guid& iid, void** out) override {
        const bool right = std::memcmp(&iid, &arguments.iid, sizeof iid) == 0 && *out == arguments.first;
        return right ? 0 : -1;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 2; }

protected:
    ~Answering() = default;
    template <typename... Outs>
    static HRESULT answer(HRESULT slot, Outs... outs) {
        return ((outs != nullptr) && ...) ? slot : -1;
    }
};

class AnsweringCamera final : public Answering<ICamera> {
public:
    HRESULT GetSize(int32_t* w, int32_t* h) override { return answer(3, w, h); }
    HRESULT GetEsize(uint32_t* index) override { return answer(4, index); }
    HRESULT GetWhiteBalanceGains(int32_t gains[3]) override { return answer(5, gains); }
    HRESULT GetExposureTime(uint32_t* time) override { return answer(6, time); }
    int32_t GetResolutionCount() override { return 7; }
    HRESULT GetResolution(uint32_t index, int32_t* w, int32_t* h) override {
        return index == arguments.a ? answer(8, w, h) : -1;
    }
    HRESULT GetTempTint(int32_t* temperature, int32_t* tint) override { return answer(9, temperature, tint); }
    uint32_t GetBitDepth() override { return 10; }
    HRESULT GetRoi(uint32_t* x, uint32_t* y, uint32_t* w, uint32_t* h) override { return answer(11, x, y, w, h); }
    HRESULT GetFrameRate(uint32_t* frames, uint32_t* time, uint32_t* total) override {
        return answer(12, frames, time, total);
    }
    HRESULT PutOption(uint32_t number, int32_t value) override {
        return number == arguments.a && value == arguments.value ? 13 : -1;
    }
    HRESULT GetOption(uint32_t number, int32_t* value) override {
        return number == arguments.a ? answer(14, value) : -1;
    }
    HRESULT StartPull(uint32_t zero0, uint32_t zero1, vex_camera_frame_callback frame,
                      vex_camera_buffer_callback buffer, void* context, vex_camera_event_callback event,
                      void* eventContext, uint32_t zero2, uint32_t zero3, const vex_texture_target* texture,
                      uint32_t one) override {
        const bool numbers = zero0 == arguments.a && zero1 == arguments.b && zero2 == arguments.c &&
                             zero3 == arguments.d && one == arguments.a;
        const bool callbacks = frame == slot_frame && buffer == slot_buffer && event == slot_event;
        const bool contexts = context == arguments.first && eventContext == arguments.second;
        const bool target = std::memcmp(texture, &arguments.texture, sizeof *texture) == 0;
        return numbers && callbacks && contexts && target ? 15 : -1;
    }
    HRESULT Stop() override { return 16; }
    void Close() override { ++closes; }
    HRESULT Snap(uint32_t index, uint32_t count, void* value) override {
        return index == arguments.a && count == arguments.b && value == arguments.first ? 18 : -1;
    }
    HRESULT Pause(uint32_t pause) override { return pause == arguments.a ? 19 : -1; }
    HRESULT Trigger(uint32_t on) override { return on == arguments.a ? 20 : -1; }
    uint32_t TextureAccepted() override { return 21; }
    HRESULT PipelineOcl(void* a, void* b, void* c) override {
        return a == arguments.first && b == arguments.second && c == arguments.third ? 22 : -1;
    }
};

class AnsweringStatus final : public Answering<ICameraStatus> {
public:
    HRESULT GetState(uint32_t* state) override { return answer(3, state); }
    HRESULT GetLostFrames(uint32_t* lost) override { return answer(4, lost); }
    HRESULT GetMaxFrameRate(uint32_t index, uint32_t* rate) override {
        return index == arguments.a ? answer(5, rate) : -1;
    }
};

class AnsweringStill final : public Answering<ICameraStill> {
public:
    HRESULT GetStillSize(uint32_t* w, uint32_t* h) override { return answer(3, w, h); }
    HRESULT SetStillIndex(uint32_t index) override { return index == arguments.a ? 4 : -1; }
    int32_t GetStillCount() override { return 5; }
    HRESULT GetStillResolution(uint32_t index, int32_t* w, int32_t* h) override {
        return index == arguments.a ? answer(6, w, h) : -1;
    }
};

class AnsweringPreviewSize final : public Answering<ICameraPreviewSize> {
public:
    HRESULT GetPreviewIndex(uint32_t* index) override { return answer(3, index); }
    HRESULT GetPreviewSize(int32_t* w, int32_t* h) override { return answer(4, w, h); }
    HRESULT SetPreviewIndex(uint32_t index) override { return index == arguments.a ? 5 : -1; }
};

class AnsweringRaw final : public Answering<ICameraRaw> {
public:
    HRESULT GetRawFormat(uint32_t* fourcc, uint32_t* depth) override { return answer(3, fourcc, depth); }
    HRESULT SetRawCallback(vex_camera_raw_callback callback, void* context) override {
        return callback == slot_raw && context == arguments.first ? 4 : -1;
    }
};

class AnsweringControls final : public Answering<ICameraControls> {
public:
    HRESULT GetRange(uint32_t control, int32_t* minimum, int32_t* maximum, int32_t* standard) override {
        return control == arguments.a ? answer(3, minimum, maximum, standard) : -1;
    }
    HRESULT Get(uint32_t control, int32_t* value) override { return control == arguments.a ? answer(4, value) : -1; }
    HRESULT Put(uint32_t control, int32_t value) override {
        return control == arguments.a && value == arguments.value ? 5 : -1;
    }
    HRESULT PutRoi(uint32_t x, uint32_t y, uint32_t w, uint32_t h) override {
        return x == arguments.a && y == arguments.b && w == arguments.c && h == arguments.d ? 6 : -1;
    }
};

class AnsweringTarget final : public vex_render_target {
public:
    void GetDpi(uint32_t* x, uint32_t* y) override { *x = y ? 0 : 99; }
    void DrawBitmap(const vex_picture* picture, const vex_rect_f* target, float opacity) override {
        lastSlot = picture == arguments.first && IsRectangle(target) && opacity == 0.75f ? 1 : -1;
    }
    void DrawLine(vex_point_f from, vex_point_f to, uint32_t colour, float width) override {
        const bool points = from.x == 1.5f && from.y == 2.5f && to.x == 3.5f && to.y == 4.5f;
        lastSlot = points && colour == arguments.a && width == 5.5f ? 2 : -1;
    }
    void DrawEllipse(vex_point_f centre, float radiusX, float radiusY, uint32_t colour, float width) override {
        const bool shape = centre.x == 1.5f && centre.y == 2.5f && radiusX == 6.5f && radiusY == 7.5f;
        lastSlot = shape && colour == arguments.b && width == 5.5f ? 3 : -1;
    }
    void FillRectangle(const vex_rect_f* rectangle, uint32_t colour) override {
        lastSlot = IsRectangle(rectangle) && colour == arguments.c ? 4 : -1;
    }
    void MeasureText(const vex_text_format* format, const vex_char* text, uint32_t length, int32_t* width,
                     int32_t* height) override {
        *width = IsText(format, text, length) && height ? 5 : -1;
    }
    void DrawText(const vex_text_format* format, const vex_char* text, uint32_t length, const vex_rect_f* rectangle,
                  uint32_t colour) override {
        lastSlot = IsText(format, text, length) && IsRectangle(rectangle) && colour == arguments.a ? 6 : -1;
    }

private:
    static bool IsRectangle(const vex_rect_f* r) {
        return r->left == 1.25f && r->top == 2.25f && r->right == 3.25f && r->bottom == 4.25f;
    }
    static bool IsText(const vex_text_format* format, const vex_char* text, uint32_t length) {
        return format == arguments.second && text == arguments.third && length == arguments.d;
    }
};

class AnsweringSteps final : public Answering<ICameraSteps> {
public:
    HRESULT GetControlStep(uint32_t control, int32_t* step) override {
        return control == arguments.a ? answer(3, step) : -1;
    }
    HRESULT GetRegionStep(uint32_t* x, uint32_t* y, uint32_t* w, uint32_t* h) override { return answer(4, x, y, w, h); }
};

template <typename Interface>
void expectSlots(Interface& object, int (*call)(void*, const SlotArguments*), int count) {
    for (int64_t& result : slot_results) result = -99;
    ASSERT_EQ(call(&object, &arguments), count);
    for (int slot = 0; slot < count; ++slot) EXPECT_EQ(slot_results[slot], slot);
}

TEST(Headers, CameraHasTheSameTableInBothLanguages) {
    AnsweringCamera camera;
    closes = 0;
    for (int64_t& result : slot_results) result = -99;
    ASSERT_EQ(call_camera(&camera, &arguments), 23);
    for (int slot = 0; slot < 23; ++slot) EXPECT_EQ(slot_results[slot], slot == 17 ? 0 : slot);
    EXPECT_EQ(closes, 1) << "slot 17, Close";
}

TEST(Headers, StatusHasTheSameTableInBothLanguages) {
    AnsweringStatus status;
    expectSlots(status, call_status, 6);
}

TEST(Headers, StillHasTheSameTableInBothLanguages) {
    AnsweringStill still;
    expectSlots(still, call_still, 7);
}

TEST(Headers, PreviewSizeHasTheSameTableInBothLanguages) {
    AnsweringPreviewSize sizes;
    expectSlots(sizes, call_preview_size, 6);
}

TEST(Headers, RawHasTheSameTableInBothLanguages) {
    AnsweringRaw raw;
    expectSlots(raw, call_raw, 5);
}

TEST(Headers, ControlsHaveTheSameTableInBothLanguages) {
    AnsweringControls controls;
    expectSlots(controls, call_controls, 7);
}

TEST(Headers, RenderTargetsHaveTheSameTableInBothLanguages) {
    AnsweringTarget target;
    expectSlots(target, call_target, 7);
}

TEST(Headers, StepsHaveTheSameTableInBothLanguages) {
    AnsweringSteps steps;
    expectSlots(steps, call_steps, 5);
}

// The bytes of an identifier in memory: the first three fields little-endian.
TEST(Headers, IdentifiersLieInMemoryAsTheyAreWritten) {
    const uint8_t want[16] = {0x13, 0x8E, 0x8A, 0xF5, 0x5A, 0x17, 0xDB, 0x40,
                              0xA2, 0xB2, 0x41, 0xCA, 0x34, 0x07, 0xCB, 0x96};
    EXPECT_EQ(std::memcmp(&VEX_IID_CAMERA_STATUS, want, sizeof want), 0);
}

}  // namespace slots_test
