#include "companions/cameras/simulated/options.h"

#include <gtest/gtest.h>

namespace vexcap::cameras {
namespace simulated_options_test {

TEST(SimulatedOptions, EveryModelIsKnownByItsIdentifier) {
    ASSERT_EQ(simulatedModels().size(), 4u);
    for (const SimulatedModel& model : simulatedModels()) {
        const auto parsed = parseSimulatedOptions(model.identifier);
        ASSERT_TRUE(parsed.ok());
        const SimulatedOptions& options = parsed.value();
        EXPECT_EQ(options.model, &model);
        EXPECT_EQ(options.scene, model.scene);
        EXPECT_EQ(options.seed, 1u);
        EXPECT_FALSE(options.deterministic || options.refuse || options.busy);
        EXPECT_FALSE(options.dropAfter || options.stallAfter || options.wrongSizeAfter || options.toldDepth);
        EXPECT_EQ(options.frameRate, 0u);
    }
}

TEST(SimulatedOptions, AllOfThemAreRead) {
    const auto parsed = parseSimulatedOptions(
        u"sim-planet;seed=18446744073709551615;drop-after=100;stall-after=50;wrong-size-after=20;refuse;busy;depth=7;"
        u"fps=30;scene=hubble;deterministic");
    ASSERT_TRUE(parsed.ok());
    const SimulatedOptions& options = parsed.value();
    EXPECT_EQ(options.seed, 18446744073709551615u);
    EXPECT_EQ(options.dropAfter, 100u);
    EXPECT_EQ(options.stallAfter, 50u);
    EXPECT_EQ(options.wrongSizeAfter, 20u);
    EXPECT_TRUE(options.refuse);
    EXPECT_TRUE(options.busy);
    EXPECT_EQ(options.toldDepth, 7u);
    EXPECT_EQ(options.frameRate, 30u);
    EXPECT_EQ(options.scene, SceneName::Hubble);
    EXPECT_TRUE(options.deterministic);
    EXPECT_EQ(parseSimulatedOptions(u"sim-fast;scene=moon").value().scene, SceneName::Moon);
    EXPECT_EQ(parseSimulatedOptions(u"sim-fast;scene=ihc").value().scene, SceneName::Ihc);
    EXPECT_EQ(parseSimulatedOptions(u"sim-planet;scene=cell").value().scene, SceneName::Cell);
    EXPECT_EQ(parseSimulatedOptions(u"sim-fast;drop-after=0").value().dropAfter, 0u);
}

TEST(SimulatedOptions, WhatIsUnknownOrMalformedIsRefused) {
    for (const char16_t* const text : {u"",
                                       u"sim",
                                       u"SIM-FAST",
                                       u"sim-fast ",
                                       u";sim-fast",
                                       u"sim-fast;",
                                       u"sim-fast;;seed=1",
                                       u"sim-fast;seed=1;",
                                       u"sim-fast;seed",
                                       u"sim-fast;seed=",
                                       u"sim-fast;seed=-1",
                                       u"sim-fast;seed=1x",
                                       u"sim-fast;seed= 1",
                                       u"sim-fast;seed=18446744073709551616",
                                       u"sim-fast;drop-after=4294967296",
                                       u"sim-fast;drop-after",
                                       u"sim-fast;refuse=1",
                                       u"sim-fast;busy=",
                                       u"sim-fast;deterministic=",
                                       u"sim-fast;scene=mars",
                                       u"sim-fast;scene=",
                                       u"sim-fast;fps=0",
                                       u"sim-fast;fps=501",
                                       u"sim-fast;depth=x",
                                       u"sim-fast;bogus",
                                       u"sim-fast;bogus=1",
                                       u"sim-fast;seed=1=2"})
        EXPECT_FALSE(parseSimulatedOptions(text).ok())
            << std::string(text, text + std::char_traits<char16_t>::length(text));
}

}  // namespace simulated_options_test
}  // namespace vexcap::cameras
