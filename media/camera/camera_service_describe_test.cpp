#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/camera_service_for_test.h"

// Cameras that are looked at before they are started.

namespace movra::media {
namespace {

using movra_base::BindOnce;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::Size;

TEST_F(CameraServiceTest, HasNoCameraOfAnIdThatNobodyMakesASourceFor) {
  const video::CameraInfo info = Describe("b");
  EXPECT_EQ(info.error_code, Code(CameraError::kNoSuchCamera));
  EXPECT_EQ(info.error_text, "no camera is called 'b'");
}

TEST_F(CameraServiceTest, PlaysTheFileThatItLookedAtWithoutOpeningItAgain) {
  const auto a = Add("a", MakeScript(2));
  a->info.traits.replayable = true;
  EXPECT_EQ(Describe("a").error_code, 0);
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  EXPECT_THAT(cameras_->WaitUntilMade(1), ElementsAre("a"));
  EXPECT_THAT(writer_->frames(), SizeIs(2));
  Start(Params("a"), std::make_shared<CollectingWriter>());
  EXPECT_THAT(cameras_->WaitUntilMade(2), ElementsAre("a", "a"));
}

TEST_F(CameraServiceTest, WhatHasAnEndIsKeptToo) {
  const auto a = Add("a", MakeScript(2));  // A pipe, say: what was read of it is gone.
  a->info.traits.has_end = true;
  EXPECT_EQ(Describe("a").error_code, 0);
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  EXPECT_THAT(cameras_->WaitUntilMade(1), ElementsAre("a"));
}

TEST_F(CameraServiceTest, ForgetsAFileThatItLookedAtAndThatIsNotPlayedSoon) {
  const auto a = Add("a", MakeScript(1));
  a->info.traits.replayable = true;
  EXPECT_EQ(Describe("a").error_code, 0);
  EXPECT_EQ(Describe("a").error_code, 0);
  loop_->RunFirst();  // The time of the first look is over, which the second one has replaced.
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  EXPECT_THAT(cameras_->WaitUntilMade(2), ElementsAre("a", "a"));
  loop_->RunFirst();
  EXPECT_EQ(Describe("a").error_code, 0);
  loop_->RunFirst();
  Start(Params("a"), std::make_shared<CollectingWriter>());
  EXPECT_THAT(cameras_->WaitUntilMade(4), ElementsAre("a", "a", "a", "a"));
}

TEST_F(CameraServiceTest, OpensAnewWhatIsNotTheFileThatItLookedAt) {
  const auto a = Add("a", MakeScript(1));
  a->info.traits.replayable = true;
  Add("b", MakeScript(1));
  EXPECT_EQ(Describe("a").error_code, 0);
  Start(Params("b"), std::make_shared<CollectingWriter>());  // Another file.
  EXPECT_THAT(cameras_->WaitUntilMade(2), ElementsAre("a", "b"));
  Start(Params("a"), std::make_shared<CollectingWriter>());  // Too late.
  EXPECT_THAT(cameras_->WaitUntilMade(3), ElementsAre("a", "b", "a"));
  EXPECT_EQ(Describe("b").error_code, 0);
  Start(Params("b"), std::make_shared<CollectingWriter>());  // No file.
  EXPECT_THAT(cameras_->WaitUntilMade(5), ElementsAre("a", "b", "a", "b", "b"));
}

TEST_F(CameraServiceTest, DescribesACameraWhileTheMainQueueDoesOtherThings) {
  const auto a = Add("a", MakeScript(1));
  a->open_waits = true;
  a->is_deaf = true;
  a->info.natural_size = {320, 180};
  std::vector<Size> sizes;
  service_->DescribeCamera(
      "a", BindOnce([&](video::CameraInfo info) { sizes.push_back(info.natural_size); }));
  a->WaitUntilWaiting();
  Add("b", MakeScript(1));
  Start(Params("b"), writer_);
  RunUntilAnswered();
  EXPECT_THAT(sizes, IsEmpty());
  a->LetOn();
  RunUntilIdleAnd([&] { return !sizes.empty(); });
  EXPECT_THAT(sizes, ElementsAre(Size{320, 180}));
}

TEST_F(CameraServiceTest, CancelsDescriptionsWhenItEnds) {
  const auto a = Add("a", MakeScript(1));
  a->open_waits = true;
  std::vector<int> codes;
  service_->DescribeCamera(
      "a", BindOnce([&](video::CameraInfo info) { codes.push_back(info.error_code); }));
  a->WaitUntilWaiting();
  service_.reset();
  RunUntilIdleAnd([&] { return a->IsGone(); });
  EXPECT_THAT(codes, ElementsAre(Code(CameraError::kCancelled)));
}

}  // namespace
}  // namespace movra::media
