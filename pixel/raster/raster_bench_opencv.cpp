// OpenCV on one thread, drawing. It chooses and rounds in its own way: times are compared, pixels are not.
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "pixel/raster/raster_bench.h"

namespace vexcap {
namespace {

int type(uint32_t bytesPerPixel) { return bytesPerPixel == 3 ? CV_8UC3 : CV_8UC4; }

cv::Mat over(PictureSize size, uint32_t bytesPerPixel, const uint8_t* pixels) {
    return cv::Mat(int(size.height), int(size.width), type(bytesPerPixel), const_cast<uint8_t*>(pixels));
}

void registerStretch(PictureSize size) {
    const cv::Mat view = over(viewSize, 4, benchTarget());
    const cv::Size to(view.cols, view.rows);
    registerAgainstMemcpy("stretch24", "opencv", size, benchTarget(), viewBytes,
                          [view, to, source = over(size, 3, benchSource()), between = cv::Mat(to, CV_8UC3)] {
                              cv::Mat narrow = between, wide = view;
                              cv::resize(source, narrow, to, 0, 0, cv::INTER_NEAREST);
                              cv::cvtColor(narrow, wide, cv::COLOR_BGR2BGRA);
                          });
    registerAgainstMemcpy("stretch32", "opencv", size, benchTarget(), viewBytes,
                          [view, to, source = over(size, 4, benchSource())] {
                              cv::Mat wide = view;
                              cv::resize(source, wide, to, 0, 0, cv::INTER_NEAREST);
                          });
}

void registerFrame(uint32_t bytesPerPixel) {
    const cv::Mat frame = over(overlaidSize, bytesPerPixel, benchTarget());
    const cv::Rect place(blendedAt, blendedAt, int(blendedSize.width), int(blendedSize.height));
    registerAgainstMemcpy(bytesPerPixel == 3 ? "blend24" : "blend32", "opencv", blendedSize, benchTarget(),
                          blendedPixels * bytesPerPixel,
                          [there = frame(place), picture = over(blendedSize, bytesPerPixel, benchSource())] {
                              cv::Mat to = there;
                              cv::addWeighted(there, 0.3, picture, 0.7, 0, to);
                          });
    registerAgainstMemcpy(
        bytesPerPixel == 3 ? "mask24" : "mask32", "opencv", maskSize, benchTarget(), maskPixels * bytesPerPixel,
        [there = frame(cv::Rect(0, 0, int(maskSize.width), int(maskSize.height))),
         mask = cv::Mat(int(maskSize.height), int(maskSize.width), CV_8UC1, const_cast<uint8_t*>(benchMask()))] {
            cv::Mat to = there;
            to.setTo(cv::Scalar(255, 255, 255, 0), mask);
        });
    registerLineBench("opencv", bytesPerPixel, [frame](int fromX, int fromY, int toX, int toY) {
        cv::Mat to = frame;
        cv::line(to, {fromX, fromY}, {toX, toY}, cv::Scalar(255, 0, 0, 0));
    });
}

bool registerPeer() {
    cv::setNumThreads(1);
    for (const PictureSize size : stretchedSizes) registerStretch(size);
    for (const uint32_t bytesPerPixel : {3u, 4u}) registerFrame(bytesPerPixel);
    return true;
}

[[maybe_unused]] const bool registered = registerPeer();

}  // namespace
}  // namespace vexcap
