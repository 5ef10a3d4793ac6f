#include "media/output/sink_kinds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "media/output/sink_double_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

SinkAddress File(const std::string& path) { return {std::string(kFileScheme), path}; }

TEST(SinkKinds, APathIsAFile) {
  for (const char* const path :
       {"big.mp4", "/tmp/big.mp4", "-", "-.mkv", "a:b.mp4", "C:x.mp4", "a b://c.mp4", "1a://x.mp4",
        "://x.mp4", ":x.mp4", "rtmp:x.mp4", "./rtmp://x.mp4", ""}) {
    std::string error;
    EXPECT_EQ(ReadSinkAddress(path, &error), File(path)) << path;
    EXPECT_EQ(error, "");
  }
}

TEST(SinkKinds, TheSchemeOfFilesIsTakenOffThePath) {
  EXPECT_EQ(ReadSinkAddress("file:big.mp4", nullptr), File("big.mp4"));
  EXPECT_EQ(ReadSinkAddress("FILE:/tmp/a:b.mp4", nullptr), File("/tmp/a:b.mp4"));
  EXPECT_EQ(ReadSinkAddress("file:rtmp://x.mp4", nullptr), File("rtmp://x.mp4"));
}

TEST(SinkKinds, ASchemeThatThereIsNotIsRefusedWithThoseThatThereAreAndTheWayOut) {
  for (const char* const text : {"rtmp://host/x", "RTMP://host/x.mp4", "a+b-c.1://x"}) {
    std::string error;
    EXPECT_EQ(ReadSinkAddress(text, &error), std::nullopt) << text;
    EXPECT_THAT(error, AllOf(HasSubstr("://'"), HasSubstr("file:PATH")));
  }
  std::string error;
  EXPECT_EQ(ReadSinkAddress("rtmp://host/x", &error), std::nullopt);
  EXPECT_THAT(error, AllOf(HasSubstr("'rtmp://'"), HasSubstr("./rtmp:")));
}

std::shared_ptr<IEncodedSink> MakeDouble(const SinkRequest& request, std::string* /*error*/) {
  return std::make_shared<SinkDouble>(request.path);
}

TEST(SinkKinds, ANewKindIsAnEntryOfTheTable) {
  const std::vector<SinkKind> kinds{
      {"file", "file:PATH", SinkPolicy::kLossless, nullptr},
      {"rtmp", "rtmp://HOST/PATH", SinkPolicy::kDropToKeyFrame, &MakeDouble}};
  const auto address = ReadSinkAddress("rtmp://host/x", nullptr, kinds);
  ASSERT_EQ(address, (SinkAddress{"rtmp", "//host/x"}));
  const SinkKind* const kind = FindSinkKind(address->scheme, kinds);
  ASSERT_NE(kind, nullptr);
  EXPECT_EQ(kind->policy, SinkPolicy::kDropToKeyFrame);
  SinkRequest request;
  request.path = address->address;
  EXPECT_EQ(kind->make(request, nullptr)->name(), "//host/x");

  std::string error;
  EXPECT_EQ(ReadSinkAddress("srt://host:9", &error, kinds), std::nullopt);
  EXPECT_THAT(error, HasSubstr("file:PATH, rtmp://HOST/PATH"));
}

TEST(SinkKinds, AFileIsMadeWhereItsPathSays) {
  const TemporaryDirectory directory;
  SinkRequest request;
  request.path = directory / "a:b.h264";
  request.format = ContainerFormat::kAnnexB;
  std::string error;
  const auto sink = FindSinkKind(kFileScheme)->make(request, &error);
  ASSERT_NE(sink, nullptr) << error;
  EXPECT_TRUE(std::filesystem::exists(request.path));
  EXPECT_EQ(sink->name(), "'" + request.path + "'");
  EXPECT_EQ(FindSinkKind(kFileScheme)->policy, SinkPolicy::kLossless);
  const auto second = FindSinkKind(kFileScheme)->make(request, &error);
  EXPECT_EQ(second, nullptr);
  EXPECT_THAT(error, HasSubstr("exists already"));
}

}  // namespace
}  // namespace movra::media
