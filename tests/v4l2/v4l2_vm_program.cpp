// The video devices of this system against a driver of the kernel: runs inside the virtual machine of v4l2_vm.sh.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <thread>

#include "base/dib.h"
#include "base/text.h"
#include "platform/linux/video/video_devices.h"

namespace vexcap {
namespace {

using Device = std::unique_ptr<IVideoDevice>;

// Controls of the driver, by number: most of its faults are buttons, which are no numbers that a device lets be set.
constexpr uint32_t dropPercentage = 0x00f0f040;
constexpr uint32_t disconnectButton = 0x00f0f041;
constexpr uint32_t damageButton = 0x00f0f042;
constexpr uint32_t bufferSetupButton = 0x00f0f043;
constexpr uint32_t bufferPrepareButton = 0x00f0f044;
constexpr uint32_t startButton = 0x00f0f045;
constexpr uint32_t streamErrorButton = 0x00f0f046;

int64_t now() { return systemV4l2Calls().Now(); }

Device open(size_t camera) {
    LinuxVideoDevices devices;
    const auto list = devices.List();
    if (camera >= list.size()) return nullptr;
    auto opened = devices.Open(list[camera].displayName);
    return opened.ok() ? std::move(opened).value() : nullptr;
}

uint32_t controlNamed(IVideoDevice& device, std::u16string_view name) {
    for (const VideoControl& control : device.Controls())
        if (control.name == name) return control.id;
    ADD_FAILURE() << "no control " << toUtf8(name);
    return 0;
}

VideoFormat formatOf(IVideoDevice& device, uint32_t layout, uint32_t width, uint32_t height) {
    for (const VideoFormat& format : device.Formats())
        if (format.fourcc == layout && format.width == width && format.height == height) return format;
    ADD_FAILURE() << "no such format";
    return {};
}

/// A device that shows 320x180 pixels of its colour bars, as quickly as it can.
Device openShowingBars() {
    Device device = open(0);
    if (!device) return device;
    EXPECT_TRUE(device->PutControl(controlNamed(*device, u"OSD Text Mode"), 2).ok());
    EXPECT_TRUE(device->SetMode(formatOf(*device, fourcc("YUY2"), 320, 180), 0).ok());
    return device;
}

void write(const char* path, const char* text) {
    std::ofstream file(path);
    file << text << std::flush;
    ASSERT_TRUE(file) << path;
}

/// Memory for StartInto.
struct Memory {
    Memory(size_t count, size_t bytes) {
        const size_t room = (bytes + 4095) / 4096 * 4096;
        for (size_t i = 0; i < count; ++i)
            pieces.emplace_back(static_cast<std::byte*>(std::aligned_alloc(4096, room)), room);
    }
    ~Memory() {
        for (const auto& piece : pieces) std::free(piece.data());
    }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;
    std::vector<std::span<std::byte>> pieces;
};

struct Colour {
    int red, green, blue;
};
/// The bars from left to right, at 75% of full scale.
constexpr Colour bars[] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                           {191, 0, 191},   {191, 0, 0},   {0, 0, 191},   {0, 0, 0}};

/// What the driver makes of a colour: grey pictures of full range after Rec. 709, colour differences after Rec. 601.
int greyOf(const Colour& c) { return (2126 * c.red + 7152 * c.green + 722 * c.blue) / 10000; }

struct Light {
    double luma, blueness, redness;
};
Light lightOf(const Colour& c) {
    const double luma = 0.299 * c.red + 0.587 * c.green + 0.114 * c.blue;
    return {16 + luma * 219 / 255, 128 + (c.blue - luma) / 1.772 * 224 / 255, 128 + (c.red - luma) / 1.402 * 224 / 255};
}

struct Picture {
    const uint8_t* data;
    const VideoMode& mode;
    int Byte(size_t x, size_t y) const { return data[y * mode.stride + x]; }
    int Word(size_t x, size_t y) const { return Byte(2 * x, y) | Byte(2 * x + 1, y) << 8; }
};

/// Colour of a mosaic at a place: `names` are those of the first two rows.
int Colour::*mosaicColour(const char* names, size_t x, size_t y) {
    const char name = names[(y % 2) * 2 + x % 2];
    return name == 'R' ? &Colour::red : name == 'G' ? &Colour::green : &Colour::blue;
}

struct Mosaic {
    uint32_t layout;
    const char* names;
    int bits;
};
constexpr Mosaic mosaics[] = {
    {fourcc("RGGB"), "RGGB", 8},  {fourcc("GRBG"), "GRBG", 8},  {fourcc("GBRG"), "GBRG", 8},
    {fourcc("BGGR"), "BGGR", 8},  {fourcc("RG10"), "RGGB", 10}, {fourcc("BA10"), "GRBG", 10},
    {fourcc("GB10"), "GBRG", 10}, {fourcc("BG10"), "BGGR", 10}, {fourcc("RG12"), "RGGB", 12},
    {fourcc("BA12"), "GRBG", 12}, {fourcc("GB12"), "GBRG", 12}, {fourcc("BG12"), "BGGR", 12},
    {fourcc("RG16"), "RGGB", 16}, {fourcc("GR16"), "GRBG", 16}, {fourcc("GB16"), "GBRG", 16},
    {fourcc("BYR2"), "BGGR", 16},
};

/// Looks at the middle of each bar. The driver rounds its colours on the way.
void expectBars(const Picture& picture) {
    const VideoMode& mode = picture.mode;
    const uint32_t layout = mode.format.fourcc;
    const size_t y = mode.format.height / 2 & ~size_t(1);
    for (size_t bar = 0; bar < 8; ++bar) {
        SCOPED_TRACE("bar " + std::to_string(bar));
        const size_t x = (2 * bar + 1) * mode.format.width / 16 & ~size_t(1);
        const Colour& colour = bars[bar];
        const Light light = lightOf(colour);
        if (layout == fourcc("YUY2") || layout == fourcc("UYVY")) {
            const size_t first = layout == fourcc("YUY2") ? 0 : 1;
            EXPECT_NEAR(picture.Byte(2 * x + first, y), light.luma, 2);
            EXPECT_NEAR(picture.Byte(2 * x + 1 - first, y), light.blueness, 2);
            EXPECT_NEAR(picture.Byte(2 * x + 3 - first, y), light.redness, 2);
        } else if (layout == fourcc("NV12")) {
            EXPECT_NEAR(picture.Byte(x, y), light.luma, 2);
            EXPECT_NEAR(picture.Byte(x, mode.format.height + y / 2), light.blueness, 2);
            EXPECT_NEAR(picture.Byte(x + 1, mode.format.height + y / 2), light.redness, 2);
        } else if (layout == fourcc("Y800")) {
            EXPECT_NEAR(picture.Byte(x, y), greyOf(colour), 2);
        } else if (layout == fourcc("Y10 ") || layout == fourcc("Y12 ") || layout == fourcc("Y16 ")) {
            const int bits = layout == fourcc("Y10 ") ? 10 : layout == fourcc("Y12 ") ? 12 : 16;
            EXPECT_NEAR(picture.Word(x, y) >> (bits - 8), greyOf(colour), 2);
        } else if (layout == fourcc("BGR3") || layout == fourcc("RGB3")) {
            const bool blueFirst = layout == fourcc("BGR3");
            EXPECT_NEAR(picture.Byte(3 * x + (blueFirst ? 0 : 2), y), colour.blue, 2);
            EXPECT_NEAR(picture.Byte(3 * x + 1, y), colour.green, 2);
            EXPECT_NEAR(picture.Byte(3 * x + (blueFirst ? 2 : 0), y), colour.red, 2);
        } else {
            const auto mosaic = std::ranges::find(mosaics, layout, &Mosaic::layout);
            ASSERT_NE(mosaic, std::end(mosaics));
            for (size_t dy = 0; dy < 2; ++dy)
                for (size_t dx = 0; dx < 2; ++dx) {
                    const int value = mosaic->bits == 8 ? picture.Byte(x + dx, y + dy)
                                                        : picture.Word(x + dx, y + dy) >> (mosaic->bits - 8);
                    EXPECT_NEAR(value, colour.*mosaicColour(mosaic->names, dx, dy), 2) << dx << "," << dy;
                }
        }
    }
}

/// Takes `count` frames of a device that streams, and looks at each.
void expectFrames(IVideoDevice& device, const VideoMode& mode, int count,
                  const std::set<const std::byte*>& places = {}) {
    uint32_t lastSequence = 0;
    int64_t lastTime = 0;
    for (int i = 0; i < count; ++i) {
        const auto next = device.Next(5000);
        ASSERT_TRUE(next.ok()) << "frame " << i << ": " << std::hex << next.code();
        const VideoFrame& frame = next.value();
        EXPECT_EQ(frame.bytes, mode.frameBytes);
        EXPECT_FALSE(frame.damaged);
        // The driver counts by its clock: two frames have one number when the first of them came late.
        EXPECT_GE(frame.sequence, lastSequence);
        lastSequence = frame.sequence;
        EXPECT_GT(frame.time, lastTime);
        EXPECT_LE(frame.time, now());
        EXPECT_GT(frame.time, now() - 50'000'000);
        lastTime = frame.time;
        EXPECT_TRUE(places.empty() || places.contains(frame.data));
        if (i == 0 || i == count - 1) expectBars({reinterpret_cast<const uint8_t*>(frame.data), mode});
        ASSERT_TRUE(device.GiveBack(frame.index).ok());
    }
    EXPECT_GE(lastSequence + 2, uint32_t(count) / 2);
}

void expectStream(IVideoDevice& device, const VideoMode& mode, int frames) {
    ASSERT_TRUE(device.Start(4).ok());
    expectFrames(device, mode, frames);
    device.Stop();
    Memory memory(4, mode.frameBytes);
    std::set<const std::byte*> places;
    for (const auto& piece : memory.pieces) places.insert(piece.data());
    ASSERT_TRUE(device.StartInto(memory.pieces).ok());
    expectFrames(device, mode, frames, places);
    device.Stop();
}

TEST(Catalogue, CaptureNodesOfOnePlaneAreListedAndNothingElse) {
    EXPECT_EQ(udevVideoNodes().size(), 4u);  // one is for metadata, one for several planes
    LinuxVideoDevices devices;
    const auto list = devices.List();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].displayName, u"@device:v4l2:platform#vivid.0#0");
    EXPECT_EQ(list[1].displayName, u"@device:v4l2:platform#vivid.0#2");
    for (const auto& entry : list) {
        EXPECT_EQ(entry.friendlyName, u"vivid");
        EXPECT_TRUE(devices.Parse(entry.displayName));
        EXPECT_TRUE(devices.Open(entry.displayName).ok());
    }
    EXPECT_EQ(devices.Open(u"@device:v4l2:platform#vivid.0#1").code(), E_NOTIMPL);
    EXPECT_EQ(devices.Open(u"@device:v4l2:platform#vivid.0#9").code(), VEX_E_FILE_NOT_FOUND);
}

