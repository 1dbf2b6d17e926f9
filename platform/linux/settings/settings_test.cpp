#include "platform/linux/settings/settings.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "base/text.h"
#include "platform/fake/settings_testing.h"
#include "platform/linux/settings/settings_store.h"
#include "platform/linux/system_testing.h"
#include "platform/linux/unique_fd.h"

namespace vexcap::test {
namespace settings_test {

constexpr std::u16string_view keyPath = u"SOFTWARE\\Firm\\Product\\vexcap";

struct LinuxHarness {
    ~LinuxHarness() { vex_key_free(key); }
    ISettings& settings() { return linux; }
    vex_key* root() { return key; }
    TestDirectory directory;
    vex_key* const key = vex_key_directory(directory.root.c_str());
    LinuxSettings linux;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, SettingsContract, LinuxHarness);

class SettingsTest : public testing::Test {
protected:
    std::unique_ptr<ISettingsKey> open(std::u16string_view path = keyPath) {
        auto opened = create(directory.root, path);
        EXPECT_TRUE(opened.ok()) << std::hex << opened.code();
        return opened.ok() ? std::move(opened).value() : nullptr;
    }
    static Result<std::unique_ptr<ISettingsKey>> create(const fs::path& root, std::u16string_view path) {
        vex_key key{root};
        return LinuxSettings().CreateKey(&key, path);
    }
    /// Names in the folder of the file.
    std::set<std::string> names() const {
        std::set<std::string> all;
        for (const auto& entry : fs::directory_iterator(folder)) all.insert(entry.path().filename());
        return all;
    }
    static mode_t modeOf(const fs::path& path) {
        struct stat about = {};
        EXPECT_EQ(::stat(path.c_str(), &about), 0) << path;
        return about.st_mode & 07777;
    }

