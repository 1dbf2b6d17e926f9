// Programs that others wrote, as a test runs them.
#pragma once

#include <cstdio>
#include <string>

namespace vexcap::test {

struct ShellOutput {
    int status = -1;   ///< 0 when the command succeeded.
    std::string text;  ///< What it wrote to standard output and standard error.
};

/// Runs a command and waits for its end.
inline ShellOutput shell(const std::string& command) {
    ShellOutput output;
    FILE* const pipe = ::popen(("{ " + command + "; } 2>&1").c_str(), "r");
    if (pipe == nullptr) return output;
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.text.append(buffer, n);
    output.status = ::pclose(pipe);
    return output;
}

inline bool installed(const std::string& program) { return shell("command -v " + program).status == 0; }

}  // namespace vexcap::test