TEST(Formats, EveryLayoutThatTheDriverHasShowsItsBarsInBothKindsOfMemory) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    std::set<uint32_t> layouts;
    for (const VideoFormat& format : device->Formats()) {
        EXPECT_EQ(format.width, format.minWidth);
        EXPECT_EQ(format.height, format.maxHeight);
        EXPECT_GT(format.minInterval, 0);
        EXPECT_LT(format.minInterval, format.maxInterval);
        if (!layouts.insert(format.fourcc).second) continue;
        SCOPED_TRACE(std::string(reinterpret_cast<const char*>(&format.fourcc), 4));
        const auto mode = device->SetMode(format, 0);
        ASSERT_TRUE(mode.ok());
        EXPECT_EQ(mode.value().interval, format.minInterval);
        EXPECT_EQ(device->Mode().value().format.fourcc, format.fourcc);
        EXPECT_EQ(device->Mode().value().interval, format.minInterval);
        expectStream(*device, mode.value(), 10);
        if (HasFailure()) return;
    }
    EXPECT_EQ(layouts.size(), 25u);  // all but MJPG
}

TEST(Formats, SizesAndRatesAreThoseThatWereAskedFor) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    struct {
        uint32_t layout, width, height;
        int64_t wanted, given;
        int frames;
    } const rows[] = {
        {fourcc("BGR3"), 320, 180, 333'333, 333'333, 30}, {fourcc("YUY2"), 640, 360, 300'000, 333'333, 30},
        {fourcc("Y800"), 640, 480, 0, 400'000, 10},       {fourcc("RGGB"), 1280, 720, 1, 800'000, 5},
        {fourcc("NV12"), 1920, 1080, 0, 2'000'000, 2},    {fourcc("Y16 "), 320, 180, 1'000'000'000, 10'000'000, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.width));
        const auto mode = device->SetMode(formatOf(*device, row.layout, row.width, row.height), row.wanted);
        ASSERT_TRUE(mode.ok());
        EXPECT_EQ(mode.value().interval, row.given);
        EXPECT_EQ(mode.value().format.width, row.width);
        ASSERT_TRUE(device->Start(4).ok());
        const int64_t begin = now();
        expectFrames(*device, mode.value(), row.frames);
        EXPECT_GE(now() - begin, (row.frames - 2) * row.given);
        device->Stop();
    }
}

