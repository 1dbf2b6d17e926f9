#include "hosts/common/text/result_text.h"

#include <vector>

#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

/// The whole text of a function that returns its length.
template <typename Function>
std::string textOf(const Function& write) {
    std::vector<vex_char> buffer(write(nullptr, 0) + 1);
    write(buffer.data(), static_cast<uint32_t>(buffer.size()));
    return toUtf8(buffer.data());
}

}  // namespace

std::string resultText(HRESULT result) {
    switch (result) {
        case E_ACCESSDENIED:
            return "permission denied";
        case E_OUTOFMEMORY:
            return "out of memory";
        case VEX_E_FILE_NOT_FOUND:
        case VEX_E_PATH_NOT_FOUND:
            return "a directory of the path is missing, or is none";
        case VEX_E_DISK_FULL:
            return "the disk is full";
        case VEX_E_BUSY:
            return "another program uses it";
        case noModule:
            return "libvexcap-media.so.1, which compresses and plays video, is not installed";
        default:
            break;
    }
    return textOf([result](vex_char* buffer, uint32_t room) { return vexcap_result_text(result, buffer, room); });
}

std::string lastErrorText(vexcap_context* context) {
    std::string text = textOf(
        [context](vex_char* buffer, uint32_t room) { return vexcap_last_error(context, nullptr, buffer, room); });
    text.erase(text.find_last_not_of(" .\r\n") + 1);
    return text;
}

}  // namespace vexcap::host
