#include "media/output/container_muxer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "media/bitstream/h264.h"
#include "media/output/encoded_file_writer.h"
#include "media/output/memory_sink_for_test.h"
#include "media/output/output_for_test.h"

// Muxers on a sink that is no file, and with several tracks. What files hold stands in
// encoded_file_writer_test.cpp.

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::HasSubstr;

// Keeps what an encoder writes, as packets of one track.
class Packets final : public video::IVideoFrameTrackWriter {
 public:
  explicit Packets(int count, std::size_t track = 0, nanoseconds begin = nanoseconds(0)) {
    SampleStream stream;
    for (int i = 0; i < count; ++i) {
      stream.Write(*this, begin + milliseconds(100) * i, {160, 96}, i == 0);
      packets_.back().track = track;
    }
    for (std::size_t i = 0; i < packets_.size(); ++i) packets_[i].data = data_[i];
  }

  void Write(const video::EncodedFrame& frame) override {
    data_.emplace_back(frame.data, frame.data + frame.size_bytes);
    packets_.push_back({{}, frame.timestamp, milliseconds(100), frame.key_frame, 0});
  }

  [[nodiscard]] const MuxPacket& operator[](std::size_t i) const { return packets_[i]; }
  [[nodiscard]] MuxTrack Track() const {
    return {{160, 96}, {}, h264::ParameterSets(data_.front()), video::VideoCodec::kH264};
  }

 private:
  std::vector<std::vector<std::uint8_t>> data_;
  std::vector<MuxPacket> packets_;
};

// Two tracks of five pictures in turn, the second half an interval behind; what went wrong.
std::string MuxTwoTracks(ContainerFormat format, MemorySink& sink) {
  const Packets first(5);
  const Packets second(5, 1, milliseconds(50));
  std::string error;
  const auto muxer = MakeContainerMuxer(format, sink, error);
  if (muxer == nullptr) return error;
  const std::vector<MuxTrack> tracks{first.Track(), second.Track()};
  if (error = muxer->Start(tracks); !error.empty()) return error;
  for (std::size_t i = 0; i < 5; ++i) {
    if (error = muxer->Write(first[i]); !error.empty()) return error;
    if (error = muxer->Write(second[i]); !error.empty()) return error;
  }
  const std::vector<nanoseconds> last{milliseconds(100), milliseconds(250)};
  if (error = muxer->Finish(last); !error.empty()) return error;
  EXPECT_EQ(muxer->packets_in_sink(), 10U);
  return error;
}

// The entries of the bytes, track by track, as a reader that knows nothing of them finds them.
std::string EntriesOf(const std::vector<std::uint8_t>& bytes, const std::string& entries) {
  const TemporaryDirectory directory;
  const std::string path = directory / "media";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  std::string text;
  for (const char* const stream : {"0", "1"}) {
    const std::string command = std::string("ffprobe -v error -select_streams ") + stream +
                                " -show_entries " + entries + " -of csv=p=0 '" + path + "'";
    FILE* const pipe = popen(command.c_str(), "r");
    for (int c; (c = fgetc(pipe)) != EOF;) text += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), 0);
  }
  return text;
}

constexpr char kTimesOfBoth[] =
    "0.000000\n0.100000\n0.200000\n0.300000\n0.400000\n"
    "0.050000\n0.150000\n0.250000\n0.350000\n0.450000\n";

TEST(ContainerMuxer, AnMp4HasTwoTracksWithTheirOwnTimesAndEnds) {
  for (const bool seekable : {true, false}) {
    MemorySink sink(seekable);
    ASSERT_EQ(MuxTwoTracks(ContainerFormat::kMp4, sink), "");
    EXPECT_EQ(EntriesOf(sink.bytes(), "packet=pts_time"), kTimesOfBoth);
    EXPECT_EQ(EntriesOf(sink.bytes(), "stream=duration"), "0.500000\n0.700000\n");
  }
}

TEST(ContainerMuxer, AMatroskaHasTwoTracksWithTheirOwnTimes) {
  MemorySink sink(true);
  ASSERT_EQ(MuxTwoTracks(ContainerFormat::kMkv, sink), "");
  EXPECT_EQ(EntriesOf(sink.bytes(), "packet=pts_time"), kTimesOfBoth);
}