TEST(Formats, WhatTheDeviceDoesNotTakeLeavesItAsItWas) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    VideoFormat format = formatOf(*device, fourcc("YUY2"), 320, 180);
    format.width = 321;
    EXPECT_EQ(device->SetMode(format, 0).code(), E_INVALIDARG);
    format.fourcc = fourcc("MJPG");
    EXPECT_EQ(device->SetMode(format, 0).code(), E_INVALIDARG);
    EXPECT_EQ(device->Mode().value().format.fourcc, fourcc("YUY2"));
    EXPECT_EQ(device->Mode().value().format.width, 320u);
}

TEST(Stream, ASecondProgramIsToldThatTheDeviceIsBusy) {
    Device device = openShowingBars(), other = open(0);
    ASSERT_TRUE(device && other);
    ASSERT_TRUE(device->Start(4).ok());
    EXPECT_EQ(other->SetMode(formatOf(*other, fourcc("Y800"), 640, 480), 0).code(), VEX_E_BUSY);
    EXPECT_EQ(other->Start(4).code(), VEX_E_BUSY);
    Memory memory(4, other->Mode().value().frameBytes);
    EXPECT_EQ(other->StartInto(memory.pieces).code(), VEX_E_BUSY);
    other->Stop();
    expectFrames(*device, device->Mode().value(), 3);
    device->Stop();
    EXPECT_TRUE(other->Start(4).ok());
}

