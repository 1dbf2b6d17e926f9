// The dark field as a part of a sink.
#include <gtest/gtest.h>

#include "frame/dark/dark_field_testing.h"

namespace vexcap::test {
namespace dark_field_sink_test {

TEST(SinkDarkField, ASinkAnswersForItsDarkField) {
    SinkRig rig(SinkMode::Copying);
    void* asked = nullptr;
    ASSERT_EQ(rig.sink.QueryInterface(IID_IDfc, &asked), S_OK);
    IDfc* const dark = static_cast<IDfc*>(asked);
    EXPECT_EQ(dark, static_cast<IDfc*>(&rig.sink));
    EXPECT_EQ(dark->AddRef(), 2u);
    EXPECT_EQ(dark->Release(), 2u);
    void* back = nullptr;
    ASSERT_EQ(dark->QueryInterface(IID_IFrameInfo, &back), S_OK);
    EXPECT_EQ(back, static_cast<IFrameInfo*>(&rig.sink));
}

TEST(SinkDarkField, EveryOperationOfTheInterfaceReachesIt) {
    SinkRig rig(SinkMode::Copying);
    rig.setVideoSize(width, height);
    IDfc& dark = rig.sink;
    Telling heard;
    EXPECT_EQ(dark.IsDfc(), 0);
    EXPECT_EQ(dark.HasDfc(), 0);
    EXPECT_EQ(dark.Enable(1), S_OK);
    EXPECT_EQ(dark.IsDfc(), 1);
    EXPECT_EQ(dark.Capture(1, tell, &heard), 1);
    EXPECT_EQ(rig.sink.Accumulate(frameOf(3).data(), 3, width, height), S_OK);
    EXPECT_EQ(heard.size(), 1u);
    EXPECT_EQ(dark.HasDfc(), 1);
    EXPECT_EQ(dark.Export(path.c_str()), S_OK);
    EXPECT_EQ(rig.disk.bytes(path), fileOf(Bytes(width * height * 3, 3)));
    std::unique_ptr<uint8_t[]> taken;
    int32_t w = 0, h = 0;
    EXPECT_EQ(dark.TakeDark(&taken, &w, &h), S_OK);
    EXPECT_EQ(dark.HasDfc(), 0);
    EXPECT_EQ(dark.SetDark(std::move(taken), w, h), S_OK);
    EXPECT_EQ(dark.HasDfc(), 1);
    EXPECT_EQ(dark.Import(path.c_str()), S_OK);
    Bytes frame = frameOf(10);
    rig.sink.Apply(frame.data(), 3, width, height);
    EXPECT_EQ(frame, frameOf(7));
}

TEST(SinkDarkField, ItsSizeIsThatOfTheVideo) {
    for (const SinkMode mode : everyMode) {
        SinkRig rig(mode);
        IDfc& dark = rig.sink;
        EXPECT_EQ(dark.Capture(1, nullptr, nullptr), 0);
        rig.setVideoSize(width, height);
        EXPECT_EQ(dark.Capture(1, nullptr, nullptr), 1);
        EXPECT_EQ(rig.sink.Accumulate(frameOf(3).data(), 3, width, height), S_OK);
        dark.Enable(1);
        rig.setVideoSize(width, height);
        EXPECT_EQ(dark.HasDfc(), 1);
        EXPECT_EQ(dark.IsDfc(), 1);
        rig.setVideoSize(width, height + 2);
        EXPECT_EQ(dark.HasDfc(), 0);
        EXPECT_EQ(dark.IsDfc(), 0);
    }
}

TEST(SinkDarkField, AnUncorrectedFrameIsShownAsItCame) {
    ReadyRig rig(SinkMode::Copying);
    rig.sink.SetDark(owned(Bytes(readyWidth * readyHeight * 3, 9)), readyWidth, readyHeight);
    rig.sink.Enable(1);
    const Bytes shown = picture(readyWidth, readyHeight, 1);
    rig.show(shown);
    EXPECT_EQ(imageOf(rig.sink), shown);
}

}  // namespace dark_field_sink_test
}  // namespace vexcap::test
