#include "hosts/cli/report/picture_result.h"

#include <gtest/gtest.h>

namespace vexcap::cli {
namespace picture_result_test {

Image imageOf(uint32_t channels, uint32_t depth, const char* mosaic) {
    Image image;
    image.size = {1936, 1096};
    image.channels = channels;
    image.depth = depth;
    image.mosaic = mosaic;
    return image;
}

TEST(PictureResult, ALineTellsSizeDepthAndMosaic) {
    EXPECT_EQ(pictureLine("a.png", imageOf(3, 8, "")), "a.png: 1936x1096, 24 bits a pixel");
    EXPECT_EQ(pictureLine("a.tif", imageOf(3, 12, "")), "a.tif: 1936x1096, 36 bits a pixel");
    EXPECT_EQ(pictureLine("a.tif", imageOf(1, 12, "GRBG")), "a.tif: 1936x1096, 12 bits, GRBG");
    EXPECT_EQ(pictureLine("a.tif", imageOf(1, 8, "")), "a.tif: 1936x1096, 8 bits");
}

TEST(PictureResult, AnObjectTellsAllThatIsKnown) {
    const ImageNotes little = {.taken = {1'000'000'000, 0}, .device = "a \"b\""};
    const std::string time = timeText(little.taken);
    EXPECT_EQ(pictureJson("a.png", imageOf(3, 8, ""), little),
              R"({"type":"picture","file":"a.png","width":1936,"height":1096,"depth":24,"channels":3,"time":")" + time +
                  R"(","device":"a \"b\""})");
    const ImageNotes all = {
        .taken = {1'000'000'000, 0}, .device = "c", .exposure = 5000, .gain = 150, .pixelSize = 0.345};
    EXPECT_EQ(pictureJson("a.tif", imageOf(1, 12, "GRBG"), all),
              R"({"type":"picture","file":"a.tif","width":1936,"height":1096,"depth":12,"channels":1,"mosaic":"GRBG",)"
              R"("time":")" +
                  time + R"(","device":"c","exposure":5000,"gain":150,"pixelSize":0.345})");
}

}  // namespace picture_result_test
}  // namespace vexcap::cli
