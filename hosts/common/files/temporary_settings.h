/// Settings for one recording, beside those that are remembered.
#pragma once

#include <string>

namespace vexcap::host {

/// A directory for settings, gone with this object. What is stored there is seen by no other program and remembered by
/// nobody, even when the process is killed. It outlives the engine that uses it.
class TemporarySettings final {
public:
    /// Empty until Make.
    const std::string& Directory() const { return directory; }
    TemporarySettings() = default;
    ~TemporarySettings();
    TemporarySettings(const TemporarySettings&) = delete;
    TemporarySettings& operator=(const TemporarySettings&) = delete;
    /// Throws Failure exitFailure when it cannot be made. Once.
    void Make();

private:
    std::string directory;
};

}  // namespace vexcap::host
