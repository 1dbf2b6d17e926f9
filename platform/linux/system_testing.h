// What tests of this system's adapters need: a directory, an environment and a process of their own.
#pragma once

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vexcap::test {

namespace fs = std::filesystem;

/// A directory that goes away with its test.
struct TestDirectory {
    TestDirectory() {
        std::string pattern = (fs::temp_directory_path() / "vexcap-test-XXXXXX").string();
        root = ::mkdtemp(pattern.data());
    }
    ~TestDirectory() { fs::remove_all(root); }
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;
    fs::path root;
};

/// Sets variables and gives them back their values.
class TestEnvironment {
public:
    TestEnvironment() = default;
    ~TestEnvironment() {
        for (const auto& [name, value] : before) assign(name, value ? value->c_str() : nullptr);
    }
    TestEnvironment(const TestEnvironment&) = delete;
    TestEnvironment& operator=(const TestEnvironment&) = delete;
    /// Null takes the variable away.
    void set(const std::string& name, const char* value) {
        const char* const present = std::getenv(name.c_str());
        before.emplace(name, present ? std::optional<std::string>(present) : std::nullopt);
        assign(name, value);
    }

private:
    static void assign(const std::string& name, const char* value) {
        value ? ::setenv(name.c_str(), value, 1) : ::unsetenv(name.c_str());
    }
    std::map<std::string, std::optional<std::string>> before;
};

inline void put(const fs::path& path, std::string_view text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string get(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return "(no file)";
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Starts `steps` in a process of its own, which ends with what they return, or with the test.
inline pid_t startChild(const std::function<int()>& steps) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::_exit(steps());
    }
    return child;
}

/// The exit status of a child, or -1 if it was killed.
inline int waitFor(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline constexpr int cannotTell = 77;

/// Runs `steps` as a user for whom permissions count, and to whom `directory` with all that is in it then belongs.
/// Gives what they return, or cannotTell where that user does not get to the directory.
inline int asOrdinaryUser(const fs::path& directory, const std::function<int()>& steps) {
    constexpr uid_t nobody = 65534;
    return waitFor(startChild([&] {
        if (::geteuid() == 0) {
            ::umask(022);
            for (const auto& entry : fs::recursive_directory_iterator(directory))
                if (::lchown(entry.path().c_str(), nobody, nobody) != 0) return cannotTell;
            if (::chown(directory.c_str(), nobody, nobody) != 0) return cannotTell;
            if (::setresgid(nobody, nobody, nobody) != 0 || ::setresuid(nobody, nobody, nobody) != 0) return cannotTell;
        }
        return ::access(directory.c_str(), R_OK | W_OK | X_OK) == 0 ? steps() : cannotTell;
    }));
}

}  // namespace vexcap::test
