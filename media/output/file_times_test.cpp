#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "media/ffmpeg/decode_for_test.h"
#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/ffmpeg_ptr.h"
#include "media/output/encoded_file_writer.h"
#include "media/output/output_for_test.h"

// How fast and how long the files play that a stream is written into.

namespace movra::media {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr ContainerFormat kFormats[] = {ContainerFormat::kMp4, ContainerFormat::kMkv,
                                        ContainerFormat::kMpegTs, ContainerFormat::kAnnexB};

// What a player finds before it plays.
struct Probed {
  double mean_rate = 0;
  double codec_rate = 0;  // That the H.264 itself claims; 0: none.
  int packets = 0;
};

Probed Probe(const std::string& path) {
  EXPECT_EQ(LoadFfmpeg(), "");
  AVFormatContext* opened = nullptr;
  EXPECT_EQ(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), 0);
  const AvInputPtr input(opened);
  EXPECT_GE(avformat_find_stream_info(input.get(), nullptr), 0);
  Probed probed;
  const AVStream& stream = *input->streams[0];
  if (stream.avg_frame_rate.num > 0) probed.mean_rate = av_q2d(stream.avg_frame_rate);
  const AvPacketPtr packet(av_packet_alloc());
  const AvCodecContextPtr context(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264)));
  avcodec_parameters_to_context(context.get(), stream.codecpar);
  EXPECT_GE(avcodec_open2(context.get(), nullptr, nullptr), 0);
  while (av_read_frame(input.get(), packet.get()) >= 0) {
    if (probed.packets++ == 0) {
      EXPECT_GE(avcodec_send_packet(context.get(), packet.get()), 0);
    }
    av_packet_unref(packet.get());
  }
  if (context->framerate.num > 0) probed.codec_rate = av_q2d(context->framerate);
  return probed;
}

class FileTimesTest : public ::testing::Test {
 protected:
  std::shared_ptr<EncodedFileWriter> Open(ContainerFormat format, const std::string& path) {
    EncodedFileWriterOptions options;
    options.path = path;
    options.format = format;
    options.overwrite = true;
    options.on_error = [this](const WriteError& error) { errors_.push_back(error.text); };
    std::string error;
    auto writer = EncodedFileWriter::Create(options, &error);
    EXPECT_NE(writer, nullptr) << error;
    return writer;
  }

  // Writes pictures at these times, of a source that ends at `end`.
  WrittenFigures WriteFile(ContainerFormat format, const std::vector<nanoseconds>& times,
                           std::optional<nanoseconds> end) {
    const auto writer = Open(format, path_);
    SampleStream stream;
    for (const nanoseconds time : times) stream.Write(*writer, time);
    video::StreamEnd mark;
    mark.end_time = end;
    writer->WriteEnd(mark);
    EXPECT_FALSE(writer->failed());
    EXPECT_THAT(errors_, IsEmpty());
    return writer->written();
  }

  std::vector<nanoseconds> PlayedTimes() const {
    std::vector<nanoseconds> times;
    for (const DecodedPicture& picture : DecodeFile(path_).pictures) {
      times.push_back(picture.timestamp);
    }
    return times;
  }

  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "file";
  std::vector<std::string> errors_;
};

nanoseconds At(std::int64_t index, double rate) {
  return nanoseconds(static_cast<std::int64_t>(static_cast<double>(index) * 1e9 / rate));
}

