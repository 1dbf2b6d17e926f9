#include "dialogs/replace_question.h"

#include "engine/state/engine_testing.h"

namespace vexcap {
namespace replace_question_test {

const vex_char* questionText(const char* key) {
    return std::string(key) == "ids_savedlgreplace" ? u"Replace %s?" : nullptr;
}

class ReplaceQuestion : public EngineFixture {
protected:
    ReplaceQuestion() { init(); }
};

TEST_F(ReplaceQuestion, IsNotAskedAboutAFileThatIsNotThere) {
    EXPECT_TRUE(confirmReplace(engine, u"/data/a.avi", owner.native()));
    EXPECT_TRUE(fakes.messageBox.asked.empty());
}

TEST_F(ReplaceQuestion, LetsAFileBeReplacedOnlyAfterAYes) {
    engine.i18n_string = &questionText;
    fakes.folders.files = {u"/data/a.avi"};
    for (const bool answer : {false, true}) {
        fakes.messageBox.answer = answer;
        EXPECT_EQ(confirmReplace(engine, u"/data/a.avi", owner.native()), answer);
    }
    ASSERT_EQ(fakes.messageBox.asked.size(), 2u);
    EXPECT_EQ(fakes.messageBox.asked[0].text, u"Replace /data/a.avi?");
    EXPECT_EQ(fakes.messageBox.asked[0].title, u"Product");
    EXPECT_EQ(fakes.messageBox.asked[0].owner, owner.native());
}

}  // namespace replace_question_test
}  // namespace vexcap
