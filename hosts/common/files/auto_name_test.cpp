#include "hosts/common/files/auto_name.h"

#include <gtest/gtest.h>

#include <set>

namespace vexcap::host {
namespace auto_name_test {

/// Gives one path after the other, the last one again and again.
struct Paths {
    std::vector<std::string> all;
    size_t asked = 0;
    int waits = 0;  ///< For how many times there is patience.
    std::string Next() { return all[std::min(asked++, all.size() - 1)]; }
};

std::string free(Paths& paths, const std::set<std::string>& taken) {
    return firstFree([&] { return paths.Next(); }, [&](const std::string& path) { return taken.contains(path); },
                     [&] { return paths.waits-- > 0; });
}

TEST(FirstFree, AFreePathIsTakenAtOnce) {
    Paths paths = {{"a", "b"}};
    EXPECT_EQ(free(paths, {"b"}), "a");
    EXPECT_EQ(paths.asked, 1u);
}

TEST(FirstFree, TakenPathsAreLeftBehind) {
    Paths paths = {{"1", "2", "3", "4"}};
    EXPECT_EQ(free(paths, {"1", "2"}), "3");
    EXPECT_EQ(paths.asked, 3u);
}

TEST(FirstFree, APathThatStaysTheSameIsGivenThoughItIsTaken) {
    Paths paths = {{"1", "2"}};
    EXPECT_EQ(free(paths, {"1", "2"}), "2");
    EXPECT_EQ(paths.asked, 3u);
}

TEST(FirstFree, APathThatStaysTheSameForAWhileIsWaitedFor) {
    Paths paths = {{"12:00:00", "12:00:00", "12:00:00", "12:00:01"}};
    paths.waits = 5;
    EXPECT_EQ(free(paths, {"12:00:00"}), "12:00:01");
    EXPECT_EQ(paths.waits, 3);
}

}  // namespace auto_name_test
}  // namespace vexcap::host
