// OpenCV on one thread. It rounds and treats the border of a mosaic in its own way, and knows no negative stride: times
// are compared, pixels are not.
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "pixel/kernels_bench.h"
#include "pixel/steps_bench.h"

namespace vexcap {
namespace {

cv::Mat picture(PictureSize size, int type, const uint8_t* pixels) {
    return cv::Mat(int(size.height), int(size.width), type, const_cast<uint8_t*>(pixels));
}

void registerSteps() {
    for (const PictureSize size : stepSizes) {
        const size_t stride = stepStride(size);
        const cv::Mat frame(int(size.height), int(size.width), CV_8UC3, benchTarget(), stride);
        const cv::Mat dark = picture(size, CV_8UC3, benchSource());
        registerAgainst("subtractDark", "opencv", size, readReadWrite(size),
                        [frame, dark] { cv::subtract(frame, dark, frame); });
        const auto inPlace = [size](const char* kernel, std::function<void()> body) {
            registerAgainst(kernel, "opencv", size, copyOfFrame(size), std::move(body));
        };
        inPlace("flipHorizontally", [frame] { cv::flip(frame, frame, 1); });
        inPlace("flipVertically", [frame] { cv::flip(frame, frame, 0); });
        const cv::Mat grey(frame.size(), CV_8UC1);
        const auto toGrey = [frame, grey] {
            cv::Mat to = frame, between = grey;
            cv::cvtColor(frame, between, cv::COLOR_BGR2GRAY);
            cv::cvtColor(between, to, cv::COLOR_GRAY2BGR);
        };
        inPlace("toGrey", toGrey);
        inPlace("toNegative", [frame] { cv::bitwise_not(frame, frame); });
        inPlace("flipGreyNegative", [frame, toGrey] {
            cv::flip(frame, frame, 1);
            toGrey();
            cv::bitwise_not(frame, frame);
        });
        const cv::Mat sums(frame.size(), CV_16UC3);
        inPlace("addToSums", [frame, sums] { cv::add(sums, frame, sums, cv::noArray(), CV_16U); });
    }
}

void registerVideo() {
    for (const PictureSize size : benchSizes) {
        const int width = int(size.width), height = int(size.height);
        const cv::Mat target = picture(size, CV_8UC3, benchTarget());
        const cv::Mat pairs = picture(size, CV_8UC2, benchSource());
        const cv::Mat planes = picture({size.width, size.height * 3 / 2}, CV_8UC1, benchSource());
        const auto conversion = [&](const char* kernel, const cv::Mat& from, int code) {
            registerAgainstMemcpy(kernel, "opencv", size, benchTarget(), size_t(width) * size_t(height) * 3,
                                  [from, code, to = target]() mutable { cv::cvtColor(from, to, code); });
        };
        conversion("yuyvToBgr24", pairs, cv::COLOR_YUV2BGR_YUYV);
        conversion("uyvyToBgr24", pairs, cv::COLOR_YUV2BGR_UYVY);
        conversion("nv12ToBgr24", planes, cv::COLOR_YUV2BGR_NV12);
    }
}

bool registerPeer() {
    cv::setNumThreads(1);
    registerSteps();
    registerVideo();
    for (const PictureSize size : benchSizes) {
        const size_t outputBytes = size_t(size.width) * size.height * 3;
        registerAgainstMemcpy("bayer8ToBgr24", "opencv", size, benchTarget(), outputBytes, [size] {
            cv::Mat target = picture(size, CV_8UC3, benchTarget());
            cv::cvtColor(picture(size, CV_8UC1, benchSource()), target, cv::COLOR_BayerRGGB2BGR);
        });
        // To eight bits first: the faster of its two ways.
        registerAgainstMemcpy("bayer12ToBgr24", "opencv", size, benchTarget(), outputBytes,
                              [size, bytes = cv::Mat(int(size.height), int(size.width), CV_8UC1)] {
                                  cv::Mat target = picture(size, CV_8UC3, benchTarget()), narrow = bytes;
                                  picture(size, CV_16UC1, benchSource()).convertTo(narrow, CV_8U, 1.0 / 16);
                                  cv::cvtColor(narrow, target, cv::COLOR_BayerRGGB2BGR);
                              });
    }
    return true;
}

[[maybe_unused]] const bool registered = registerPeer();

}  // namespace
}  // namespace vexcap
