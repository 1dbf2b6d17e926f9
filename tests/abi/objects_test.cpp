// What release 1.0 fixed beyond records and functions: the order of operations of objects that are classes in C++, and
// the bytes of interface identifiers.
#include <gtest/gtest.h>
#include <vexcap/camera_library.h>
#include <vexcap/vexcap.h>

#include <cstring>

namespace abi_objects_test {

/// Place of a virtual function in the table of its class. A pointer to one begins with its offset in bytes; some
/// processors mark it as virtual in the lowest bit.
template <typename Member>
size_t slotOf(Member member) {
    uintptr_t offset = 0;
    std::memcpy(&offset, &member, sizeof offset);
    return (offset & ~uintptr_t(1)) / sizeof(void*);
}

TEST(Abi, RenderTargetsKeepTheirOrder) {
    EXPECT_EQ(slotOf(&vex_render_target::GetDpi), 0u);
    EXPECT_EQ(slotOf(&vex_render_target::DrawBitmap), 1u);
    EXPECT_EQ(slotOf(&vex_render_target::DrawLine), 2u);
    EXPECT_EQ(slotOf(&vex_render_target::DrawEllipse), 3u);
    EXPECT_EQ(slotOf(&vex_render_target::FillRectangle), 4u);
    EXPECT_EQ(slotOf(&vex_render_target::MeasureText), 5u);
    EXPECT_EQ(slotOf(&vex_render_target::DrawText), 6u);
}

TEST(Abi, CameraObjectsKeepTheirSize) {
    // A table pointer and nothing else, as C sees them.
    EXPECT_EQ(sizeof(ICamera), sizeof(void*));
    EXPECT_EQ(sizeof(vex_render_target), sizeof(void*));
}

TEST(Abi, IdentifiersKeepTheirBytes) {
    const struct {
        const vex_guid& identifier;
        uint8_t bytes[17];
    } frozen[] = {
        {VEX_IID_UNKNOWN, "\x00\x00\x00\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46"},
        {VEX_IID_CAMERA_STATUS, "\x13\x8E\x8A\xF5\x5A\x17\xDB\x40\xA2\xB2\x41\xCA\x34\x07\xCB\x96"},
        {VEX_IID_CAMERA_STILL, "\xA0\xEE\x78\xE9\xFF\xA0\x5F\x46\xAB\x35\x65\x90\x7B\x8C\x62\xAC"},
        {VEX_IID_CAMERA_PREVIEW_SIZE, "\xB5\xEA\xB8\x66\x94\xB5\x41\x41\x95\xFC\x69\x1A\x81\xB4\x45\xF6"},
        {VEX_IID_CAMERA_RAW, "\x58\x0C\x0E\x1B\x1F\x5D\x5F\x4C\x9A\x57\x7C\x2D\x6B\x1E\x9A\x41"},
        {VEX_IID_CAMERA_CONTROLS, "\x17\x6A\x2F\x8E\x44\x3C\x0B\x4E\x8D\x0A\x52\xB7\xF1\xC6\xD9\x03"},
    };
    for (const auto& [identifier, bytes] : frozen) EXPECT_EQ(std::memcmp(&identifier, bytes, sizeof identifier), 0);
}

}  // namespace abi_objects_test
