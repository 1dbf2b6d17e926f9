// vexcap-camera-contract: checks a camera library against <vexcap/camera_library.h>.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "tests/camera_contract/report.h"
#include "tests/camera_contract/rules.h"
#include "tests/camera_contract/subject.h"

namespace {

using vexcap::contract::Subject;
using vexcap::contract::subject;

constexpr int checkFailed = 1;
constexpr int wrongUsage = 2;
constexpr int libraryUnusable = 3;

constexpr char usage[] =
    R"(usage: vexcap-camera-contract [options] LIBRARY

Checks a camera library against the contract of <vexcap/camera_library.h>: its exports, and each camera that it lists.
For each failed check it prints the rule of the contract, what was seen instead, and the place of the check. An optional
part that a camera does not have is left out.

LIBRARY                a path, or the name of a library that the system finds
--prefix PREFIX        what the exported names begin with; "Vexcam" if not given
--name IDENTIFIER      checks this camera instead of those of the list; may be repeated
--lost IDENTIFIER      checks a camera that loses its device by itself some seconds after its stream began
--only PATTERN         only the checks whose name fits, as "Controls.*"; several with ':' between
--verbose              prints the checks that pass, too
--list                 prints each check with its rule, and checks nothing
--help                 prints this

A large camera takes a minute. Exit status: 0 all passed, 1 a check failed, 2 wrong arguments, 3 the library cannot be
loaded or has neither a list nor cameras. A library that crashes ends the program with its signal, behind the name of
the check.
)";

struct Options {
    std::string only;
    bool verbose = false;
    bool list = false;
    bool help = false;
};

// False with a message.
bool read(int count, char** arguments, Options& options) {
    std::string* value = nullptr;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (value)
            *std::exchange(value, nullptr) = argument;
        else if (argument == "--prefix")
            value = &subject().prefix;
        else if (argument == "--name")
            value = &subject().names.emplace_back();
        else if (argument == "--lost")
            value = &subject().lostNames.emplace_back();
        else if (argument == "--only")
            value = &options.only;
        else if (argument == "--verbose")
            options.verbose = true;
        else if (argument == "--list")
            options.list = true;
        else if (argument == "--help" || argument == "-h")
            options.help = true;
        else if (argument.starts_with("-") || !subject().path.empty())
            return std::fprintf(stderr, "vexcap-camera-contract: %s is not understood\n", arguments[i]), false;
        else
            subject().path = argument;
    }
    if (value) return std::fprintf(stderr, "vexcap-camera-contract: %s needs a value\n", arguments[count - 1]), false;
    if (subject().path.empty() && !options.list && !options.help)
        return std::fprintf(stderr, "vexcap-camera-contract: no library\n"), false;
    return true;
}

void printRules() {
    for (const auto& [check, rule] : vexcap::contract::rules()) std::printf("%s: %s\n", check.c_str(), rule.c_str());
}

// Whether the library can be asked anything; a message when not.
bool load() {
    Subject& library = subject();
    if (const std::string why = library.load(); !why.empty())
        return std::fprintf(stderr, "vexcap-camera-contract: %s\n", why.c_str()), false;
    if (!library.enumerate && !library.open) {
        std::fprintf(stderr, "vexcap-camera-contract: %s exports neither %s_EnumV2 nor %s_Open; is --prefix right?\n",
                     library.path.c_str(), library.prefix.c_str(), library.prefix.c_str());
        return false;
    }
    return true;
}

// Names as the checks' patterns know them: each suite of a camera's checks has the name of its instance before it.
std::string filterOf(const std::string& only) {
    std::string filter;
    for (size_t begin = 0; begin <= only.size();) {
        const size_t end = std::min(only.find(':', begin), only.size());
        const std::string pattern = only.substr(begin, end - begin);
        filter += (filter.empty() ? "" : ":") + pattern + ":*/" + pattern + ":*/" + pattern + "/*";
        begin = end + 1;
    }
    return filter;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!read(argc, argv, options)) return std::fputs("Try --help.\n", stderr), wrongUsage;
    if (options.help) return std::fputs(usage, stdout), 0;
    if (options.list) return printRules(), 0;
    if (!load()) return libraryUnusable;
    const bool named = !subject().names.empty() || !subject().lostNames.empty();
    if (!named) subject().names = vexcap::contract::listedNames();
    if (subject().names.empty() && !named) std::puts("The library lists no camera; only its exports are checked.");

    int none = 1;
    testing::InitGoogleTest(&none, argv);
    if (!options.only.empty()) testing::GTEST_FLAG(filter) = filterOf(options.only);
    testing::TestEventListeners& listeners = testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new vexcap::contract::Report(options.verbose));
    vexcap::contract::reportCrashes();
    const bool failed = RUN_ALL_TESTS() != 0;
    if (testing::UnitTest::GetInstance()->test_to_run_count() == 0)
        return std::fprintf(stderr, "vexcap-camera-contract: no check is called %s\n", options.only.c_str()),
               wrongUsage;
    return failed ? checkFailed : 0;
}
