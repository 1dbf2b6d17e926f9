// Video input devices of a Linux system: V4L2 capture nodes, found by udev.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/video/v4l2_calls.h"
#include "platform/video_devices.h"

namespace vexcap {

/// A node of the kernel's video devices, of whatever use, and the device behind it.
struct VideoNode {
    std::string path;                  ///< "/dev/video0".
    std::string bus;                   ///< "usb", "pci", "platform"; empty where no device is behind it, but a program.
    std::string place;                 ///< Of the device on its bus: "1-2.3:1.0", "0000:02:00.0".
    uint32_t index = 0;                ///< Of the node among those of its device, in the order of their numbers.
    uint16_t vendor = 0, product = 0;  ///< USB.
    std::string serial;                ///< USB; empty when it tells none.
    std::string card;                  ///< Card name of a capture node, as the system's records have it; or empty.
};

/// All nodes in the order of their numbers. Empty where the system has no video devices or does not tell of them.
std::vector<VideoNode> udevVideoNodes();

/// "@device:v4l2:usb#vid_046d&pid_0825#SERIAL#1-2.3:1.0.0" by number, unit and place, so that of two cameras of one
/// kind each keeps its name for as long as it stays where it is, whatever number its node gets;
/// "@device:v4l2:pci#0000:02:00.0#0" on other buses; "@device:sw:{video4linux}#video9" for a node that a program feeds.
std::u16string videoDisplayName(const VideoNode& node);

/// Host's thread.
class LinuxVideoDevices final : public IVideoDevices {
public:
    explicit LinuxVideoDevices(V4l2Calls& system = systemV4l2Calls(),
                               std::function<std::vector<VideoNode>()> nodesOfSystem = udevVideoNodes)
        : calls(system), nodes(std::move(nodesOfSystem)) {}
    std::vector<VideoDeviceEntry> List() override;
    Result<std::unique_ptr<IVideoDevice>> Open(std::u16string_view displayName) override;
    bool Parse(std::u16string_view displayName) override;

private:
    V4l2Calls& calls;
    const std::function<std::vector<VideoNode>()> nodes;
};

}  // namespace vexcap
