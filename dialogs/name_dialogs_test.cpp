#include "dialogs/name_dialogs.h"

#include "base/text.h"
#include "engine/state/engine_testing.h"
#include "settings/naming.h"
#include "settings/settings_testing.h"

namespace vexcap {
namespace name_dialogs_test {

using test::Names;

constexpr std::u16string_view forbidden = u"<>:\"/\\|?*";
constexpr const char16_t* blanks = u" \t\u3000\u00A0";

const vex_char* germanText(const char* key) {
    const struct {
        std::string_view key;
        const vex_char* text;
    } texts[] = {
        {"ids_nameformatnnnn", u"Nummer"}, {"ids_none", u"Keine"}, {"ids_date", u"Datum"},     {"ids_year", u"Jahr"},
        {"ids_month", u"Monat"},           {"ids_day", u"Tag"},    {"ids_filenr", u"Verboten"}};
    for (const auto& known : texts)
        if (known.key == key) return known.text;
    return nullptr;
}

class NameDialogs : public test::WithStoredSettings<EngineFixture> {
protected:
    NameDialogs() {
        arguments.astroMode = 0;
        init();
        engine.i18n_string = &germanText;
    }

    CFileOptionsDlg fileOptions() { return CFileOptionsDlg(engine, owner.native()); }
    CWizardCaptureInfo capture() {
        return CWizardCaptureInfo(engine.Settings(), {.parentWindow = owner.native(), .width = 640, .height = 480});
    }
    CDirOptionsDlg dirOptions() { return CDirOptionsDlg(engine); }
    /// The box about a character that a name cannot have, once.
    void expectBox() {
        ASSERT_EQ(fakes.messageBox.shown.size(), 1u);
        EXPECT_EQ(fakes.messageBox.shown[0].text, u"Verboten");
        EXPECT_EQ(fakes.messageBox.shown[0].title, u"Product");
        EXPECT_EQ(fakes.messageBox.shown[0].owner, owner.native());
        fakes.messageBox.shown.clear();
    }
};

// --- Names of files -------------------------------------------------------------------------------------------------

TEST_F(NameDialogs, FileOptionsListTheFormats) {
    EXPECT_EQ(fileOptions().formats(),
              (Names{u"yymmddHHMMSS", u"yyyymmddHHMMSS", u"yy-mm-dd-HH-MM-SS", u"yyyy-mm-dd-HH-MM-SS", u"Nummer"}));
}

TEST_F(NameDialogs, FileOptionsOpenWithWhatIsRemembered) {
    {
        const CFileOptionsDlg dialog = fileOptions();
        EXPECT_EQ(dialog.format(), 0u);
        EXPECT_EQ(dialog.prefix(), u"");
        EXPECT_EQ(dialog.sample(), u"240305070809");
    }
    store(u"FileNameFomat", 3u);
    store(u"FileNamePrefix", u"moon ");
    {
        const CFileOptionsDlg dialog = fileOptions();
        EXPECT_EQ(dialog.format(), 3u);
        EXPECT_EQ(dialog.prefix(), u"moon ");
    }
    store(u"FileNameFomat", 9u);
    EXPECT_EQ(fileOptions().format(), 4u);
    store(u"FileNameFomat", uint32_t(-1));
    EXPECT_EQ(fileOptions().format(), 0u);
}

TEST_F(NameDialogs, TheSampleFollowsEachChangeAndTheTime) {
    CFileOptionsDlg dialog = fileOptions();
    dialog.putFormat(2);
    EXPECT_EQ(dialog.sample(), u"24-03-05-07-08-09");
    dialog.putPrefix(u"moon-");
    EXPECT_EQ(dialog.sample(), u"moon-24-03-05-07-08-09");
    fakes.clock.advance(2000);
    dialog.putFormat(1);
    EXPECT_EQ(dialog.sample(), u"moon-20240305070811");
    dialog.putPrefix(u"  mars ");
    EXPECT_EQ(dialog.prefix(), u"  mars ") << "the field keeps what is typed";
    EXPECT_EQ(dialog.sample(), u"mars20240305070811") << "the sample is what a name will be";
    EXPECT_EQ(written(), Names());
}

TEST_F(NameDialogs, TheSampleShowsTheNextNumberWithoutTakingIt) {
    CFileOptionsDlg dialog = fileOptions();
    dialog.putFormat(4);
    const std::u16string first = dialog.sample();
    EXPECT_EQ(first.find_first_not_of(u"0123456789"), first.npos);
    dialog.putPrefix(u"moon");
    EXPECT_EQ(dialog.sample(), u"moon" + first);
    store(u"FileNameFomat", 4u);
    EXPECT_EQ(capture().fileName, first);
    dialog.putPrefix(u"mars");
    EXPECT_NE(dialog.sample(), u"mars" + first);
}

TEST_F(NameDialogs, AFormatThatIsNotInTheListIsTheNearestOne) {
    CFileOptionsDlg dialog = fileOptions();
    dialog.putFormat(5);
    EXPECT_EQ(dialog.format(), 4u);
    dialog.putFormat(uint32_t(-1));
    EXPECT_EQ(dialog.format(), 0u);
}

TEST_F(NameDialogs, AForbiddenCharacterIsToldAndLeavesTheSample) {
    CFileOptionsDlg dialog = fileOptions();
    dialog.putPrefix(u"moon");
    const std::u16string before = dialog.sample();
    for (const char16_t c : forbidden) {
        dialog.putPrefix(std::u16string(u"mars") + c);
        expectBox();
        EXPECT_EQ(dialog.sample(), before);
    }
}

TEST_F(NameDialogs, FileOptionsWithAForbiddenCharacterStayOpenAndStoreNothing) {
    CFileOptionsDlg dialog = fileOptions();
    for (const char16_t c : forbidden) {
        dialog.putPrefix(std::u16string(u"a") + c + u"b");
        expectBox();
        EXPECT_FALSE(dialog.ok());
        expectBox();
    }
    EXPECT_EQ(written(), Names());
}

TEST_F(NameDialogs, FileOptionsStoreTheTrimmedPrefixAndThenTheFormat) {
    CFileOptionsDlg dialog = fileOptions();
    dialog.putFormat(3);
    dialog.putPrefix(u"\t moon at night\u3000 ");
    EXPECT_TRUE(dialog.ok());
    EXPECT_EQ(written(), (Names{u"FileNamePrefix", u"FileNameFomat"}));
    EXPECT_EQ(storedText(u"FileNamePrefix"), u"moon at night");
    EXPECT_EQ(storedNumber(u"FileNameFomat"), 3u);
    EXPECT_TRUE(boxes().empty());
}

TEST_F(NameDialogs, APrefixOfBlanksStoresAsEmpty) {
    store(u"FileNamePrefix", u"moon");
    CFileOptionsDlg dialog = fileOptions();
    dialog.putPrefix(blanks);
    EXPECT_EQ(dialog.sample(), u"240305070809");
    EXPECT_TRUE(dialog.ok());
    EXPECT_EQ(storedText(u"FileNamePrefix"), u"");
}

TEST_F(NameDialogs, APrefixHasAtMost259Characters) {
    CFileOptionsDlg dialog = fileOptions();
    dialog.putPrefix(std::u16string(300, u'a'));
    EXPECT_EQ(dialog.prefix(), std::u16string(259, u'a'));
    EXPECT_TRUE(dialog.ok());
    EXPECT_EQ(fileOptions().prefix(), std::u16string(259, u'a')) << "and is read back whole";
}

// --- Folders --------------------------------------------------------------------------------------------------------

TEST_F(NameDialogs, DirOptionsListTheRules) {
    EXPECT_EQ(dirOptions().subfolders(), (Names{u"Keine", u"Datum(YYYYMMDD)", u"Jahr(YYYY)/Monat(MM)/Tag(DD)"}));
}

TEST_F(NameDialogs, DirOptionsOpenWithWhatIsRemembered) {
    store(u"DirSub", 1u);
    store(u"CapturePath", u"/data");
    const CDirOptionsDlg dialog = dirOptions();
    EXPECT_EQ(dialog.subfolder(), 1u);
    EXPECT_EQ(dialog.basePath(), u"/data");
    store(u"DirSub", 7u);
    EXPECT_EQ(dirOptions().subfolder(), 2u);
}

TEST_F(NameDialogs, DirOptionsShowTheStandardFolderForAnEmptyBase) {
    EXPECT_EQ(dirOptions().basePath(), u"/home/user/Documents/Product");
    EXPECT_TRUE(fakes.folders.IsFolder(u"/home/user/Documents/Product"));
    fakes.folders.documents = E_FAIL;
    EXPECT_EQ(dirOptions().basePath(), u"/here");
    EXPECT_EQ(written(), Names());
}

TEST_F(NameDialogs, DirOptionsStoreTheRuleAndThenTheBase) {
    CDirOptionsDlg dialog = dirOptions();
    dialog.putSubfolder(2);
    dialog.putBasePath(u"/data/moon");
    EXPECT_TRUE(dialog.ok());
    EXPECT_EQ(written(), (Names{u"DirSub", u"CapturePath"}));
    EXPECT_EQ(storedNumber(u"DirSub"), 2u);
    EXPECT_EQ(storedText(u"CapturePath"), u"/data/moon");
}

TEST_F(NameDialogs, AnEmptyBaseStoresTheRuleAndLeavesDirOptionsOpen) {
    CDirOptionsDlg dialog = dirOptions();
    dialog.putSubfolder(1);
    dialog.putBasePath(u"");
    EXPECT_FALSE(dialog.ok());
    EXPECT_EQ(written(), Names{u"DirSub"});
}

TEST_F(NameDialogs, ABaseThatCannotBeKeptIsNotTaken) {
    store(u"CapturePath", u"/data");
    CDirOptionsDlg dialog = dirOptions();
    dialog.putBasePath(std::u16string(260, u'a'));
    EXPECT_EQ(dialog.basePath(), u"/data");
    dialog.putBasePath(std::u16string(259, u'a'));
    EXPECT_EQ(dialog.basePath().size(), 259u);
    dialog.putSubfolder(3);
    EXPECT_EQ(dialog.subfolder(), 2u);
}

// --- The name of a quick recording ----------------------------------------------------------------------------------

class QuickRename : public NameDialogs {
protected:
    CWizardCaptureInfo info = capture();
    uint8_t prompt = 1;
    CQuickRenameDlg dialog{engine, info, prompt};
};

TEST_F(QuickRename, OpensWithTheNameThatCameByItself) { EXPECT_EQ(dialog.Name(), u"240305070809"); }

TEST_F(QuickRename, OffersOkOnlyForANameThatIsMoreThanBlanks) {
    EXPECT_FALSE(dialog.OkEnabled(u""));
    EXPECT_FALSE(dialog.OkEnabled(blanks));
    EXPECT_TRUE(dialog.OkEnabled(u" a "));
    EXPECT_FALSE(dialog.Ok(blanks, true));
    EXPECT_EQ(info.fileName, u"240305070809");
    EXPECT_EQ(prompt, 1);
    EXPECT_TRUE(boxes().empty());
}

TEST_F(QuickRename, PutsTheTrimmedNameIntoTheRecord) {
    EXPECT_TRUE(dialog.Ok(u"  moon at night\t", false));
    EXPECT_EQ(info.fileName, u"moon at night");
    EXPECT_TRUE(boxes().empty());
}

TEST_F(QuickRename, TellsTheHostWhetherToAskAgain) {
    EXPECT_TRUE(dialog.Ok(u"moon", true));
    EXPECT_EQ(prompt, 0);
    EXPECT_TRUE(dialog.Ok(u"moon", false));
    EXPECT_EQ(prompt, 1);
    prompt = 7;
    EXPECT_TRUE(dialog.Ok(u"moon", false));
    EXPECT_EQ(prompt, 1);
}

TEST_F(QuickRename, AForbiddenCharacterIsToldAndChangesNothing) {
    for (const char16_t c : forbidden) {
        EXPECT_FALSE(dialog.Ok(std::u16string(u"a") + c, true));
        expectBox();
    }
    EXPECT_EQ(info.fileName, u"240305070809");
    EXPECT_EQ(prompt, 1);
}

TEST_F(QuickRename, ANameThatIsTooLongIsNotCutButRefusedAsPartOfAPath) {
    EXPECT_TRUE(dialog.Ok(std::u16string(300, u'a'), false));
    EXPECT_EQ(info.fileName.size(), 300u);
    EXPECT_FALSE(combinePath(info));
}

}  // namespace name_dialogs_test
}  // namespace vexcap
