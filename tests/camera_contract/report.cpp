#include "tests/camera_contract/report.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <unistd.h>

#include "tests/camera_contract/rules.h"

namespace vexcap::contract {
namespace {

// For the signal handler, which may not allocate. Written between two checks.
char lastWords[1024];

void onCrash(int signal) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, lastWords, std::strlen(lastWords));
    raise(signal);  // its handler is the default again
}

std::string cameraOf(const testing::TestInfo& test) {
    if (!test.value_param()) return {};
    std::string camera = test.value_param();
    std::erase(camera, '"');
    return "  camera " + camera;
}

std::string indented(const std::string& text) {
    std::string lines = "  ";
    for (const char c : text) lines += c == '\n' ? std::string("\n  ") : std::string(1, c);
    return lines;
}

}  // namespace

std::map<std::string, std::string>& rules() {
    static std::map<std::string, std::string> all;
    return all;
}

std::string checkOf(const testing::TestInfo& test) {
    const std::string suite = test.test_suite_name();
    const std::string name = test.name();
    return suite.substr(suite.find('/') + 1) + '.' + name.substr(0, name.find('/'));
}

void Report::OnTestStart(const testing::TestInfo& check) {
    seen.clear();
    skipped.clear();
    const std::string name = checkOf(check);
    std::snprintf(lastWords, sizeof lastWords, "CRASHED  %s%s\n  rule: %s\n", name.c_str(), cameraOf(check).c_str(),
                  rules().at(name).c_str());
}

void Report::OnTestPartResult(const testing::TestPartResult& part) {
    if (part.skipped()) skipped = part.message();
    if (!part.failed()) return;
    const std::string file = part.file_name() ? part.file_name() : "";
    seen += std::string(part.message()) + "\n(" + file.substr(file.rfind('/') + 1) + ':' +
            std::to_string(part.line_number()) + ")\n";
}

void Report::OnTestEnd(const testing::TestInfo& check) {
    const std::string name = checkOf(check) + cameraOf(check);
    std::replace(skipped.begin(), skipped.end(), '\n', ' ');
    if (check.result()->Failed()) {
        if (!seen.empty()) seen.pop_back();
        std::printf("FAILED   %s\n  rule: %s\n  seen:\n%s\n", name.c_str(), rules().at(checkOf(check)).c_str(),
                    indented(indented(seen)).c_str());
    } else if (check.result()->Skipped()) {
        std::printf("left out %s: %s\n", name.c_str(), skipped.c_str());
    } else if (verbose) {
        std::printf("passed   %s\n", name.c_str());
    }
    std::fflush(stdout);
    lastWords[0] = 0;
}

void Report::OnTestProgramEnd(const testing::UnitTest& all) {
    std::printf("%d passed, %d failed, %d left out\n", all.successful_test_count(), all.failed_test_count(),
                all.skipped_test_count());
}

void reportCrashes() {
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        struct sigaction action {};
        action.sa_handler = onCrash;
        action.sa_flags = SA_RESETHAND | SA_NODEFER;
        sigaction(signal, &action, nullptr);
    }
}

}  // namespace vexcap::contract
