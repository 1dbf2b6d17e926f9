// Why a start failed, in the words of whoever knows the cause.
#pragma once

#include <string>
#include <utility>

#include "base/log.h"

namespace vexcap {

/// What vexcap_last_error reports of one start.
struct Failure {
    HRESULT code = S_OK;
    std::u16string text;

    /// Keeps a cause and writes it to the log. Of several the first one stays: the others follow from it.
    void Keep(Log& log, HRESULT cause, std::u16string sentence) {
        log.Write(VEX_LOG_ERROR, u"%s", sentence);
        if (code != S_OK) return;
        code = cause;
        text = std::move(sentence);
    }
};

}  // namespace vexcap
