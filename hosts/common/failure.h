/// The end of a command: thrown where it fails, told to the user by main alone.
#pragma once

#include <stdexcept>
#include <string>

#include "hosts/common/exit_code.h"

namespace vexcap::host {

class Failure final : public std::runtime_error {
public:
    /// @param text  UTF-8, one or more lines without a final line break.
    Failure(ExitCode exitCode, const std::string& text) : std::runtime_error(text), code(exitCode) {}
    const ExitCode code;
};

}  // namespace vexcap::host
