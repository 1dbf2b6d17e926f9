// Locales of any name for tests, on a machine that has none but C.UTF-8.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>
#include <filesystem>
#include <string>

#include "tests/support/temp_dir.h"

namespace vexcap::i18n {

/// The environment of a user who has chosen a language. Put back at the end.
class TestLocales final {
public:
    ~TestLocales() {
        for (const char* name : {"LOCPATH", "LC_ALL", "LANGUAGE"}) ::unsetenv(name);
        std::setlocale(LC_ALL, "C");
    }

    /// As after a start with LC_ALL and LANGUAGE set like this.
    void choose(const std::string& locale, const std::string& language = "") {
        // What is looked at is the name of a locale, so every name may stand for the same data.
        const std::filesystem::path folder = directory.path() / locale;
        if (!std::filesystem::exists(folder)) std::filesystem::create_directory_symlink(anyLocale(), folder);
        ::setenv("LOCPATH", directory.path().c_str(), 1);
        ::setenv("LC_ALL", locale.c_str(), 1);
        ::setenv("LANGUAGE", language.c_str(), 1);
        ASSERT_NE(std::setlocale(LC_ALL, ""), nullptr) << locale;
        ASSERT_EQ(std::setlocale(LC_MESSAGES, nullptr), locale);
    }

private:
    static std::filesystem::path anyLocale() {
        const std::filesystem::path folder = "/usr/lib/locale";
        return std::filesystem::exists(folder / "C.utf8") ? folder / "C.utf8" : folder / "C.UTF-8";
    }

    const test::TempDir directory;
};

}  // namespace vexcap::i18n
