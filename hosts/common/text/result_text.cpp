#include "hosts/common/text/result_text.h"

#include <vexcap/report.h>

#include <vector>

#include "hosts/common/text/text.h"

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
    std::vector<vex_char> words(vexcap_result_text(result, nullptr, 0) + 1);
    vexcap_result_text(result, words.data(), static_cast<uint32_t>(words.size()));
    return toUtf8(words.data());
}

}  // namespace vexcap::host
