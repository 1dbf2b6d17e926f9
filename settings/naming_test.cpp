#include "settings/naming.h"

#include <cstdio>
#include <cstdlib>

#include "base/text.h"
#include "settings/settings_testing.h"

namespace vexcap {
namespace naming_test {

using test::Names;

constexpr std::u16string_view forbidden = u"<>:\"/\\|?*";

class Naming : public test::SettingsFixture {
protected:
    /// The name that a record gets with this format.
    std::u16string nameOf(uint32_t format) {
        store(u"FileNameFomat", format);
        return capture().fileName;
    }
    /// The folder that a record gets with this base and rule.
    std::u16string folderOf(const vex_char* base, uint32_t subfolders) {
        store(u"CapturePath", base);
        store(u"DirSub", subfolders);
        return capture().directory;
    }
    void print(const std::u16string& name) { std::fprintf(stderr, "%s ", toUtf8(name).c_str()); }
    /// Shows the names that a process begins with, and ends it.
    [[noreturn]] void printFirstNames() {
        store(u"FileNameFomat", 4u);
        store(u"FileNamePrefix", u"moon");
        const auto sample = [&] { return sampleName(ports, VEX_NAME_SEQUENCE, u"sample"); };
        print(sample());
        CWizardCaptureInfo info = capture();
        print(info.fileName);
        print(sample());
        print(sample());
        loadFileName(info);
        print(info.fileName);
        store(u"FileNameFomat", 0u);
        loadFileName(info);
        print(info.fileName);
        print(autoPath(ports, {u"auto", u"/d", 4, 0}, u".ser").value());
        store(u"FileNameFomat", 4u);
        for (int number = 4; number <= 9999; ++number) loadFileName(info);
        print(info.fileName);
        loadFileName(info);
        print(info.fileName);
        std::_Exit(0);
    }
};

// --- Names ----------------------------------------------------------------------------------------------------------

TEST_F(Naming, EachFormatHasItsStamp) {
    store(u"FileNamePrefix", u"moon ");
    EXPECT_EQ(nameOf(0), u"moon 240305070809");
    EXPECT_EQ(nameOf(1), u"moon 20240305070809");
    EXPECT_EQ(nameOf(2), u"moon 24-03-05-07-08-09");
    EXPECT_EQ(nameOf(3), u"moon 2024-03-05-07-08-09");
}

TEST_F(Naming, StampsOfLargeNumbersAreNotPadded) {
    setLocalTime(1999, 12, 31, 23, 59, 58);
    EXPECT_EQ(nameOf(0), u"991231235958");
    EXPECT_EQ(nameOf(1), u"19991231235958");
    EXPECT_EQ(nameOf(2), u"99-12-31-23-59-58");
    EXPECT_EQ(nameOf(3), u"1999-12-31-23-59-58");
}

TEST_F(Naming, AShortYearIsPaddedToo) {
    setLocalTime(2000, 1, 1, 0, 0, 0);
    EXPECT_EQ(nameOf(0), u"000101000000");
    EXPECT_EQ(nameOf(2), u"00-01-01-00-00-00");
    setLocalTime(2107, 10, 10, 10, 10, 10);
    EXPECT_EQ(nameOf(0), u"071010101010");
}

TEST_F(Naming, AFileNameFomatOf9ActsAs4AndMinus1ActsAs0) {
    EXPECT_EQ(nameOf(uint32_t(-1)), u"240305070809");
    const std::u16string name = nameOf(9);
    EXPECT_GE(name.size(), 4u);
    EXPECT_LE(name.size(), 10u);
    EXPECT_EQ(name.find_first_not_of(u"0123456789"), name.npos);
}

TEST_F(Naming, TheTimeIsThatOfEachName) {
    CWizardCaptureInfo info = capture();
    fakes.clock.advance(51'000);
    loadFileName(info);
    EXPECT_EQ(info.fileName, u"240305070900");
}

TEST_F(Naming, APrefixIsNoFormat) {
    store(u"FileNamePrefix", u"%s%n%d");
    EXPECT_EQ(nameOf(0), u"%s%n%d240305070809");
}

TEST_F(Naming, APrefixOf260CharactersCountsAsNone) {
    store(u"FileNamePrefix", std::u16string(260, u'a'));
    EXPECT_EQ(nameOf(0), u"240305070809");
}

TEST_F(Naming, TwoNamesOfFormat4EndIn0001And0002AndASampleDoesNotAdvanceThem) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process of its own, in which nothing was named yet
    EXPECT_EXIT(printFirstNames(), testing::ExitedWithCode(0),
                "sample0001 moon0001 sample0002 sample0002 moon0002 moon240305070809 /d/auto0003.ser moon9999 "
                "moon10000 ");
}

TEST_F(Naming, ABuiltNameKeepsWmvAndLosesMp4AviAndTheOddlySpelledOne) {
    const struct {
        std::u16string name, expected;
    } cases[] = {
        {u"a.wmv", u"a.wmv"}, {u"a.mwv", u"a"},       {u"a.mp4", u"a"},         {u"a.avi", u"a"},
        {u"a.AVI", u"a"},     {u"a.Mp4", u"a"},       {u"a.mp4.avi", u"a.mp4"}, {u".avi", u""},
        {u"avi", u"avi"},     {u"a.avi1", u"a.avi1"}, {u"a.ser", u"a.ser"},     {u"", u""},
    };
    for (const auto& c : cases) {
        std::u16string name = c.name;
        removeExtension(name);
        EXPECT_EQ(name, c.expected) << toUtf8(c.name);
    }
}

// --- Folders --------------------------------------------------------------------------------------------------------

TEST_F(Naming, EachRuleHasItsFolder) {
    EXPECT_EQ(folderOf(u"/data", 0), u"/data");
    EXPECT_EQ(folderOf(u"/data", 1), u"/data/20240305");
    EXPECT_EQ(folderOf(u"/data", 2), u"/data/2024/03/05");
    EXPECT_EQ(fakes.folders.created, (Names{u"/data", u"/data/20240305", u"/data/2024/03/05"}));
    setLocalTime(1999, 12, 31, 23, 59, 58);
    EXPECT_EQ(folderOf(u"/data", 1), u"/data/19991231");
    EXPECT_EQ(folderOf(u"/data", 2), u"/data/1999/12/31");
}

TEST_F(Naming, ADirSubOf7ReadsAs2AndMinus1As0) {
    EXPECT_EQ(folderOf(u"/data", 7), u"/data/2024/03/05");
    EXPECT_EQ(folderOf(u"/data", uint32_t(-1)), u"/data");
}

TEST_F(Naming, ABaseWithATrailingSeparatorGivesNoDoubleOne) {
    for (const auto* base : {u"/data/", u"/data\\"}) {
        EXPECT_EQ(folderOf(base, 0), u"/data");
        EXPECT_EQ(folderOf(base, 1), u"/data/20240305");
        EXPECT_EQ(folderOf(base, 2), u"/data/2024/03/05");
    }
}

TEST_F(Naming, TheRootStaysAndGivesNoDoubleSeparator) {
    EXPECT_EQ(folderOf(u"/", 0), u"/");
    EXPECT_EQ(folderOf(u"/", 1), u"/20240305");
    EXPECT_EQ(folderOf(u"/", 2), u"/2024/03/05");
    CWizardCaptureInfo info = capture();
    info.directory = u"/";
    info.fileName = u"moon";
    EXPECT_TRUE(combinePath(info));
    EXPECT_EQ(info.fullPath, u"/moon");
}

TEST_F(Naming, AFolderThatIsThereIsNotMade) {
    fakes.folders.folders.insert(u"/data/20240305");
    EXPECT_EQ(folderOf(u"/data", 1), u"/data/20240305");
    EXPECT_TRUE(fakes.folders.created.empty());
}

TEST_F(Naming, AFolderThatCannotBeMadeIsIgnored) {
    fakes.folders.createFailure = E_ACCESSDENIED;
    EXPECT_EQ(folderOf(u"/data", 2), u"/data/2024/03/05");
    EXPECT_EQ(fakes.folders.created, Names{u"/data/2024/03/05"});
}

TEST_F(Naming, AnEmptyBaseIsTheProductsFolderInTheDocuments) {
    EXPECT_EQ(folderOf(u"", 0), u"/home/user/Documents/Product");
    EXPECT_EQ(folderOf(u"", 1), u"/home/user/Documents/Product/20240305");
    EXPECT_EQ(fakes.folders.created,
              (Names{u"/home/user/Documents/Product", u"/home/user/Documents/Product/20240305"}));
}

TEST_F(Naming, ABaseOf260CharactersCountsAsEmpty) {
    store(u"CapturePath", u"/" + std::u16string(259, u'a'));
    EXPECT_EQ(capture().directory, u"/home/user/Documents/Product");
    store(u"CapturePath", u"/" + std::u16string(258, u'a'));
    EXPECT_EQ(capture().directory, u"/" + std::u16string(258, u'a'));
}

TEST_F(Naming, WithoutADocumentsFolderTheCurrentOneIsTheBase) {
    fakes.folders.documents = VEX_E_PATH_NOT_FOUND;
    EXPECT_EQ(folderOf(u"", 0), u"/here");
    EXPECT_EQ(folderOf(u"", 2), u"/here/2024/03/05");
}

TEST_F(Naming, WhereTheProductsFolderCannotBeMadeTheCurrentOneIsTheBase) {
    fakes.folders.createFailure = E_ACCESSDENIED;
    EXPECT_EQ(folderOf(u"", 0), u"/here");
    fakes.folders.current = VEX_E_PATH_NOT_FOUND;
    EXPECT_EQ(folderOf(u"", 0), u".");
}

TEST_F(Naming, WithoutAProductTheBaseIsTheDocumentsFolder) {
    ports.productName = {};
    EXPECT_EQ(standardFolder(ports), u"/home/user/Documents");
}

// --- Paths ----------------------------------------------------------------------------------------------------------

TEST_F(Naming, APathIsFolderAndName) {
    CWizardCaptureInfo info = capture();
    info.directory = u"/data/2024";
    info.fileName = u"moon";
    EXPECT_TRUE(combinePath(info));
    EXPECT_EQ(info.fullPath, u"/data/2024/moon");
}

TEST_F(Naming, APathOfMoreThan259CharactersIsRefusedAndEmpty) {
    CWizardCaptureInfo info = capture();
    info.directory = u"/data";
    info.fileName = std::u16string(253, u'a');
    EXPECT_TRUE(combinePath(info));
    EXPECT_EQ(info.fullPath.size(), 259u);
    info.fileName += u'a';
    EXPECT_FALSE(combinePath(info));
    EXPECT_EQ(info.fullPath, u"");
}

TEST_F(Naming, ANameThatIsTooLongIsNotCutButRefusedAsPartOfAPath) {
    const std::u16string prefix(259, u'a');
    store(u"FileNamePrefix", prefix);
    CWizardCaptureInfo info = capture();
    EXPECT_EQ(info.fileName, prefix + u"240305070809");
    EXPECT_FALSE(combinePath(info));
}

TEST_F(Naming, APathGetsTheExtensionOfItsFormatUnlessItHasIt) {
    const struct {
        const char* what;
        std::u16string path;
        bool isCapture;
        uint32_t encoderKind;
        bool avi;
        std::u16string expected;
    } cases[] = {
        {"empty stays", u"", true, 1, false, u""},
        {"H.264", u"/a", true, 1, false, u"/a.mp4"},
        {"H.265", u"/a", true, 2, false, u"/a.mp4"},
        {"an encoder goes before AVI", u"/a", true, 1, true, u"/a.mp4"},
        {"AVI", u"/a", true, 0, true, u"/a.avi"},
        {"neither", u"/a", true, 0, false, u"/a.wmv"},
        {"a broadcast, whatever else is set", u"/a", false, 1, true, u"/a.wmv"},
        {"there already", u"/a.avi", true, 0, true, u"/a.avi"},
        {"there in capitals", u"/a.MP4", true, 1, false, u"/a.MP4"},
        {"another one", u"/a.avi", true, 1, false, u"/a.avi.mp4"},
        {"without its point", u"/mp4", true, 1, false, u"/mp4.mp4"},
        {"a final point", u"/a.", true, 1, false, u"/a.mp4"},
        {"a final point, AVI", u"/a.", true, 0, true, u"/a.avi"},
        {"a final point, WMV", u"/a.", true, 0, false, u"/a.wmv"},
        {"two final points", u"/a..", true, 1, false, u"/a..mp4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto normalised = [&](auto&& info) {
            info.fullPath = c.path;
            info.encoderKind = c.encoderKind;
            info.aviOutput = c.avi;
            normaliseExtension(info);
            return info.fullPath;
        };
        EXPECT_EQ(c.isCapture ? normalised(capture()) : normalised(broadcast()), c.expected);
    }
}

// --- Characters -----------------------------------------------------------------------------------------------------

TEST(FileNames, NineCharactersAreForbiddenAtAnyPlace) {
    for (const char16_t c : forbidden) {
        for (const std::u16string& name : {std::u16string(1, c), std::u16string(u"a") + c, c + std::u16string(u"a"),
                                           std::u16string(u"a") + c + u"b"})
            EXPECT_TRUE(hasForbiddenCharacter(name)) << toUtf8(name);
    }
    EXPECT_EQ(forbidden.size(), 9u);
}

TEST(FileNames, EveryOtherCharacterIsAllowed) {
    for (uint32_t c = 1; c <= 0xFFFF; ++c) {
        if (forbidden.find(char16_t(c)) != forbidden.npos) continue;
        EXPECT_FALSE(hasForbiddenCharacter(std::u16string(1, char16_t(c)))) << c;
    }
    EXPECT_FALSE(hasForbiddenCharacter(u""));
}

TEST(FileNames, AreTrimmedOfWhiteSpaceAtBothEndsAlone) {
    EXPECT_EQ(trimmed(u""), u"");
    EXPECT_EQ(trimmed(u" \t\r\n\v\f\u00A0\u3000"), u"");
    EXPECT_EQ(trimmed(u"moon"), u"moon");
    EXPECT_EQ(trimmed(u" \u3000a b\t c\u00A0\n"), u"a b\t c");
    EXPECT_EQ(trimmed(u"\u200B"), u"\u200B") << "no white space, though nothing is seen";
}

// --- Paths on request -----------------------------------------------------------------------------------------------

constexpr vex_name_rules asRemembered = {nullptr, nullptr, VEX_NAME_AS_REMEMBERED, VEX_FOLDERS_AS_REMEMBERED};

TEST_F(Naming, APathOnRequestFollowsTheRulesThatAreGiven) {
    store(u"FileNamePrefix", u"other");
    store(u"CapturePath", u"/other");
    store(u"FileNameFomat", 2u);
    store(u"DirSub", 2u);
    const struct {
        vex_name_rules rules;
        std::u16string expected;
    } cases[] = {
        {{u"moon", u"/data", 0, 0}, u"/data/moon240305070809.ser"},
        {{u"moon", u"/data/", 1, 1}, u"/data/20240305/moon20240305070809.ser"},
        {{u"", u"/data", 2, 2}, u"/data/2024/03/05/24-03-05-07-08-09.ser"},
        {{u"m ", u"data", 3, 0}, u"data/m 2024-03-05-07-08-09.ser"},
        {{u"m", u"/", 0, 0}, u"/m240305070809.ser"},
        {{nullptr, u"/data", 0, 0}, u"/data/other240305070809.ser"},
        {{u"m", nullptr, 0, 0}, u"/other/m240305070809.ser"},
        {{u"m", u"/data", -1, 0}, u"/data/m24-03-05-07-08-09.ser"},
        {{u"m", u"/data", 0, -1}, u"/data/2024/03/05/m240305070809.ser"},
        {asRemembered, u"/other/2024/03/05/other24-03-05-07-08-09.ser"},
        {{u"m", u"", 0, 0}, u"/home/user/Documents/Product/m240305070809.ser"},
    };
    for (const auto& c : cases) {
        fakes.folders.created.clear();
        const auto path = autoPath(ports, c.rules, u".ser");
        ASSERT_TRUE(path.ok());
        EXPECT_EQ(path.value(), c.expected);
        const std::u16string folder = c.expected.substr(0, std::max<size_t>(c.expected.rfind(u'/'), 1));
        EXPECT_TRUE(fakes.folders.IsFolder(folder)) << toUtf8(folder);
    }
}

TEST_F(Naming, APathOnRequestIsStandardWhereNothingIsRemembered) {
    const std::u16string expected = u"/home/user/Documents/Product/240305070809.avi";
    EXPECT_EQ(autoPath(ports, asRemembered, u".avi").value(), expected);
    ports.key = nullptr;
    EXPECT_EQ(autoPath(ports, asRemembered, u".avi").value(), expected);
}

TEST_F(Naming, APathOnRequestFollowsWhatIsRememberedInAstroModeToo) {
    ports.astroMode = true;
    store(u"FileNamePrefix", u"moon");
    store(u"CapturePath", u"/data");
    EXPECT_EQ(autoPath(ports, asRemembered, u".ser").value(), u"/data/moon240305070809.ser");
}

TEST_F(Naming, RulesThatAreNotListedAreRefused) {
    for (const int32_t format : {-2, 5, INT32_MIN, INT32_MAX})
        EXPECT_EQ(autoPath(ports, {u"", u"/data", format, 0}, u".ser").code(), E_INVALIDARG) << format;
    for (const int32_t subfolders : {-2, 3, INT32_MIN, INT32_MAX})
        EXPECT_EQ(autoPath(ports, {u"", u"/data", 0, subfolders}, u".ser").code(), E_INVALIDARG) << subfolders;
    EXPECT_TRUE(fakes.folders.created.empty());
}

TEST_F(Naming, APrefixOrAnExtensionThatANameCannotHaveIsRefused) {
    for (const char16_t c : forbidden) {
        const std::u16string prefix = std::u16string(u"a") + c;
        EXPECT_EQ(autoPath(ports, {prefix.c_str(), u"/data", 0, 0}, u".ser").code(), E_INVALIDARG) << toUtf8(prefix);
        EXPECT_EQ(autoPath(ports, {u"", u"/data", 0, 0}, std::u16string(u".") + c).code(), E_INVALIDARG);
        store(u"FileNamePrefix", prefix);
        EXPECT_EQ(autoPath(ports, {nullptr, u"/data", 0, 0}, u".ser").code(), E_INVALIDARG) << "remembered";
    }
    for (const auto* extension : {u"", u"ser", u".", u"a.ser", u"/.ser"})
        EXPECT_EQ(autoPath(ports, {u"", u"/data", 0, 0}, extension).code(), E_INVALIDARG) << toUtf8(extension);
    EXPECT_TRUE(fakes.folders.created.empty());
}

TEST_F(Naming, APathOnRequestOfMoreThan259CharactersIsRefusedAndItsFolderNotMade) {
    // "/data/", 237 characters, 12 digits, ".ser".
    const std::u16string prefix(237, u'a');
    EXPECT_EQ(autoPath(ports, {prefix.c_str(), u"/data", 0, 0}, u".ser").value().size(), 259u);
    fakes.folders.created.clear();
    const std::u16string longer = prefix + u'a';
    EXPECT_EQ(autoPath(ports, {longer.c_str(), u"/other", 0, 0}, u".ser").code(), VEX_E_INSUFFICIENT_BUFFER);
    EXPECT_TRUE(fakes.folders.created.empty());
}

TEST_F(Naming, AFolderThatCannotBeMadeOnRequestIsTold) {
    fakes.folders.createFailure = VEX_E_DISK_FULL;
    EXPECT_EQ(autoPath(ports, {u"", u"/data", 0, 0}, u".ser").code(), VEX_E_DISK_FULL);
    EXPECT_EQ(autoPath(ports, {u"", nullptr, 0, 1}, u".ser").code(), VEX_E_DISK_FULL);
    fakes.folders.folders.insert(u"/data");
    EXPECT_TRUE(autoPath(ports, {u"", u"/data", 0, 0}, u".ser").ok()) << "it is there";
}

TEST_F(Naming, NoNameIsChangedToAvoidAFileThatExists) {
    fakes.folders.files = {u"/data/240305070809.ser"};
    EXPECT_EQ(autoPath(ports, {u"", u"/data", 0, 0}, u".ser").value(), u"/data/240305070809.ser");
}

}  // namespace naming_test
}  // namespace vexcap