    TestDirectory directory;
    const fs::path folder = directory.root / "SOFTWARE/Firm/Product";
    const fs::path file = folder / "vexcap.toml";
    const fs::path lockFile = folder / ".vexcap.toml.lock";
    const fs::path newFile = folder / ".vexcap.toml.new";
};

TEST_F(SettingsTest, AKeyIsAFileInDirectoriesThatTheFirstWriteMakes) {
    const auto key = open(u"SOFTWARE\\Firm\\Pr\u00F6d\\vexcap");
    EXPECT_EQ(key->ReadNumber(u"TimeLimit"), std::nullopt);
    EXPECT_EQ(key->Problem(), u"");
    EXPECT_TRUE(fs::is_empty(directory.root));
    EXPECT_TRUE(key->WriteNumber(u"TimeLimit", 60).ok());
    EXPECT_TRUE(key->WriteText(u"CaptureTitle", u"M\u00A031 \"Andromeda\"").ok());
    EXPECT_EQ(get(directory.root / "SOFTWARE/Firm/Pr\u00F6d/vexcap.toml"),
              std::string(newSettings) + "TimeLimit = 60\nCaptureTitle = \"M\u00A031 \\\"Andromeda\\\"\"\n");
}

TEST_F(SettingsTest, OthersCannotReadANewFile) {
    const mode_t before = ::umask(0);
    EXPECT_TRUE(open()->WriteNumber(u"a", 1).ok());
    ::umask(before);
    EXPECT_EQ(modeOf(file), 0600u);
    EXPECT_EQ(modeOf(lockFile), 0600u);
    EXPECT_EQ(modeOf(folder), 0700u);
}

TEST_F(SettingsTest, AnOldFileKeepsItsMode) {
    put(file, "a = 1\n");
    for (const mode_t mode : {0600u, 0640u, 0666u, 0755u}) {
        ASSERT_EQ(::chmod(file.c_str(), mode), 0);
        EXPECT_TRUE(open()->WriteNumber(u"a", mode).ok());
        EXPECT_EQ(modeOf(file), mode);
        EXPECT_EQ(get(file), "a = " + std::to_string(mode) + "\n");
    }
}

TEST_F(SettingsTest, NodesOfOtherPathsAreOthers) {
    const auto key = open();
    ASSERT_TRUE(key->WriteNumber(u"a", 1).ok());
    for (const char16_t* const other : {u"SOFTWARE\\Firm\\Other\\vexcap", u"SOFTWARE\\Firm\\Product\\vexcap\\vexcap",
                                        u"SOFTWARE\\Firm\\Product\\", u"SOFTWARE\\Firm\\Product", u"vexcap", u""}) {
        const auto node = open(other);
        EXPECT_EQ(node->ReadNumber(u"a"), std::nullopt);
        EXPECT_TRUE(node->WriteNumber(u"a", 2).ok());
    }
    EXPECT_EQ(key->ReadNumber(u"a"), 1u);
}

TEST_F(SettingsTest, FoldersAndAFileThatDifferInCaseAreUsed) {
    const fs::path present = directory.root / "software/FIRM/pRODUCT/Vexcap.TOML";
    put(present, "timelimit = 1\n");
    const auto key = open();
    EXPECT_EQ(key->ReadNumber(u"TimeLimit"), 1u);
    EXPECT_TRUE(key->WriteNumber(u"TimeLimit", 2).ok());
    EXPECT_EQ(get(present), "timelimit = 2\n");
    EXPECT_FALSE(fs::exists(directory.root / "SOFTWARE"));
}

TEST_F(SettingsTest, ProgramsThatSpellAPathDifferentlyAgreeOnOneFolder) {
    put(directory.root / "Software/Firm/Product/vexcap.toml", "a = 1");
    put(directory.root / "software/firm/product/vexcap.toml", "a = 2");
    for (const char16_t* const path : {u"software\\firm\\product\\vexcap", u"SOFTWARE\\FIRM\\PRODUCT\\VEXCAP"})
        EXPECT_EQ(open(path)->ReadNumber(u"a"), 1u);
}

TEST_F(SettingsTest, AFileIsNotTakenForTheFolderOfThatName) {
    put(directory.root / "software", "");
    EXPECT_TRUE(open()->WriteNumber(u"a", 1).ok());
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(SettingsTest, APlaceThatCannotBeADirectoryFails) {
    EXPECT_FALSE(create("/dev/null", u"a").ok());
    put(directory.root / "SOFTWARE", "");
    EXPECT_FALSE(create(directory.root, keyPath).ok());
    EXPECT_FALSE(create(directory.root, std::u16string(300, u'x') + u"\\a").ok());
    EXPECT_FALSE(create(directory.root, std::u16string(10000, u'\\')).ok());
}

TEST_F(SettingsTest, ARelativeRootStaysWhereItWas) {
    const fs::path before = fs::current_path();
    fs::current_path(directory.root);
    const auto key = std::move(create("here", u"a")).value();
    fs::current_path(before);
    EXPECT_TRUE(key->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(get(directory.root / "here/a.toml"), std::string(newSettings) + "a = 1\n");
}

TEST_F(SettingsTest, WhatOthersWriteIsSeenByTheNextRead) {
    const auto key = open();
    for (const char* const text : {"a = 1", "a = 2", "a = 'x'", "a = 3"}) {
        put(file, text);
        EXPECT_EQ(key->ReadNumber(u"a"), findNumber(text, "a")) << text;
    }
    fs::remove(file);
    EXPECT_EQ(key->ReadNumber(u"a"), std::nullopt);
}

TEST_F(SettingsTest, AFolderThatWasRemovedIsMadeAgain) {
    const auto key = open();
    fs::remove_all(directory.root / "SOFTWARE");
    EXPECT_EQ(key->ReadNumber(u"a"), std::nullopt);
    EXPECT_TRUE(key->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(key->ReadNumber(u"a"), 1u);
}

TEST_F(SettingsTest, AWriteOfTheSameValueTouchesNothing) {
    const auto key = open();
    ASSERT_TRUE(key->WriteText(u"a", u"x").ok());
    struct stat before = {}, after = {};
    ASSERT_EQ(::stat(file.c_str(), &before), 0);
    EXPECT_TRUE(key->WriteText(u"A", u"x").ok());
    ASSERT_EQ(::stat(file.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(SettingsTest, AWriteLeavesNothingBehindButFileAndLock) {
    put(newFile, "half of a fi");
    EXPECT_TRUE(open()->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(names(), (std::set<std::string>{"vexcap.toml", ".vexcap.toml.lock"}));
}

TEST_F(SettingsTest, LinksStayLinksAndTheirTargetsChange) {
    const fs::path target = directory.root / "dotfiles/settings.toml";
    put(target, "# mine\na = 1\n");
    fs::create_directories(folder);
    fs::create_symlink("../../../middle", file);
    fs::create_symlink(target, directory.root / "middle");
    const auto key = open();
    EXPECT_EQ(key->ReadNumber(u"a"), 1u);
    EXPECT_TRUE(key->WriteNumber(u"a", 2).ok());
    EXPECT_EQ(fs::read_symlink(file), "../../../middle");
    EXPECT_EQ(fs::read_symlink(directory.root / "middle"), target);
    EXPECT_FALSE(fs::is_symlink(target));
    EXPECT_EQ(get(target), "# mine\na = 2\n");
}

TEST_F(SettingsTest, ALinkThatLeadsNowhereGetsItsFile) {
    fs::create_directories(folder);
    fs::create_symlink(directory.root / "later.toml", file);
    const auto key = open();
    EXPECT_EQ(key->ReadNumber(u"a"), std::nullopt);
    EXPECT_TRUE(key->WriteNumber(u"a", 2).ok());
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_EQ(get(directory.root / "later.toml"), std::string(newSettings) + "a = 2\n");
}

TEST_F(SettingsTest, LinksThatLeadInACircleFail) {
    fs::create_directories(folder);
    fs::create_symlink("vexcap.toml", file);
    const auto key = open();
    EXPECT_EQ(key->ReadNumber(u"a"), std::nullopt);
    EXPECT_FALSE(key->WriteNumber(u"a", 2).ok());
    EXPECT_TRUE(fs::is_symlink(file));
}

TEST_F(SettingsTest, WhatIsNoFileIsRefusedAndNobodyWaits) {
    fs::create_directories(folder);
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    const auto key = open();
    EXPECT_EQ(key->ReadNumber(u"a"), std::nullopt);
    EXPECT_EQ(key->WriteNumber(u"a", 1), E_ACCESSDENIED);
    EXPECT_TRUE(fs::is_fifo(file));

    fs::remove(file);
    fs::create_directory(directory.root / "elsewhere");
    fs::create_symlink(directory.root / "elsewhere", file);
    EXPECT_EQ(key->WriteNumber(u"a", 1), E_ACCESSDENIED);
    EXPECT_TRUE(fs::is_directory(directory.root / "elsewhere"));
}

TEST_F(SettingsTest, ADamagedFileIsKeptAsideByTheFirstWriteAndNotByReading) {
    const auto key = open();
    const std::string tooLarge = "a = 1\n#" + std::string(1 << 20, 'x');
    const std::vector<std::string> contents = {"a = 1\na = 2\n", "a = \"\xFF\"", tooLarge};
    for (size_t i = 0; i < contents.size(); ++i) {
        const fs::path aside = file.native() + (i == 0 ? ".damaged" : ".damaged-" + std::to_string(i + 1));
        put(file, contents[i]);
        const auto before = names();
        EXPECT_EQ(key->ReadNumber(u"a"), std::nullopt);
        EXPECT_EQ(key->ReadText(u"a"), std::nullopt);
        EXPECT_EQ(names(), before);
        EXPECT_EQ(get(file), contents[i]);
        EXPECT_TRUE(key->WriteNumber(u"b", 2).ok());
        EXPECT_EQ(get(file), std::string(newSettings) + "b = 2\n");
        EXPECT_EQ(get(aside), contents[i]);
    }
    EXPECT_EQ(names(), (std::set<std::string>{".vexcap.toml.lock", "vexcap.toml", "vexcap.toml.damaged",
                                              "vexcap.toml.damaged-2", "vexcap.toml.damaged-3"}));
    EXPECT_EQ(get(file.native() + ".damaged"), contents[0]);
}

TEST_F(SettingsTest, AFileThatCannotBeReadSaysWhy) {
    const auto key = open();
    EXPECT_EQ(key->Problem(), u"") << "there is none";
    put(file, "a = 1\n");
    EXPECT_EQ(key->Problem(), u"");
    const std::u16string name = toUtf16(file.native());
    for (const char* const damaged : {"a = 1\nb = \"\xFF\"\n", "a = 1\na = 2\n", "a = 1\nb = 99999999999999999999\n"}) {
        put(file, damaged);
        EXPECT_TRUE(key->Problem().starts_with(name + u": line 2: ")) << toUtf8(key->Problem());
    }
    std::string parts = "a";
    for (int i = 0; i < 40; ++i) parts += ".a";
    put(file, parts + " = 1\n");
    EXPECT_EQ(key->Problem(), name + u": a name has too many parts");
    put(file, "#" + std::string(1 << 20, 'x'));
    EXPECT_EQ(key->Problem(), name + u": it is larger than 1 MiB");
    fs::remove(file);
    put(file / "inner", "x");
    EXPECT_EQ(key->Problem(), name + u": it is a directory");
    EXPECT_TRUE(key->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(key->Problem(), u"") << "what was damaged is kept aside";
}

TEST_F(SettingsTest, AFileThatMayNotBeReadSaysSo) {
    put(file, "a = 1\n");
    const int result = asOrdinaryUser(directory.root, [&] {
        const auto key = open();
        ::chmod(file.c_str(), 0200);
        return key->Problem() == toUtf16(file.native()) + u": Permission denied" ? 0 : 1;
    });
    if (result == cannotTell) GTEST_SKIP() << "no other user gets to the temporary directory";
    EXPECT_EQ(result, 0);
}

TEST_F(SettingsTest, KeysThatSpellAPathDifferentlyAgreeOnTheFolderThatTheFirstWriteMakes) {
    const auto one = open(u"SOFTWARE\\Firm\\Product\\vexcap"), other = open(u"software\\FIRM\\product\\VEXCAP");
    EXPECT_EQ(other->ReadNumber(u"a"), std::nullopt);
    ASSERT_TRUE(one->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(other->ReadNumber(u"a"), 1u);
    ASSERT_TRUE(other->WriteNumber(u"a", 2).ok());
    EXPECT_EQ(one->ReadNumber(u"a"), 2u);
    EXPECT_EQ(get(file), std::string(newSettings) + "a = 2\n");
}

TEST_F(SettingsTest, ADirectoryInThePlaceOfTheFileIsKeptAside) {
    put(file / "inner", "x");
    const auto key = open();
    EXPECT_EQ(key->ReadNumber(u"a"), std::nullopt);
    EXPECT_TRUE(key->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(key->ReadNumber(u"a"), 1u);
    EXPECT_EQ(get(file.native() + ".damaged/inner"), "x");
}

TEST_F(SettingsTest, WhenTooManyAreKeptAsideTheWriteFails) {
    put(file, "broken");
    put(file.native() + ".damaged", "1");
    for (int i = 2; i <= 99; ++i) put(file.native() + ".damaged-" + std::to_string(i), std::to_string(i));
    const auto before = (open(), fs::remove(lockFile), names());
    EXPECT_FALSE(open()->WriteNumber(u"a", 1).ok());
    EXPECT_EQ(get(file), "broken");
    fs::remove(lockFile);
    EXPECT_EQ(names(), before);
    EXPECT_EQ(get(file.native() + ".damaged-99"), "99");
}

TEST_F(SettingsTest, AFileOfTheLargestSizeIsReadAndALargerOneIsNotMade) {
    const std::string start = "a = 1\n#";
    const std::string largest = start + std::string((1 << 20) - start.size(), 'x');
    put(file, largest);
    const auto key = open();
    EXPECT_EQ(key->ReadNumber(u"a"), 1u);
    EXPECT_EQ(key->WriteNumber(u"a", 12), E_INVALIDARG);
    EXPECT_EQ(get(file), largest);
    EXPECT_TRUE(key->WriteNumber(u"a", 2).ok());
    EXPECT_EQ(key->ReadNumber(u"a"), 2u);
    EXPECT_EQ(key->WriteText(u"b", std::u16string(1 << 20, u'x')), E_INVALIDARG);
    EXPECT_EQ(key->ReadNumber(u"a"), 2u);
}

TEST_F(SettingsTest, ALockThatIsNotGivenBackMakesAWriteFailAndTakesNothing) {
    const auto key = open();
    ASSERT_TRUE(key->WriteNumber(u"a", 1).ok());
    {
        const UniqueFd other(::open(lockFile.c_str(), O_RDWR | O_CLOEXEC));
        ASSERT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
        EXPECT_EQ(key->WriteNumber(u"a", 2), VEX_E_BUSY);
        EXPECT_EQ(key->ReadNumber(u"a"), 1u);
    }
    EXPECT_TRUE(key->WriteNumber(u"a", 2).ok());
}

TEST_F(SettingsTest, ALockFileThatWasRemovedKeepsNobodyOut) {
    const auto key = open();
    ASSERT_TRUE(key->WriteNumber(u"a", 1).ok());
    const UniqueFd other(::open(lockFile.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
    std::thread remover([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        fs::remove(lockFile);
    });
    EXPECT_TRUE(key->WriteNumber(u"a", 2).ok());
    remover.join();
}

TEST_F(SettingsTest, AProcessMadeDuringAWriteDoesNotKeepTheLock) {
    // Children made while others write have their descriptors, and live on.
    const auto key = open();
    std::atomic<bool> writing = true;
    std::thread writer([&] {
        for (uint32_t i = 0; writing; ++i) EXPECT_TRUE(key->WriteNumber(u"a", i).ok());
    });
    std::vector<pid_t> children;
    for (int i = 0; i < 20; ++i) {
        children.push_back(startChild([] { return ::pause(); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    writing = false;
    writer.join();
    EXPECT_TRUE(key->WriteNumber(u"b", 1).ok());
    for (const pid_t child : children) {
        ::kill(child, SIGKILL);
        waitFor(child);
    }
}

TEST_F(SettingsTest, ALimitOfTheFileSizeIsAFullDiskAndNoDeath) {
    put(file, "a = 1\n");
    EXPECT_EQ(waitFor(startChild([&] {
                  std::signal(SIGXFSZ, SIG_DFL);
                  const rlimit limit = {1000, 1000};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  const auto key = open();
                  if (key->WriteText(u"b", std::u16string(2000, u'x')) != VEX_E_DISK_FULL) return 1;
                  if (key->ReadNumber(u"a") != 1u) return 2;
                  return key->WriteNumber(u"c", 3).ok() ? 0 : 3;
              })),
              0);
    EXPECT_EQ(get(file), "a = 1\nc = 3\n");
    EXPECT_FALSE(fs::exists(newFile));
}

/// Where the system allows it, a file system of 64 KiB of which 0 KiB are left, at `place`, for this process only.
bool mountFullDisk(const fs::path& place) {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(CLONE_NEWNS | (user ? CLONE_NEWUSER : 0)) != 0) return false;
    if (user) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("vexcap", place.c_str(), "tmpfs", 0, "size=64k") == 0;
}

TEST_F(SettingsTest, AFullDiskFailsTheWriteAndLeavesTheFile) {
    const int result = waitFor(startChild([&] {
        if (!mountFullDisk(directory.root)) return cannotTell;
        const auto key = open();
        if (!key->WriteNumber(u"a", 1).ok()) return 1;
        const std::string before = get(file);
        std::ofstream(directory.root / "filler") << std::string(1 << 20, 'x');
        for (int i = 0; i < 3; ++i)
            if (key->WriteNumber(u"a", 2) != VEX_E_DISK_FULL) return 2;
        if (get(file) != before || fs::exists(newFile)) return 3;
        fs::remove(directory.root / "filler");
        return key->WriteNumber(u"a", 2).ok() && key->ReadNumber(u"a") == 2u ? 0 : 4;
    }));
    if (result == cannotTell) GTEST_SKIP() << "no disk can be made";
    EXPECT_EQ(result, 0);
}

TEST_F(SettingsTest, WhereNothingMayBeWrittenTheOldFileStays) {
    put(file, "a = 1\n");
    const int result = asOrdinaryUser(directory.root, [&] {
        const auto key = open();
        ::chmod(folder.c_str(), 0500);
        if (key->WriteNumber(u"a", 2) != E_ACCESSDENIED) return 1;
        if (key->ReadNumber(u"a") != 1u) return 2;
        if (create(directory.root, keyPath).code() != E_ACCESSDENIED) return 3;
        if (create(directory.root, u"SOFTWARE\\Firm\\Product\\new\\vexcap").code() != E_ACCESSDENIED) return 4;
        ::chmod(folder.c_str(), 0700);
        ::chmod(file.c_str(), 0400);  // its owner's lock
        if (key->WriteNumber(u"a", 2) != E_ACCESSDENIED) return 5;
        if (key->ReadNumber(u"a") != 1u) return 6;
        ::chmod(file.c_str(), 0200);  // values that we cannot see would be lost
        if (key->WriteNumber(u"a", 2) != E_ACCESSDENIED) return 7;
        if (key->ReadNumber(u"a") != std::nullopt) return 8;
        ::chmod(file.c_str(), 0600);
        return key->WriteNumber(u"a", 2).ok() ? 0 : 9;
    });
    if (result == cannotTell) GTEST_SKIP() << "no other user gets to the temporary directory";
    EXPECT_EQ(result, 0);
    EXPECT_EQ(get(file), "a = 2\n");
}

TEST_F(SettingsTest, AFolderThatCannotBeListedIsWalkedThrough) {
    put(file, "a = 1\n");
    const int result = asOrdinaryUser(directory.root, [&] {
        ::chmod((directory.root / "SOFTWARE").c_str(), 0100);
        const auto key = open();
        const bool read = key && key->ReadNumber(u"a") == 1u;
        ::chmod((directory.root / "SOFTWARE").c_str(), 0700);
        return read ? 0 : 1;
    });
    if (result == cannotTell) GTEST_SKIP() << "no other user gets to the temporary directory";
    EXPECT_EQ(result, 0);
}

/// What a writer tells of itself to the process that will kill it.
struct Progress {
    std::atomic<uint32_t> begun;
    std::atomic<uint32_t> done;
};

TEST_F(SettingsTest, AWriterThatIsKilledLeavesTheOldOrTheNewFile) {
    constexpr int rounds = 150;
    put(file, "# mine\nother = [1,\n 2] # mine, too\nnumber = 0\n");
    const auto key = open();
    void* const shared = ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    Progress& progress = *new (shared) Progress{};
    std::mt19937 random(1);
    for (int round = 0; round < rounds; ++round) {
        const uint32_t before = progress.done;
        const pid_t child = startChild([&] {
            for (uint32_t i = before + 1;; ++i) {
                progress.begun = i;
                if (!key->WriteNumber(u"number", i).ok()) return 1;
                progress.done = i;
            }
        });
        while (progress.done == before && ::waitpid(child, nullptr, WNOHANG) == 0) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
        ::kill(child, SIGKILL);
        ASSERT_EQ(waitFor(child), -1) << "the writer failed";
        const auto number = key->ReadNumber(u"number");
        ASSERT_TRUE(number) << get(file);
        ASSERT_GE(*number, progress.done);
        ASSERT_LE(*number, progress.begun);
        ASSERT_EQ(get(file), "# mine\nother = [1,\n 2] # mine, too\nnumber = " + std::to_string(*number) + "\n");
        progress.done = progress.begun = *number;
    }
    ::munmap(shared, sizeof(Progress));
    EXPECT_TRUE(key->WriteNumber(u"last", 1).ok());
    EXPECT_EQ(names(), (std::set<std::string>{"vexcap.toml", ".vexcap.toml.lock"}));
}

/// Writes numbers under names of its own and a common one. Whoever meets a lock for too long tries again: a write that
/// fails is none that is lost.
bool writeMany(ISettingsKey& key, char16_t mark, uint32_t count) {
    const auto write = [&](const std::u16string& name, uint32_t value) {
        Status s = VEX_E_BUSY;
        while (s == VEX_E_BUSY) s = key.WriteNumber(name, value);
        return s.ok();
    };
    for (uint32_t i = 0; i < count; ++i) {
        const std::u16string name = u"own " + std::u16string(1, mark) + std::u16string(1, char16_t(u'a' + i % 20));
        if (!write(name, i) || key.ReadNumber(name) != i) return false;
        if (i % 10 == 0 && !write(u"common", mark)) return false;
    }
    return true;
}

void expectAllOf(ISettingsKey& key, char16_t mark, uint32_t count) {
    for (uint32_t i = count - 20; i < count; ++i)
        EXPECT_EQ(key.ReadNumber(u"own " + std::u16string(1, mark) + std::u16string(1, char16_t(u'a' + i % 20))), i);
}

TEST_F(SettingsTest, ProcessesThatWriteAtTheSameTimeLoseNothing) {
    constexpr uint32_t count = 300;
    const auto key = open();
    const pid_t first = startChild([&] { return writeMany(*key, u'1', count) ? 0 : 1; });
    const pid_t second = startChild([&] { return writeMany(*key, u'2', count) ? 0 : 1; });
    EXPECT_EQ(waitFor(first), 0);
    EXPECT_EQ(waitFor(second), 0);
    expectAllOf(*key, u'1', count);
    expectAllOf(*key, u'2', count);
    EXPECT_TRUE(key->ReadNumber(u"common") == u'1' || key->ReadNumber(u"common") == u'2');
}

TEST_F(SettingsTest, ThreadsThatWriteAtTheSameTimeLoseNothing) {
    constexpr uint32_t count = 60;
    const auto key = open();
    std::vector<std::thread> writers;
    for (const char16_t mark : {u'1', u'2', u'3'})
        writers.emplace_back([&, mark] { EXPECT_TRUE(writeMany(mark == u'3' ? *open() : *key, mark, count)); });
    for (std::thread& writer : writers) writer.join();
    for (const char16_t mark : {u'1', u'2', u'3'}) expectAllOf(*key, mark, count);
}

TEST(SettingsPath, NoNameLeadsOutOfTheRoot) {
    EXPECT_EQ(settingsPath("/r", u"a\\b"), "/r/a/b.toml");
    EXPECT_EQ(settingsPath("/r", u"..\\..\\x"), "/r/_../_../x.toml");
    EXPECT_EQ(settingsPath("/r", u"../x\\."), "/r/.._x/_..toml");
    EXPECT_EQ(settingsPath("/r", u"a\\\\b"), "/r/a/_/b.toml");
    EXPECT_EQ(settingsPath("/r", std::u16string_view(u"a\0b", 3)), "/r/a_b.toml");
    EXPECT_EQ(settingsPath("/r", u"/etc"), "/r/_etc.toml");
    EXPECT_EQ(settingsPath("/r", u""), "/r/_.toml");
}

TEST(VexKeyDirectory, NeedsAPath) {
    EXPECT_EQ(vex_key_directory(nullptr), nullptr);
    EXPECT_EQ(vex_key_directory(""), nullptr);
    vex_key_free(nullptr);
}

TEST(VexKeyUser, FollowsTheBaseDirectoryRules) {
    TestEnvironment environment;
    const auto keyOf = [&](const char* config, const char* home) {
        environment.set("XDG_CONFIG_HOME", config);
        environment.set("HOME", home);
        vex_key* const key = vex_key_user();
        const fs::path directory = key ? key->directory : fs::path("none");
        vex_key_free(key);
        return directory;
    };
    EXPECT_EQ(keyOf("/config", "/home/a"), "/config");
    EXPECT_EQ(keyOf(nullptr, "/home/a"), "/home/a/.config");
    EXPECT_EQ(keyOf("relative", "/home/a"), "/home/a/.config");
    EXPECT_EQ(keyOf("", nullptr), "none");
    EXPECT_EQ(keyOf("", "relative"), "none");
}

}  // namespace settings_test
}  // namespace vexcap::test
