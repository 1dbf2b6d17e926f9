// The built library, as a host meets it: by path and by the names of its three functions.
#include <vexcap/string_library.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "companions/i18n/locales_testing.h"

namespace vexcap::i18n {
namespace library_test {

namespace fs = std::filesystem;

struct Functions {
    explicit Functions(const std::string& path) : library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(library, nullptr) << dlerror();
        if (!library) return;
        translated = reinterpret_cast<vex_i18n_string>(dlsym(library, "i18n_string"));
        english = reinterpret_cast<vex_en_string>(dlsym(library, "en_string"));
        dialog = reinterpret_cast<vex_i18n_dialog>(dlsym(library, "i18n_dialog"));
    }
    ~Functions() {
        if (library) dlclose(library);
    }
    Functions(const Functions&) = delete;
    Functions& operator=(const Functions&) = delete;

    void* const library;
    vex_i18n_string translated = nullptr;
    vex_en_string english = nullptr;
    vex_i18n_dialog dialog = nullptr;
};

/// The library under test, and folders to lay a copy of it out in.
class StringLibrary : public testing::Test {
protected:
    void SetUp() override { ::unsetenv("VEXCAP_LOCALE_DIR"); }

    /// Makes PREFIX with the library in a folder below it, and gives the library's path. It has been somewhere else.
    fs::path installed(const std::string& prefix, const std::string& libraryFolder) {
        const fs::path elsewhere = directory.path() / "elsewhere";
        fs::create_directories(elsewhere / libraryFolder);
        fs::create_directories(elsewhere / "share");
        fs::copy_file(STRING_LIBRARY, elsewhere / libraryFolder / "libvexcap-i18n.so.1");
        fs::copy(BUILT_LOCALES, elsewhere / "share/locale", fs::copy_options::recursive);
        fs::rename(elsewhere, directory.path() / prefix);
        return directory.path() / prefix / libraryFolder / "libvexcap-i18n.so.1";
    }
    const test::TempDir directory;
    TestLocales locales;
};

TEST_F(StringLibrary, GivesTheTextsOfTheUsersLanguage) {
    const Functions functions(STRING_LIBRARY);
    locales.choose("de_DE.UTF-8");
    EXPECT_EQ(std::u16string(functions.translated("ids_yes")), u"Ja");
    EXPECT_EQ(std::u16string(functions.english("ids_yes")), u"Yes");
    EXPECT_EQ(std::u16string(functions.dialog("IDD_AUTO", VEX_DIALOG_TITLE)), u"Optionen für Dateinamen");
    EXPECT_EQ(std::u16string(functions.dialog("IDD_RECORD", VEX_RECORD_BROWSE)), u"Durchsuchen...");
}

TEST_F(StringLibrary, GivesOnePointerWhereTheLanguageHasNoTextOfItsOwn) {
    const Functions functions(STRING_LIBRARY);
    locales.choose("de_DE.UTF-8");
    EXPECT_EQ(functions.translated("ids_gamma"), functions.english("ids_gamma"));
    EXPECT_NE(functions.translated("ids_yes"), functions.english("ids_yes"));
    locales.choose("en_US.UTF-8");
    EXPECT_EQ(functions.translated("ids_yes"), functions.english("ids_yes"));
}

TEST_F(StringLibrary, HasNothingForWhatItDoesNotKnow) {
    const Functions functions(STRING_LIBRARY);
    const std::string endless(1 << 20, 'i');
    for (const char* key : {static_cast<const char*>(nullptr), "", "ids_", "ids_nobody", "IDD_AUTO", endless.c_str()}) {
        EXPECT_EQ(functions.translated(key), nullptr);
        EXPECT_EQ(functions.english(key), nullptr);
        EXPECT_EQ(functions.dialog(key, 4711), nullptr);
    }
}

TEST_F(StringLibrary, TextsOutliveItsHandle) {
    const char16_t* yes = nullptr;
    locales.choose("de_DE.UTF-8");
    {
        const Functions functions(STRING_LIBRARY);
        yes = functions.translated("ids_yes");
    }
    EXPECT_EQ(std::u16string(yes), u"Ja");
    EXPECT_EQ(Functions(STRING_LIBRARY).translated("ids_yes"), yes);
}

TEST_F(StringLibrary, FindsItsCataloguesBesideItselfWhereverItLies) {
    locales.choose("de_DE.UTF-8");
    EXPECT_EQ(std::u16string(Functions(installed("one", "lib")).translated("ids_yes")), u"Ja");
    EXPECT_EQ(std::u16string(Functions(installed("two", "lib/vexcap")).translated("ids_yes")), u"Ja");
    EXPECT_EQ(std::u16string(Functions(installed("three", "lib/x86_64-linux-gnu/vexcap")).translated("ids_yes")),
              u"Ja");
}

TEST_F(StringLibrary, FindsItsCataloguesThroughALink) {
    locales.choose("de_DE.UTF-8");
    const fs::path link = directory.path() / "a link to it.so";
    fs::create_symlink(installed("linked", "lib"), link);
    EXPECT_EQ(std::u16string(Functions(link).translated("ids_yes")), u"Ja");
}

TEST_F(StringLibrary, IsEnglishWithoutItsCatalogues) {
    locales.choose("de_DE.UTF-8");
    const fs::path library = installed("bare", "lib");
    fs::remove_all(directory.path() / "bare/share");
    const Functions functions(library);
    EXPECT_EQ(functions.translated("ids_yes"), functions.english("ids_yes"));
}

TEST_F(StringLibrary, ALaterChangeOfTheWorkingDirectoryDoesNotMatter) {
    locales.choose("de_DE.UTF-8");
    const fs::path before = fs::current_path();
    fs::current_path(installed("relative", "lib").parent_path());
    {
        const Functions functions("./libvexcap-i18n.so.1");
        fs::current_path(before);
        EXPECT_EQ(std::u16string(functions.translated("ids_yes")), u"Ja");
    }
}

TEST_F(StringLibrary, TheEnvironmentCanNameAnotherFolderOfCatalogues) {
    locales.choose("de_DE.UTF-8");
    const fs::path library = installed("chosen", "lib");
    fs::rename(directory.path() / "chosen/share/locale", directory.path() / "mine");
    ::setenv("VEXCAP_LOCALE_DIR", (directory.path() / "mine").c_str(), 1);
    const Functions functions(library);
    ::unsetenv("VEXCAP_LOCALE_DIR");
    EXPECT_EQ(std::u16string(functions.translated("ids_yes")), u"Ja");
}

}  // namespace library_test
}  // namespace vexcap::i18n
