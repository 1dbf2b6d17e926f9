#include "hosts/common/text/result_text.h"

#include <cstdio>

namespace vexcap::host {

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
    char text[24];
    std::snprintf(text, sizeof text, "error 0x%08X", static_cast<unsigned>(result));
    return text;
}

}  // namespace vexcap::host
