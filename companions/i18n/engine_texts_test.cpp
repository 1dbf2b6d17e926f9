// The engine with the string library beside it: what a user reads when something fails.
#include <gtest/gtest.h>
#include <vexcap/vexcap.h>

#include <string>

#include "companions/i18n/locales_testing.h"

namespace vexcap::i18n {
namespace engine_texts_test {

/// What stands on standard error after a recording was started without a camera.
std::string boxOfAFailedStart() {
    const test::TempDir settings;
    ::setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1);
    vexcap_init(nullptr, u"Tests", u"vexcap tests", u"vexcap tests", u"", "", u"", 0, 0, 0, 0, 0, 0, 1, nullptr, 0, 0,
                0);
    testing::internal::CaptureStderr();
    EXPECT_LT(vexcap_start_capture_astro(nullptr, u"none.ser", 0, 1), 0);
    vexcap_fini();
    return testing::internal::GetCapturedStderr();
}

TEST(EngineTexts, AnErrorBoxHasARealText) {
    TestLocales locales;
    locales.choose("en_US.UTF-8");
    EXPECT_EQ(boxOfAFailedStart(),
              "vexcap tests: The recording could not be started. Check the camera, and that the folder exists, can be "
              "written "
              "to and has room.\nhr = 0x80004005 (Unspecified failure).\n");
}

TEST(EngineTexts, AnErrorBoxIsInTheLanguageOfTheUser) {
    TestLocales locales;
    locales.choose("de_DE.UTF-8");
    EXPECT_EQ(boxOfAFailedStart(),
              "vexcap tests: Die Aufnahme lässt sich nicht starten. Prüfen, ob die Kamera bereit ist und der Ordner "
              "vorhanden "
              "und beschreibbar ist und genug Platz hat.\nhr = 0x80004005 (Unspecified failure).\n");
}

}  // namespace engine_texts_test
}  // namespace vexcap::i18n
