#include "hosts/common/files/output_file.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "hosts/common/failure.h"

namespace vexcap::host {
namespace output_file_test {

namespace fs = std::filesystem;

class OutputFile : public testing::Test {
protected:
    OutputFile() {
        std::string pattern = (fs::temp_directory_path() / "vexcap-cli-XXXXXX").string();
        directory = mkdtemp(pattern.data());
        std::ofstream(directory / "there.ser") << "old";
    }
    ~OutputFile() override { fs::remove_all(directory); }

    ExitCode Check(const std::string& name, bool overwrite = false) const {
        try {
            checkOutputFile((directory / name).string(), overwrite);
        } catch (const Failure& failure) {
            return failure.code;
        }
        return exitDone;
    }
    fs::path directory;
};

TEST_F(OutputFile, ANewNameInADirectoryIsFineAndNothingIsMade) {
    EXPECT_EQ(Check("new.ser"), exitDone);
    EXPECT_FALSE(fs::exists(directory / "new.ser"));
}

TEST_F(OutputFile, WhatExistsIsReplacedOnlyOnWish) {
    EXPECT_EQ(Check("there.ser"), exitUsage);
    EXPECT_EQ(Check("there.ser", true), exitDone);
    EXPECT_EQ(fs::file_size(directory / "there.ser"), 3u);
}

TEST_F(OutputFile, ALinkThatLeadsNowhereExists) {
    fs::create_symlink("nowhere", directory / "link.ser");
    EXPECT_EQ(Check("link.ser"), exitUsage);
}

TEST_F(OutputFile, WhateverHasANameTakesIt) {
    fs::create_symlink("nowhere", directory / "link.ser");
    fs::create_directory(directory / "folder.ser");
    for (const char* name : {"there.ser", "link.ser", "folder.ser"})
        EXPECT_TRUE(isTaken((directory / name).string())) << name;
    for (const char* name : {"new.ser", "missing/new.ser"}) EXPECT_FALSE(isTaken((directory / name).string())) << name;
}

TEST_F(OutputFile, ADirectoryIsNeverReplaced) {
    fs::create_directory(directory / "folder.ser");
    EXPECT_EQ(Check("folder.ser"), exitUsage);
    EXPECT_EQ(Check("folder.ser", true), exitUsage);
}

TEST_F(OutputFile, AMissingDirectoryIsAFailure) {
    EXPECT_EQ(Check("missing/new.ser"), exitFailure);
    EXPECT_EQ(Check("there.ser/new.ser"), exitFailure);
}

TEST_F(OutputFile, ANameTooLongForTheFileSystemIsAFailure) {
    EXPECT_EQ(Check(std::string(300, 'a') + ".ser"), exitFailure);
}

TEST(Container, TheEndOfTheNameTellsIt) {
    EXPECT_EQ(containerOf("a.avi"), Container::Avi);
    EXPECT_EQ(containerOf("a.b.AVI"), Container::Avi);
    EXPECT_EQ(containerOf("a.avi.ser"), Container::Ser);
}

TEST(OutputFileWithoutDirectory, IsInTheWorkingDirectory) {
    EXPECT_NO_THROW(checkOutputFile("a-name-that-is-not-there.ser", false));
}

}  // namespace output_file_test
}  // namespace vexcap::host
