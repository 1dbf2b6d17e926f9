#include "hosts/common/text/version_text.h"

#include <gnu/libc-version.h>
#include <png.h>
#include <tiffio.h>
#include <vexcap/version.h>

namespace vexcap::host {

namespace {

/// "LIBTIFF, Version 4.5.0" and lines about its authors.
std::string tiffVersion() {
    const std::string text = TIFFGetVersion();
    const size_t begin = text.find_first_of("0123456789");
    return begin == text.npos ? text : text.substr(begin, text.find('\n') - begin);
}

}  // namespace

std::string softwareText() { return "vexcap " VEXCAP_VERSION; }

std::string versionText() {
    const uint32_t library = vexcap_version();
    const std::string parts = std::to_string(library >> 16) + "." + std::to_string(library >> 8 & 0xFF) + "." +
                              std::to_string(library & 0xFF);
    return softwareText() + "\nlibvexcap " + parts + "\nlibpng " + png_get_libpng_ver(nullptr) + "\nlibtiff " +
           tiffVersion() + "\nglibc " + gnu_get_libc_version();
}

}  // namespace vexcap::host
