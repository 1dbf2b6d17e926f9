/// What a result code of the library means to a user.
#pragma once

#include <vexcap/types.h>

#include <string>

namespace vexcap::host {

/// The library's part for compressing and playing is not installed.
constexpr HRESULT noModule = VEX_RESULT(0x8007007Eu);

/// A few words.
std::string resultText(HRESULT result);

}  // namespace vexcap::host
