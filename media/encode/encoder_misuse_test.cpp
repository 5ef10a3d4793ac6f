#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "logging/recording_sink_for_test.h"
#include "media/encode/encoder_controller_for_test.h"

// What an application gives an encoder wrongly is told.

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class EncoderMisuseTest : public EncoderControllerFixture {
 protected:
  static video::EncodeParams Params(bool with_width, bool with_height) {
    video::EncodeParams params;
    params.frame_rate = 30;
    if (with_width) params.width = kSmallSize.width;
    if (with_height) params.height = kSmallSize.height;
    return params;
  }

  movra_logging::RecordingSink log_;
};

TEST_F(EncoderMisuseTest, AWriterThatWasATemporaryIsToldOnce) {
  controller_->SetOutputTrackWriter(std::make_shared<PacketRecorder>());
  Write(0);
  Write(1);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(log_.texts(), ElementsAre(HasSubstr("The writer of an encoded stream was gone before "
                                                  "its first frame: it is held weakly")));
  EXPECT_THAT(log_.texts(), ElementsAre(HasSubstr("[main]")));
  EXPECT_EQ(controller_->GetStats().record.frames_failed, 2U);
}

TEST_F(EncoderMisuseTest, AWriterThatWasThereAndOneThatWasNeverGivenAreNot) {
  Write(0);
  controller_->Start();
  recorder_->WaitForPackets(1);
  controller_->Stop(kLongWaitMs);
  recorder_.reset();
  controller_->SetOutputTrackWriter({});
  Write(1);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(log_.texts(), IsEmpty());
}

TEST_F(EncoderMisuseTest, AStartWithoutASizeIsTold) {
  for (const auto& params : {Params(false, false), Params(true, false), Params(false, true)}) {
    controller_->SetEncodeParams(params);
    controller_->Start();
    controller_->Start();
    controller_->Stop(0);
  }
  const auto told = HasSubstr("kSmall encoder was started without a width and a height");
  EXPECT_THAT(log_.texts(), ElementsAre(told, told, told));
}

// A size of before does not help: the producer connects the size that a start brings.
TEST_F(EncoderMisuseTest, TheParametersThatComeLastAreWhatAStartBrings) {
  controller_->SetEncodeParams(Params(true, true));
  controller_->Start();
  controller_->Stop(0);
  EXPECT_THAT(log_.texts(), IsEmpty());
  controller_->SetEncodeParams(Params(false, false));
  controller_->Start();
  EXPECT_THAT(log_.texts(), ElementsAre(HasSubstr("was started without")));
}

}  // namespace
}  // namespace movra::media
