#include "hosts/common/dark_folder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "hosts/common/failure.h"

namespace vexcap::host {
namespace dark_folder_test {

namespace fs = std::filesystem;

const Device webcam = {"Webcam", "@device:v4l2:usb#vid_046d&pid_0825#A1#1-2:1.0.0", VEX_KIND_VIDEO_INPUT};
const Device twin = {"Webcam", "@device:v4l2:usb#vid_046d&pid_0825#B2#1-3:1.0.0", VEX_KIND_VIDEO_INPUT};

class DarkFolderTest : public testing::Test {
protected:
    DarkFolderTest() {
        std::string pattern = (fs::temp_directory_path() / "vexcap-cli-XXXXXX").string();
        base = mkdtemp(pattern.data());
    }
    ~DarkFolderTest() override { fs::remove_all(base); }

    DarkFolder Folder() const { return DarkFolder((base / "data/dark").string()); }
    std::string Keep(const Device& device, const Size& size, const std::string& content) const {
        return Folder().Keep(device, size, [&](const std::string& path) { std::ofstream(path) << content; });
    }
    size_t FileCount() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(base / "data/dark"), {}));
    }
    static std::string read(const fs::path& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    fs::path base;
};

TEST_F(DarkFolderTest, WithoutAFolderNothingIsKeptAndNoneIsMade) {
    EXPECT_TRUE(Folder().List().empty());
    EXPECT_TRUE(Folder().IsOn(webcam));
    EXPECT_FALSE(fs::exists(base / "data"));
}

TEST_F(DarkFolderTest, WhatIsKeptIsFoundByDeviceAndSize) {
    const std::string small = Keep(webcam, {640, 480}, "a"), large = Keep(webcam, {1280, 720}, "b");
    const std::string other = Keep(twin, {640, 480}, "c");
    const auto ofWebcam = Folder().List(webcam);
    ASSERT_EQ(ofWebcam.size(), 2u);
    EXPECT_EQ(ofWebcam[0], (DarkFolder::Entry{DarkFolder::NameOf(webcam), {640, 480}, small, true}));
    EXPECT_EQ(ofWebcam[1].path, large);
    EXPECT_EQ(Folder().List().size(), 3u);
    EXPECT_EQ(read(other), "c");
}

TEST_F(DarkFolderTest, ANewOneTakesThePlaceOfTheOldOne) {
    Keep(webcam, {640, 480}, "old");
    EXPECT_EQ(read(Keep(webcam, {640, 480}, "new")), "new");
    EXPECT_EQ(FileCount(), 1u);
}

TEST_F(DarkFolderTest, WhatCannotBeWrittenLeavesTheOldOneAndNothingElse) {
    const std::string kept = Keep(webcam, {640, 480}, "old");
    EXPECT_THROW(Folder().Keep(webcam, {640, 480},
                               [](const std::string& path) {
                                   std::ofstream(path) << "half";
                                   throw Failure(exitFailure, "disk");
                               }),
                 Failure);
    EXPECT_EQ(read(kept), "old");
    EXPECT_EQ(FileCount(), 1u);
}

TEST_F(DarkFolderTest, TheSwitchIsTheDevicesAndStays) {
    Keep(webcam, {640, 480}, "a");
    Folder().Switch(webcam, false);
    Folder().Switch(webcam, false);
    EXPECT_FALSE(Folder().IsOn(webcam));
    EXPECT_FALSE(Folder().List(webcam)[0].on);
    EXPECT_TRUE(Folder().IsOn(twin));
    Folder().Switch(webcam, true);
    Folder().Switch(webcam, true);
    EXPECT_TRUE(Folder().IsOn(webcam));
    EXPECT_TRUE(Folder().List(webcam)[0].on);
}

TEST_F(DarkFolderTest, OtherFilesAreNoDarkFrames) {
    const std::string kept = Keep(webcam, {640, 480}, "a");
    for (const char* name : {"notes.txt", "x.bmp", "-640x480.bmp", "x-640.bmp", "x-640x480.bmp.Ab12Cd", "x-0x480.bmp"})
        std::ofstream(base / "data/dark" / name) << "x";
    ASSERT_EQ(Folder().List().size(), 1u);
    EXPECT_EQ(Folder().List()[0].path, kept);
}

TEST_F(DarkFolderTest, AFolderThatCannotBeMadeIsAFailure) {
    std::ofstream(base / "data") << "a file";
    EXPECT_THROW(Keep(webcam, {640, 480}, "a"), Failure);
    EXPECT_THROW(Folder().Switch(webcam, false), Failure);
    EXPECT_THROW(Folder().List(), Failure);
}

TEST_F(DarkFolderTest, ANameTooLongForTheFileSystemIsAFailure) {
    const Device device = {"x", "@device:" + std::string(300, 'a'), VEX_KIND_VIDEO_INPUT};
    EXPECT_THROW(Keep(device, {640, 480}, "a"), Failure);
    EXPECT_THROW(Folder().Switch(device, false), Failure);
}

TEST(DarkName, HasNoCharactersThatAFileNameCannotHave) {
    const auto nameOf = [](const char* identifier) {
        return DarkFolder::NameOf({"x", identifier, VEX_KIND_VIDEO_INPUT});
    };
    EXPECT_EQ(DarkFolder::NameOf(webcam), "v4l2%3Ausb#vid_046d&pid_0825#A1#1-2%3A1.0.0");
    EXPECT_EQ(nameOf("../a/b c%"), "..%2Fa%2Fb%20c%25");
    EXPECT_EQ(nameOf("a\nb\x7F"), "a%0Ab%7F");
    EXPECT_EQ(nameOf("caf\xC3\xA9"), "caf\xC3\xA9");
}

TEST(DarkName, TwoDevicesNeverShareOne) {
    EXPECT_NE(DarkFolder::NameOf(webcam), DarkFolder::NameOf(twin));
    EXPECT_NE(DarkFolder::NameOf({"", "a%3A", VEX_KIND_VIDEO_INPUT}),
              DarkFolder::NameOf({"", "a:", VEX_KIND_VIDEO_INPUT}));
}

TEST_F(DarkFolderTest, ACopyReplacesAFileOnlyOnWish) {
    const std::string from = (base / "from").string(), to = (base / "to").string();
    std::ofstream(from) << "dark";
    copyFile(from, to, false);
    EXPECT_EQ(read(to), "dark");
    std::ofstream(to) << "mine";
    try {
        copyFile(from, to, false);
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code, exitUsage);
    }
    EXPECT_EQ(read(to), "mine");
    copyFile(from, to, true);
    EXPECT_EQ(read(to), "dark");
    EXPECT_EQ(std::distance(fs::directory_iterator(base), {}), 2);
}

TEST_F(DarkFolderTest, ACopyThatFailsLeavesTheOldFile) {
    const std::string to = (base / "to").string();
    std::ofstream(to) << "mine";
    EXPECT_THROW(copyFile((base / "missing").string(), to, true), Failure);
    EXPECT_EQ(read(to), "mine");
    EXPECT_EQ(std::distance(fs::directory_iterator(base), {}), 1);
}

}  // namespace dark_folder_test
}  // namespace vexcap::host