TEST_F(FileTimesTest, EveryContainerPlaysAtTheStreamsOwnRate) {
  for (const double rate : {10.0, 12.5, 25.0, 26.777, 30'000 / 1001.0, 60.0}) {
    std::vector<nanoseconds> times;
    for (int i = 0; i < 75; ++i) times.push_back(At(i, rate));
    for (const ContainerFormat format : kFormats) {
      WriteFile(format, times, At(75, rate));
      const Probed probed = Probe(path_);
      EXPECT_EQ(probed.packets, 75);
      // Players that are told no rate and cannot guess one go by the times.
      if (probed.mean_rate > 0) {
        EXPECT_NEAR(probed.mean_rate, rate, rate / 200);
      }
      if (format != ContainerFormat::kAnnexB) {
        const auto played = PlayedTimes();
        EXPECT_LT(std::chrono::abs(played.back() - played.front() - times.back()), milliseconds(1));
      }
      const double claimed = format == ContainerFormat::kAnnexB ? rate : 0;
      EXPECT_NEAR(probed.codec_rate, claimed, rate / 10'000) << static_cast<int>(format);
    }
  }
}

// One rate is all that it has; at the mean one it plays as long as the stream.
TEST_F(FileTimesTest, AVariableRateWithoutContainerPlaysAsLongAsItShould) {
  std::vector<nanoseconds> times;
  for (int i = 0; i < 100; ++i)
    times.push_back(milliseconds(i < 50 ? 33 * i : 1650 + 100 * (i - 50)));
  WriteFile(ContainerFormat::kAnnexB, times, std::nullopt);
  EXPECT_NEAR(99 / Probe(path_).codec_rate, 6.55, 0.005);
}

TEST_F(FileTimesTest, InAPipeItIsTheRateOfTheFirstTwoPictures) {
  const std::string pipe = directory_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  const auto writer = Open(ContainerFormat::kAnnexB, pipe);
  SampleStream stream;
  for (int i = 0; i < 5; ++i) stream.Write(*writer, milliseconds(100 * i));
  writer->Close();
  std::string content(1 << 20, 0);
  content.resize(static_cast<std::size_t>(read(reader, content.data(), content.size())));
  close(reader);
  FILE* const file = fopen(path_.c_str(), "wb");
  fwrite(content.data(), 1, content.size(), file);
  fclose(file);
  EXPECT_EQ(Probe(path_).codec_rate, 10);
  EXPECT_EQ(Probe(path_).packets, 5);
}

TEST_F(FileTimesTest, OnePictureAloneIsWrittenWithoutContainerToo) {
  const WrittenFigures figures = WriteFile(ContainerFormat::kAnnexB, {seconds(1)}, seconds(3));
  EXPECT_EQ(figures.frames, 1U);
  EXPECT_EQ(figures.duration, seconds(2));
  EXPECT_EQ(Probe(path_).packets, 1);
  EXPECT_EQ(Probe(path_).codec_rate, 0.5);
}

TEST_F(FileTimesTest, TheLastPictureLastsAsLongAsItsSourceSays) {
  // A presentation: long stills and short movements.
  std::vector<nanoseconds> times;
  for (int i = 0; i < 40; ++i) times.push_back(seconds(20 * (i / 20)) + milliseconds(40 * i));
  const nanoseconds end = times.back() + milliseconds(40);
  for (const ContainerFormat format : {ContainerFormat::kMp4, ContainerFormat::kMkv}) {
    const WrittenFigures figures = WriteFile(format, times, end);
    EXPECT_EQ(figures.duration, end);
    EXPECT_LT(std::chrono::abs(DecodeFile(path_).duration - end), milliseconds(1));
  }
}

TEST_F(FileTimesTest, TheLastPictureStandsAsLongAsWhoeverClosesTheFileSays) {
  for (const ContainerFormat format : {ContainerFormat::kMp4, ContainerFormat::kMkv}) {
    const auto writer = Open(format, path_);
    SampleStream stream;
    for (const auto time : {seconds(3), seconds(4)}) stream.Write(*writer, time);
    writer->Close(seconds(5));
    EXPECT_EQ(writer->written().duration, seconds(5));
    EXPECT_LT(std::chrono::abs(DecodeFile(path_).duration - seconds(5)), milliseconds(1));
  }
}

TEST_F(FileTimesTest, AFileWhoseEndHasComeIsNotChangedByItsClose) {
  const auto writer = Open(ContainerFormat::kMp4, path_);
  SampleStream stream;
  stream.Write(*writer, seconds(0));
  video::StreamEnd mark;
  mark.end_time = seconds(2);
  writer->WriteEnd(mark);
  writer->Close(seconds(5));
  EXPECT_EQ(writer->written().duration, seconds(2));
  EXPECT_LT(std::chrono::abs(DecodeFile(path_).duration - seconds(2)), milliseconds(1));
}

TEST_F(FileTimesTest, AnEndThatIsNoneChangesNothing) {
  // The encoder's expectation, a thirtieth of a second, stands.
  for (const auto end : {std::optional<nanoseconds>(milliseconds(500)),
                         std::optional<nanoseconds>(seconds(1)), std::optional<nanoseconds>()}) {
    const WrittenFigures figures =
        WriteFile(ContainerFormat::kMp4, {milliseconds(0), seconds(1)}, end);
    EXPECT_EQ(figures.duration, nanoseconds(1'033'333'333));
  }
}

TEST_F(FileTimesTest, AStillOfHalfADayIsAPictureLikeOthers) {
  const std::vector<nanoseconds> times{seconds(0), seconds(1), hours(7), hours(19),
                                       hours(19) + seconds(1)};
  for (const ContainerFormat format : {ContainerFormat::kMp4, ContainerFormat::kMkv}) {
    const WrittenFigures figures = WriteFile(format, times, hours(27));
    EXPECT_EQ(figures.frames, 5U);
    EXPECT_EQ(figures.duration, hours(27));
    EXPECT_EQ(PlayedTimes(), times) << static_cast<int>(format);
  }
}

// A single wrong bit can make a time stamp of centuries.
TEST_F(FileTimesTest, ATimeStampOfCenturiesBreaksNoFile) {
  for (const ContainerFormat format : kFormats) {
    const WrittenFigures figures =
        WriteFile(format, {seconds(0), seconds(1), hours(24 * 365 * 200), seconds(2)}, {});
    EXPECT_EQ(figures.frames, 4U);
    EXPECT_THAT(DecodeFile(path_).pictures, SizeIs(4)) << static_cast<int>(format);
  }
}

TEST_F(FileTimesTest, TellsTheLongestWaitBetweenTwoPictures) {
  const std::vector<nanoseconds> times{seconds(30), seconds(40), seconds(61), seconds(80)};
  const WrittenFigures figures = WriteFile(ContainerFormat::kMpegTs, times, {});
  EXPECT_EQ(figures.longest_wait, seconds(21));
  EXPECT_EQ(PlayedTimes().back() - PlayedTimes().front(), seconds(50));
  EXPECT_EQ(WriteFile(ContainerFormat::kMpegTs, {seconds(30)}, {}).longest_wait, seconds(0));
}

TEST_F(FileTimesTest, TimesThatJumpBackTwiceGoOnEachTime) {
  std::vector<nanoseconds> times;
  for (const int begin : {2000, 1000, 0}) {
    for (int i = 0; i < 10; ++i) times.push_back(milliseconds(begin + 40 * i));
  }
  const WrittenFigures figures = WriteFile(ContainerFormat::kMp4, times, milliseconds(400));
  const auto played = PlayedTimes();
  ASSERT_THAT(played, SizeIs(30));
  for (std::size_t i = 1; i < 30; ++i) {
    // Where a time line begins anew the picture before lasts as long as the encoder expected.
    const nanoseconds step = i % 10 == 0 ? nanoseconds(33'333'333) : milliseconds(40);
    EXPECT_LT(std::chrono::abs(played[i] - played[i - 1] - step), milliseconds(1)) << i;
  }
  const nanoseconds end = played.back() - played.front() + milliseconds(40);
  EXPECT_LT(std::chrono::abs(figures.duration - end), milliseconds(1));
}

TEST_F(FileTimesTest, TheFiguresTellTheFilesSize) {
  for (const ContainerFormat format : kFormats) {
    const WrittenFigures figures =
        WriteFile(format, {seconds(0), milliseconds(40), milliseconds(80)}, milliseconds(120));
    EXPECT_EQ(figures.file_bytes, std::filesystem::file_size(path_)) << static_cast<int>(format);
    EXPECT_GT(figures.file_bytes, figures.bytes);
  }
}

}  // namespace
}  // namespace movra::media
