// OpenCV's bilinear demosaicing on one thread. It rounds and treats the border in its own way, and knows no negative
// stride: times are compared, pixels are not.
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "pixel/kernels_bench.h"

namespace vexcap {
namespace {

cv::Mat picture(PictureSize size, int type, const uint8_t* pixels) {
    return cv::Mat(int(size.height), int(size.width), type, const_cast<uint8_t*>(pixels));
}

bool registerPeer() {
    cv::setNumThreads(1);
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
