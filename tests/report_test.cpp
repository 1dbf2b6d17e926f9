// What the shared library says of itself and of failures, as a host sees it.
#include <gtest/gtest.h>
#include <vexcap/vexcap.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/queue_window.h"
#include "tests/support/temp_dir.h"
#include "tests/support/text.h"

namespace vexcap::test {
namespace report_test {

std::u16string resultText(HRESULT code) {
    vex_char text[200];
    vexcap_result_text(code, text, 200);
    return text;
}

std::u16string lastError(vexcap_context* context, HRESULT* code = nullptr) {
    vex_char text[1024];
    vexcap_last_error(context, code, text, 1024);
    return text;
}

/// vexcap_init to vexcap_fini, for telescope cameras of a library.
struct Started {
    explicit Started(const std::u16string& library, const char* prefix = "Hostile") {
        vexcap_init(nullptr, u"company", u"Product", u"software", library.c_str(), prefix, nullptr, 1, 2, 3, 4, 5, 0, 1,
                    nullptr, 0, 0, 0);
    }
    ~Started() { vexcap_fini(); }
    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;
};

struct Heard {
    static int32_t box(void* heard, vex_window*, const vex_char* text, const vex_char* title, uint32_t kind) {
        static_cast<Heard*>(heard)->boxes.push_back(std::u16string(title) + u": " + text);
        return kind == VEX_BOX_QUESTION;
    }
    static void line(void* heard, uint32_t, const vex_char* text) {
        static_cast<Heard*>(heard)->lines.emplace_back(text);
    }
    Heard() {
        vexcap_message_hook(box, this);
        vexcap_log_hook(line, this, VEX_LOG_INFO);
    }
    ~Heard() {
        vexcap_message_hook(nullptr, nullptr);
        vexcap_log_hook(nullptr, nullptr, 0);
    }
    Heard(const Heard&) = delete;
    Heard& operator=(const Heard&) = delete;
    std::vector<std::u16string> boxes, lines;
};

TEST(Report, TheLibraryHasTheVersionOfItsHeaders) { EXPECT_EQ(vexcap_version(), uint32_t(VEXCAP_VERSION_NUMBER)); }

TEST(Report, AResultHasWordsBeforeTheEngineStarts) {
    EXPECT_EQ(resultText(E_FAIL), u"Unspecified failure");
    EXPECT_EQ(resultText(E_ACCESSDENIED), u"Permission denied");
    EXPECT_EQ(resultText(VEX_E_DISK_FULL), u"No space left on device");
    EXPECT_EQ(resultText(VEX_RESULT(0x80071234u)), u"Unknown error 0x80071234");
}

TEST(Report, ACameraLibraryThatCannotBeLoadedIsReportedInTheLoadersWords) {
    Heard heard;
    const Started engine(u"/nowhere/libcameras.so");
    HRESULT code = S_OK;
    constexpr char16_t reason[] =
        u"The camera library /nowhere/libcameras.so cannot be loaded: /nowhere/libcameras.so: cannot open shared "
        u"object "
        u"file: No such file or directory.";
    EXPECT_EQ(lastError(nullptr, &code), reason);
    EXPECT_EQ(code, VEX_E_NO_MODULE);
    EXPECT_EQ(std::ranges::count(heard.lines, reason), 1);
}

TEST(Report, AWrongPrefixIsReported) {
    const Started engine(wide(SCRIPTED_CAMERAS), "Other");
    EXPECT_TRUE(lastError(nullptr).ends_with(u" does not export Other_EnumV2."));
}

TEST(Report, ARecordingIntoAFolderThatIsMissingSaysSoInItsBoxTheLogAndTheLastError) {
    Heard heard;
    const Started engine(wide(SCRIPTED_CAMERAS));
    EXPECT_EQ(lastError(nullptr), u"");
    QueueWindow window;
    const vex_device camera = {u"$scripted", u"Scripted camera", VEX_KIND_CAMERA, 0};
    vexcap_context* const context = vexcap_device(window.get(), window.get(), &camera, nullptr, nullptr, nullptr);
    ASSERT_EQ(vexcap_start(context, nullptr, 0, 0, 0, 0), S_OK);
    EXPECT_EQ(lastError(context), u"");
    const TempDir directory;
    const std::u16string folder = wide(directory.file("missing"));
    EXPECT_EQ(vexcap_start_capture_astro(context, (folder + u"/a.ser").c_str(), 0, 0), E_FAIL);
    HRESULT code = S_OK;
    const std::u16string reason = folder + u"/a.ser cannot be made: there is no folder " + folder + u".";
    EXPECT_EQ(lastError(context, &code), reason);
    EXPECT_EQ(code, VEX_E_PATH_NOT_FOUND);
    EXPECT_EQ(std::ranges::count(heard.lines, reason), 1);
    ASSERT_EQ(heard.boxes.size(), 1u);
    EXPECT_TRUE(heard.boxes[0].starts_with(u"Product: "));
    EXPECT_TRUE(heard.boxes[0].ends_with(u"\r\nhr = 0x80004005 (Unspecified failure)."));
    EXPECT_EQ(vexcap_start_capture_astro(context, wide(directory.file("a.ser")).c_str(), 0, 0), S_OK);
    EXPECT_EQ(lastError(context), u"");
    vexcap_stop(context);
}

TEST(Report, TheCamerasThatComeWithItAreFoundByTheirNameAlone) {
    const Started engine(VEXCAP_CAMERA_LIBRARY, VEXCAP_CAMERA_PREFIX);
    EXPECT_EQ(lastError(nullptr), u"");
}

}  // namespace report_test
}  // namespace vexcap::test
