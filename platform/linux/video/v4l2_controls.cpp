#include "platform/linux/video/v4l2_controls.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>

namespace vexcap {
namespace {

bool isNumber(uint32_t controlType) {
    return controlType == V4L2_CTRL_TYPE_INTEGER || controlType == V4L2_CTRL_TYPE_BOOLEAN ||
           controlType == V4L2_CTRL_TYPE_MENU || controlType == V4L2_CTRL_TYPE_INTEGER_MENU;
}

Status controlStatus(int error) { return error == ERANGE ? Status(E_INVALIDARG) : v4l2Status(error); }

}  // namespace

std::vector<VideoControl> v4l2Controls(const V4l2Node& node) {
    std::vector<VideoControl> controls;
    uint32_t last = 0;
    for (uint32_t i = 0; i < v4l2LongestList; ++i) {
        v4l2_queryctrl about = {};
        about.id = last | V4L2_CTRL_FLAG_NEXT_CTRL;
        if (node.Control(VIDIOC_QUERYCTRL, &about) || about.id <= last) break;
        last = about.id;
        if (!isNumber(about.type) || (about.flags & (V4L2_CTRL_FLAG_DISABLED | V4L2_CTRL_FLAG_WRITE_ONLY))) continue;
        VideoControl control;
        control.id = about.id;
        control.name = v4l2Text(about.name);
        control.least = about.minimum;
        control.most = about.maximum;
        control.step = std::max(about.step, 1);
        control.standard = about.default_value;
        control.readOnly = about.flags & V4L2_CTRL_FLAG_READ_ONLY;
        control.inactive = about.flags & V4L2_CTRL_FLAG_INACTIVE;
        controls.push_back(std::move(control));
    }
    return controls;
}

Status v4l2GetControl(const V4l2Node& node, uint32_t id, int32_t& value) {
    v4l2_control control = {id, 0};
    if (const int error = node.Control(VIDIOC_G_CTRL, &control)) return controlStatus(error);
    value = control.value;
    return S_OK;
}

Status v4l2PutControl(const V4l2Node& node, uint32_t id, int32_t value) {
    v4l2_control control = {id, value};
    const int error = node.Control(VIDIOC_S_CTRL, &control);
    return error ? controlStatus(error) : Status(S_OK);
}

}  // namespace vexcap
