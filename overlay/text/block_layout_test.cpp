#include "overlay/text/block_layout.h"

#include <gtest/gtest.h>

namespace vexcap {
namespace block_layout_test {

constexpr TextSize sizeOf[] = {{101, 40}, {60, 21}, {33, 30}};  // of scale bar, date, figure
constexpr OverlayMargins margins = {3, 5, 7, 11};
constexpr TextTarget target = {.width = 300, .height = 200, .margins = margins};

TextBlockLayout laidOut(uint32_t items, int32_t corner, const TextTarget& on = target) {
    TextBlockLayout layout;
    for (size_t i = 0; i < blockItems; ++i)
        if (items & (1u << i)) layout.Show(BlockItem(i), sizeOf[i]);
    EXPECT_TRUE(layout.Place(corner, on));
    return layout;
}

/// Left and top as one number, so that a table of them can be read.
std::string placeOf(const TextBlockLayout& layout, BlockItem item) {
    if (!layout.Has(item)) return "-";
    const BlockBox& box = layout.Box(item);
    EXPECT_EQ(box.right - box.left, sizeOf[size_t(item)].width);
    EXPECT_EQ(box.bottom - box.top, sizeOf[size_t(item)].height);
    return std::to_string(box.left) + "," + std::to_string(box.top);
}

TEST(BlockLayout, EveryCombinationStandsInEveryCorner) {
    struct Case {
        uint32_t items;
        int32_t corner;
        const char *scale, *date, *figure;
    };
    // At the left: 16 + 3. At the right: 300 - width - 7 - 16. From the top: 16 + 5. The lowest bottom: 200 - 16 - 11.
    for (const Case& c : {
             Case{1, 1, "19,21", "-", "-"},           Case{2, 1, "-", "19,21", "-"},
             Case{4, 1, "-", "-", "19,21"},           Case{3, 1, "19,21", "39,61", "-"},
             Case{5, 1, "19,21", "-", "53,61"},       Case{6, 1, "-", "19,30", "32,51"},  // the date 30 - 21 lower
             Case{7, 1, "19,21", "39,61", "53,82"},   Case{1, 2, "176,21", "-", "-"},
             Case{2, 2, "-", "217,21", "-"},          Case{4, 2, "-", "-", "244,21"},
             Case{3, 2, "176,21", "196,61", "-"},     Case{5, 2, "176,21", "-", "210,61"},
             Case{6, 2, "-", "217,30", "230,51"},     Case{7, 2, "176,21", "196,61", "210,82"},
             Case{1, 3, "19,133", "-", "-"},          Case{2, 3, "-", "19,152", "-"},
             Case{4, 3, "-", "-", "19,143"},          Case{3, 3, "19,112", "39,152", "-"},
             Case{5, 3, "19,103", "-", "53,143"},     Case{6, 3, "-", "19,122", "32,143"},
             Case{7, 3, "19,82", "39,122", "53,143"}, Case{1, 4, "176,133", "-", "-"},
             Case{2, 4, "-", "217,152", "-"},         Case{4, 4, "-", "-", "258,143"},  // the margin added
             Case{3, 4, "176,112", "196,152", "-"},   Case{5, 4, "176,103", "-", "210,143"},
             Case{6, 4, "-", "217,122", "230,143"},   Case{7, 4, "176,82", "196,122", "210,143"},
         }) {
        const TextBlockLayout layout = laidOut(c.items, c.corner);
        EXPECT_EQ(placeOf(layout, BlockItem::ScaleBar), c.scale) << c.items << " at " << c.corner;
        EXPECT_EQ(placeOf(layout, BlockItem::Date), c.date) << c.items << " at " << c.corner;
        EXPECT_EQ(placeOf(layout, BlockItem::Figure), c.figure) << c.items << " at " << c.corner;
    }
}

TEST(BlockLayout, NothingVisibleAndNoKnownCornerPlaceNothing) {
    TextBlockLayout layout;
    EXPECT_FALSE(layout.Place(VEX_CORNER_TOP_LEFT, target));
    layout.Show(BlockItem::Date, {10, 10});
    for (const int32_t corner : {0, 5, 9, -1, INT32_MIN, INT32_MAX}) EXPECT_FALSE(layout.Place(corner, target));
    EXPECT_TRUE(layout.Place(VEX_CORNER_BOTTOM_RIGHT, target));
}

TEST(BlockLayout, ThePlateIsTwoPixelsLargerThanAllItemsAndClipped) {
    const auto plate = [](const TextBlockLayout& layout, const TextTarget& on) {
        const BlockBox box = layout.Plate(on);
        return std::vector<int64_t>{box.left, box.top, box.right, box.bottom};
    };
    EXPECT_EQ(plate(laidOut(7, 1), target), (std::vector<int64_t>{17, 19, 122, 114}));
    EXPECT_EQ(plate(laidOut(2, 4), target), (std::vector<int64_t>{215, 150, 279, 175}));
    TextTarget covered = target;
    covered.margins = {-15, -16, 0, 0};
    EXPECT_EQ(plate(laidOut(2, 1, covered), covered), (std::vector<int64_t>{0, 0, 63, 23}));
    covered.margins = {0, 0, -15, -16};
    EXPECT_EQ(plate(laidOut(2, 4, covered), covered), (std::vector<int64_t>{237, 177, 300, 200}));
}

TEST(BlockLayout, MarginsOfAnySizeGiveAPlaceFarAway) {
    TextTarget covered = target;
    covered.margins = {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
    EXPECT_EQ(laidOut(2, 1, covered).Box(BlockItem::Date).left, int64_t(INT32_MAX) + 16);
    EXPECT_EQ(laidOut(2, 1, covered).Box(BlockItem::Date).top, int64_t(INT32_MAX) + 16);
    EXPECT_EQ(laidOut(2, 4, covered).Box(BlockItem::Date).left, 300 - 60 - 16 - int64_t(INT32_MIN));
    EXPECT_EQ(laidOut(2, 4, covered).Box(BlockItem::Date).top, 200 - 21 - 16 - int64_t(INT32_MIN));
}

}  // namespace block_layout_test
}  // namespace vexcap
