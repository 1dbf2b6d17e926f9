/// What a result code of the library means to a user.
#pragma once

#include <vexcap/types.h>

#include <string>

namespace vexcap::cli {

/// A few words; the number where there are none.
std::string resultText(HRESULT result);

}  // namespace vexcap::cli
