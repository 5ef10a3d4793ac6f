#include "media/ffmpeg/ffmpeg_log.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
}

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "logging/log_sink.h"
#include "media/ffmpeg/decoder_complaints.h"
#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class FfmpegLog : public testing::Test, public movra_logging::LogSink {
 protected:
  FfmpegLog() {
    movra_logging::AddLogSink(this);
    EXPECT_EQ(LoadFfmpeg(), "");
  }
  ~FfmpegLog() override {
    movra_logging::RemoveLogSink(this);
    movra_logging::SetMinLogLevel(movra_logging::kLogLevelInfo);
  }

  void Send(const movra_logging::LogRecord& record) override {
    lines_.emplace_back(record.level, record.text);
  }

  std::vector<std::pair<int, std::string>> lines_;
};

TEST_F(FfmpegLog, ErrorsAreWarningsAndWarningsAreOrdinaryLines) {
  av_log(nullptr, AV_LOG_ERROR, "no %s at %d\n", "header", 7);
  av_log(nullptr, AV_LOG_FATAL, "lost\n");
  av_log(nullptr, AV_LOG_WARNING, "odd\n");
  EXPECT_THAT(lines_, ElementsAre(Pair(1, "no header at 7"), Pair(1, "lost"), Pair(0, "odd")));
}

TEST_F(FfmpegLog, ChatterIsDropped) {
  av_log(nullptr, AV_LOG_INFO, "by the way\n");
  av_log(nullptr, AV_LOG_ERROR, "\n");
  EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(FfmpegLog, AMessageWithoutEndIsCutAfterAThousandCharacters) {
  av_log(nullptr, AV_LOG_ERROR, "%s\n", std::string(3000, 'x').c_str());
  ASSERT_EQ(lines_.size(), 1U);
  EXPECT_EQ(lines_[0].second, std::string(1023, 'x'));
}

// The library calls one function for all decoders of the process.
TEST_F(FfmpegLog, TheDecoderOfSomebodyElseAndItsObjectAreLeftAlone) {
  DecoderComplaints ours;
  std::array<unsigned char, 2 * sizeof(DecoderComplaints)> theirs{};
  AVCodecContext* decoder = avcodec_alloc_context3(nullptr);
  decoder->opaque = theirs.data();
  av_log(decoder, AV_LOG_ERROR, "broken\n");
  EXPECT_THAT(theirs, Each(0));
  decoder->opaque = &ours;
  decoder->reordered_opaque = 7;
  av_log(decoder, AV_LOG_ERROR, "broken\n");
  EXPECT_TRUE(ours.Take(7));
  avcodec_free_context(&decoder);
}

TEST_F(FfmpegLog, NothingGoesToStandardErrorAndALevelThatIsOffIsNotWritten) {
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelError);
  testing::internal::CaptureStderr();
  av_log(nullptr, AV_LOG_ERROR, "no header\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(lines_, IsEmpty());
}

}  // namespace
}  // namespace movra::media
