#include "media/camera/v4l2_io.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <thread>

#include <gtest/gtest.h>

#include "media/camera/v4l2_camera.h"
#include "media/camera/v4l2_devices.h"
#include "media/open_descriptors_for_test.h"
#include "media/sanitizer_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

TEST(V4l2Io, ReportsWhatCannotBeOpenedOrAsked) {
  EXPECT_EQ(MakeV4l2Io()->Open("/dev/no-such-device"), ENOENT);
  const auto io = MakeV4l2Io();
  ASSERT_EQ(io->Open("/dev/null"), 0);
  v4l2_capability capability{};
  EXPECT_EQ(io->Control(VIDIOC_QUERYCAP, &capability), ENOTTY);
  EXPECT_EQ(io->Map(4096, 0), nullptr);
}

TEST(V4l2Io, LeavesNothingOpen) {
  const std::size_t files = OpenDescriptors().size();
  {
    const auto io = MakeV4l2Io();
    ASSERT_EQ(io->Open("/dev/null"), 0);
    const std::size_t opened = OpenDescriptors().size();
    ASSERT_EQ(io->Open("/dev/null"), 0);
    EXPECT_EQ(OpenDescriptors().size(), opened);
    EXPECT_EQ(io->Open("/dev/no-such-device"), ENOENT);
  }
  EXPECT_EQ(OpenDescriptors().size(), files);
  const TemporaryDirectory directory;
  directory.Write("video0", "not a device");
  EXPECT_TRUE(ListV4l2Devices(directory.path().string(), MakeV4l2Io).empty());
  EXPECT_NE(V4l2Camera(directory / "video0", MakeV4l2Io()).Open({}).error_code, 0);
  EXPECT_EQ(OpenDescriptors().size(), files);
}

// A camera that could not be interrupted would never be let go of.
TEST(V4l2Io, OpensNothingWhereADescriptorIsMissingToInterruptItBy) {
  if (kIsSanitized) GTEST_SKIP() << "the sanitizer needs descriptors of its own";
  rlimit usual{};
  getrlimit(RLIMIT_NOFILE, &usual);
  rlimit none = usual;
  none.rlim_cur = 0;
  setrlimit(RLIMIT_NOFILE, &none);
  const auto io = MakeV4l2Io();
  setrlimit(RLIMIT_NOFILE, &usual);
  EXPECT_EQ(io->Open("/dev/null"), EMFILE);
}

// A pipe stands for the device: it becomes readable when somebody writes into it.
TEST(V4l2Io, WaitsForTheDeviceOrForAnInterruption) {
  const TemporaryDirectory directory;
  const std::string path = directory / "device";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const auto io = MakeV4l2Io();
  ASSERT_EQ(io->Open(path), 0);
  const int writer = open(path.c_str(), O_WRONLY);
  ASSERT_EQ(write(writer, "x", 1), 1);
  EXPECT_TRUE(io->WaitForFrame());
  {
    std::thread interrupter([&io] { io->Interrupt(); });
    interrupter.join();
  }
  EXPECT_FALSE(io->WaitForFrame());
  EXPECT_FALSE(io->WaitForFrame());
  close(writer);
}

}  // namespace
}  // namespace movra::media
