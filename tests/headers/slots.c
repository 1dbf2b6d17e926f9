#include "tests/headers/slots.h"

int64_t slot_results[32];

void slot_frame(const void* frame, const vex_frame_info* info, uint32_t still, const void* raw, const void* deep,
                uint32_t depthFlag, uint32_t tag, uint64_t frameTag, void* context) {
    (void)frame, (void)info, (void)still, (void)raw, (void)deep, (void)depthFlag, (void)tag, (void)frameTag;
    (void)context;
}

void slot_buffer(uint32_t still, void** display, void** raw, void** deep, void* context) {
    (void)still, (void)display, (void)raw, (void)deep, (void)context;
}

void slot_event(uint32_t event, void* context) { (void)event, (void)context; }

void slot_raw(const void* raw, const vex_frame_info* info, uint32_t fourcc, uint32_t depth, void* context) {
    (void)raw, (void)info, (void)fourcc, (void)depth, (void)context;
}

#define CALL(expression) slot_results[slot++] = (expression)
#define CALL_UNKNOWN()                                       \
    void* out = in->first;                                   \
    CALL(self->table->QueryInterface(self, &in->iid, &out)); \
    CALL(self->table->AddRef(self));                         \
    CALL(self->table->Release(self))

int call_camera(void* object, const SlotArguments* in) {
    ICamera* const self = object;
    int slot = 0;
    int32_t width = 0, height = 0, three[3] = {0, 0, 0};
    uint32_t x = 0, y = 0, z = 0, w = 0;
    CALL_UNKNOWN();
    CALL(self->table->GetSize(self, &width, &height));
    CALL(self->table->GetEsize(self, &x));
    CALL(self->table->GetWhiteBalanceGains(self, three));
    CALL(self->table->GetExposureTime(self, &x));
    CALL(self->table->GetResolutionCount(self));
    CALL(self->table->GetResolution(self, in->a, &width, &height));
    CALL(self->table->GetTempTint(self, &width, &height));
    CALL(self->table->GetBitDepth(self));
    CALL(self->table->GetRoi(self, &x, &y, &z, &w));
    CALL(self->table->GetFrameRate(self, &x, &y, &z));
    CALL(self->table->PutOption(self, in->a, in->value));
    CALL(self->table->GetOption(self, in->a, &width));
    CALL(self->table->StartPull(self, in->a, in->b, slot_frame, slot_buffer, in->first, slot_event, in->second, in->c,
                                in->d, &in->texture, in->a));
    CALL(self->table->Stop(self));
    self->table->Close(self);
    CALL(0);
    CALL(self->table->Snap(self, in->a, in->b, in->first));
    CALL(self->table->Pause(self, in->a));
    CALL(self->table->Trigger(self, in->a));
    CALL(self->table->TextureAccepted(self));
    CALL(self->table->PipelineOcl(self, in->first, in->second, in->third));
    return slot;
}

int call_status(void* object, const SlotArguments* in) {
    ICameraStatus* const self = object;
    int slot = 0;
    uint32_t x = 0;
    CALL_UNKNOWN();
    CALL(self->table->GetState(self, &x));
    CALL(self->table->GetLostFrames(self, &x));
    CALL(self->table->GetMaxFrameRate(self, in->a, &x));
    return slot;
}

int call_still(void* object, const SlotArguments* in) {
    ICameraStill* const self = object;
    int slot = 0;
    uint32_t x = 0, y = 0;
    int32_t width = 0, height = 0;
    CALL_UNKNOWN();
    CALL(self->table->GetStillSize(self, &x, &y));
    CALL(self->table->SetStillIndex(self, in->a));
    CALL(self->table->GetStillCount(self));
    CALL(self->table->GetStillResolution(self, in->a, &width, &height));
    return slot;
}

int call_preview_size(void* object, const SlotArguments* in) {
    ICameraPreviewSize* const self = object;
    int slot = 0;
    uint32_t x = 0;
    int32_t width = 0, height = 0;
    CALL_UNKNOWN();
    CALL(self->table->GetPreviewIndex(self, &x));
    CALL(self->table->GetPreviewSize(self, &width, &height));
    CALL(self->table->SetPreviewIndex(self, in->a));
    return slot;
}

int call_raw(void* object, const SlotArguments* in) {
    ICameraRaw* const self = object;
    int slot = 0;
    uint32_t x = 0, y = 0;
    CALL_UNKNOWN();
    CALL(self->table->GetRawFormat(self, &x, &y));
    CALL(self->table->SetRawCallback(self, slot_raw, in->first));
    return slot;
}

int call_controls(void* object, const SlotArguments* in) {
    ICameraControls* const self = object;
    int slot = 0;
    int32_t x = 0, y = 0, z = 0;
    CALL_UNKNOWN();
    CALL(self->table->GetRange(self, in->a, &x, &y, &z));
    CALL(self->table->Get(self, in->a, &x));
    CALL(self->table->Put(self, in->a, in->value));
    CALL(self->table->PutRoi(self, in->a, in->b, in->c, in->d));
    return slot;
}

int call_target(void* object, const SlotArguments* in) {
    vex_render_target* const self = object;
    int slot = 0;
    uint32_t x = 0, y = 0;
    int32_t width = 0, height = 0;
    const vex_point_f from = {1.5f, 2.5f}, to = {3.5f, 4.5f};
    const vex_rect_f rectangle = {1.25f, 2.25f, 3.25f, 4.25f};
    const vex_picture* const picture = in->first;
    const vex_text_format* const format = in->second;
    const vex_char* const text = in->third;
    self->table->GetDpi(self, &x, &y);
    CALL(x);
    self->table->DrawBitmap(self, picture, &rectangle, 0.75f);
    CALL(*in->written);
    self->table->DrawLine(self, from, to, in->a, 5.5f);
    CALL(*in->written);
    self->table->DrawEllipse(self, from, 6.5f, 7.5f, in->b, 5.5f);
    CALL(*in->written);
    self->table->FillRectangle(self, &rectangle, in->c);
    CALL(*in->written);
    self->table->MeasureText(self, format, text, in->d, &width, &height);
    CALL(width);
    self->table->DrawText(self, format, text, in->d, &rectangle, in->a);
    CALL(*in->written);
    return slot;
}

int call_steps(void* object, const SlotArguments* in) {
    ICameraSteps* const self = object;
    int slot = 0;
    int32_t step = 0;
    uint32_t x = 0, y = 0, z = 0, w = 0;
    CALL_UNKNOWN();
    CALL(self->table->GetControlStep(self, in->a, &step));
    CALL(self->table->GetRegionStep(self, &x, &y, &z, &w));
    return slot;
}
