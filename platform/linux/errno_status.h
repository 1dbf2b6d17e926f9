// The system's error numbers as codes of this library, and back.
#pragma once

#include "base/status.h"

namespace vexcap {

/// Never a success: a number that has no code of its own is E_FAIL.
Status statusFromErrno(int number);

/// The error number that a code stands for, 0 when it stands for none.
int errnoFromStatus(HRESULT code);

}  // namespace vexcap
