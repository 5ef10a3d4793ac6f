#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "logging/recording_sink_for_test.h"
#include "media/ffmpeg/decode_for_test.h"
#include "media/output/encoded_file_writer.h"
#include "media/output/output_for_test.h"

// What becomes of a second source that is written into the file of a first one.

namespace movra::media {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using video::StreamEnd;

constexpr std::array<std::pair<const char*, ContainerFormat>, 4> kContainers{{
    {"a.mp4", ContainerFormat::kMp4},
    {"a.mkv", ContainerFormat::kMkv},
    {"a.ts", ContainerFormat::kMpegTs},
    {"a.h264", ContainerFormat::kAnnexB},
}};

class EncodedFileSourcesTest : public ::testing::Test {
 protected:
  std::shared_ptr<EncodedFileWriter> Create(const std::string& path,
                                            ContainerFormat format = ContainerFormat::kMp4) {
    EncodedFileWriterOptions options;
    options.path = path;
    options.format = format;
    options.on_error = [this](const WriteError& error) { errors_.push_back(error); };
    options.on_end = [this](const StreamEnd& /*end*/) { ++ends_; };
    return EncodedFileWriter::Create(options, &refusal_);
  }

  const TemporaryDirectory directory_;
  std::string refusal_;
  std::vector<WriteError> errors_;
  int ends_ = 0;
};

TEST_F(EncodedFileSourcesTest, AFileThatStaysOpenGoesOnBehindAnEndUntilItIsClosed) {
  for (const auto& [name, format] : kContainers) {
    ends_ = 0;
    EncodedFileWriterOptions options;
    options.path = directory_ / name;
    options.format = format;
    options.stays_open = true;
    options.on_end = [this](const StreamEnd& /*end*/) { ++ends_; };
    const auto writer = EncodedFileWriter::Create(options, &refusal_);
    ASSERT_NE(writer, nullptr) << refusal_;
    SampleStream stream;
    stream.WriteMany(*writer, 5);
    writer->WriteEnd(StreamEnd());
    stream.WriteMany(*writer, 5);
    writer->WriteEnd(StreamEnd());
    EXPECT_EQ(ends_, 2);
    EXPECT_EQ(writer->written().frames, 10u);
    writer->Close();
    stream.WriteMany(*writer, 1);  // Which comes too late.
    EXPECT_EQ(writer->written().frames, 10u);
    EXPECT_FALSE(writer->failed());
    const DecodedFile decoded = DecodeFile(options.path);
    EXPECT_EQ(decoded.error, "") << name;
    EXPECT_THAT(decoded.pictures, SizeIs(10)) << name;
  }
}

TEST_F(EncodedFileSourcesTest, ASecondSourceBehindTheEndIsRefusedWholeAndToldInOneLine) {
  const std::string path = directory_ / "a.mp4";
  const auto writer = Create(path);
  ASSERT_NE(writer, nullptr) << refusal_;
  SampleStream stream;
  stream.WriteMany(*writer, 5);
  writer->WriteEnd(StreamEnd());
  const std::string finished = ReadWholeFile(path);
  movra_logging::RecordingSink log;
  SampleStream second;
  second.WriteMany(*writer, 5);
  writer->WriteEnd(StreamEnd());
  second.WriteMany(*writer, 5);
  writer->Close();
  EXPECT_EQ(ends_, 1);
  EXPECT_THAT(errors_, SizeIs(0));
  EXPECT_FALSE(writer->failed());
  EXPECT_EQ(ReadWholeFile(path), finished);
  ASSERT_THAT(log.lines(), SizeIs(1));
  EXPECT_EQ(log.lines()[0].level, 1);
  EXPECT_THAT(log.lines()[0].text, AllOf(HasSubstr(path), HasSubstr("stays open")));
}

TEST_F(EncodedFileSourcesTest, FramesBehindACloseOrAnErrorAreNoRefusedSource) {
  const movra_logging::RecordingSink log;
  const auto closed = Create(directory_ / "a.mp4");
  const auto broken = Create("/dev/full");
  for (const auto& writer : {closed, broken}) {
    SampleStream stream;
    stream.WriteMany(*writer, 2);
    writer->WriteEnd(StreamEnd());
    if (writer == closed) writer->Close();
    stream.WriteMany(*writer, 2);
  }
  EXPECT_THAT(log.lines(), SizeIs(0));
}

TEST_F(EncodedFileSourcesTest, ASecondSourceBehindOneThatWasStoppedGoesOnInTheFile) {
  const std::string path = directory_ / "a.mp4";
  const auto writer = Create(path);
  ASSERT_NE(writer, nullptr) << refusal_;
  SampleStream().WriteMany(*writer, 5);
  SampleStream().WriteMany(*writer, 5);
  EXPECT_EQ(ends_, 0);
  writer->WriteEnd(StreamEnd());
  EXPECT_EQ(ends_, 1);
  EXPECT_THAT(DecodeFile(path).pictures, SizeIs(10));
}

TEST_F(EncodedFileSourcesTest, ASecondSourceOfAnotherCodecIsAnErrorAndTheFirstOneStands) {
  const std::string path = directory_ / "a.h264";
  const auto writer = Create(path, ContainerFormat::kAnnexB);
  ASSERT_NE(writer, nullptr) << refusal_;
  SampleStream().WriteMany(*writer, 5);
  const std::array<std::uint8_t, 6> data{0, 0, 0, 1, 0x65, 1};
  video::EncodedFrame frame;
  frame.data = data.data();
  frame.size_bytes = data.size();
  frame.key_frame = true;
  frame.codec = static_cast<video::VideoCodec>(7);
  writer->Write(frame);
  ASSERT_THAT(errors_, SizeIs(1));
  EXPECT_THAT(errors_[0].text,
              AllOf(HasSubstr(path), HasSubstr("kH264"), HasSubstr("VideoCodec(7)")));
  EXPECT_THAT(DecodeFile(path).pictures, SizeIs(5));
}

}  // namespace
}  // namespace movra::media
