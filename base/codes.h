// Result codes inside the library, beside those of the boundary (vexcap/types.h), and what all of them mean in words.
#pragma once

#include <vexcap/types.h>

#include <string_view>

namespace vexcap {

// Devices, files and waiting.
inline constexpr HRESULT VEX_E_INTERRUPTED = VEX_RESULT(0x800703E3u);  ///< The waiting was broken off on request.
inline constexpr HRESULT VEX_E_DEVICE_LOST = VEX_RESULT(0x8007048Fu);  ///< Unplugged, or its driver failed for good.
inline constexpr HRESULT VEX_E_TIMEOUT = VEX_RESULT(0x800705B4u);      ///< Nothing came in the time that was given.
inline constexpr HRESULT VEX_E_FILE_EXISTS = VEX_RESULT(0x80070050u);  ///< And may not be replaced.

// The media graph.
inline constexpr HRESULT VFW_S_NO_MORE_ITEMS = VEX_RESULT(0x00040103u);
inline constexpr HRESULT VFW_S_CANT_CUE = VEX_RESULT(0x00040268u);  ///< Paused, and a live source gives no frame.
inline constexpr HRESULT VFW_S_STATE_INTERMEDIATE = VEX_RESULT(0x00040237u);  ///< On the way to the state.
inline constexpr HRESULT VFW_S_NOPREVIEWPIN = VEX_RESULT(0x0004027Eu);  ///< Done; a tee was put in for the preview.
inline constexpr HRESULT VFW_E_ALREADY_CONNECTED = VEX_RESULT(0x80040204u);
inline constexpr HRESULT VFW_E_NO_ACCEPTABLE_TYPES = VEX_RESULT(0x80040207u);
inline constexpr HRESULT VFW_E_NOT_CONNECTED = VEX_RESULT(0x80040209u);
inline constexpr HRESULT VFW_E_NO_ALLOCATOR = VEX_RESULT(0x8004020Au);
inline constexpr HRESULT VFW_E_RUNTIME_ERROR =
    VEX_RESULT(0x8004020Bu);  ///< The stream broke before, which was reported.
inline constexpr HRESULT VFW_E_NOT_COMMITTED = VEX_RESULT(0x80040211u);
inline constexpr HRESULT VFW_E_NOT_FOUND = VEX_RESULT(0x80040216u);
inline constexpr HRESULT VFW_E_CANNOT_CONNECT = VEX_RESULT(0x80040217u);
inline constexpr HRESULT VFW_E_CANNOT_RENDER = VEX_RESULT(0x80040218u);
inline constexpr HRESULT VFW_E_NOT_STOPPED = VEX_RESULT(0x80040224u);
inline constexpr HRESULT VFW_E_WRONG_STATE = VEX_RESULT(0x80040227u);
inline constexpr HRESULT VFW_E_TYPE_NOT_ACCEPTED = VEX_RESULT(0x8004022Au);
inline constexpr HRESULT VFW_E_SAMPLE_REJECTED = VEX_RESULT(0x8004022Bu);
inline constexpr HRESULT VFW_E_DUPLICATE_NAME = VEX_RESULT(0x8004022Du);
inline constexpr HRESULT VFW_E_TIMEOUT = VEX_RESULT(0x8004022Eu);  ///< A buffer or an event did not come in time.
inline constexpr HRESULT VFW_E_SAMPLE_TIME_NOT_SET = VEX_RESULT(0x80040249u);
inline constexpr HRESULT VFW_E_NOT_IN_GRAPH = VEX_RESULT(0x8004025Fu);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = VEX_RESULT(0x80040111u);
inline constexpr HRESULT E_PROP_ID_UNSUPPORTED = VEX_RESULT(0x80070490u);
inline constexpr HRESULT E_PROP_SET_UNSUPPORTED = VEX_RESULT(0x80070492u);

/// The meaning of a code of this library, English, without a full stop; empty for one that is not, and for one that the
/// system has its own words for.
std::u16string_view codeText(HRESULT code);

}  // namespace vexcap
