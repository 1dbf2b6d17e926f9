#include "overlay/text/block_layout.h"

#include <algorithm>

namespace vexcap {
namespace {

constexpr int64_t distance = 16;  // from the edges of the target
constexpr int64_t growth = 2;     // of the plate

}  // namespace

bool TextBlockLayout::Alone(BlockItem item) const {
    return Has(item) && std::count(visible.begin(), visible.end(), true) == 1;
}

int64_t TextBlockLayout::Left(int32_t corner, const TextTarget& target, int64_t width) const {
    const OverlayMargins& margins = target.margins;
    if (corner == VEX_CORNER_TOP_LEFT || corner == VEX_CORNER_BOTTOM_LEFT) return margins.left + distance;
    // A figure alone at the bottom right goes the other way. Hosts have come to know it there.
    if (corner == VEX_CORNER_BOTTOM_RIGHT && Alone(BlockItem::Figure))
        return target.width - width + margins.right - distance;
    return target.width - width - margins.right - distance;
}

void TextBlockLayout::StackDown(const TextTarget& target) {
    int64_t top = target.margins.top + distance;
    // A date with nothing but a figure below it begins where the figure would, by the bottoms of the two.
    if (Has(BlockItem::Date) && Has(BlockItem::Figure) && !Has(BlockItem::ScaleBar))
        top += sizes[size_t(BlockItem::Figure)].height - sizes[size_t(BlockItem::Date)].height;
    for (size_t i = 0; i < blockItems; ++i) {
        if (!visible[i]) continue;
        boxes[i].top = top;
        top += sizes[i].height;
    }
}

void TextBlockLayout::StackUp(const TextTarget& target) {
    int64_t bottom = target.height - (target.margins.bottom + distance);
    for (size_t i = blockItems; i-- > 0;) {
        if (!visible[i]) continue;
        boxes[i].top = bottom - sizes[i].height;
        bottom = boxes[i].top;
    }
}

bool TextBlockLayout::Place(int32_t corner, const TextTarget& target) {
    int64_t width = 0;
    for (size_t i = 0; i < blockItems; ++i)
        if (visible[i]) width = std::max<int64_t>(width, sizes[i].width);
    if (width == 0 || corner < VEX_CORNER_TOP_LEFT || corner > VEX_CORNER_BOTTOM_RIGHT) return false;
    if (corner == VEX_CORNER_TOP_LEFT || corner == VEX_CORNER_TOP_RIGHT) {
        StackDown(target);
    } else {
        StackUp(target);
    }
    const int64_t left = Left(corner, target, width);
    for (size_t i = 0; i < blockItems; ++i) {
        boxes[i].left = left + (width - sizes[i].width) / 2;
        boxes[i].right = boxes[i].left + sizes[i].width;
        boxes[i].bottom = boxes[i].top + sizes[i].height;
    }
    return true;
}

BlockBox TextBlockLayout::Plate(const TextTarget& target) const {
    BlockBox all = {INT64_MAX, INT64_MAX, INT64_MIN, INT64_MIN};
    for (size_t i = 0; i < blockItems; ++i) {
        if (!visible[i]) continue;
        all = {std::min(all.left, boxes[i].left), std::min(all.top, boxes[i].top), std::max(all.right, boxes[i].right),
               std::max(all.bottom, boxes[i].bottom)};
    }
    return {std::max<int64_t>(all.left - growth, 0), std::max<int64_t>(all.top - growth, 0),
            std::min<int64_t>(all.right + growth, target.width), std::min<int64_t>(all.bottom + growth, target.height)};
}

}  // namespace vexcap
