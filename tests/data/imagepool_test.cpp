#include "data/imagepool.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <latch>
#include <thread>
#include <vector>

namespace ZR::Filtrix
{
namespace
{
constexpr int mebibyte = 1 << 20;

bool isFilledWith(const cv::Mat& mat, double value)
{
  return cv::countNonZero(mat.reshape(1) != value) == 0;
}

TEST(ImagePool, GivesBackWhatWasFreed)
{
  const void* first = nullptr;
  {
    const cv::Mat mat = makePooledMat(480, 640, CV_8UC3);
    EXPECT_EQ(mat.size(), cv::Size(640, 480));
    EXPECT_EQ(mat.type(), CV_8UC3);
    EXPECT_TRUE(mat.isContinuous());
    first = mat.data;
  }
  const cv::Mat again = makePooledMat(480, 640, CV_8UC3);
  EXPECT_EQ(again.data, first);
  EXPECT_NE(makePooledMat(480, 640, CV_8UC3).data, first) << "it is in use";
}

TEST(ImagePool, PixelsLiveAsLongAsAnyHeader)
{
  cv::Mat part;
  {
    cv::Mat whole = makePooledMat(100, 100, CV_8U);
    whole.setTo(7);
    part = whole(cv::Rect(10, 10, 20, 20));
  }
  makePooledMat(100, 100, CV_8U).setTo(9);
  EXPECT_TRUE(isFilledWith(part, 7.0));
}

TEST(ImagePool, OddSizesAndElementsDoNotOverlap)
{
  std::vector<cv::Mat> mats;
  for (const int type : {CV_8U, CV_8UC3, CV_16U, CV_32F, CV_32FC3})
  {
    for (int side = 1; side < 70; side += 17)
    {
      mats.push_back(makePooledMat(side, side + 3, type));
      mats.back().setTo(cv::Scalar::all(static_cast<double>(mats.size())));
    }
  }
  for (std::size_t i = 0; i < mats.size(); ++i)
    EXPECT_TRUE(isFilledWith(mats[i], static_cast<double>(i + 1))) << i;
}

TEST(ImagePool, KeepsABoundedNumberOfBytes)
{
  {
    std::vector<cv::Mat> mats;
    for (int i = 0; i < 80; ++i)
      mats.push_back(makePooledMat(1, mebibyte, CV_8U));
  }
  EXPECT_LE(imagePoolBytes(), imagePoolLimit);
  EXPECT_GT(imagePoolBytes(), imagePoolLimit / 2);

  // The size in use now pushes out the one of before.
  const void* large = nullptr;
  {
    const cv::Mat mat = makePooledMat(40, mebibyte, CV_8U);
    large = mat.data;
  }
  EXPECT_EQ(makePooledMat(40, mebibyte, CV_8U).data, large);
  EXPECT_LE(imagePoolBytes(), imagePoolLimit);

  // One beyond the limit is never kept.
  const std::size_t before = imagePoolBytes();
  (void)makePooledMat(65, mebibyte, CV_8U);
  EXPECT_LE(imagePoolBytes(), before);
}

TEST(ImagePool, TakesWhatOtherThreadsFree)
{
  constexpr int workers = 3;
  constexpr int rounds = 200;
  std::latch start(workers);
  std::vector<cv::Mat> handed(workers);
  std::vector<int> torn(workers);
  const auto work = [&](std::size_t worker)
  {
    start.arrive_and_wait();
    for (int i = 0; i < rounds; ++i)
    {
      cv::Mat mat = makePooledMat(16 + i % 5, 64, CV_8U);
      mat.setTo(static_cast<double>(worker));
      cv::Mat copy = mat;
      mat.release();
      torn[worker] += !isFilledWith(copy, static_cast<double>(worker));
      handed[worker] = copy;  // the one before ends here, the last one on the main thread
    }
  };
  std::vector<std::thread> threads;
  for (std::size_t worker = 0; worker < workers; ++worker)
    threads.emplace_back(work, worker);
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(torn, std::vector<int>(workers));
  const std::size_t before = imagePoolBytes();
  handed.clear();
  EXPECT_GT(imagePoolBytes(), before);
}

TEST(ImagePool, NothingIsAllocatedForAnEmptyImage)
{
  EXPECT_TRUE(makePooledMat(0, 0, CV_8U).empty());
  EXPECT_TRUE(makePooledMat(0, 7, CV_8U).empty());
  EXPECT_THROW((void)makePooledMat(-1, 7, CV_8U), cv::Exception);
}

// Ends after everything else of the program: the pool must still be there.
const cv::Mat outlivesMain = makePooledMat(10, 10, CV_8U);
}  // namespace
}  // namespace ZR::Filtrix