TEST(Stream, AnInterruptEndsOneWaitAndTheStreamGoesOn) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    ASSERT_TRUE(device->SetMode(formatOf(*device, fourcc("YUY2"), 320, 180), 10'000'000).ok());
    ASSERT_TRUE(device->Start(4).ok());
    std::thread other([&] { device->Interrupt(); });
    for (;;) {
        const auto frame = device->Next(60'000);
        if (frame.code() == VEX_E_INTERRUPTED) break;
        EXPECT_TRUE(frame.ok());  // it came before the interrupt
        if (!frame.ok() || !device->GiveBack(frame.value().index).ok()) break;
    }
    other.join();
    expectFrames(*device, device->Mode().value(), 1);
}

TEST(Stream, TwoDevicesStreamAtOnce) {
    Device first = openShowingBars(), second = open(1);
    ASSERT_TRUE(first && second);
    ASSERT_TRUE(second->PutControl(controlNamed(*second, u"OSD Text Mode"), 2).ok());
    ASSERT_TRUE(second->SetMode(formatOf(*second, fourcc("BGR3"), 640, 360), 0).ok());
    ASSERT_TRUE(first->Start(4).ok());
    ASSERT_TRUE(second->Start(4).ok());
    expectFrames(*second, second->Mode().value(), 5);
    expectFrames(*first, first->Mode().value(), 5);
}

