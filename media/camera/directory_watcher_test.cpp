#include "media/camera/directory_watcher.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <semaphore>

#include <gtest/gtest.h>

#include "core/no_more_threads_for_test.h"
#include "media/open_descriptors_for_test.h"
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

TEST_F(DirectoryWatcherTest, TellsWhenAnEntryThatIsThereGetsItsRights) {
  Touch("video0");
  const DirectoryWatcher watcher(directory_.path(), "video", [this] { changes_.release(); });
  fs::permissions(directory_ / "video0", fs::perms::owner_read);
  changes_.acquire();
}

TEST_F(DirectoryWatcherTest, LeavesNothingOpen) {
  const std::size_t files = OpenDescriptors().size();
  {
    const DirectoryWatcher watcher(directory_.path(), "video", [] {});
    const DirectoryWatcher idle(directory_ / "none", "video", [] {});
    EXPECT_EQ(OpenDescriptors().size(), files + 4);
  }
  EXPECT_EQ(OpenDescriptors().size(), files);
}

TEST_F(DirectoryWatcherTest, WatchesNothingWhereThereIsNoThreadToBeHad) {
  const std::size_t files = OpenDescriptors().size();
  {
    const core::NoMoreThreads none;
    const DirectoryWatcher watcher(directory_.path(), "video", [] {});
    EXPECT_FALSE(watcher.watching());
  }
  EXPECT_EQ(OpenDescriptors().size(), files);
}

}  // namespace
}  // namespace movra::media
