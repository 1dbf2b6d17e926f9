#include "platform/linux/video/video_devices.h"

#include <gtest/gtest.h>

#include "platform/linux/video/v4l2_testing.h"

namespace vexcap {
namespace video_devices_test {

using test::ScriptedV4l2;

VideoNode usbNode(std::string path, std::string serial, std::string place, uint32_t index) {
    return {std::move(path), "usb", std::move(place), index, 0x46d, 0x825, std::move(serial), ""};
}

TEST(VideoDevices, NamesTellKindUnitAndPlace) {
    EXPECT_EQ(videoDisplayName(usbNode("/dev/video3", "A1B2", "1-2.3:1.0", 0)),
              u"@device:v4l2:usb#vid_046d&pid_0825#A1B2#1-2.3:1.0.0");
    EXPECT_EQ(videoDisplayName(usbNode("/dev/video0", "", "2-1:1.2", 1)),
              u"@device:v4l2:usb#vid_046d&pid_0825##2-1:1.2.1");
    // A serial number may hold anything, but takes no part of the name for itself.
    EXPECT_EQ(videoDisplayName(usbNode("/dev/video0", "a#b c\n\xff", "2-1:1.2", 1)),
              u"@device:v4l2:usb#vid_046d&pid_0825#a_b_c_\uFFFD#2-1:1.2.1");
    EXPECT_EQ(videoDisplayName({"/dev/video2", "pci", "0000:02:00.0", 1, 0, 0, "", ""}),
              u"@device:v4l2:pci#0000:02:00.0#1");
    EXPECT_EQ(videoDisplayName({"/dev/video9", "", "", 0, 0, 0, "", ""}), u"@device:sw:{video4linux}#video9");
}

TEST(VideoDevices, NamesStayWhenNodesGetOtherNumbers) {
    EXPECT_EQ(videoDisplayName(usbNode("/dev/video0", "A1B2", "1-2.3:1.0", 0)),
              videoDisplayName(usbNode("/dev/video7", "A1B2", "1-2.3:1.0", 0)));
}

TEST(VideoDevices, ParseKnowsTheNamesOfThisSystem) {
    LinuxVideoDevices devices;
    for (const char16_t* name : {u"@device:v4l2:usb#vid_046d&pid_0825#A1B2#1-2.3:1.0.0", u"@device:v4l2:platform#x#0",
                                 u"@device:sw:{video4linux}#video9"})
        EXPECT_TRUE(devices.Parse(name));
    for (const std::u16string_view name :
         {std::u16string_view(u""), std::u16string_view(u"@device:"), std::u16string_view(u"@device:v4l2:"),
          std::u16string_view(u"@device:sw:{"), std::u16string_view(u"@device:pnp:\\\\?\\usb#vid_046d"),
          std::u16string_view(u"!camera"), std::u16string_view(u" @device:v4l2:x"),
          std::u16string_view(u"@device:v4l2:x\0y", 15)}) {
        EXPECT_FALSE(devices.Parse(name));
        EXPECT_EQ(devices.Open(name).code(), E_INVALIDARG);
    }
}

TEST(VideoDevices, OnlyCaptureNodesWithANameAreListed) {
    ScriptedV4l2 kernel;
    const std::vector<VideoNode> nodes = {usbNode("/dev/video0", "A1B2", "1-2:1.0", 0)};
    LinuxVideoDevices devices(kernel, [&] { return nodes; });
    ASSERT_EQ(devices.List().size(), 1u);
    EXPECT_EQ(devices.List()[0].displayName, u"@device:v4l2:usb#vid_046d&pid_0825#A1B2#1-2:1.0.0");
    EXPECT_EQ(devices.List()[0].friendlyName, u"Scripted camera");

    const v4l2_capability good = kernel.about;
    struct {
        const char* what;
        uint32_t capabilities;
    } const others[] = {
        {"metadata", V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING},
        {"output", V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING},
        {"several planes", V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING},
        {"a converter", V4L2_CAP_VIDEO_M2M | V4L2_CAP_STREAMING},
        {"a converter that says it captures", V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_M2M | V4L2_CAP_STREAMING},
        {"a touch pad", V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_TOUCH | V4L2_CAP_STREAMING},
        {"reading alone", V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE},
        {"nothing", 0},
    };
    for (const auto& row : others) {
        // The card as a whole captures, the node does not.
        kernel.about.device_caps = row.capabilities;
        EXPECT_TRUE(devices.List().empty()) << row.what;
        EXPECT_EQ(devices.Open(u"@device:v4l2:usb#vid_046d&pid_0825#A1B2#1-2:1.0.0").code(), E_NOTIMPL) << row.what;
    }
    // An old driver tells of the card alone.
    kernel.about.capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    EXPECT_EQ(devices.List().size(), 1u);
    kernel.about = good;
    std::memset(kernel.about.card, 'x', sizeof kernel.about.card);  // not terminated
    EXPECT_EQ(devices.List()[0].friendlyName, std::u16string(32, u'x'));
    kernel.about.card[0] = 0;
    EXPECT_TRUE(devices.List().empty());
    EXPECT_EQ(kernel.openNodes, 0);
}

TEST(VideoDevices, ADeviceThatCannotBeOpenedIsListedWhereTheSystemKnowsItsCard) {
    ScriptedV4l2 kernel;
    std::vector<VideoNode> nodes = {usbNode("/dev/video0", "A1B2", "1-2:1.0", 0)};
    LinuxVideoDevices devices(kernel, [&] { return nodes; });
    kernel.failingCall = 0;
    kernel.failingFromThere = true;
    kernel.failure = EACCES;
    EXPECT_TRUE(devices.List().empty());
    nodes[0].card = "Forbidden camera";
    ASSERT_EQ(devices.List().size(), 1u);
    EXPECT_EQ(devices.List()[0].friendlyName, u"Forbidden camera");
    EXPECT_EQ(devices.Open(devices.List()[0].displayName).code(), E_ACCESSDENIED);
}

TEST(VideoDevices, OpenFindsTheNodeThatTheNameHasNow) {
    ScriptedV4l2 kernel;
    kernel.path = "/dev/video4";
    std::vector<VideoNode> nodes = {usbNode("/dev/video3", "A1B2", "1-2:1.0", 1),
                                    usbNode("/dev/video4", "A1B2", "1-2:1.0", 0)};
    LinuxVideoDevices devices(kernel, [&] { return nodes; });
    const std::u16string name = videoDisplayName(nodes[1]);
    auto device = devices.Open(name);
    ASSERT_TRUE(device.ok());
    EXPECT_EQ(kernel.openNodes, 1);
    EXPECT_TRUE(device.value()->Check().ok());
    EXPECT_EQ(devices.Open(videoDisplayName(nodes[0])).code(), VEX_E_FILE_NOT_FOUND);  // its node has gone meanwhile
    nodes.pop_back();
    EXPECT_EQ(devices.Open(name).code(), VEX_E_FILE_NOT_FOUND);
    std::move(device).value().reset();
    EXPECT_EQ(kernel.openNodes, 0);
}

TEST(VideoDevices, WhatThisSystemHasIsListedUnderNamesOfItsOwn) {
    LinuxVideoDevices devices;
    for (const VideoDeviceEntry& entry : devices.List()) {
        EXPECT_TRUE(devices.Parse(entry.displayName));
        EXPECT_FALSE(entry.friendlyName.empty());
    }
    EXPECT_EQ(devices.Open(u"@device:v4l2:platform#no-such-device#0").code(), VEX_E_FILE_NOT_FOUND);
}

TEST(V4l2Calls, TheSystemsOwnAnswerWithItsErrorNumbers) {
    V4l2Calls& system = systemV4l2Calls();
    int fd = -1;
    EXPECT_EQ(system.Open("/dev/no-such-node", fd), ENOENT);
    ASSERT_EQ(system.Open("/dev/null", fd), 0);
    v4l2_capability about = {};
    EXPECT_EQ(system.Control(fd, VIDIOC_QUERYCAP, &about), ENOTTY);
    void* memory = nullptr;
    EXPECT_NE(system.Map(fd, 4096, 0, memory), 0);
    EXPECT_EQ(memory, nullptr);
    pollfd watched[] = {{fd, POLLIN, 0}};
    EXPECT_EQ(system.Poll(watched, 0), 0);
    EXPECT_TRUE(watched[0].revents & POLLIN);
    system.Close(fd);
    EXPECT_EQ(system.Control(fd, VIDIOC_QUERYCAP, &about), EBADF);
    const int64_t before = system.Now();
    EXPECT_GE(system.Now(), before);
    EXPECT_EQ(V4l2Node::open(system, "/dev/no-such-node").code(), VEX_E_FILE_NOT_FOUND);
}

}  // namespace video_devices_test
}  // namespace vexcap
