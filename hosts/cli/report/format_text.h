/// A format as JSON.
#pragma once

#include <cstddef>
#include <string>

#include "hosts/cli/host.h"
#include "hosts/common/formats.h"

namespace vexcap::cli {

/// One JSON object.
std::string formatJson(size_t index, const Format& format);

}  // namespace vexcap::cli