TEST(Controls, ArePutAndReadAndTellWhatTheyAre) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    std::set<std::u16string> names;
    bool gainInactive = false, readOnly = false;
    for (const VideoControl& control : device->Controls()) {
        names.insert(control.name);
        if (control.name == u"Gain") gainInactive = control.inactive;
        readOnly |= control.readOnly;
        int32_t value = 0;
        EXPECT_TRUE(device->GetControl(control.id, value).ok()) << toUtf8(control.name);
        EXPECT_LE(control.least, value);
        EXPECT_GE(control.most, value);
    }
    EXPECT_TRUE(gainInactive);
    EXPECT_TRUE(readOnly);
    for (const char16_t* name : {u"Brightness", u"Boolean", u"Integer 32 Bits", u"Menu", u"Integer Menu"})
        EXPECT_TRUE(names.contains(name)) << toUtf8(name);
    for (const char16_t* name : {u"Button", u"String", u"Bitmask", u"Integer 64 Bits", u"Disconnect", u"User Controls"})
        EXPECT_FALSE(names.contains(name)) << toUtf8(name);

    const uint32_t brightness = controlNamed(*device, u"Brightness");
    int32_t value = 0;
    EXPECT_TRUE(device->PutControl(brightness, 77).ok());
    EXPECT_TRUE(device->GetControl(brightness, value).ok());
    EXPECT_EQ(value, 77);
    EXPECT_TRUE(device->PutControl(brightness, 128).ok());
    EXPECT_EQ(device->PutControl(controlNamed(*device, u"Read-Only Integer 32 Bits"), 1).code(), E_ACCESSDENIED);
    EXPECT_EQ(device->PutControl(controlNamed(*device, u"Menu"), 2).code(), E_INVALIDARG);  // the menu has a hole there
    EXPECT_EQ(device->GetControl(1, value).code(), E_INVALIDARG);

    const uint32_t automatic = controlNamed(*device, u"Gain, Automatic");
    EXPECT_TRUE(device->PutControl(automatic, 0).ok());
    for (const VideoControl& control : device->Controls()) EXPECT_FALSE(control.name == u"Gain" && control.inactive);
    EXPECT_TRUE(device->PutControl(automatic, 1).ok());
}

TEST(Faults, AStartThatFailsLeavesADeviceThatStartsAgain) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    const VideoMode mode = device->Mode().value();
    Memory memory(4, mode.frameBytes);
    for (const uint32_t button : {bufferSetupButton, bufferPrepareButton, startButton}) {
        SCOPED_TRACE(button);
        ASSERT_TRUE(device->PutControl(button, 1).ok());
        EXPECT_EQ(device->Start(4).code(), E_INVALIDARG);
        expectStream(*device, mode, 2);
        ASSERT_TRUE(device->PutControl(button, 1).ok());
        EXPECT_FALSE(device->StartInto(memory.pieces).ok());
        expectStream(*device, mode, 2);
    }
}

TEST(Faults, ADamagedFrameIsToldAndTheNextIsWhole) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    const VideoMode mode = device->Mode().value();
    ASSERT_TRUE(device->Start(4).ok());
    ASSERT_TRUE(device->PutControl(damageButton, 1).ok());
    int damaged = 0;
    for (int i = 0; i < 8; ++i) {
        const auto frame = device->Next(5000);
        ASSERT_TRUE(frame.ok());
        damaged += frame.value().damaged;
        ASSERT_TRUE(device->GiveBack(frame.value().index).ok());
    }
    EXPECT_EQ(damaged, 1);
    expectFrames(*device, mode, 2);
}

TEST(Faults, FramesThatTheDeviceDropsAreMissingInItsCount) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    ASSERT_TRUE(device->PutControl(dropPercentage, 50).ok());
    ASSERT_TRUE(device->Start(4).ok());
    uint32_t first = 0, last = 0;
    constexpr uint32_t frames = 20;
    for (uint32_t i = 0; i < frames; ++i) {
        const auto frame = device->Next(5000);
        ASSERT_TRUE(frame.ok());
        last = frame.value().sequence;
        if (i == 0) first = last;
        ASSERT_TRUE(device->GiveBack(frame.value().index).ok());
    }
    EXPECT_GT(last - first, frames);
    device->Stop();
    EXPECT_TRUE(device->PutControl(dropPercentage, 0).ok());
}

TEST(Faults, AStreamThatBreaksSaysSoAndStartsAnew) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    const VideoMode mode = device->Mode().value();
    ASSERT_TRUE(device->Start(4).ok());
    expectFrames(*device, mode, 2);
    ASSERT_TRUE(device->PutControl(streamErrorButton, 1).ok());
    Status told = S_OK;
    for (int i = 0; i < 8 && told.ok(); ++i) {
        const auto frame = device->Next(5000);
        told = frame.status();
        if (frame.ok()) device->GiveBack(frame.value().index).ignore();
    }
    EXPECT_FALSE(told.ok());
    EXPECT_NE(told.code(), VEX_E_TIMEOUT);
    EXPECT_NE(told.code(), VEX_E_DEVICE_LOST);
    EXPECT_TRUE(device->Check().ok());
    device->Stop();
    expectStream(*device, mode, 2);
}

