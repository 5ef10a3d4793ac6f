#include "media/output/encoded_file_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "media/ffmpeg/decode_for_test.h"
#include "media/output/output_for_test.h"

// What the files hold, container by container. How writing ends badly stands in
// encoded_file_endings_test.cpp.

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using video::Size;
using video::StreamEnd;

struct Case {
  const char* name;
  ContainerFormat format;
  nanoseconds unit;  // Of its time stamps; 0: it has none.
};

constexpr Case kCases[] = {
    {"a.mp4", ContainerFormat::kMp4, nanoseconds(11'112)},
    {"a.mkv", ContainerFormat::kMkv, nanoseconds(10'000)},
    {"a.ts", ContainerFormat::kMpegTs, nanoseconds(11'112)},
    {"a.h264", ContainerFormat::kAnnexB, nanoseconds(0)},
};

// Ends the name of each test case.
std::string CaseName(const ::testing::TestParamInfo<Case>& info) {
  return std::string(info.param.name + 2);
}

std::shared_ptr<EncodedFileWriter> Create(const std::string& path, ContainerFormat format,
                                          std::shared_ptr<TimeOrigin> origin = nullptr) {
  EncodedFileWriterOptions options;
  options.path = path;
  options.format = format;
  options.origin = std::move(origin);
  std::string error;
  auto writer = EncodedFileWriter::Create(options, &error);
  EXPECT_NE(writer, nullptr) << error;
  return writer;
}

class ContainerTest : public ::testing::TestWithParam<Case> {
 protected:
  void Expect(const DecodedFile& file, std::size_t index, nanoseconds time) const {
    if (GetParam().unit.count() == 0) return;
    const auto off = file.pictures[index].timestamp - time;
    EXPECT_LE(std::abs(off.count()), GetParam().unit.count() / 2 + 1)
        << index << ": " << file.pictures[index].timestamp.count();
  }

  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / GetParam().name;
};

INSTANTIATE_TEST_SUITE_P(EachContainer, ContainerTest, ::testing::ValuesIn(kCases), CaseName);

TEST_P(ContainerTest, HoldsEveryPictureAtItsTime) {
  SampleStream stream;
  const auto writer = Create(path_, GetParam().format);
  // 29.97 frames per second do not fit into milliseconds.
  const auto at = [](std::int64_t i) { return nanoseconds(i * 1'001'000'000 / 30); };
  for (std::int64_t i = 0; i < 75; ++i) {
    stream.Write(*writer, milliseconds(40'000) + at(i), {160, 96}, i % 30 == 0);
  }
  writer->WriteEnd(StreamEnd());
  EXPECT_EQ(writer->written().frames, 75U);
  EXPECT_EQ(writer->bytes_written(), std::filesystem::file_size(path_));
  EXPECT_EQ(writer->written().duration, at(74) + nanoseconds(33'333'333));
  EXPECT_FALSE(writer->failed());

  const DecodedFile file = DecodeFile(path_);
  EXPECT_EQ(file.error, "");
  ASSERT_THAT(file.pictures, SizeIs(75));
  for (std::size_t i = 0; i < file.pictures.size(); ++i) {
    EXPECT_GT(LumaPsnr(stream.frames()[i], file.pictures[i]), 28) << i;
    EXPECT_EQ(file.pictures[i].key_frame, i % 30 == 0) << i;
    Expect(file, i, at(static_cast<std::int64_t>(i)));
  }
}

// Sooner than was expected of the picture before, wherever a fragment may end, and much later.
TEST_P(ContainerTest, HoldsEveryPictureOfAnUnevenRateAtItsTime) {
  SampleStream stream;
  const auto writer = Create(path_, GetParam().format);
  const auto at = [](std::int64_t i) {
    return milliseconds(25 * i + 7 * (i * i % 4) + (i > 40 ? 900 : 0));
  };
  for (std::int64_t i = 0; i < 60; ++i) stream.Write(*writer, at(i), {160, 96}, i % 30 == 0);
  writer->Close();
  const DecodedFile file = DecodeFile(path_);
  ASSERT_THAT(file.pictures, SizeIs(60));
  for (std::size_t i = 0; i < 60; ++i) Expect(file, i, at(static_cast<std::int64_t>(i)));
}

TEST_P(ContainerTest, ASizeThatChangesWithinTheFileDecodesAcrossTheChange) {
  SampleStream stream;
  const auto writer = Create(path_, GetParam().format);
  stream.WriteMany(*writer, 20, {160, 96});
  stream.WriteMany(*writer, 20, {96, 160});
  stream.WriteMany(*writer, 20, {320, 180});
  writer->Close();
  const DecodedFile file = DecodeFile(path_);
  EXPECT_EQ(file.error, "");
  ASSERT_THAT(file.pictures, SizeIs(60));
  for (std::size_t i = 0; i < file.pictures.size(); ++i) {
    EXPECT_GT(LumaPsnr(stream.frames()[i], file.pictures[i]), 28) << i;
  }
  Expect(file, 59, nanoseconds(59'000'000'000 / 30));
}

TEST_P(ContainerTest, AStreamThatBeginsBehindTheCommonOriginKeepsItsDistance) {
  const auto origin = std::make_shared<TimeOrigin>();
  SampleStream first;
  const auto first_writer = Create(directory_ / "first.mp4", ContainerFormat::kMp4, origin);
  first.Write(*first_writer, milliseconds(700));
  SampleStream stream;
  const auto writer = Create(path_, GetParam().format, origin);
  for (int i = 0; i < 30; ++i) stream.Write(*writer, milliseconds(950 + 40 * i));
  writer->Close();
  const DecodedFile file = DecodeFile(path_);
  ASSERT_THAT(file.pictures, SizeIs(30));
  for (std::size_t i = 0; i < 30; ++i) {
    Expect(file, i, milliseconds(250 + 40 * static_cast<int>(i)));
  }
  EXPECT_EQ(writer->written().duration, milliseconds(40 * 29) + nanoseconds(33'333'333));
}

TEST_P(ContainerTest, FramesOlderThanTheOriginAreNotLost) {
  const auto origin = std::make_shared<TimeOrigin>();
  static_cast<void>(origin->Since(milliseconds(100)));
  SampleStream stream;
  const auto writer = Create(path_, GetParam().format, origin);
  for (const int ms : {60, 80, 120, 140}) stream.Write(*writer, milliseconds(ms));
  writer->Close();
  const DecodedFile file = DecodeFile(path_);
  ASSERT_THAT(file.pictures, SizeIs(4));
  Expect(file, 0, milliseconds(0));
  Expect(file, 2, milliseconds(20));
  Expect(file, 3, milliseconds(40));
}

TEST_P(ContainerTest, WhereTheSourcesTimeJumpsBackTheFilesGoesOn) {
  SampleStream stream;
  const auto writer = Create(path_, GetParam().format);
  for (const int ms : {1000, 1040, 10, 50}) stream.Write(*writer, milliseconds(ms));
  writer->Close();
  const DecodedFile file = DecodeFile(path_);
  ASSERT_THAT(file.pictures, SizeIs(4));
  const nanoseconds jumped = milliseconds(40) + nanoseconds(33'333'333);
  Expect(file, 2, jumped);
  Expect(file, 3, jumped + milliseconds(40));
}

TEST_P(ContainerTest, AFileWithoutItsEndPlaysAsFarAsItGoes) {
  const auto writer = Create(path_, GetParam().format);
  SampleStream stream;
  stream.WriteMany(*writer, 90);
  std::filesystem::copy_file(path_, directory_ / "copy");
  const DecodedFile file = DecodeFile(directory_ / "copy");
  EXPECT_GE(file.pictures.size(), 90U - 8U);
}

// Makes pictures larger by a unit that decoders skip.
class Padding : public video::IVideoFrameTrackWriter {
 public:
  Padding(video::IVideoFrameTrackWriter& writer, std::size_t bytes)
      : writer_(writer), filler_(bytes, 0xFF) {
    const std::uint8_t begin[] = {0, 0, 0, 1, kNalFiller};
    std::copy(std::begin(begin), std::end(begin), filler_.begin());
    filler_.back() = 0x80;
  }

  void Write(const video::EncodedFrame& frame) override {
    std::vector<std::uint8_t> data(frame.data, frame.data + frame.size_bytes);
    data.insert(data.end(), filler_.begin(), filler_.end());
    video::EncodedFrame padded = frame;
    padded.data = data.data();
    padded.size_bytes = data.size();
    writer_.Write(padded);
  }
  void WriteEnd(const StreamEnd& end) override { writer_.WriteEnd(end); }

 private:
  static constexpr std::uint8_t kNalFiller = 12;

  video::IVideoFrameTrackWriter& writer_;
  std::vector<std::uint8_t> filler_;
};

// How often this thread has written anything so far; nothing where the kernel does not count.
std::optional<int> WritesOfThisThread() {
  std::ifstream figures("/proc/thread-self/io");
  for (std::string name; figures >> name;) {
    int number = 0;
    figures >> number;
    if (name == "syscw:") return number;
  }
  return std::nullopt;
}

// So that a process that is killed tears as little as it can.
TEST_P(ContainerTest, HoweverMuchThereIsAFragmentIsOneWrite) {
  if (!WritesOfThisThread()) GTEST_SKIP() << "this kernel does not count writes";
  const auto writer = Create(path_, GetParam().format);
  Padding padding(*writer, 70'000);
  SampleStream stream;
  stream.WriteMany(padding, 1);
  std::uint64_t largest = 0;
  for (int i = 0; i < 60; ++i) {
    const int writes = *WritesOfThisThread();
    const std::uint64_t bytes = writer->bytes_written();
    stream.WriteMany(padding, 1);
    EXPECT_LE(*WritesOfThisThread() - writes, 1) << i;
    largest = std::max(largest, writer->bytes_written() - bytes);
  }
  EXPECT_GE(largest, 70'000U);
  writer->Close();
  EXPECT_THAT(DecodeFile(path_).pictures, SizeIs(61));
}

TEST_P(ContainerTest, FramesBeforeTheFirstKeyFrameAreLeftOut) {
  const auto elsewhere = Create(directory_ / "elsewhere.mp4", ContainerFormat::kMp4);
  SampleStream stream;
  stream.Write(*elsewhere, milliseconds(0));
  const auto writer = Create(path_, GetParam().format);
  stream.Write(*writer, milliseconds(40));
  EXPECT_EQ(writer->written().frames, 0U);
  for (int i = 0; i < 20; ++i) stream.Write(*writer, milliseconds(80 + 40 * i), {160, 96}, i == 0);
  writer->Close();
  const DecodedFile file = DecodeFile(path_);
  ASSERT_THAT(file.pictures, SizeIs(20));
  Expect(file, 0, milliseconds(0));
}

TEST(EncodedFileWriter, HeadersTellSizeAndColour) {
  const TemporaryDirectory directory;
  for (const Case& container : {kCases[0], kCases[1]}) {
    for (const video::ColorDescription color :
         {video::ColorDescription{1, 1, 1, false}, video::ColorDescription{6, 6, 6, true}}) {
      const std::string path = directory / std::to_string(color.matrix) + container.name;
      SampleStream stream(color);
      const auto writer = Create(path, container.format);
      stream.WriteMany(*writer, 10);
      writer->Close();
      const DecodedFile file = DecodeFile(path);
      EXPECT_EQ(file.header_size, (Size{160, 96}));
      EXPECT_EQ(file.header_color, color) << path;
      ASSERT_THAT(file.pictures, SizeIs(10));
      EXPECT_EQ(file.pictures[0].color, color);
    }
  }
}

TEST(EncodedFileWriter, TheFormatDecidesNotThePath) {
  const TemporaryDirectory directory;
  const auto writer = Create(directory / "a.mp4", ContainerFormat::kMkv);
  SampleStream stream;
  stream.WriteMany(*writer, 3);
  writer->Close();
  EXPECT_THAT(DecodeFile(directory / "a.mp4").container, HasSubstr("matroska"));
}

TEST(EncodedFileWriter, WhyThereIsNoneIsToldToOneOfTheTwo) {
  std::vector<std::string> told;
  const EncodedFileWriterOptions options{
      .path = "/nowhere/a.mp4",
      .on_error = [&](const WriteError& error) { told.push_back(error.text); }};
  std::string error;
  EXPECT_EQ(EncodedFileWriter::Create(options, &error), nullptr);
  EXPECT_THAT(told, ::testing::IsEmpty());
  EXPECT_EQ(EncodedFileWriter::Create(options), nullptr);
  EXPECT_THAT(told, ::testing::ElementsAre(error));
}

TEST(EncodedFileWriter, FinishedContainersTellTheirDuration) {
  const TemporaryDirectory directory;
  for (const Case& container : {kCases[0], kCases[1], kCases[2]}) {
    const auto writer = Create(directory / container.name, container.format);
    SampleStream stream;
    stream.WriteMany(*writer, 90);
    writer->Close();
    const nanoseconds duration = DecodeFile(directory / container.name).duration;
    EXPECT_NEAR(static_cast<double>(duration.count()), 3e9, 0.04e9) << container.name;
  }
}

TEST(EncodedFileWriter, AfterTheEndItsFileIsFinishedAndFurtherFramesAreIgnored) {
  const TemporaryDirectory directory;
  const std::string path = directory / "a.mp4";
  EncodedFileWriterOptions options;
  options.path = path;
  std::vector<std::string> events;
  options.on_end = [&](const StreamEnd& end) {
    EXPECT_THAT(DecodeFile(path).pictures, SizeIs(10));
    events.push_back("end " + end.reason);
  };
  options.on_error = [&](const WriteError& error) { events.push_back("error " + error.text); };
  std::string error;
  const auto writer = EncodedFileWriter::Create(options, &error);
  ASSERT_NE(writer, nullptr) << error;
  SampleStream stream;
  stream.WriteMany(*writer, 10);
  writer->WriteEnd({3, "unplugged", 0});
  const auto size = std::filesystem::file_size(path);
  stream.WriteMany(*writer, 5);
  writer->Close();
  writer->Close();
  EXPECT_EQ(std::filesystem::file_size(path), size);
  EXPECT_EQ(writer->written().frames, 10U);
  EXPECT_THAT(events, ::testing::ElementsAre("end unplugged"));
}

}  // namespace
}  // namespace movra::media
