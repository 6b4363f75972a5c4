// The thread sanitizer does not see how OpenCV's threads wait for each other, and takes every variable that they read for a race. What
// these tests are about are this program's threads.

#include <gtest/gtest.h>

#include <opencv2/core/utility.hpp>

#ifdef __SANITIZE_THREAD__
namespace {

class WithoutOpenCvThreads : public testing::Environment {
  public:
    void SetUp() override { cv::setNumThreads(1); }
};

[[maybe_unused]] const testing::Environment* const kWithoutOpenCvThreads =
    testing::AddGlobalTestEnvironment(new WithoutOpenCvThreads);

}  // namespace
#endif
