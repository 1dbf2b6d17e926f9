#include "platform/linux/loader.h"

#include <dlfcn.h>
#include <vexcap/types.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <string>
#include <system_error>

#include "base/text.h"
#include "platform/linux/clock.h"
#include "platform/system_info.h"

namespace vexcap {
namespace {

/// The version that the features of this platform correspond to.
int32_t RtlGetVersion(VersionRecord* version) {
    if (!version || version->size != sizeof *version) return int32_t(0xC000000D);  // invalid parameter
    *version = {sizeof *version, 10, 0, 0, 2, {}};
    return 0;
}

uint64_t GetTickCount64() { return LinuxClock().Milliseconds(); }

/// Language and country of the texts' locale in the form "en-US", with terminator; 0 when it names none.
int32_t GetUserDefaultLocaleName(vex_char* buffer, int32_t room) {
    const char* const locale = std::setlocale(LC_MESSAGES, nullptr);
    std::string name = locale ? locale : "";
    name.resize(std::min(name.size(), name.find_first_of(".@")));
    if (name.empty() || name == "C" || name == "POSIX") return 0;
    std::replace(name.begin(), name.end(), '_', '-');
    if (!buffer || room <= int32_t(name.size())) return 0;
    copyToField(buffer, size_t(room), toUtf16(name));
    return int32_t(name.size()) + 1;
}

struct BuiltInSymbol {
    const char* name;
    void* address;
};
struct BuiltInModule {
    std::u16string_view name;
    BuiltInSymbol symbols[2];
};
BuiltInModule builtIn[] = {
    {u"ntdll.dll", {{"RtlGetVersion", reinterpret_cast<void*>(&RtlGetVersion)}, {}}},
    {u"Kernel32.dll",
     {{"GetTickCount64", reinterpret_cast<void*>(&GetTickCount64)},
      {"GetUserDefaultLocaleName", reinterpret_cast<void*>(&GetUserDefaultLocaleName)}}},
};

/// The built-in module behind a handle, or null.
const BuiltInModule* builtInModule(const void* library) {
    for (const BuiltInModule& module : builtIn)
        if (library == &module) return &module;
    return nullptr;
}

/// Why the last load of this thread failed.
std::u16string loaderWords() {
    const char* const words = dlerror();
    return toUtf16(words ? words : "");
}

}  // namespace

std::filesystem::path ownFolder() {
    static const char anchor = 0;
    Dl_info self = {};
    if (!dladdr(&anchor, &self)) return {};
    std::error_code failure;
    const std::filesystem::path library = std::filesystem::canonical(self.dli_fname, failure);
    return failure ? std::filesystem::path() : library.parent_path() / "vexcap";
}

void* LinuxLoader::Load(std::u16string_view name, std::u16string& problem) {
    for (BuiltInModule& module : builtIn)
        if (module.name == name) return &module;
    // An empty name would mean the program itself; a zero would cut the name.
    if (name.empty() || name.find(u'\0') != name.npos || endsWithExtension(name, ".dll")) {
        problem = u"no library has this name";
        return nullptr;
    }
    const std::string file = toUtf8(name);
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library) return library;
    problem = loaderWords();
    if (own.empty() || file.find('/') != file.npos) return nullptr;
    library = dlopen((own / file).c_str(), RTLD_NOW | RTLD_LOCAL);
    // Either place may have the library, and then a reason of its own.
    if (!library) problem += u"; " + loaderWords();
    return library;
}

void* LinuxLoader::Symbol(void* library, const char* name) {
    if (!library || !name) return nullptr;
    const BuiltInModule* const module = builtInModule(library);
    if (!module) return dlsym(library, name);
    for (const BuiltInSymbol& symbol : module->symbols)
        if (symbol.name && std::strcmp(symbol.name, name) == 0) return symbol.address;
    return nullptr;
}

void LinuxLoader::Free(void* library) {
    if (library && !builtInModule(library)) dlclose(library);
}

}  // namespace vexcap