TEST(ContainerMuxer, ATransportStreamHasTwoTracksWithTheirOwnTimes) {
  MemorySink sink(false);
  ASSERT_EQ(MuxTwoTracks(ContainerFormat::kMpegTs, sink), "");
  EXPECT_THAT(EntriesOf(sink.bytes(), "packet=pts_time"), HasSubstr("0.400000\n"));
  EXPECT_THAT(EntriesOf(sink.bytes(), "packet=pts_time"), HasSubstr("0.450000\n"));
}

TEST(ContainerMuxer, TheByteStreamRefusesASecondTrack) {
  MemorySink sink(true);
  EXPECT_THAT(MuxTwoTracks(ContainerFormat::kAnnexB, sink), HasSubstr("one track"));
  EXPECT_TRUE(sink.bytes().empty());
}

TEST(ContainerMuxer, TheByteStreamRefusesACodecThatHasNone) {
  MemorySink sink(true);
  std::string error;
  const auto muxer = MakeContainerMuxer(ContainerFormat::kAnnexB, sink, error);
  ASSERT_NE(muxer, nullptr);
  MuxTrack track = Packets(1).Track();
  track.codec = static_cast<video::VideoCodec>(7);
  EXPECT_EQ(muxer->Start({&track, 1}),
            "pictures of VideoCodec(7) have no byte stream of their own and need a container");
}

TEST(ContainerMuxer, ASinkGetsTheBytesOfAFile) {
  for (const char* const name : {"a.mp4", "a.ts", "a.h264"}) {
    const TemporaryDirectory directory;
    EncodedFileWriterOptions options;
    options.path = directory / name;
    options.format = *ContainerFormatForPath(name);
    std::string error;
    const auto writer = EncodedFileWriter::Create(options, &error);
    ASSERT_NE(writer, nullptr) << error;
    SampleStream().WriteMany(*writer, 30);
    writer->Close();

    MemorySink sink(true);
    class Muxing final : public video::IVideoFrameTrackWriter {
     public:
      explicit Muxing(IContainerMuxer& muxer) : muxer_(muxer) {}
      void Write(const video::EncodedFrame& frame) override {
        const std::span data(frame.data, frame.size_bytes);
        if (frame.timestamp.count() == 0) {
          const MuxTrack track{frame.size, frame.color, h264::ParameterSets(data),
                               video::VideoCodec::kH264};
          EXPECT_EQ(muxer_.Start({&track, 1}), "");
        }
        last_duration_ = frame.duration;
        EXPECT_EQ(muxer_.Write({data, frame.timestamp, frame.duration, frame.key_frame, 0}), "");
      }
      void Finish() { EXPECT_EQ(muxer_.Finish({&last_duration_, 1}), ""); }

     private:
      IContainerMuxer& muxer_;
      nanoseconds last_duration_{0};
    };
    const auto muxer = MakeContainerMuxer(options.format, sink, error);
    ASSERT_NE(muxer, nullptr) << error;
    Muxing muxing(*muxer);
    SampleStream().WriteMany(muxing, 30);
    muxing.Finish();
    EXPECT_EQ(std::string(sink.bytes().begin(), sink.bytes().end()), ReadWholeFile(options.path))
        << name;
  }
}

TEST(ContainerMuxer, ASinkThatTakesNoMoreIsSaidAndWhatWasWholeIsKnown) {
  for (const auto format : {ContainerFormat::kMp4, ContainerFormat::kMkv, ContainerFormat::kMpegTs,
                            ContainerFormat::kAnnexB}) {
    MemorySink sink(false, 6000);
    const Packets packets(20);
    std::string error;
    const auto muxer = MakeContainerMuxer(format, sink, error);
    ASSERT_NE(muxer, nullptr) << error;
    const MuxTrack track = packets.Track();
    ASSERT_EQ(muxer->Start({&track, 1}), "");
    std::size_t taken = 0;
    while (taken < 20 && error.empty()) error = muxer->Write(packets[taken++]);
    EXPECT_THAT(error, ::testing::Not(::testing::IsEmpty()));
    EXPECT_LT(muxer->packets_in_sink(), taken);
    EXPECT_LE(sink.whole(), 6000U);
  }
}

}  // namespace
}  // namespace movra::media
