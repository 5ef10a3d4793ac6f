#include "testing/owned_probe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OwnedProbeTest : public ::testing::Test {
 protected:
  const std::shared_ptr<Journal> journal_ = std::make_shared<Journal>();
};

TEST_F(OwnedProbeTest, TellsOfItsEndOnceHoweverOftenItMoves) {
  {
    OwnedProbe first("probe", journal_);
    const OwnedProbe second = std::move(first);
    const OwnedProbe copy_of_nothing = OwnedProbe("other", journal_);
    EXPECT_THAT(journal_->Take(), IsEmpty());
  }
  EXPECT_THAT(journal_->Take(), ElementsAre("~other", "~probe"));
}

TEST_F(OwnedProbeTest, ACallbackTellsOfItsRunWithItsArgumentsAndThenOfItsEnd) {
  auto callback = MakeCallback<void(int, int)>("on_started", journal_);
  std::move(callback).Run(-1, 12);
  EXPECT_THAT(journal_->Take(), ElementsAre("on_started(-1, 12)", "~on_started"));
}

TEST_F(OwnedProbeTest, ACallbackThatIsDroppedTellsOfItsEndAlone) {
  auto callback = MakeCallback<void()>("on_stopped", journal_);
  EXPECT_THAT(journal_->Take(), IsEmpty());
  callback = {};
  EXPECT_THAT(journal_->Take(), ElementsAre("~on_stopped"));
}

TEST_F(OwnedProbeTest, ACallbackShowsTheNameOfAnImage) {
  auto callback = MakeCallback<void(std::shared_ptr<Image>)>("on_done", journal_);
  std::move(callback).Run(MakeImage("picture"));
  EXPECT_THAT(journal_->Take(), ElementsAre("on_done(picture)", "~on_done"));
}

}  // namespace
}  // namespace movra::testing
