#include <vexcap/vexcap.h>

#include <algorithm>

#include "engine/state/engine_testing.h"
#include "platform/fake/allocations.h"

namespace vexcap {
namespace exports_report_test {

TEST(Version, TheLibraryHasThatOfItsHeaders) { EXPECT_EQ(vexcap_version(), uint32_t(VEXCAP_VERSION_NUMBER)); }

class Reports : public EngineFixture {
protected:
    std::u16string resultText(HRESULT code) {
        vex_char text[200];
        const uint32_t length = vexcap_result_text(code, text, 200);
        EXPECT_EQ(length, std::u16string_view(text).size());
        return text;
    }
};

TEST_F(Reports, AResultHasTheWordsOfTheLibraryOrOfTheSystem) {
    fakes.messageBox.descriptions[VEX_E_BUSY] = u"Device or resource busy";
    EXPECT_EQ(resultText(E_UNEXPECTED), u"Not possible in this state");
    EXPECT_EQ(resultText(VEX_E_BUSY), u"Device or resource busy");
    EXPECT_EQ(resultText(VEX_RESULT(0x8007ABCDu)), u"Unknown error 0x8007ABCD");
}

TEST_F(Reports, AResultTextIsCutToItsRoom) {
    vex_char text[5] = u"####";
    EXPECT_EQ(vexcap_result_text(S_OK, text, 3), 4u);
    EXPECT_EQ(std::u16string(text), u"Do");
    EXPECT_EQ(text[3], u'#');
    EXPECT_EQ(vexcap_result_text(S_OK, text, 1), 4u);
    EXPECT_EQ(text[0], u'\0');
    text[0] = u'#';
    EXPECT_EQ(vexcap_result_text(S_OK, text, 0), 4u);
    EXPECT_EQ(text[0], u'#');
    EXPECT_EQ(vexcap_result_text(S_OK, nullptr, 100), 4u);
}

/// A failure as vexcap_last_error reports it.
struct LastError {
    HRESULT code;
    std::u16string text;
    bool operator==(const LastError&) const = default;
};

void PrintTo(const LastError& error, std::ostream* out) { *out << std::hex << error.code << " " << toUtf8(error.text); }

LastError lastErrorOf(vexcap_context* context) {
    HRESULT code = 0x55;
    vex_char text[1024] = {};
    const uint32_t length = vexcap_last_error(context, &code, text, 1024);
    EXPECT_EQ(length, std::u16string_view(text).size());
    return {code, text};
}

const LastError none = {S_OK, u""};

class LastErrors : public EngineFixture {
protected:
    ~LastErrors() override { vexcap_stop(context); }
    HRESULT start() {
        if (!context) {
            init();
            const vex_device device = {u"$camera", u"A camera", VEX_KIND_CAMERA, 0};
            context = vexcap_device(owner.native(), preview.native(), &device, nullptr, nullptr, nullptr);
        }
        return vexcap_start(context, nullptr, 0, 0, 0, 0);
    }
    LastError lastError() const { return lastErrorOf(context); }

