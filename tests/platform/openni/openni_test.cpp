// Without a device there is only so much to try: that it says so.

#include "platform/openni/opennirobot.h"

#include "platform/robot.h"
#include "platform/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace ZR::OpenNI
{
namespace
{
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string errorOfOpening(const std::string& device)
{
#ifdef __SANITIZE_ADDRESS__
  // The library's drivers keep what they have taken.
  const __lsan::ScopedDisabler theirsMayLeak;
#endif
  return ZR::errorOf([&] { const DepthRobot robot({.device = device, .start = {}}); });
}

TEST(Openni, SaysWhatCannotBeOpened)
{
  const TempFolder folder;
  const std::string missing = (folder / "missing.oni").string();
  const std::string broken = (folder / "broken.oni").string();
  std::ofstream(broken) << "this is no recording";
  EXPECT_THAT(errorOfOpening(missing), HasSubstr(missing + "\" cannot be opened: "));
  EXPECT_THAT(errorOfOpening(broken), HasSubstr(broken + "\" cannot be opened: "));
}

TEST(Openni, SaysThatThereIsNoDepthCamera)
{
  const std::string error = errorOfOpening("");
  if (error == "no error")
    GTEST_SKIP() << "this machine has a depth camera";
  EXPECT_THAT(error, StartsWith("no depth camera is found: "));
}
}  // namespace
}  // namespace ZR::OpenNI