/// Everything that can be asked of a device that is gone gives an answer.
void expectLost(IVideoDevice& device) {
    EXPECT_EQ(device.Check().code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device.Mode().code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device.Start(4).code(), VEX_E_DEVICE_LOST);
    VideoFormat format;
    format.fourcc = fourcc("YUY2");
    format.width = 320;
    format.height = 180;
    EXPECT_EQ(device.SetMode(format, 0).code(), VEX_E_DEVICE_LOST);
    int32_t value = 0;
    EXPECT_EQ(device.GetControl(0x00980900, value).code(), VEX_E_DEVICE_LOST);
    EXPECT_EQ(device.PutControl(0x00980900, 1).code(), VEX_E_DEVICE_LOST);
    EXPECT_TRUE(device.Formats().empty());
    EXPECT_TRUE(device.Controls().empty());
    device.Interrupt();
    device.Stop();
}

/// Next tells soon that the device went away at `begin`, however long it may wait; frames that came before it may be
/// given first.
void expectLossTold(IVideoDevice& device, int64_t begin) {
    for (;;) {
        const auto frame = device.Next(60'000);
        if (!frame.ok()) {
            EXPECT_EQ(frame.code(), VEX_E_DEVICE_LOST);
            break;
        }
        EXPECT_EQ(device.GiveBack(frame.value().index).code(), VEX_E_DEVICE_LOST);
    }
    EXPECT_LT(now() - begin, 100'000'000);
}

TEST(Loss, ADeviceThatGoesAwayWhileItStreamsIsToldInEveryCall) {
    for (const bool slow : {false, true}) {
        Device device = openShowingBars();
        ASSERT_TRUE(device);
        const int64_t interval = slow ? 10'000'000 : 0;
        ASSERT_TRUE(device->SetMode(formatOf(*device, fourcc("YUY2"), 320, 180), interval).ok());
        ASSERT_TRUE(device->Start(4).ok());
        if (!slow) expectFrames(*device, device->Mode().value(), 3);
        const int64_t begin = now();
        ASSERT_TRUE(device->PutControl(disconnectButton, 1).ok());
        EXPECT_EQ(device->Check().code(), VEX_E_DEVICE_LOST);
        expectLossTold(*device, begin);
        device->Stop();
        expectLost(*device);
    }
    EXPECT_TRUE(openShowingBars()) << "it comes back when nobody has it any more";
}

TEST(Loss, AnIdleDeviceThatGoesAwayIsToldInEveryCall) {
    Device device = openShowingBars();
    ASSERT_TRUE(device);
    ASSERT_TRUE(device->PutControl(disconnectButton, 1).ok());
    expectLost(*device);
}

TEST(Loss, TheListFollowsWhatIsPluggedAndNamesStay) {
    constexpr char unbind[] = "/sys/bus/platform/drivers/vivid/unbind";
    constexpr char bind[] = "/sys/bus/platform/drivers/vivid/bind";
    LinuxVideoDevices devices;
    std::vector<std::u16string> names;
    for (const auto& entry : devices.List()) names.push_back(entry.displayName);
    ASSERT_EQ(names.size(), 2u);
    Device streaming = openShowingBars();
    ASSERT_TRUE(streaming);
    ASSERT_TRUE(streaming->Start(4).ok());
    const int64_t begin = now();
    write(unbind, "vivid.0");
    EXPECT_TRUE(devices.List().empty());
    EXPECT_EQ(devices.Open(names[0]).code(), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(streaming->Check().code(), VEX_E_DEVICE_LOST);
    expectLossTold(*streaming, begin);
    streaming->Stop();
    expectLost(*streaming);

    // The node of the device that somebody still has keeps its number: the same device gets another node now.
    write(bind, "vivid.0");
    std::vector<std::u16string> again;
    for (const auto& entry : devices.List()) again.push_back(entry.displayName);
    EXPECT_EQ(again, names);
    streaming.reset();
    Device back = openShowingBars();
    ASSERT_TRUE(back);
    expectStream(*back, back->Mode().value(), 3);
}

}  // namespace
}  // namespace vexcap
