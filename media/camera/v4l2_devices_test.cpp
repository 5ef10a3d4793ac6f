#include "media/camera/v4l2_devices.h"

#include <linux/videodev2.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/simulated_v4l2_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::VideoDeviceInfo;

TEST(V4l2Devices, KnowTheirIds) {
  EXPECT_TRUE(IsV4l2Id("/dev/video0"));
  EXPECT_TRUE(IsV4l2Id("/dev/video12"));
  for (const char* const id : {"/dev/video", "/dev/videox", "/dev/video1x", "/dev/video-1",
                               "/dev/video0/x", "/tmp/video0", "video0", ""}) {
    EXPECT_FALSE(IsV4l2Id(id)) << id;
  }
}

class ListV4l2DevicesTest : public ::testing::Test {
 protected:
  void Touch(const std::string& name) const { std::ofstream(directory_ / name) << "x"; }

  // The ids, without the directory, of what is listed.
  std::vector<std::string> List() const {
    std::vector<std::string> names;
    const auto make_io = [this]() -> std::unique_ptr<V4l2Io> {
      return std::make_unique<SimulatedV4l2Io>(device_);
    };
    for (const VideoDeviceInfo& device : ListV4l2Devices(directory_.path().string(), make_io)) {
      EXPECT_EQ(device.name, device_->card);
      EXPECT_EQ(device.driver, "simulated");
      EXPECT_EQ(device.capabilities, device_->capabilities);
      names.push_back(fs::path(device.device_id).filename().string());
    }
    return names;
  }

  const TemporaryDirectory directory_;
  std::shared_ptr<SimulatedDevice> device_ = std::make_shared<SimulatedDevice>();
};

TEST_F(ListV4l2DevicesTest, ListsTheCamerasByNumber) {
  for (const char* const name : {"video10", "video2", "audio0", "videocard", "video0"}) Touch(name);
  EXPECT_THAT(List(), ElementsAre("video0", "video2", "video10"));
}

TEST_F(ListV4l2DevicesTest, LeavesOutNodesThatDeliverNoPictures) {
  Touch("video0");
  device_->capabilities = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
  EXPECT_THAT(List(), IsEmpty());
}

TEST_F(ListV4l2DevicesTest, LeavesOutWhatCannotBeOpened) {
  Touch("video0");
  device_->open_error = EACCES;
  EXPECT_THAT(List(), IsEmpty());
}

TEST_F(ListV4l2DevicesTest, KeepsWithinANameThatFillsItsField) {
  Touch("video0");
  device_->card = std::string(32, 'n');
  EXPECT_THAT(List(), ElementsAre("video0"));
}

TEST_F(ListV4l2DevicesTest, ListsNothingWhereThereIsNoDirectory) {
  fs::remove_all(directory_.path());
  EXPECT_THAT(List(), IsEmpty());
}

}  // namespace
}  // namespace movra::media
