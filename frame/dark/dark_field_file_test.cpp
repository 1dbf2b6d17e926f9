// Dark frames in files.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/text.h"
#include "frame/dark/dark_field_testing.h"
#include "platform/linux/file.h"

namespace vexcap::test {
namespace dark_field_file_test {

uint32_t number(const Bytes& file, size_t offset, size_t size) {
    uint32_t value = 0;
    for (size_t i = 0; i < size; ++i) value |= uint32_t(file.at(offset + i)) << 8 * i;
    return value;
}

TEST_F(DarkFieldTest, EveryFieldOfTheFileIsAsTheFormatSays) {
    struct {
        uint32_t width, height;
    } const sizes[] = {{3, 2}, {4, 3}, {1, 1}, {5, 4}, {641, 3}};
    for (const auto [w, h] : sizes) {
        const Bytes packed = pattern(size_t(w) * h * 3, w);
        field.SetDark(owned(packed), int32_t(w), int32_t(h));
        ASSERT_EQ(field.Export(path.c_str()), S_OK);
        const Bytes file = disk.bytes(path);
        const uint32_t pitch = (w * 24 + 31) / 32 * 4, imageBytes = pitch * h;
        struct {
            size_t offset, size;
            uint32_t value;
        } const fields[] = {{0, 1, 'B'}, {1, 1, 'M'}, {2, 4, imageBytes + 54},
                            {6, 4, 0},   {10, 4, 54}, {14, 4, 40},
                            {18, 4, w},  {22, 4, h},  {26, 2, 1},
                            {28, 2, 24}, {30, 4, 0},  {34, 4, imageBytes + 40},
                            {38, 4, 0},  {42, 4, 0},  {46, 4, 0},
                            {50, 4, 0}};
        size_t end = 0;
        for (const auto& each : fields) {
            EXPECT_EQ(each.offset, end);
            EXPECT_EQ(number(file, each.offset, each.size), each.value) << "offset " << each.offset;
            end = each.offset + each.size;
        }
        EXPECT_EQ(end, 54u);
        ASSERT_EQ(file.size(), 54u + imageBytes);
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t i = 0; i < pitch; ++i)
                ASSERT_EQ(file[54 + y * pitch + i], i < w * 3 ? packed[y * w * 3 + i] : 0) << y << ' ' << i;
    }
}

TEST_F(DarkFieldTest, ARowOfThreePixelsHasTwelveBytesThreeOfThemZero) {
    field.SetDark(owned(Bytes(18, 7)), 3, 2);
    ASSERT_EQ(field.Export(path.c_str()), S_OK);
    EXPECT_EQ(disk.bytes(path).size(), 54u + 24);
    const Bytes row = {7, 7, 7, 7, 7, 7, 7, 7, 7, 0, 0, 0};
    const Bytes file = disk.bytes(path);
    EXPECT_EQ(Bytes(file.begin() + 54, file.begin() + 66), row);
    EXPECT_EQ(Bytes(file.begin() + 66, file.end()), row);
}

TEST_F(DarkFieldTest, ExportNeedsADarkFrameAndTouchesNoFileWithoutOne) {
    disk.put(path, {1, 2, 3});
    EXPECT_EQ(field.Export(path.c_str()), E_UNEXPECTED);
    EXPECT_EQ(disk.bytes(path), (Bytes{1, 2, 3}));
    EXPECT_EQ(field.Export(nullptr), E_UNEXPECTED);
    setDark(1);
    EXPECT_EQ(field.Export(nullptr), E_FAIL);
}

TEST_F(DarkFieldTest, AnyFailureOfExportIsOneCodeAndTheFileIsClosed) {
    setDark(1);
    disk.fail(Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(field.Export(path.c_str()), E_FAIL);
    disk.fail(Kind::Create, S_OK);
    for (const size_t kept : {size_t(0), size_t(10), size_t(14), size_t(54), size_t(60), stride * height + 53}) {
        disk.failWrite(disk.count(Kind::Write), VEX_E_DISK_FULL, kept);
        EXPECT_EQ(field.Export(path.c_str()), E_FAIL);
        EXPECT_EQ(disk.bytes(path).size(), kept);
        EXPECT_EQ(field.Import(path.c_str()), E_FAIL);  // what is left is no dark frame
        EXPECT_EQ(field.HasDfc(), 1);
    }
    disk.setCapacity(60);
    EXPECT_EQ(field.Export(path.c_str()), E_FAIL);
    disk.setCapacity(1000);
    EXPECT_EQ(disk.count(Kind::Close) + 1, disk.count(Kind::Create) + disk.count(Kind::Open));
    EXPECT_EQ(field.Export(path.c_str()), S_OK);
    EXPECT_EQ(field.Import(path.c_str()), S_OK);
}

TEST_F(DarkFieldTest, ImportTakesWhatExportWrote) {
    const Bytes packed = pattern(width * height * 3, 9);
    disk.put(path, fileOf(packed));
    EXPECT_EQ(field.Import(path.c_str()), S_OK);
    EXPECT_EQ(field.HasDfc(), 1);
    EXPECT_EQ(field.IsDfc(), 0);
    EXPECT_EQ(dark(), packed);
}

TEST_F(DarkFieldTest, ImportWorksWhereRowsHaveNoPadding) {
    field.SetDarkSize(4, 3);
    const Bytes packed = pattern(4 * 3 * 3, 10);
    disk.put(path, fileOf(packed, 4, 3));
    EXPECT_EQ(field.Import(path.c_str()), S_OK);
    ASSERT_EQ(field.Export(u"again"), S_OK);
    EXPECT_EQ(disk.bytes(u"again"), disk.bytes(path));
}

TEST_F(DarkFieldTest, ImportOfAnotherSizeKeepsTheDarkFrame) {
    setDark(5);
    for (const auto& [w, h] : {std::pair(width + 1, height), {width, height + 1}, {height, width}}) {
        disk.put(path, fileOf(Bytes(size_t(w) * h * 3, 1), w, h));
        EXPECT_EQ(field.Import(path.c_str()), E_INVALIDARG);
    }
    EXPECT_EQ(dark(), Bytes(width * height * 3, 5));
}

TEST_F(DarkFieldTest, ImportWithoutAFrameSizeIsRefused) {
    DarkField fresh(disk);
    disk.put(path, fileOf(Bytes(width * height * 3, 1)));
    EXPECT_EQ(fresh.Import(path.c_str()), E_INVALIDARG);
}

TEST_F(DarkFieldTest, EveryHeaderFieldThatMattersIsChecked) {
    const Bytes good = fileOf(Bytes(width * height * 3, 1));
    setDark(5);
    struct {
        size_t offset;
        std::vector<uint8_t> bytes;
        HRESULT result;
    } const cases[] = {
        {0, {'b'}, E_FAIL},                                              // type
        {1, {'m'}, E_FAIL},                                              //
        {2, {9, 9, 9, 9}, S_OK},                                         // file size: not read
        {6, {9, 9, 9, 9}, S_OK},                                         // reserved
        {10, {99, 9, 9, 9}, S_OK},                                       // pixel offset: not read
        {14, {41}, E_FAIL},                                              // header size
        {14, {124}, E_FAIL},                                             // a longer header
        {14, {40, 0, 0, 1}, E_FAIL},                                     //
        {18, {0, 0, 0, 0}, E_FAIL},                                      // width 0
        {18, {0xFB, 0xFF, 0xFF, 0xFF}, E_FAIL},                          // -5
        {18, {0xFF, 0xFF, 0xFF, 0x7F}, E_FAIL},                          // more than the file holds
        {18, {4}, E_INVALIDARG},                                         // another size
        {22, {0, 0, 0, 0}, E_FAIL},                                      // height 0
        {22, {0xFC, 0xFF, 0xFF, 0xFF}, E_FAIL},                          // -4: rows from the top
        {22, {5}, E_FAIL},                                               // a row more than there is
        {22, {3}, E_INVALIDARG},                                         //
        {18, {0xFF, 0xFF, 0xFF, 0x7F, 0xFF, 0xFF, 0xFF, 0x7F}, E_FAIL},  // products that no number holds
        {18, {0, 0, 0, 0x40, 0, 0, 0, 0x40}, E_FAIL},                    //
        {18, {0x56, 0x55, 0x55, 0x55, 1, 0, 0, 0}, E_FAIL},              // three times that is 2 in 32 bits
        {26, {9, 9}, S_OK},                                              // planes: not read
        {28, {32}, E_FAIL},                                              // bit count
        {28, {24, 1}, E_FAIL},                                           //
        {30, {1}, E_FAIL},                                               // compression
        {30, {0, 0, 0, 1}, E_FAIL},                                      //
        {34, {9, 9, 9, 9}, S_OK},                                        // image size: not read
        {38, std::vector<uint8_t>(16, 9), S_OK},                         // resolution and colours: not read
    };
    for (const auto& each : cases) {
        Bytes file = good;
        std::copy(each.bytes.begin(), each.bytes.end(), file.begin() + ptrdiff_t(each.offset));
        disk.put(path, file);
        EXPECT_EQ(field.Import(path.c_str()), each.result) << "offset " << each.offset;
        EXPECT_EQ(field.HasDfc(), 1);
    }
}

TEST_F(DarkFieldTest, AFileThatEndsAnywhereTooEarlyIsRefused) {
    const Bytes good = fileOf(Bytes(width * height * 3, 1));
    for (size_t size = 0; size < good.size(); ++size) {
        disk.put(path, Bytes(good.begin(), good.begin() + ptrdiff_t(size)));
        ASSERT_EQ(field.Import(path.c_str()), E_FAIL) << size;
    }
    Bytes longer = good;
    longer.resize(good.size() + 100, 7);
    disk.put(path, longer);
    EXPECT_EQ(field.Import(path.c_str()), S_OK);
}

TEST_F(DarkFieldTest, AGapBeforeThePixelsIsReadAsPixels) {
    Bytes file = fileOf(Bytes(width * height * 3, 1));
    file[10] = 54 + 4;
    const Bytes gap = {50, 51, 52, 53};
    file.insert(file.begin() + 54, gap.begin(), gap.end());
    disk.put(path, file);
    ASSERT_EQ(field.Import(path.c_str()), S_OK);
    const Bytes got = dark();
    EXPECT_EQ(Bytes(got.begin(), got.begin() + 4), gap);
    EXPECT_EQ(got[4], 1);
}

/// A disk whose reads fail from one of them on, as a drive that is pulled out.
struct FailingReads final : IFileSystem {
    struct File final : IFile {
        File(std::unique_ptr<IFile> opened, FailingReads& owner) : inner(std::move(opened)), disk(owner) {}
        Status WriteAt(uint64_t, std::span<const std::byte>) override { return E_NOTIMPL; }
        Status WriteGathered(uint64_t, std::span<const std::span<const std::byte>>) override { return E_NOTIMPL; }
        Result<size_t> ReadAt(uint64_t position, std::span<std::byte> bytes) override {
            if (disk.operations++ == disk.failing) return Status(E_ACCESSDENIED);
            return inner->ReadAt(position, bytes);
        }
        Status Reserve(uint64_t, uint64_t) override { return E_NOTIMPL; }
        Status Resize(uint64_t) override { return E_NOTIMPL; }
        Result<uint64_t> Size() override {
            if (disk.operations++ == disk.failing) return Status(E_ACCESSDENIED);
            return inner->Size();
        }
        std::unique_ptr<IFile> inner;
        FailingReads& disk;
    };
    explicit FailingReads(FakeDisk& real) : files(real) {}
    Result<std::unique_ptr<IFile>> Create(std::u16string_view) override { return E_NOTIMPL; }
    Result<std::unique_ptr<IFile>> Update(std::u16string_view) override { return E_NOTIMPL; }
    Result<std::unique_ptr<IFile>> Open(std::u16string_view name) override {
        if (operations++ == failing) return E_ACCESSDENIED;
        Result<std::unique_ptr<IFile>> opened = files.Open(name);
        if (!opened.ok()) return opened.status();
        return std::unique_ptr<IFile>(std::make_unique<File>(std::move(opened).value(), *this));
    }
    Status Remove(std::u16string_view) override { return E_NOTIMPL; }
    FakeDisk& files;
    int failing = -1, operations = 0;
};

TEST_F(DarkFieldTest, AFailureAtAnyStepOfImportIsOneCodeAndKeepsTheDarkFrame) {
    disk.put(path, fileOf(Bytes(width * height * 3, 1)));
    FailingReads failing(disk);
    DarkField other(failing);
    other.SetDark(owned(Bytes(width * height * 3, 5)), width, height);
    ASSERT_EQ(other.Import(path.c_str()), S_OK);
    const int steps = failing.operations;
    EXPECT_EQ(steps, 5);  // open, two headers, the size of the file, pixels
    for (int step = 0; step < steps; ++step) {
        failing.operations = 0;
        failing.failing = step;
        EXPECT_EQ(other.Import(path.c_str()), E_FAIL) << step;
        EXPECT_EQ(other.HasDfc(), 1);
    }
    EXPECT_EQ(disk.count(Kind::Close), disk.count(Kind::Open));
    EXPECT_EQ(field.Import(u"nowhere"), E_FAIL);
    EXPECT_EQ(field.Import(u""), E_FAIL);
    EXPECT_EQ(field.Import(nullptr), E_FAIL);
}

/// Standard output and error of a command, and whether it succeeded.
std::pair<bool, std::string> shell(const std::string& command) {
    std::string text;
    FILE* const pipe = ::popen(("{ " + command + "; } 2>&1").c_str(), "r");
    if (!pipe) return {false, text};
    char buffer[256];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, n);
    return {::pclose(pipe) == 0, text};
}

struct DarkFieldFiles : testing::Test {
    void SetUp() override {
        if (!shell("identify -version && convert -version").first) GTEST_SKIP() << "ImageMagick is not installed";
        std::string pattern = (std::filesystem::temp_directory_path() / "vexcap-dark-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        directory = pattern;
    }
    void TearDown() override {
        if (!directory.empty()) std::filesystem::remove_all(directory);
    }
    std::string name(const char* file) const { return (directory / file).string(); }
    Bytes read(const char* file) const {
        std::ifstream in(name(file), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::filesystem::path directory;
    LinuxFileSystem files;
    DarkField field{files};
};

/// Packed blue-green-red rows, bottom-up, as red-green-blue rows from the top.
Bytes fromTheTop(const Bytes& packed, uint32_t w, uint32_t h) {
    Bytes made;
    for (uint32_t y = h; y-- > 0;)
        for (uint32_t x = 0; x < w; ++x)
            for (size_t i = 3; i-- > 0;) made.push_back(packed[(size_t(y) * w + x) * 3 + i]);
    return made;
}

TEST_F(DarkFieldFiles, AnotherProgramReadsWhatExportWrote) {
    constexpr uint32_t w = 37, h = 21;
    const Bytes packed = pattern(w * h * 3, 11);
    field.SetDark(owned(packed), w, h);
    ASSERT_EQ(field.Export(toUtf16(name("dark.bmp")).c_str()), S_OK);
    const auto [known, told] = shell("identify -format '%m %w %h %z' " + name("dark.bmp"));
    EXPECT_TRUE(known) << told;
    EXPECT_EQ(told, "BMP3 37 21 8");
    const auto [converted, said] = shell("convert " + name("dark.bmp") + " -depth 8 rgb:" + name("dark.rgb"));
    ASSERT_TRUE(converted) << said;
    EXPECT_EQ(said, "");
    EXPECT_EQ(read("dark.rgb"), fromTheTop(packed, w, h));
}

TEST_F(DarkFieldFiles, ImportTakesABitmapThatAnotherProgramWrote) {
    constexpr uint32_t w = 38, h = 11;
    const Bytes packed = pattern(w * h * 3, 12), rows = fromTheTop(packed, w, h);
    std::ofstream(name("in.rgb"), std::ios::binary)
        .write(reinterpret_cast<const char*>(rows.data()), std::streamsize(rows.size()));
    const auto [converted, said] =
        shell("convert -size 38x11 -depth 8 rgb:" + name("in.rgb") + " -type truecolor BMP3:" + name("in.bmp"));
    ASSERT_TRUE(converted) << said;
    field.SetDarkSize(w, h);
    ASSERT_EQ(field.Import(toUtf16(name("in.bmp")).c_str()), S_OK);
    std::unique_ptr<uint8_t[]> taken;
    field.TakeDark(&taken, nullptr, nullptr);
    EXPECT_EQ(Bytes(taken.get(), taken.get() + packed.size()), packed);
}

}  // namespace dark_field_file_test
}  // namespace vexcap::test
