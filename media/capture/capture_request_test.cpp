#include "media/capture/capture_request.h"

#include <gtest/gtest.h>

namespace movra::media {
namespace {

TEST(CoveringRequest, HasTheHigherRateWhichIsAllOfThemWhereOneAsksForThat) {
  EXPECT_EQ(Covering({.frame_rate = 15}, {.frame_rate = 30}).frame_rate, 30);
  EXPECT_EQ(Covering({.frame_rate = 30}, {.frame_rate = 15}).frame_rate, 30);
  EXPECT_EQ(Covering({.frame_rate = 30}, {.frame_rate = 0}).frame_rate, 0);
  EXPECT_EQ(Covering({.frame_rate = 0}, {.frame_rate = 30}).frame_rate, 0);
}

TEST(CoveringRequest, HasTheLargerSideOfEach) {
  EXPECT_EQ(Covering({.size = {640, 360}}, {.size = {320, 480}}).size, (video::Size{640, 360}));
  EXPECT_EQ(Covering({.size = {640, 360}}, {.size = {480, 480}}).size, (video::Size{640, 480}));
  EXPECT_EQ(Covering({.size = {640, 360}}, {.size = {1280, 100}}).size, (video::Size{1280, 360}));
}

TEST(CoveringRequest, StandsOrLiesAsTheFirst) {
  EXPECT_EQ(Covering({.size = {360, 640}}, {.size = {1280, 720}}).size, (video::Size{720, 1280}));
  EXPECT_EQ(Covering({.size = {640, 360}}, {.size = {720, 1280}}).size, (video::Size{1280, 720}));
}

TEST(CoveringRequest, IsTheNaturalSizeWhereOneAsksForThat) {
  EXPECT_EQ(Covering({.size = {0, 0}}, {.size = {1280, 720}}).size, (video::Size{0, 0}));
  EXPECT_EQ(Covering({.size = {1280, 720}}, {.size = {0, -1}}).size, (video::Size{0, 0}));
  // One side alone asks for that side.
  EXPECT_EQ(Covering({.size = {0, 360}}, {.size = {320, 180}}).size, (video::Size{360, 180}));
}

}  // namespace
}  // namespace movra::media
