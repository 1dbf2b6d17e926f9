/// The program is a host: what every host has is used without a prefix.
#pragma once

namespace vexcap::host {}

namespace vexcap::cli {
using namespace host;
}
