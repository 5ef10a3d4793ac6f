#include "app/script_player.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/simulated_queue.h"

namespace movra::app {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

ScriptLine At(std::chrono::nanoseconds at, std::size_t number) {
  return {number, at, "pause_capture", Json::object()};
}

class ScriptPlayerTest : public ::testing::Test {
 protected:
  void Play(std::vector<ScriptLine> lines) {
    player_ = std::make_shared<ScriptPlayer>(
        std::move(lines),
        [this](const ScriptLine& line) {
          played_.push_back(line.number);
          if (line.number == stop_at_) player_->Stop();
          over_.push_back(player_->is_over());
        },
        queue_, [this] { return ScriptPlayer::Clock::time_point(clock_->now()); });
    player_->Start();
  }

  const std::shared_ptr<testing::SimulatedClock> clock_ =
      std::make_shared<testing::SimulatedClock>();
  const std::shared_ptr<testing::SimulatedQueue> queue_ =
      std::make_shared<testing::SimulatedQueue>("main", nullptr, clock_);
  std::shared_ptr<ScriptPlayer> player_;
  std::vector<std::size_t> played_;
  std::vector<bool> over_;
  std::size_t stop_at_ = 0;
};

TEST_F(ScriptPlayerTest, PlaysEachLineWhenItsTimeHasCome) {
  Play({At(seconds(0), 1), At(seconds(2), 2), At(seconds(2), 3), At(seconds(5), 4)});
  EXPECT_THAT(played_, IsEmpty());
  queue_->RunAll();
  EXPECT_THAT(played_, ElementsAre(1U));
  clock_->AdvanceBy(milliseconds(1999));
  queue_->RunAll();
  EXPECT_THAT(played_, ElementsAre(1U));
  clock_->AdvanceBy(milliseconds(1));
  queue_->RunAll();
  EXPECT_THAT(played_, ElementsAre(1U, 2U, 3U));
  clock_->AdvanceBy(seconds(3));
  queue_->RunAll();
  EXPECT_THAT(played_, ElementsAre(1U, 2U, 3U, 4U));
  EXPECT_THAT(over_, ElementsAre(false, false, false, true));
}

TEST_F(ScriptPlayerTest, PlaysWhatIsLateAndLeavesNothingOut) {
  Play({At(seconds(1), 1), At(seconds(2), 2), At(seconds(60), 3)});
  clock_->AdvanceBy(seconds(30));
  queue_->RunAll();
  EXPECT_THAT(played_, ElementsAre(1U, 2U));
}

TEST_F(ScriptPlayerTest, PlaysNothingMoreOnceItIsStoppedOrGone) {
  stop_at_ = 2;
  Play({At(seconds(1), 1), At(seconds(2), 2), At(seconds(3), 3)});
  clock_->AdvanceBy(seconds(2));
  queue_->RunAll();
  clock_->AdvanceBy(seconds(2));
  queue_->RunAll();
  EXPECT_THAT(played_, ElementsAre(1U, 2U));
  EXPECT_TRUE(player_->is_over());

  played_.clear();
  Play({At(seconds(1), 1)});
  player_.reset();
  clock_->AdvanceBy(seconds(1));
  queue_->RunAll();
  EXPECT_THAT(played_, IsEmpty());
}

TEST_F(ScriptPlayerTest, IsOverAtOnceWithoutLines) {
  Play({});
  EXPECT_TRUE(player_->is_over());
}

}  // namespace
}  // namespace movra::app
