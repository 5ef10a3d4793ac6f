#include "app/devices_command.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace movra::app {
namespace {

const std::vector<video::VideoDeviceInfo> kDevices{{"/dev/video0", "Webcam \xff", "v4l2", 0}};

TEST(DevicesCommand, ShowsPeopleTheTestPictureAndTheFilesThatNoListHolds) {
  EXPECT_EQ(DevicesText({}, {}),
            "camera  name          driver\n"
            "test:   Test picture  test\n"
            "and any video file, as file:PATH\n");
}

TEST(DevicesCommand, ListsDevicesFirstInColumnsThatFitTheLongestWord) {
  EXPECT_EQ(DevicesText({}, kDevices),
            "camera       name          driver\n"
            "/dev/video0  Webcam \xff      v4l2\n"
            "test:        Test picture  test\n"
            "and any video file, as file:PATH\n");
}

TEST(DevicesCommand, GivesProgramsAJsonArrayWhateverTheNamesHold) {
  const auto json = nlohmann::json::parse(DevicesText({true}, kDevices));
  ASSERT_EQ(json.size(), 2U);
  EXPECT_EQ(json[0]["id"], "/dev/video0");
  EXPECT_EQ(json[0]["driver"], "v4l2");
  EXPECT_EQ(json[1]["id"], "test:");
  EXPECT_EQ(json[1]["name"], "Test picture");
  EXPECT_EQ(json[1]["driver"], "test");
}

}  // namespace
}  // namespace movra::app
