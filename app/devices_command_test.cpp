#include "app/devices_command.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace movra::app {
namespace {

const std::vector<video::VideoDeviceInfo> kDevices{{"test:", "Test picture", "test", 0},
                                                   {"/dev/video0", "Webcam \xff", "v4l2", 0}};

TEST(DevicesCommand, ShowsPeopleATableAndTheFilesThatNoListHolds) {
  EXPECT_EQ(DevicesText({}, {kDevices[0]}),
            "camera  name          driver\n"
            "test:   Test picture  test\n"
            "and any video file, as file:PATH\n");
}

TEST(DevicesCommand, ColumnsFitTheLongestWord) {
  EXPECT_EQ(DevicesText({}, kDevices),
            "camera       name          driver\n"
            "test:        Test picture  test\n"
            "/dev/video0  Webcam \xff      v4l2\n"
            "and any video file, as file:PATH\n");
}

TEST(DevicesCommand, GivesProgramsAJsonArrayWhateverTheNamesHold) {
  const auto json = nlohmann::json::parse(DevicesText({true}, kDevices));
  ASSERT_EQ(json.size(), 2U);
  EXPECT_EQ(json[0]["id"], "test:");
  EXPECT_EQ(json[0]["name"], "Test picture");
  EXPECT_EQ(json[0]["driver"], "test");
  EXPECT_EQ(json[1]["id"], "/dev/video0");
}

TEST(DevicesCommand, NoDevicesAreAnEmptyArray) { EXPECT_EQ(DevicesText({true}, {}), "[]\n"); }

}  // namespace
}  // namespace movra::app
