#include "platform/linux/folders.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>

#include <string>

#include "base/text.h"
#include "platform/linux/system_testing.h"

namespace vexcap::test {
namespace folders_test {

class FoldersTest : public testing::Test {
protected:
    FoldersTest() {
        fs::create_directories(home);
        environment.set("HOME", home.c_str());
        environment.set("XDG_CONFIG_HOME", nullptr);
    }
    std::u16string path(std::string_view name) const { return toUtf16((directory.root / name).native()); }
    /// The documents folder, or the code as a text.
    std::string documents() {
        const auto folder = folders.Documents();
        return folder.ok() ? toUtf8(folder.value()) : std::to_string(folder.code());
    }
    std::string documentsBy(std::string_view list) {
        put(home / ".config/user-dirs.dirs", list);
        return documents();
    }
    static mode_t modeOf(const fs::path& path) {
        struct stat about = {};
        EXPECT_EQ(::stat(path.c_str(), &about), 0) << path;
        return about.st_mode & 07777;
    }

    TestDirectory directory;
    TestEnvironment environment;
    const fs::path home = directory.root / "home";
    LinuxFolders folders;
};

TEST_F(FoldersTest, DocumentsLieInTheHomeFolderAndAreMade) {
    EXPECT_EQ(documents(), home / "Documents");
    EXPECT_TRUE(fs::is_directory(home / "Documents"));
    EXPECT_EQ(documents(), home / "Documents");
}

TEST_F(FoldersTest, TheDirectoryListTellsWhereDocumentsAre) {
    const std::string h = home.native();
    const struct {
        std::string list, folder;
    } cases[] = {
        {"# as made\nXDG_MUSIC_DIR=\"$HOME/Music\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n", h + "/Dokumente"},
        {"XDG_DOCUMENTS_DIR=\"" + h + "/abs\"", h + "/abs"},
        {" \t XDG_DOCUMENTS_DIR \t= \"$HOME/a b\" # c\n", h + "/a b"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/\\\"q\\\" \\\\ \\$x \\`\"\n", h + "/\"q\" \\ $x `"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/\u00E4\u20AC\"\n", h + "/\u00E4\u20AC"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/one\"\nXDG_DOCUMENTS_DIR=\"$HOME/two\"\n", h + "/two"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/one\"\nXDG_DOCUMENTS_DIR=\"two\"\n", h + "/one"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/\"\n", h},
        {"XDG_DOCUMENTS_DIR=\"$HOME\"\n", h},
        {"XDG_DOCUMENTS_DIR=\"$HOME/deep/er//\"\n", h + "/deep/er"},
        {"XDG_DOCUMENTS_DIR=\"/\"\n", "/"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(documentsBy(c.list), c.folder) << c.list;
        EXPECT_TRUE(fs::is_directory(c.folder)) << c.list;
    }
    EXPECT_FALSE(fs::exists(home / "Documents"));
}

TEST_F(FoldersTest, ALineThatIsNotUnderstoodDoesNotCount) {
    for (const std::string_view line : {
             "",
             "\n\n",
             "XDG_DOCUMENTS_DIR",
             "XDG_DOCUMENTS_DIR=",
             "XDG_DOCUMENTS_DIR=\"",
             "XDG_DOCUMENTS_DIR=\"\"",
             "XDG_DOCUMENTS_DIR=\"relative\"",
             "XDG_DOCUMENTS_DIR=\"$HOMEX/x\"",
             "XDG_DOCUMENTS_DIR=\"$OTHER/x\"",
             "XDG_DOCUMENTS_DIR=\"~/x\"",
             "XDG_DOCUMENTS_DIR=\"$HOME/open\n\"",
             "XDG_DOCUMENTS_DIR=\"$HOME/open\\",
             "XDG_DOCUMENTS_DIR=$HOME/x",
             "XDG_DOCUMENTS_DIR='$HOME/x'",
             "XDG_DOCUMENTS_DIRS=\"$HOME/x\"",
             "#XDG_DOCUMENTS_DIR=\"$HOME/x\"",
             "XDG_MUSIC_DIR=\"$HOME/x\"",
         })
        EXPECT_EQ(documentsBy(line), home / "Documents") << line;
}

TEST_F(FoldersTest, TheDirectoryListLiesWhereTheConfigurationLies) {
    put(directory.root / "config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/by config\"");
    put(home / ".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/by home\"");
    environment.set("XDG_CONFIG_HOME", (directory.root / "config").c_str());
    EXPECT_EQ(documents(), home / "by config");
    for (const char* const notSet : {"", "config"}) {
        environment.set("XDG_CONFIG_HOME", notSet);
        EXPECT_EQ(documents(), home / "by home");
    }
}

TEST_F(FoldersTest, AListThatIsNoFileIsPassedOverAndNobodyWaits) {
    fs::create_directories(home / ".config");
    ASSERT_EQ(::mkfifo((home / ".config/user-dirs.dirs").c_str(), 0600), 0);
    EXPECT_EQ(documents(), home / "Documents");
}

TEST_F(FoldersTest, AUserWithoutHomeVariableIsAskedOfTheSystem) {
    const passwd* const user = ::getpwuid(::getuid());
    if (!user || !user->pw_dir || !fs::is_directory(user->pw_dir)) GTEST_SKIP() << "this user has no home folder";
    // The home folder itself, so that nothing is made in it.
    put(directory.root / "config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME\"");
    environment.set("XDG_CONFIG_HOME", (directory.root / "config").c_str());
    for (const char* const notSet : {static_cast<const char*>(nullptr), "", "home"}) {
        environment.set("HOME", notSet);
        EXPECT_EQ(documents(), user->pw_dir);
    }
}

TEST_F(FoldersTest, DocumentsThatCannotBeMadeAreAFailure) {
    put(home / "Documents", "a file");
    EXPECT_FALSE(folders.Documents().ok());
    EXPECT_EQ(get(home / "Documents"), "a file");
}

TEST_F(FoldersTest, APathThatIsNoTextIsAFailureAndNoOtherPath) {
    const fs::path broken = directory.root / "\xFF";
    fs::create_directory(broken);
    environment.set("HOME", broken.c_str());
    EXPECT_EQ(folders.Documents().code(), VEX_E_PATH_NOT_FOUND);
    const fs::path before = fs::current_path();
    fs::current_path(broken);
    EXPECT_EQ(folders.Current().code(), VEX_E_PATH_NOT_FOUND);
    fs::current_path(before);
    EXPECT_TRUE(fs::is_empty(broken));
    EXPECT_EQ(std::distance(fs::directory_iterator(directory.root), fs::directory_iterator()), 2);
}

TEST_F(FoldersTest, TheCurrentFolderIsWhereRelativePathsBegin) {
    const fs::path before = fs::current_path();
    EXPECT_EQ(folders.Current().value(), toUtf16(before.native()));
    fs::create_directory(home / "gone");
    fs::current_path(home / "gone");
    EXPECT_TRUE(folders.Create(u"M\u00A031").ok());
    EXPECT_TRUE(fs::is_directory(home / "gone/M\u00A031"));
    EXPECT_EQ(folders.Current().value(), toUtf16(fs::canonical(home / "gone").native()));
    fs::remove_all(home / "gone");
    EXPECT_FALSE(folders.Current().ok());
    fs::current_path(before);
}

TEST_F(FoldersTest, AnythingOfTheNameExistsAndOnlyFoldersAreFolders) {
    put(directory.root / "file", "");
    fs::create_symlink("nowhere", directory.root / "dangling");
    fs::create_symlink("home", directory.root / "link");
    const struct {
        const char* name;
        bool exists, folder;
    } cases[] = {
        {"file", true, false},    {"dangling", true, false}, {"link", true, true},   {"link/", true, true},
        {"home", true, true},     {"home/", true, true},     {"none", false, false}, {"file/x", false, false},
        {"none/x", false, false}, {"home/..", true, true},   {"\xFF", false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(folders.Exists(path(c.name)), c.exists) << c.name;
        EXPECT_EQ(folders.IsFolder(path(c.name)), c.folder) << c.name;
    }
    for (const std::u16string& none : {std::u16string(), std::u16string(10000, u'x'), std::u16string(u"\xD800")}) {
        EXPECT_FALSE(folders.Exists(none));
        EXPECT_FALSE(folders.IsFolder(none));
    }
}

TEST_F(FoldersTest, ANameWithAZeroInItIsNotCutThere) {
    const std::u16string cut = path("home") + u'\0' + u"x";
    EXPECT_FALSE(folders.Exists(cut));
    EXPECT_FALSE(folders.IsFolder(cut));
    EXPECT_EQ(folders.Create(cut), E_INVALIDARG);
    EXPECT_TRUE(fs::is_empty(home));
}

TEST_F(FoldersTest, AFolderIsMadeWithItsParents) {
    const mode_t before = ::umask(0);
    EXPECT_TRUE(folders.Create(path("a/b//\u00E4\U0001F52D/")).ok());
    ::umask(before);
    for (const char* const made : {"a", "a/b", "a/b/\u00E4\U0001F52D"}) EXPECT_EQ(modeOf(directory.root / made), 0755u);
    EXPECT_TRUE(folders.Create(path("a/b")).ok());
    EXPECT_TRUE(folders.Create(u"/").ok());
    EXPECT_TRUE(folders.Create(path("home/../a/./c")).ok());
    EXPECT_TRUE(fs::is_directory(directory.root / "a/c"));
}

TEST_F(FoldersTest, TheMaskOfTheProcessCounts) {
    const mode_t before = ::umask(027);
    EXPECT_TRUE(folders.Create(path("a")).ok());
    ::umask(before);
    EXPECT_EQ(modeOf(directory.root / "a"), 0750u);
}

TEST_F(FoldersTest, AFolderThatIsThereKeepsItsMode) {
    ASSERT_EQ(::chmod(home.c_str(), 0700), 0);
    EXPECT_TRUE(folders.Create(path("home/a")).ok());
    EXPECT_EQ(modeOf(home), 0700u);
}

TEST_F(FoldersTest, AFolderThatCannotBeMadeIsAFailure) {
    put(directory.root / "file", "x");
    fs::create_symlink("nowhere", directory.root / "dangling");
    for (const char* const name : {"file", "file/a", "dangling", "dangling/a"})
        EXPECT_FALSE(folders.Create(path(name)).ok()) << name;
    EXPECT_EQ(folders.Create(u""), VEX_E_PATH_NOT_FOUND);
    EXPECT_FALSE(folders.Create(u"/proc/none/a").ok());
    EXPECT_FALSE(folders.Create(path(std::string(300, 'x'))).ok());
    std::string deep;
    for (int i = 0; i < 100'000; ++i) deep += "a/";
    EXPECT_FALSE(folders.Create(path(deep)).ok());
    EXPECT_FALSE(fs::exists(directory.root / "a"));
    EXPECT_EQ(get(directory.root / "file"), "x");
    EXPECT_FALSE(fs::exists(directory.root / "nowhere"));
}

TEST_F(FoldersTest, FoldersOfOthersAreWalkedThrough) {
    fs::create_directories(home / "shared/mine");
    const int result = asOrdinaryUser(directory.root, [&] {
        ::chmod((home / "shared").c_str(), 0500);
        const bool inside = folders.Create(path("home/shared/mine/a/b")).ok();
        const bool refused = folders.Create(path("home/shared/other")) == E_ACCESSDENIED;
        ::chmod((home / "shared").c_str(), 0700);
        return inside && refused ? 0 : 1;
    });
    if (result == cannotTell) GTEST_SKIP() << "no other user gets to the temporary directory";
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(fs::is_directory(home / "shared/mine/a/b"));
}

}  // namespace folders_test
}  // namespace vexcap::test
