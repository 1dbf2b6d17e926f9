// What every file system of this library promises, as tests. A harness has `IFileSystem& files()` and
// `std::u16string path(std::u16string_view name)`, a place for a file that is not there yet.
#pragma once

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

#include "platform/file.h"

namespace vexcap::test {

inline Bytes bytesOf(std::string_view text) { return std::as_bytes(std::span(text.data(), text.size())); }

/// The whole file, read through the port.
inline std::string contentOf(IFileSystem& files, std::u16string_view path) {
    auto opened = files.Open(path);
    if (!opened.ok()) return "(no file)";
    std::string text(size_t(opened.value()->Size().value()), '\0');
    const auto count = opened.value()->ReadAt(0, std::as_writable_bytes(std::span(text)));
    return count.ok() && count.value() == text.size() ? text : "(cannot be read)";
}

inline std::string written(IFileSystem& files, std::u16string_view path, std::string_view text) {
    auto made = files.Create(path);
    if (!made.ok() || !made.value()->WriteAt(0, bytesOf(text)).ok()) return "(cannot be written)";
    made.value().reset();
    return contentOf(files, path);
}

template <typename Harness>
class FileContract : public testing::Test {
protected:
    IFileSystem& files() { return harness.files(); }
    std::unique_ptr<IFile> create() {
        auto made = files().Create(path);
        EXPECT_TRUE(made.ok()) << std::hex << made.code();
        return made.ok() ? std::move(made).value() : nullptr;
    }

