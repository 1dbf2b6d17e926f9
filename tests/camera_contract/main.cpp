// camera_contract LIBRARY [--prefix P] [--name IDENTIFIER ...] [--lost IDENTIFIER ...]
//
// Checks a camera library against <vexcap/camera_library.h>: its exports, and each camera that it lists, or the named
// ones instead. --lost names cameras that are expected to lose their device by themselves within a few seconds.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>

#include "tests/camera_contract/subject.h"

int main(int argc, char** argv) {
    using vexcap::contract::subject;
    // GoogleTest takes its own options away first, but asks for the list of cameras while it does so.
    std::string* value = nullptr;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (value != nullptr)
            *std::exchange(value, nullptr) = argument;
        else if (argument == "--prefix")
            value = &subject().prefix;
        else if (argument == "--name")
            value = &subject().names.emplace_back();
        else if (argument == "--lost")
            value = &subject().lostNames.emplace_back();
        else if (argument.rfind("--gtest_", 0) != 0)
            subject().path = argument;
    }
    if (subject().path.empty() || value != nullptr) {
        std::fprintf(stderr,
                     "usage: camera_contract LIBRARY [--prefix P] [--name IDENTIFIER ...] [--lost IDENTIFIER ...]\n");
        return 2;
    }
    if (!subject().load()) {
        std::fprintf(stderr, "camera_contract: %s cannot be loaded\n", subject().path.c_str());
        return 1;
    }
    if (subject().names.empty() && subject().lostNames.empty()) subject().names = vexcap::contract::listedNames();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
