#include "hosts/common/files/auto_name.h"

#include <vexcap/settings.h>

#include "hosts/common/failure.h"
#include "hosts/common/text/result_text.h"
#include "hosts/common/text/text.h"

namespace vexcap::host {

namespace {

constexpr size_t pathRoom = 260;  // UTF-16 units that the library writes

}  // namespace

std::string autoPath(const AutoName& rules) {
    const std::u16string extension = toUtf16(rules.extension);
    const std::u16string prefix = toUtf16(rules.prefix.value_or("")), directory = toUtf16(rules.directory.value_or(""));
    const vex_name_rules wanted = {.prefix = rules.prefix ? prefix.c_str() : nullptr,
                                   .directory = rules.directory ? directory.c_str() : nullptr,
                                   .format = rules.format.value_or(VEX_NAME_AS_REMEMBERED),
                                   .subfolders = rules.subfolders.value_or(VEX_FOLDERS_AS_REMEMBERED)};
    vex_char path[pathRoom] = {};
    const HRESULT result = vexcap_auto_path(&wanted, extension.c_str(), path);
    if (result == VEX_E_INSUFFICIENT_BUFFER) throw Failure(exitUsage, "the path is longer than 259 characters");
    if (result == E_INVALIDARG) throw Failure(exitUsage, "prefix and folder make no file name");
    if (result < 0) throw Failure(exitFailure, "the folder for the recording cannot be made: " + resultText(result));
    return toUtf8(path);
}

std::string firstFree(const std::function<std::string()>& ask, const std::function<bool(const std::string&)>& taken,
                      const std::function<bool()>& wait) {
    std::string path = ask();
    for (std::string last; taken(path); path = ask()) {
        if (path == last && !wait()) break;
        last = path;
    }
    return path;
}

}  // namespace vexcap::host