    vexcap_context* context = nullptr;
};

TEST_F(LastErrors, AnEngineThatHasAllItWasGivenHasNone) {
    fakes.loader.add(u"network.so", {});
    init();
    EXPECT_EQ(lastErrorOf(nullptr), none);
    arguments.networkLibrary = nullptr;
    init();
    EXPECT_EQ(lastErrorOf(nullptr), none) << "a library that was not named";
}

TEST_F(LastErrors, AnEngineNamesTheLibraryThatIsMissing) {
    init();
    EXPECT_EQ(lastErrorOf(nullptr),
              (LastError{VEX_E_NO_MODULE, u"The network library network.so cannot be loaded: no such file."}));
    fakes.loader.hide(u"camera.so");
    init();
    EXPECT_EQ(lastErrorOf(nullptr),
              (LastError{VEX_E_NO_MODULE, u"The camera library camera.so cannot be loaded: no such file."}));
}

TEST_F(LastErrors, AnEngineNamesTheFunctionThatIsMissing) {
    fakes.loader.add(u"network.so", {});
    for (const char* const missing : {"EnumV2", "Open"}) {
        scriptCameraLibrary(std::string("Test_") + missing);
        init();
        EXPECT_EQ(lastErrorOf(nullptr),
                  (LastError{VEX_E_NO_MODULE,
                             u"The camera library camera.so does not export Test_" + toUtf16(missing) + u"."}));
    }
    scriptCameraLibrary("Test_InitOcl");
    init();
    EXPECT_EQ(lastErrorOf(nullptr), none) << "nobody needs it";
}

TEST_F(LastErrors, ADeviceThatCannotBeOpenedHereIsNamed) {
    init();
    const vex_device reader = {u"mms://x", u"A broadcast", VEX_KIND_READER, 0};
    EXPECT_EQ(vexcap_device(nullptr, nullptr, &reader, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(lastErrorOf(nullptr), (LastError{E_INVALIDARG, u"Nothing here opens mms://x, a device of kind 5."}));
    EXPECT_EQ(vexcap_file(nullptr, nullptr, u""), nullptr);
    EXPECT_EQ(lastErrorOf(nullptr), (LastError{E_INVALIDARG, u"The file's path is empty."}));
    vexcap_stop(vexcap_file(nullptr, nullptr, u"a.avi"));
    EXPECT_EQ(lastErrorOf(nullptr), none);
}

TEST_F(LastErrors, ACameraThatIsNotOpenedIsNamed) {
    library.refuses = true;
    EXPECT_EQ(start(), E_FAIL);
    EXPECT_EQ(lastError(), (LastError{E_FAIL, u"The camera library does not open A camera: Unspecified failure."}));
    library.openStatus = E_UNEXPECTED;
    EXPECT_EQ(start(), E_FAIL);
    EXPECT_EQ(lastError(),
              (LastError{E_UNEXPECTED, u"The camera library does not open A camera: Not possible in this state."}));
    library.refuses = false;
    EXPECT_EQ(start(), S_OK);
    EXPECT_EQ(lastError(), none) << "the next start clears it";
}

TEST_F(LastErrors, WithoutACameraLibraryThatIsTheReason) {
    fakes.loader.hide(u"camera.so");
    EXPECT_EQ(start(), E_FAIL);
    EXPECT_EQ(lastError(), (LastError{VEX_E_NO_MODULE, u"There is no camera library that opens cameras."}));
}

TEST_F(LastErrors, ACamerasOwnCodeIsKeptWhereTheStartAnswersEFail) {
    fakes.messageBox.descriptions[VEX_E_BUSY] = u"Busy";
    camera.startResult = VEX_E_BUSY;
    EXPECT_EQ(start(), E_FAIL);
    EXPECT_EQ(lastError(), (LastError{VEX_E_BUSY, u"A camera does not begin to deliver: Busy."}));
}

TEST_F(LastErrors, ASizeThatNoCameraHasIsReported) {
    camera.width = -64;
    EXPECT_EQ(start(), E_FAIL);
    EXPECT_EQ(lastError(), (LastError{E_UNEXPECTED, u"A camera reports a size of -64 x 48 pixels."}));
}

TEST_F(LastErrors, ARecordingSaysWhichFolderIsMissing) {
    start();
    fakes.files.fail(DiskOperation::Kind::Create, VEX_E_FILE_NOT_FOUND);
    EXPECT_EQ(vexcap_start_capture_astro(context, u"/no/such/a.ser", 0, 0), E_FAIL);
    EXPECT_EQ(lastError(),
              (LastError{VEX_E_FILE_NOT_FOUND, u"/no/such/a.ser cannot be made: there is no folder /no/such."}));
}

TEST_F(LastErrors, ARecordingSaysWhereNothingMayBeWritten) {
    start();
    fakes.files.fail(DiskOperation::Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(vexcap_start_capture_astro(context, u"/locked/a.ser", 0, 0), E_FAIL);
    EXPECT_EQ(lastError(),
              (LastError{E_ACCESSDENIED, u"/locked/a.ser cannot be made: no permission to write in the folder /locked."}));
}

TEST_F(LastErrors, ARecordingSaysThatTheDiskIsFullOrTheFileBusy) {
    fakes.messageBox.descriptions[VEX_E_DISK_FULL] = u"No space left";
    start();
    fakes.files.fail(DiskOperation::Kind::Create, VEX_E_DISK_FULL);
    EXPECT_EQ(vexcap_start_capture_astro(context, u"a.avi", 0, 0), E_FAIL);
    EXPECT_EQ(lastError(), (LastError{VEX_E_DISK_FULL, u"a.avi cannot be made: No space left."}));
    fakes.files.fail(DiskOperation::Kind::Create, VEX_E_BUSY);
    EXPECT_EQ(vexcap_start_capture_astro(context, u"a.ser", 0, 0), E_FAIL);
    EXPECT_EQ(lastError(), (LastError{VEX_E_BUSY, u"a.ser cannot be replaced: another program has it open."}));
    fakes.files.fail(DiskOperation::Kind::Create, S_OK);
    EXPECT_EQ(vexcap_start_capture_astro(context, u"a.ser", 0, 0), S_OK);
    EXPECT_EQ(lastError(), none);
}

TEST_F(LastErrors, ARecordingWithoutAPreviewSaysSo) {
    library.refuses = true;
    start();
    EXPECT_EQ(vexcap_start_capture_astro(context, u"a.ser", 0, 0), E_FAIL);
    EXPECT_EQ(lastError(), (LastError{E_UNEXPECTED, u"No source is open: the preview has to be started first."}));
}

TEST_F(LastErrors, ACompressorThatIsNotThereIsNamed) {
    start();
    fakes.media.compressors = {{u"display", u"friendly"}};
    EXPECT_EQ(vexcap_start_capture_avi(context, u"a.avi", u"nothing", 0), E_INVALIDARG);
    EXPECT_EQ(lastError(), (LastError{E_INVALIDARG, u"There is no compressor nothing."}));
    fakes.media.compressors.clear();
    EXPECT_EQ(vexcap_start_capture_avi(context, u"a.avi", u"nothing", 0), E_INVALIDARG);
    EXPECT_EQ(lastError(),
              (LastError{VEX_E_NO_MODULE, u"There is no compressor: the plug-in for codecs cannot be loaded."}));
}

TEST_F(LastErrors, ACameraWithoutRawFramesSaysSo) {
    start();
    camera.rawFormatResult = E_NOTIMPL;
    EXPECT_EQ(vexcap_start_capture_astro(context, u"a.ser", 0, 0), E_NOTIMPL);
    EXPECT_EQ(lastError(),
              (LastError{E_NOTIMPL, u"The source does not report the format of its raw frames: Not offered here."}));
}

TEST_F(LastErrors, AStartThatSaysNothingMoreHasTheMeaningOfItsCode) {
    init();
    context = vexcap_file(owner.native(), preview.native(), u"film.avi");
    fakes.media.available = false;
    EXPECT_EQ(vexcap_start(context, nullptr, 0, 0, 0, 0), VEX_E_NO_MODULE);
    EXPECT_EQ(lastError(), (LastError{VEX_E_NO_MODULE,
                                      u"film.avi cannot be played: A library that this needs is missing "
                                      u"or cannot be loaded."}));
}

TEST_F(LastErrors, ATextIsCutToItsRoom) {
    library.refuses = true;
    start();
    vex_char text[4] = u"###";
    EXPECT_EQ(vexcap_last_error(context, nullptr, text, 4), 63u);
    EXPECT_EQ(std::u16string(text), u"The");
    EXPECT_EQ(vexcap_last_error(context, nullptr, nullptr, 0), 63u);
}

struct Box {
    vex_window* owner;
    std::u16string text;
    std::u16string title;
    uint32_t kind;
};

struct Host {
    static int32_t show(void* host, vex_window* owner, const vex_char* text, const vex_char* title, uint32_t kind) {
        auto* const self = static_cast<Host*>(host);
        self->boxes.push_back({owner, text, title, kind});
        return self->answer;
    }
    std::vector<Box> boxes;
    int32_t answer = 0;
};

TEST_F(LastErrors, BoxesGoToTheHostsHook) {
    start();
    Host host;
    vexcap_message_hook(Host::show, &host);
    EXPECT_EQ(vexcap_start_capture_astro(nullptr, u"a.ser", 0, 0), E_FAIL);
    fakes.files.fail(DiskOperation::Kind::Create, E_ACCESSDENIED);
    EXPECT_EQ(vexcap_start_capture_astro(context, u"a.ser", 0, 0), E_FAIL);
    EXPECT_TRUE(fakes.messageBox.shown.empty());
    ASSERT_EQ(host.boxes.size(), 2u);
    EXPECT_EQ(host.boxes[0].owner, nullptr);
    EXPECT_EQ(host.boxes[1].owner, owner.native());
    EXPECT_EQ(host.boxes[1].text, u"ids_recordfail1\r\nhr = 0x80004005 (Unspecified failure).");
    EXPECT_EQ(host.boxes[1].title, u"Product");
    EXPECT_EQ(host.boxes[1].kind, uint32_t(VEX_BOX_MESSAGE));
    vexcap_message_hook(nullptr, nullptr);
    vexcap_start_capture_astro(nullptr, u"a.ser", 0, 0);
    EXPECT_EQ(fakes.messageBox.shown.size(), 1u);
}

TEST_F(LastErrors, TheHooksAnswerToAQuestionCounts) {
    arguments.astroMode = 0;
    fakes.clock.setWallTime(0, 133'594'528'890'000'000);  // the sixth of May of 2024, 7:08:09
    constexpr char16_t named[] = u"/home/user/Documents/Product/240506070809.avi";
    fakes.folders.files.insert(named);
    start();
    Host host;
    vexcap_message_hook(Host::show, &host);
    EXPECT_EQ(vexcap_start_capture_micro(context, 0, 1, nullptr), VEX_E_CANCELLED);
    ASSERT_EQ(host.boxes.size(), 1u);
    EXPECT_EQ(host.boxes[0].kind, uint32_t(VEX_BOX_QUESTION));
    EXPECT_EQ(lastError(), (LastError{VEX_E_CANCELLED, u"The recording cannot begin: Cancelled by the user."}));
    host.answer = 1;
    EXPECT_EQ(vexcap_start_capture_micro(context, 0, 1, nullptr), S_OK);
    EXPECT_EQ(host.boxes.size(), 2u);
    EXPECT_TRUE(fakes.messageBox.asked.empty());
}

class LogLines : public LastErrors {
protected:
    LogLines() {
        vexcap_log_hook(
            [](void* kept, uint32_t level, const vex_char* line) {
                static_cast<std::vector<std::u16string>*>(kept)->push_back(textFrom(u"%u %s", level, line));
            },
            &lines, VEX_LOG_DEBUG);
    }
    ~LogLines() override { vexcap_log_hook(nullptr, nullptr, 0); }
    bool has(std::u16string_view line) const { return std::ranges::count(lines, line) > 0; }

    std::vector<std::u16string> lines;
};

TEST_F(LogLines, TellWhatWasLoadedAndWhatNot) {
    init();
    EXPECT_TRUE(has(u"3 vexcap 1.1.0 starts in astro mode"));
    EXPECT_TRUE(has(u"3 The camera library camera.so is loaded"));
    EXPECT_TRUE(has(u"1 The network library network.so cannot be loaded: no such file."));
    EXPECT_TRUE(has(u"2 The texts of libvexcap-i18n.so.1 cannot be loaded: no such file"));
}

TEST_F(LogLines, TellOnceThatSettingsCannotBeRead) {
    fakes.settings.problem = u"/settings/vexcap.toml: line 2: no value";
    const std::u16string line =
        u"2 Settings cannot be read, standard values hold: /settings/vexcap.toml: line 2: no value";
    init();
    EXPECT_EQ(std::ranges::count(lines, line), 1);
    lines.clear();
    EXPECT_EQ(marker_init(fakes.settings.root(), u"Company", u"Product"), S_OK);
    EXPECT_EQ(lines, std::vector{line});
    marker_init(nullptr, nullptr, nullptr);
}

TEST_F(LogLines, TellWhyAStartFailedAndWhatTheUserSaw) {
    camera.startResult = E_UNEXPECTED;
    start();
    EXPECT_TRUE(has(u"1 A camera does not begin to deliver: Not possible in this state."));
    vexcap_start_capture_astro(nullptr, u"a.ser", 0, 0);
    EXPECT_TRUE(has(u"3 Box: ids_recordfail1\r\nhr = 0x80004005 (Unspecified failure)."));
}

TEST_F(LogLines, TellTheBeginAndTheEndOfARecording) {
    start();
    ASSERT_EQ(vexcap_start_capture_astro(context, u"a.ser", 0, 0), S_OK);
    EXPECT_TRUE(has(u"3 The recording to a.ser begins"));
    const std::vector<uint8_t> raw(64 * 48);
    const size_t before = lines.size();
    for (int i = 0; i < 3; ++i) camera.deliverRaw(raw.data(), 64, 48, 8);
    EXPECT_EQ(lines.size(), before) << "no line for a frame";
    vexcap_stop_capture(context);
    EXPECT_TRUE(has(u"3 The recording to a.ser ended: 3 frames written, 0 lost"));
}

TEST_F(LogLines, TellWhichOptionACameraRefuses) {
    camera.optionResult = E_UNEXPECTED;
    start();
    EXPECT_TRUE(has(u"2 A camera refuses option 17 = 25: Not possible in this state"));
}

TEST(LogWithoutAHook, AllocatesNothing) {
    Log log;
    const std::u16string name = u"a name that is too long for the room inside of a string";
    const size_t before = allocations();
    log.Write(VEX_LOG_ERROR, u"%s %u", name, 7u);
    EXPECT_EQ(allocations(), before);
}

}  // namespace exports_report_test
}  // namespace vexcap
