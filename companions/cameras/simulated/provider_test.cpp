#include <gtest/gtest.h>

#include <cstdlib>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "companions/cameras/provider.h"

namespace vexcap::cameras {
namespace simulated_provider_test {

TEST(SimulatedProvider, ListsItsModelsUnlessItIsSwitchedOff) {
    std::vector<vex_camera_entry> entries;
    simulatedProvider().List(entries);
    ASSERT_EQ(entries.size(), 4u);
    const std::u16string_view expected[][2] = {{u"Simulated planetary camera", u"sim-planet"},
                                               {u"Simulated deep-sky camera", u"sim-deepsky"},
                                               {u"Simulated microscope camera", u"sim-microscope"},
                                               {u"Simulated fast camera", u"sim-fast"}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(textOfField(entries[i].display, 64), expected[i][0]);
        EXPECT_EQ(textOfField(entries[i].identifier, 64), expected[i][1]);
        EXPECT_NE(entries[i].model, nullptr);
    }
    for (const char* const word : {"off", "0", "no"}) {
        ASSERT_EQ(setenv("VEXCAP_SIMULATED", word, 1), 0);
        entries.clear();
        simulatedProvider().List(entries);
        EXPECT_TRUE(entries.empty()) << word;
        EXPECT_EQ(simulatedProvider().Open(u"sim-fast").code(), VEX_E_FILE_NOT_FOUND);
    }
    ASSERT_EQ(setenv("VEXCAP_SIMULATED", "on", 1), 0);
    entries.resize(14);
    simulatedProvider().List(entries);
    EXPECT_EQ(entries.size(), size_t(VEX_CAMERA_ENTRIES)) << "no more than the engine has room for";
    ASSERT_EQ(unsetenv("VEXCAP_SIMULATED"), 0);
}

}  // namespace simulated_provider_test
}  // namespace vexcap::cameras
