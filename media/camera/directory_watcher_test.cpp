#include "media/camera/directory_watcher.h"

#include <filesystem>
#include <fstream>
#include <semaphore>

#include <gtest/gtest.h>

namespace movra::media {
namespace {

namespace fs = std::filesystem;

class DirectoryWatcherTest : public ::testing::Test {
 protected:
  DirectoryWatcherTest() {
    std::string pattern = (fs::temp_directory_path() / "movra-watch-XXXXXX").string();
    directory_ = mkdtemp(pattern.data());
  }
  ~DirectoryWatcherTest() override { fs::remove_all(directory_); }

  void Touch(const std::string& name) const { std::ofstream(directory_ / name) << "x"; }

  fs::path directory_;
  std::counting_semaphore<> changes_{0};
};

TEST_F(DirectoryWatcherTest, TellsWhenAnEntryWithThePrefixComesAndGoes) {
  const DirectoryWatcher watcher(directory_, "video", [this] { changes_.release(); });
  ASSERT_TRUE(watcher.watching());
  Touch("video0");
  changes_.acquire();
  fs::remove(directory_ / "video0");
  changes_.acquire();
}

TEST_F(DirectoryWatcherTest, TellsNothingOfOtherEntries) {
  std::atomic<int> told = 0;
  {
    const DirectoryWatcher watcher(directory_, "video", [&] {
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
