#include "app/whole_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "media/temporary_directory_for_test.h"

namespace movra::app {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class WholeFile : public testing::Test {
 protected:
  // Writes the text, and says the error.
  static auto Writing(const std::string& text, const std::string& error = "") {
    return [text, error](const std::string& name) {
      std::ofstream(name) << text;
      return error;
    };
  }
  [[nodiscard]] std::string Content() const {
    std::ifstream file(path_);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const media::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "a.json";
};

TEST_F(WholeFile, IsThereOnceItIsWhole) {
  const std::string error = WriteWholeFile(path_, false, [&](const std::string& name) {
    std::ofstream(name) << "new";
    EXPECT_EQ(Content(), "");
    return std::string();
  });
  EXPECT_EQ(error, "");
  EXPECT_EQ(Content(), "new");
  EXPECT_THAT(directory_.Names(), ElementsAre("a.json"));
}

TEST_F(WholeFile, RefusesOneThatIsThere) {
  directory_.Write("a.json", "mine");
  EXPECT_THAT(WriteWholeFile(path_, false, Writing("new")), HasSubstr("a.json': File exists"));
  EXPECT_EQ(Content(), "mine");
}

TEST_F(WholeFile, ReplacesOneThatIsThereIfThatWasAsked) {
  directory_.Write("a.json", "mine");
  EXPECT_EQ(WriteWholeFile(path_, true, Writing("new")), "");
  EXPECT_EQ(Content(), "new");
  EXPECT_THAT(directory_.Names(), ElementsAre("a.json"));
}

TEST_F(WholeFile, AFailureLeavesWhatWasThere) {
  EXPECT_EQ(WriteWholeFile(path_, false, Writing("half", "disk full")), "disk full");
  EXPECT_THAT(directory_.Names(), IsEmpty());
  directory_.Write("a.json", "mine");
  EXPECT_EQ(WriteWholeFile(path_, true, Writing("half", "disk full")), "disk full");
  EXPECT_EQ(Content(), "mine");
  EXPECT_THAT(directory_.Names(), ElementsAre("a.json"));
}

TEST_F(WholeFile, ALinkIsWrittenInPlace) {
  directory_.Write("b.json", "mine");
  std::filesystem::create_symlink("b.json", path_);
  EXPECT_EQ(WriteWholeFile(path_, true, Writing("new")), "");
  EXPECT_EQ(Content(), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(path_));
}

TEST_F(WholeFile, APlaceThatIsNotThereIsNamed) {
  EXPECT_THAT(WriteWholeFile(directory_ / "no/a.json", false, Writing("new")),
              HasSubstr("no/a.json': No such file"));
}

}  // namespace
}  // namespace movra::app
