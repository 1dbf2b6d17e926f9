#include "platform/linux/file.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "base/text.h"
#include "platform/fake/file_testing.h"

namespace vexcap::test {
namespace file_test {

namespace fs = std::filesystem;

/// A directory for one test.
struct Directory {
    Directory() {
        std::string pattern = (fs::temp_directory_path() / "vexcap-file-XXXXXX").string();
        root = ::mkdtemp(pattern.data());
    }
    ~Directory() { fs::remove_all(root); }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    std::u16string path(std::u16string_view name) const { return (root / name).u16string(); }
    fs::path root;
};

struct LinuxHarness : Directory {
    IFileSystem& files() { return system; }
    LinuxFileSystem system;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, FileContract, LinuxHarness);

struct LinuxFileTest : testing::Test {
    Directory directory;
    LinuxFileSystem system;
    const std::u16string path = directory.path(u"a.ser");
    const std::string name = toUtf8(path);
};

TEST_F(LinuxFileTest, AMissingDirectoryIsAPathNotFound) {
    EXPECT_EQ(system.Create(directory.path(u"none/a.ser")).code(), VEX_E_PATH_NOT_FOUND);
    EXPECT_EQ(system.Open(directory.path(u"none/a.ser")).code(), VEX_E_FILE_NOT_FOUND);
    std::ofstream(directory.root / "file") << "x";
    EXPECT_EQ(system.Create(directory.path(u"file/a.ser")).code(), VEX_E_PATH_NOT_FOUND);
}

TEST_F(LinuxFileTest, WhatIsNoRegularFileIsRefusedAndNobodyWaits) {
    EXPECT_EQ(system.Create(directory.root.u16string()).code(), E_ACCESSDENIED);
    EXPECT_EQ(system.Open(directory.root.u16string()).code(), E_ACCESSDENIED);
    EXPECT_EQ(system.Create(u"/dev/null").code(), E_ACCESSDENIED);
    const std::u16string pipe = directory.path(u"pipe");
    ASSERT_EQ(::mkfifo(toUtf8(pipe).c_str(), 0600), 0);
    EXPECT_FALSE(system.Create(pipe).ok());
    EXPECT_EQ(system.Open(pipe).code(), E_ACCESSDENIED);
    EXPECT_EQ(system.Remove(directory.root.u16string()), E_ACCESSDENIED);
}

TEST_F(LinuxFileTest, AFileIsReadableByAllAndWritableByItsOwner) {
    const mode_t before = ::umask(022);
    EXPECT_TRUE(system.Create(path).ok());
    ::umask(before);
    struct stat about = {};
    ASSERT_EQ(::stat(name.c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 07777, 0644u);
}

TEST_F(LinuxFileTest, AFileLockedByAnotherProcessIsBusyAndStaysWhole) {
    std::ofstream(name) << "recording";
    UniqueFd other(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(system.Create(path).code(), VEX_E_BUSY);
    EXPECT_EQ(contentOf(system, path), "recording");
}

TEST_F(LinuxFileTest, WritersThatRaceForANameNeverShareAFile) {
    constexpr int rounds = 200;
    auto race = [&](char mark, int& made) {
        for (int i = 0; i < rounds; ++i) {
            auto file = system.Create(path);
            if (!file.ok()) continue;
            ++made;
            ASSERT_TRUE(file.value()->WriteAt(0, bytesOf(std::string(64, mark))).ok());
            // Nobody else writes or removes while this one holds the file, so the name leads to it.
            ASSERT_EQ(contentOf(system, path), std::string(64, mark));
            if (i % 2 == 0) continue;
            ASSERT_TRUE(system.Remove(path).ok());
        }
    };
    int first = 0, second = 0;
    std::thread other([&] { race('b', second); });
    race('a', first);
    other.join();
    EXPECT_GT(first + second, 0);
}

TEST_F(LinuxFileTest, ReservedSpaceBehindTheEndIsGivenBack) {
    auto file = std::move(system.Create(path)).value();
    const Status reserved = file->Reserve(0, 4 << 20);
    if (reserved == E_NOTIMPL) GTEST_SKIP() << "the temporary directory does not reserve";
    ASSERT_TRUE(reserved.ok());
    ASSERT_TRUE(file->WriteAt(0, bytesOf("abc")).ok());
    struct stat about = {};
    ASSERT_EQ(::stat(name.c_str(), &about), 0);
    EXPECT_GE(about.st_blocks * 512, 4 << 20);
    EXPECT_EQ(about.st_size, 3);
    ASSERT_TRUE(file->Resize(3).ok());
    ASSERT_EQ(::stat(name.c_str(), &about), 0);
    EXPECT_LE(about.st_blocks * 512, 64 << 10);
    EXPECT_EQ(contentOf(system, path), "abc");
}

TEST_F(LinuxFileTest, InMemoryNothingIsReserved) {
    if (!fs::is_directory("/dev/shm")) GTEST_SKIP() << "no file system in memory";
    const std::u16string inMemory = u"/dev/shm/vexcap-file-test-" + toUtf16(std::to_string(::getpid()));
    auto made = system.Create(inMemory);
    ASSERT_TRUE(made.ok());
    EXPECT_EQ(made.value()->Reserve(0, 1 << 20), E_NOTIMPL);
    EXPECT_TRUE(system.Remove(inMemory).ok());
}

/// Runs `steps` in a process of its own, whose files may have at most 1000 bytes; its exit status, or -1 if it died.
int underSizeLimit(int (*steps)(LinuxFileSystem&, const std::u16string&), LinuxFileSystem& system,
                   const std::u16string& path) {
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_DFL);
        const rlimit limit = {1000, 1000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::_exit(steps(system, path));
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(LinuxFileTest, ALimitOfTheFileSizeIsAFullDiskAndNoDeath) {
    const auto steps = [](LinuxFileSystem& files, const std::u16string& where) {
        auto file = std::move(files.Create(where)).value();
        const std::string text(600, 'x');
        const Bytes pieces[] = {bytesOf(text), bytesOf(text)};
        if (!file->WriteAt(0, bytesOf(text)).ok()) return 1;
        if (file->WriteAt(600, bytesOf(text)) != VEX_E_DISK_FULL) return 2;
        if (file->WriteAt(2000, bytesOf(text)) != VEX_E_DISK_FULL) return 3;
        if (file->WriteGathered(0, pieces) != VEX_E_DISK_FULL) return 4;
        if (file->Resize(1001) != VEX_E_DISK_FULL) return 5;
        if (!file->Resize(1000).ok()) return 6;
        if (const Status s = file->Reserve(500, 501); s != VEX_E_DISK_FULL && s != E_NOTIMPL) return 7;
        return 0;
    };
    EXPECT_EQ(underSizeLimit(steps, system, path), 0);
}

TEST_F(LinuxFileTest, ADeviceThatIsFullIsAFullDisk) {
    LinuxFile full(UniqueFd(::open("/dev/full", O_WRONLY | O_CLOEXEC)), LinuxFile::Access::Write);
    const Bytes pieces[] = {bytesOf("a"), bytesOf("b")};
    EXPECT_EQ(full.WriteAt(0, bytesOf("abc")), VEX_E_DISK_FULL);
    EXPECT_EQ(full.WriteGathered(0, pieces), VEX_E_DISK_FULL);
}

}  // namespace file_test
}  // namespace vexcap::test
