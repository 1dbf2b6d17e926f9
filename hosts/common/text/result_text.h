/// What a result code of the library means to a user.
#pragma once

#include <vexcap/report.h>
#include <vexcap/types.h>

#include <string>

namespace vexcap::host {

/// The library's part for compressing and playing is not installed.
constexpr HRESULT noModule = VEX_RESULT(0x8007007Eu);

/// A few words.
std::string resultText(HRESULT result);

/// Why the last start of a context failed, or for null what vexcap_init found missing: sentences without a full stop at
/// the end, UTF-8; empty when nothing failed.
std::string lastErrorText(vexcap_context* context);

}  // namespace vexcap::host
