#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "media/bitstream/h264.h"
#include "media/ffmpeg/ffmpeg_ptr.h"
#include "media/output/encoded_file_writer.h"
#include "media/output/output_for_test.h"

extern "C" {
#include <libavformat/avformat.h>
}

// The MP4 box by box: what makes it play while it grows, see ISO/IEC 14496-12.

namespace movra::media {
namespace {

using ::testing::Ge;
using ::testing::SizeIs;

struct Box {
  std::string type;
  std::string_view content;
};

std::uint32_t Number(std::string_view bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<std::uint8_t>(bytes[at + i]);
  return value;
}

std::vector<Box> Boxes(std::string_view bytes) {
  std::vector<Box> boxes;
  while (bytes.size() >= 8) {
    const std::size_t size = Number(bytes, 0);
    if (size < 8 || size > bytes.size()) break;
    boxes.push_back({std::string(bytes.substr(4, 4)), bytes.substr(8, size - 8)});
    bytes.remove_prefix(size);
  }
  return boxes;
}

std::string_view Find(std::string_view bytes, const std::vector<std::string>& path) {
  for (const std::string& type : path) {
    bool found = false;
    for (const Box& box : Boxes(bytes)) {
      if (box.type != type || found) continue;
      found = true;
      bytes = box.content;
    }
    if (!found) return {};
  }
  return bytes;
}

class Mp4StructureTest : public ::testing::Test {
 protected:
  void WriteFile(int frames) {
    EncodedFileWriterOptions options;
    options.path = path_;
    std::string error;
    const auto writer = EncodedFileWriter::Create(options, &error);
    ASSERT_NE(writer, nullptr) << error;
    stream_.WriteMany(*writer, frames);
    writer->Close();
    content_ = ReadWholeFile(path_);
  }

  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "a.mp4";
  SampleStream stream_;
  std::string content_;
};

TEST_F(Mp4StructureTest, FragmentsLastAtMostAQuarterOfASecond) {
  WriteFile(100);
  std::vector<std::uint32_t> starts;
  for (const Box& box : Boxes(content_)) {
    if (box.type != "moof") continue;
    const std::string_view tfdt = Find(box.content, {"traf", "tfdt"});
    ASSERT_EQ(tfdt.size(), 12U);  // The 64-bit form.
    starts.push_back(Number(tfdt, 8));
  }
  // At 30 frames per second seven frames fit.
  ASSERT_THAT(starts, SizeIs(15));
  for (std::size_t i = 1; i < starts.size(); ++i) {
    EXPECT_LE(starts[i] - starts[i - 1], 90'000U / 4);
    EXPECT_EQ(starts[i], i * 21'000);
  }
}

TEST_F(Mp4StructureTest, ParameterSetsStandBeforeTheFirstPictureAndInEveryKeyFrame) {
  WriteFile(130);
  const auto boxes = Boxes(content_);
  ASSERT_THAT(boxes, SizeIs(Ge(3U)));
  EXPECT_EQ(boxes[0].type, "ftyp");
  EXPECT_EQ(boxes[1].type, "moov");
  EXPECT_NE(boxes[1].content.find("avcC"), std::string_view::npos);

  AVFormatContext* opened = nullptr;
  ASSERT_EQ(avformat_open_input(&opened, path_.c_str(), nullptr, nullptr), 0);
  const AvInputPtr input(opened);
  const AvPacketPtr packet(av_packet_alloc());
  int key_frames = 0;
  while (av_read_frame(input.get(), packet.get()) >= 0) {
    bool has_sets = false;
    // Units with their lengths in front, of four bytes.
    std::string_view left(reinterpret_cast<const char*>(packet->data),
                          static_cast<std::size_t>(packet->size));
    while (left.size() > 4) {
      has_sets |= (left[4] & 0x1F) == h264::kNalSequenceParameterSet;
      left.remove_prefix(4 + Number(left, 0));
    }
    const bool is_key = (packet->flags & AV_PKT_FLAG_KEY) != 0;
    EXPECT_EQ(has_sets, is_key);
    key_frames += is_key ? 1 : 0;
    av_packet_unref(packet.get());
  }
  EXPECT_EQ(key_frames, 3);
}

}  // namespace
}  // namespace movra::media
