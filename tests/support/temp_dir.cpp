#include "tests/support/temp_dir.h"

#include <stdlib.h>

#include <algorithm>
#include <system_error>

namespace vexcap::test {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vexcap-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::system_error(errno, std::generic_category(), pattern);
    directory = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
}

std::vector<std::filesystem::path> TempDir::files() const {
    std::vector<std::filesystem::path> found;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        if (entry.is_regular_file()) found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace vexcap::test
