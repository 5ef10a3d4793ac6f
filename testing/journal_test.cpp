#include "testing/journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Journal, KeepsEntriesOfAllKindsInOneOrder) {
  Journal journal;
  journal.Add(Journal::kLog, "log(0) Initialize");
  journal.Call("preprocessor", "SetEncoderOutputSize", 1280, 720);
  journal.Add(Journal::kDestruction, "~track");
  EXPECT_THAT(
      journal.Take(),
      ElementsAre("log(0) Initialize", "preprocessor.SetEncoderOutputSize(1280, 720)", "~track"));
}

TEST(Journal, TakingForgetsWhatItGave) {
  Journal journal;
  journal.Call("track", "Reset");
  EXPECT_THAT(journal.Take(), ElementsAre("track.Reset()"));
  EXPECT_THAT(journal.Take(), IsEmpty());
  EXPECT_EQ(journal.Count(Journal::kCall), 0u);
}

TEST(Journal, LeavesOutTheKindsThatItIsToldTo) {
  Journal journal;
  journal.LeaveOut(Journal::kQueueCheck | Journal::kLog);
  journal.Add(Journal::kQueueCheck, "main_queue.IsCurrent()");
  journal.Add(Journal::kLog, "log(0) Initialize");
  journal.Call("track", "Reset");
  EXPECT_THAT(journal.Take(), ElementsAre("track.Reset()"));
}

TEST(Journal, LeavingOutConcernsTheTakingNotTheAdding) {
  Journal journal;
  journal.LeaveOut(Journal::kCall);
  journal.Call("track", "Reset");
  journal.LeaveOut(0);
  EXPECT_THAT(journal.Take(), ElementsAre("track.Reset()"));
}

TEST(Journal, CountsEntriesOfAKindLeftOutOrNot) {
  Journal journal;
  journal.LeaveOut(Journal::kQueueCheck);
  journal.Add(Journal::kQueueCheck, "main_queue.IsCurrent()");
  journal.Add(Journal::kQueueCheck, "main_queue.IsCurrent()");
  journal.Call("track", "Reset");
  EXPECT_EQ(journal.CountQueueChecks(), 2u);
  EXPECT_EQ(journal.Count(Journal::kCall | Journal::kQueueCheck), 3u);
  EXPECT_EQ(journal.Count("track.Reset()"), 1u);
  EXPECT_EQ(journal.Count("track"), 0u);
}

TEST(Journal, ClearingForgetsEverything) {
  Journal journal;
  journal.LeaveOut(Journal::kCall);
  journal.Call("track", "Reset");
  journal.Clear();
  EXPECT_EQ(journal.Count(Journal::kCall), 0u);
}

TEST(Journal, TellsItsObserverOfEachEntryWhileMoreCanBeAdded) {
  Journal journal;
  journal.LeaveOut(Journal::kQueueCheck);
  journal.SetObserver([&journal](const std::string& entry) {
    if (entry == "main_queue.IsCurrent()") journal.Call("track", "Reset");
  });
  journal.Add(Journal::kQueueCheck, "main_queue.IsCurrent()");
  journal.SetObserver(nullptr);
  journal.Add(Journal::kQueueCheck, "main_queue.IsCurrent()");
  EXPECT_THAT(journal.Take(), ElementsAre("track.Reset()"));
}

}  // namespace
}  // namespace movra::testing
