#include "hosts/common/text/version_text.h"

#include <gnu/libc-version.h>
#include <png.h>
#include <tiffio.h>

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
    return softwareText() + "\nlibpng " + png_get_libpng_ver(nullptr) + "\nlibtiff " + tiffVersion() + "\nglibc " +
           gnu_get_libc_version();
}

}  // namespace vexcap::host
