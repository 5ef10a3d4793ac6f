#include "media/camera/directory_watcher.h"

#include <filesystem>
#include <fstream>
#include <semaphore>

#include <gtest/gtest.h>

#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

namespace fs = std::filesystem;

class DirectoryWatcherTest : public ::testing::Test {
 protected:
  void Touch(const std::string& name) const { std::ofstream(directory_ / name) << "x"; }

  const TemporaryDirectory directory_;
  std::counting_semaphore<> changes_{0};
};

TEST_F(DirectoryWatcherTest, TellsWhenAnEntryWithThePrefixComesAndGoes) {
  const DirectoryWatcher watcher(directory_.path(), "video", [this] { changes_.release(); });
  ASSERT_TRUE(watcher.watching());
  Touch("video0");
  changes_.acquire();
  fs::remove(directory_ / "video0");
  changes_.acquire();
}

TEST_F(DirectoryWatcherTest, TellsNothingOfOtherEntries) {
  std::atomic<int> told = 0;
  {
    const DirectoryWatcher watcher(directory_.path(), "video", [&] {
      ++told;
      changes_.release();
    });
    Touch("audio0");
    fs::remove(directory_ / "audio0");
    fs::create_directory(directory_ / "video0");
    changes_.acquire();
  }
  // The events of the directory come in order, so the others had their turn.
  EXPECT_EQ(told, 1);
}

TEST_F(DirectoryWatcherTest, WatchesNothingWhereThereIsNoDirectory) {
  const DirectoryWatcher watcher(directory_ / "none", "video", [] {});
  EXPECT_FALSE(watcher.watching());
}

}  // namespace
}  // namespace movra::media
