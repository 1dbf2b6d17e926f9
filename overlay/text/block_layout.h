// Where the items of the text block stand.
#pragma once

#include <array>
#include <cstdint>

#include "overlay/text/text_target.h"

namespace vexcap {

/// Items of the block, from the top.
enum class BlockItem { ScaleBar, Date, Figure };
inline constexpr size_t blockItems = 3;

/// A rectangle of the target, from its top left; sides may lie anywhere.
struct BlockBox {
    int64_t left = 0, top = 0, right = 0, bottom = 0;
};

struct TextBlockLayout {
    bool Has(BlockItem item) const { return visible[size_t(item)]; }
    const BlockBox& Box(BlockItem item) const { return boxes[size_t(item)]; }
    /// Only visible items are placed.
    void Show(BlockItem item, TextSize size) {
        visible[size_t(item)] = true;
        sizes[size_t(item)] = size;
    }
    /// The visible items as one block in a VEX_CORNER_..., centred one below the other. False: nothing is visible, or
    /// there is no such corner.
    bool Place(int32_t corner, const TextTarget& target);
    /// The plate behind them: 2 pixels larger on each side, clipped to the target.
    BlockBox Plate(const TextTarget& target) const;

private:
    bool Alone(BlockItem item) const;
    int64_t Left(int32_t corner, const TextTarget& target, int64_t width) const;
    void StackDown(const TextTarget& target);
    void StackUp(const TextTarget& target);

    std::array<bool, blockItems> visible = {};
    std::array<TextSize, blockItems> sizes = {};
    std::array<BlockBox, blockItems> boxes = {};
};

}  // namespace vexcap