    Harness harness;
    const std::u16string path = harness.path(u"a.ser");
};

TYPED_TEST_SUITE_P(FileContract);

TYPED_TEST_P(FileContract, WhatWasWrittenIsReadBack) {
    auto file = this->create();
    ASSERT_TRUE(file->WriteAt(0, bytesOf("Hello world")).ok());
    ASSERT_TRUE(file->WriteAt(6, bytesOf("disk")).ok());
    EXPECT_EQ(file->Size().value(), 11u);
    EXPECT_EQ(contentOf(this->files(), this->path), "Hello diskd");
}

TYPED_TEST_P(FileContract, AnEmptyWriteIsNothing) {
    auto file = this->create();
    EXPECT_TRUE(file->WriteAt(10, {}).ok());
    EXPECT_TRUE(file->WriteGathered(10, {}).ok());
    EXPECT_EQ(file->Size().value(), 0u);
}

TYPED_TEST_P(FileContract, AHoleReadsAsZeros) {
    auto file = this->create();
    ASSERT_TRUE(file->WriteAt(3, bytesOf("x")).ok());
    EXPECT_EQ(contentOf(this->files(), this->path), std::string("\0\0\0x", 4));
}

TYPED_TEST_P(FileContract, GatheredPiecesLieOneBehindAnother) {
    auto file = this->create();
    const Bytes pieces[] = {bytesOf("ab"), {}, bytesOf("c"), bytesOf("defg"), {}};
    ASSERT_TRUE(file->WriteGathered(1, pieces).ok());
    EXPECT_EQ(contentOf(this->files(), this->path), std::string("\0abcdefg", 8));
}

TYPED_TEST_P(FileContract, ThousandsOfPiecesAreWritten) {
    std::string text(5000, '\0');
    std::iota(text.begin(), text.end(), char(0));
    std::vector<Bytes> pieces;
    for (const char& c : text) pieces.push_back(bytesOf({&c, 1}));
    auto file = this->create();
    ASSERT_TRUE(file->WriteGathered(0, pieces).ok());
    EXPECT_EQ(contentOf(this->files(), this->path), text);
}

TYPED_TEST_P(FileContract, AReadIsShortOnlyAtTheEnd) {
    auto file = this->create();
    ASSERT_TRUE(file->WriteAt(0, bytesOf("abcdef")).ok());
    std::byte buffer[4];
    EXPECT_EQ(file->ReadAt(0, buffer).value(), 4u);
    EXPECT_EQ(file->ReadAt(4, buffer).value(), 2u);
    EXPECT_EQ(buffer[0], std::byte('e'));
    EXPECT_EQ(file->ReadAt(6, buffer).value(), 0u);
    EXPECT_EQ(file->ReadAt(600, buffer).value(), 0u);
}

TYPED_TEST_P(FileContract, CreateEmptiesTheFileThatIsThere) {
    EXPECT_EQ(written(this->files(), this->path, "old and long"), "old and long");
    EXPECT_EQ(written(this->files(), this->path, "new"), "new");
}

TYPED_TEST_P(FileContract, ReserveChangesNeitherSizeNorContent) {
    auto file = this->create();
    ASSERT_TRUE(file->WriteAt(0, bytesOf("abc")).ok());
    const Status s = file->Reserve(3, 1 << 20);
    EXPECT_TRUE(s.ok() || s == E_NOTIMPL) << std::hex << s.code();
    EXPECT_EQ(file->Size().value(), 3u);
    ASSERT_TRUE(file->WriteAt(3, bytesOf("def")).ok());
    EXPECT_EQ(contentOf(this->files(), this->path), "abcdef");
}

TYPED_TEST_P(FileContract, ResizeCutsAndExtends) {
    auto file = this->create();
    ASSERT_TRUE(file->WriteAt(0, bytesOf("abcdef")).ok());
    ASSERT_TRUE(file->Resize(2).ok());
    EXPECT_EQ(contentOf(this->files(), this->path), "ab");
    ASSERT_TRUE(file->Resize(4).ok());
    EXPECT_EQ(contentOf(this->files(), this->path), std::string("ab\0\0", 4));
}

TYPED_TEST_P(FileContract, UpdateLeavesWhatIsThereAndTakesChanges) {
    EXPECT_EQ(written(this->files(), this->path, "abcdef"), "abcdef");
    auto file = this->files().Update(this->path);
    ASSERT_TRUE(file.ok());
    EXPECT_TRUE(file.value()->WriteAt(2, bytesOf("XY")).ok());
    EXPECT_EQ(contentOf(this->files(), this->path), "abXYef");
    EXPECT_EQ(this->files().Update(this->path).code(), VEX_E_BUSY);
    EXPECT_EQ(this->files().Create(this->path).code(), VEX_E_BUSY);
    EXPECT_EQ(contentOf(this->files(), this->path), "abXYef");
}

TYPED_TEST_P(FileContract, UpdateMakesNoFile) {
    EXPECT_EQ(this->files().Update(this->path).code(), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(this->files().Update(u"").code(), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(this->files().Update(this->path + u'\0').code(), E_INVALIDARG);
    EXPECT_EQ(this->files().Open(this->path).code(), VEX_E_FILE_NOT_FOUND);
}

TYPED_TEST_P(FileContract, ASecondWriterIsRefusedAndHarmsNothing) {
    auto file = this->create();
    ASSERT_TRUE(file->WriteAt(0, bytesOf("abc")).ok());
    EXPECT_EQ(this->files().Create(this->path).code(), VEX_E_BUSY);
    EXPECT_EQ(contentOf(this->files(), this->path), "abc");
    file.reset();
    EXPECT_EQ(written(this->files(), this->path, "z"), "z");
}

TYPED_TEST_P(FileContract, AFileOpenedForReadingRefusesEveryChange) {
    EXPECT_EQ(written(this->files(), this->path, "abc"), "abc");
    auto file = std::move(this->files().Open(this->path)).value();
    const Bytes pieces[] = {bytesOf("x"), bytesOf("y")};
    EXPECT_EQ(file->WriteAt(0, bytesOf("x")), E_ACCESSDENIED);
    EXPECT_EQ(file->WriteGathered(0, pieces), E_ACCESSDENIED);
    EXPECT_EQ(file->Reserve(0, 10), E_ACCESSDENIED);
    EXPECT_EQ(file->Resize(0), E_ACCESSDENIED);
    EXPECT_EQ(contentOf(this->files(), this->path), "abc");
}

TYPED_TEST_P(FileContract, AReaderDoesNotKeepAWriterAway) {
    EXPECT_EQ(written(this->files(), this->path, "abc"), "abc");
    auto reader = this->files().Open(this->path);
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(written(this->files(), this->path, "new"), "new");
}

TYPED_TEST_P(FileContract, AMissingFileIsNotFound) {
    EXPECT_EQ(this->files().Open(this->path).code(), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(this->files().Remove(this->path), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(this->files().Open(u"").code(), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(this->files().Remove(u""), VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(this->files().Create(u"").code(), VEX_E_PATH_NOT_FOUND);
}

TYPED_TEST_P(FileContract, RemoveTakesTheFileAway) {
    EXPECT_EQ(written(this->files(), this->path, "abc"), "abc");
    EXPECT_TRUE(this->files().Remove(this->path).ok());
    EXPECT_EQ(this->files().Open(this->path).code(), VEX_E_FILE_NOT_FOUND);
}

TYPED_TEST_P(FileContract, AFileMayBeRemovedByItsWriter) {
    auto file = this->create();
    ASSERT_TRUE(this->files().Remove(this->path).ok());
    EXPECT_EQ(written(this->files(), this->path, "next"), "next");  // a new file, not the removed one
    ASSERT_TRUE(file->WriteAt(0, bytesOf("old")).ok());
    EXPECT_EQ(contentOf(this->files(), this->path), "next");
}

TYPED_TEST_P(FileContract, APathWithAZeroInItIsRefused) {
    const std::u16string cut = this->path + u'\0' + u"more";
    EXPECT_EQ(this->files().Create(cut).code(), E_INVALIDARG);
    EXPECT_EQ(this->files().Open(cut).code(), E_INVALIDARG);
    EXPECT_EQ(this->files().Remove(cut), E_INVALIDARG);
    EXPECT_EQ(this->files().Open(this->path).code(), VEX_E_FILE_NOT_FOUND);
}

TYPED_TEST_P(FileContract, NamesMayHoldAnyCharacter) {
    const std::u16string named = this->harness.path(u"M 31 \u00E4\u20AC\U0001F52D.ser");
    EXPECT_EQ(written(this->files(), named, "abc"), "abc");
}

TYPED_TEST_P(FileContract, PositionsOutOfRangeAreRefused) {
    auto file = this->create();
    std::byte buffer[4];
    for (const uint64_t position : {uint64_t(INT64_MAX) - 1, uint64_t(1) << 63, UINT64_MAX - 1}) {
        const Bytes pieces[] = {bytesOf("ab"), bytesOf("cd")};
        EXPECT_EQ(file->WriteAt(position, bytesOf("abcd")), E_INVALIDARG);
        EXPECT_EQ(file->WriteGathered(position, pieces), E_INVALIDARG);
        EXPECT_EQ(file->ReadAt(position, buffer).code(), E_INVALIDARG);
        EXPECT_EQ(file->Reserve(position, 4), E_INVALIDARG);
    }
    EXPECT_EQ(file->Resize(uint64_t(1) << 63), E_INVALIDARG);
    EXPECT_EQ(file->Size().value(), 0u);
}

REGISTER_TYPED_TEST_SUITE_P(FileContract, WhatWasWrittenIsReadBack, AnEmptyWriteIsNothing, AHoleReadsAsZeros,
                            GatheredPiecesLieOneBehindAnother, ThousandsOfPiecesAreWritten, AReadIsShortOnlyAtTheEnd,
                            CreateEmptiesTheFileThatIsThere, UpdateLeavesWhatIsThereAndTakesChanges, UpdateMakesNoFile,
                            ReserveChangesNeitherSizeNorContent, ResizeCutsAndExtends,
                            ASecondWriterIsRefusedAndHarmsNothing, AFileOpenedForReadingRefusesEveryChange,
                            AReaderDoesNotKeepAWriterAway, AMissingFileIsNotFound, RemoveTakesTheFileAway,
                            AFileMayBeRemovedByItsWriter, APathWithAZeroInItIsRefused, NamesMayHoldAnyCharacter,
                            PositionsOutOfRangeAreRefused);

}  // namespace vexcap::test
