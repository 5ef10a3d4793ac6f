#include "media/encode/refused_change.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "logging/recording_sink_for_test.h"
#include "media/encode/encoder_controller_for_test.h"
#include "media/track/wanted_size.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::EncodeParams;
using video::Size;
using video::VideoEncoderError;

EncodeParams Sized(const Size& size) {
  EncodeParams params;
  params.width = size.width;
  params.height = size.height;
  return params;
}

TEST(WhySenseless, EachValueThatNoEncoderTakesIsNamed) {
  const auto why = [](auto set) {
    EncodeParams change;
    set(change);
    return WhySenseless(change);
  };
  EXPECT_EQ(why([](EncodeParams& c) { c.width = -2; }), "width must be at least 0, not -2");
  EXPECT_EQ(why([](EncodeParams& c) { c.height = std::numeric_limits<int>::min(); }),
            "height must be at least 0, not -2147483648");
  EXPECT_EQ(why([](EncodeParams& c) { c.frame_rate = 0; }), "frame_rate must be at least 1, not 0");
  EXPECT_EQ(why([](EncodeParams& c) { c.bitrate_bps = -5; }),
            "bitrate_bps must be at least 1, not -5");
  EXPECT_EQ(why([](EncodeParams& c) { c.max_bitrate_bps = 0; }),
            "max_bitrate_bps must be at least 1, not 0");
  EXPECT_EQ(why([](EncodeParams& c) { c.key_frame_interval_ms = 0; }),
            "key_frame_interval_ms must be at least 1, not 0");
  EXPECT_EQ(why([](EncodeParams& c) { c.threads = -1; }), "threads must be at least 0, not -1");
  EXPECT_EQ(why([](EncodeParams& c) { c.frame_rate_numerator = 25; }),
            "frame_rate_numerator and frame_rate_denominator belong together");
  const auto exact = [&](int numerator, int denominator) {
    return why([&](EncodeParams& c) {
      c.frame_rate_numerator = numerator;
      c.frame_rate_denominator = denominator;
    });
  };
  EXPECT_EQ(exact(0, 2), "frame_rate_numerator must be at least 1, not 0");
  EXPECT_EQ(exact(25, -2), "frame_rate_denominator must be at least 1, not -2");
  EXPECT_EQ(exact(25, 2), "");
}

TEST(WhySenseless, TheLeastOfEveryValueHasASense) {
  EncodeParams change = Sized({0, 0});
  change.frame_rate = 1;
  change.bitrate_bps = 1;
  change.max_bitrate_bps = 1;
  change.key_frame_interval_ms = 1;
  change.threads = 0;
  EXPECT_EQ(WhySenseless(change), "");
  EXPECT_EQ(WhySenseless({}), "");
}

class RefusedChangeTest : public EncoderControllerFixture {
 protected:
  // Frames 0 and 1 are through.
  void Run(const EncodeParams& params) {
    controller_->SetEncodeParams(params);
    controller_->Start();
    WriteAndWait(0);
    WriteAndWait(1);
  }

  void WriteAndWait(int index) {
    Write(index);
    recorder_->WaitForPackets(static_cast<std::size_t>(index) + 1);
  }

  std::vector<std::string> Errors() {
    main_loop_.RunPosted();
    std::vector<std::string> texts;
    for (const auto& error : client_->errors) {
      EXPECT_EQ(error.error, VideoEncoderError::kReconfigureFailed);
      texts.push_back(error.text);
    }
    return texts;
  }

  std::optional<Size> Wanted() { return WantedSize(*track_->GetWriter()); }
};

TEST_F(RefusedChangeTest, ItIsToldOnceAndNothingOfItIsTaken) {
  Run(Sized(kSmallSize));
  const movra_logging::RecordingSink log;
  EncodeParams change;
  change.frame_rate = -5;
  change.bitrate_bps = 700'000;
  controller_->SetEncodeParams(change);
  for (int i = 2; i < 6; ++i) WriteAndWait(i);
  EXPECT_THAT(Errors(), ElementsAre("frame_rate must be at least 1, not -5"));
  ASSERT_THAT(log.texts(), SizeIs(1));
  EXPECT_EQ(log.lines()[0].level, 1);
  EXPECT_THAT(log.texts()[0],
              ::testing::EndsWith("kSmall encoder refuses a change and goes on as it was: "
                                  "frame_rate must be at least 1, not -5"));
  EXPECT_THAT(script_->reconfigured, IsEmpty());
  EXPECT_THAT(script_->opened, SizeIs(1));

  change.frame_rate = 15;
  controller_->SetEncodeParams(change);
  for (int i = 6; i < 9; ++i) Write(i);
  controller_->Stop(kLongWaitMs);
  ASSERT_THAT(script_->reconfigured, SizeIs(1));
  EXPECT_EQ(script_->reconfigured[0].bitrate_kbps, 700);
  EXPECT_THAT(client_->errors, SizeIs(1));
}

TEST_F(RefusedChangeTest, EachOneIsTold) {
  Run(Sized(kSmallSize));
  controller_->SetEncodeParams(Sized({33, 32}));
  controller_->SetEncodeParams(Sized({33, 32}));
  EXPECT_THAT(Errors(), ElementsAre("odd: Size{33x32}", "odd: Size{33x32}"));
}

TEST_F(RefusedChangeTest, OfASizeItsTrackKeepsTheOneOfBeforeUntilAnotherIsTaken) {
  Run(Sized(kSmallSize));
  EXPECT_EQ(Wanted(), std::nullopt);
  controller_->SetEncodeParams(Sized({33, 32}));
  EXPECT_EQ(Wanted(), kSmallSize);
  EncodeParams rate;
  rate.bitrate_bps = 700'000;
  controller_->SetEncodeParams(rate);
  EXPECT_EQ(Wanted(), kSmallSize);
  // In one step: with none between them could a frame of the refused size still be made.
  controller_->SetEncodeParams(Sized({32, 32}));
  EXPECT_EQ(Wanted(), (Size{32, 32}));
  EXPECT_THAT(Errors(), SizeIs(1));
}

TEST_F(RefusedChangeTest, WithASizeThatCouldBeTakenIsRefusedWhole) {
  Run(Sized(kSmallSize));
  EncodeParams change = Sized({32, 32});
  change.preset = "refused";
  script_->refused_preset = "refused";
  controller_->SetEncodeParams(change);
  EXPECT_EQ(Wanted(), kSmallSize);
  EXPECT_THAT(Errors(), ElementsAre("no such preset"));
}

TEST_F(RefusedChangeTest, AnotherTrackKeepsTheSizeToo) {
  Run(Sized(kSmallSize));
  controller_->SetEncodeParams(Sized({33, 32}));
  const auto other = std::make_shared<BoundedTrack>(10);
  controller_->SetInputTrackReader(other->GetReader());
  EXPECT_EQ(WantedSize(*other->GetWriter()), kSmallSize);
}

TEST_F(RefusedChangeTest, WhatWasRefusedIsNoPartOfTheNextChange) {
  Run({});
  script_->refused_preset = "refused";
  EncodeParams change;
  change.preset = "refused";
  controller_->SetEncodeParams(change);
  WriteAndWait(2);
  EncodeParams good;
  good.bitrate_bps = 700'000;
  controller_->SetEncodeParams(good);
  WriteAndWait(3);
  EXPECT_THAT(Errors(), ElementsAre("no such preset"));
  ASSERT_THAT(script_->reconfigured, SizeIs(1));
  EXPECT_EQ(script_->reconfigured[0].bitrate_kbps, 700);
}

TEST_F(RefusedChangeTest, ToACodecThatIsNotThereLeavesTheOneThatRuns) {
  Run({});
  EncodeParams change;
  change.codec = static_cast<video::VideoCodec>(7);
  controller_->SetEncodeParams(change);
  WriteAndWait(2);
  EXPECT_THAT(Errors(), ElementsAre("there is no encoder for VideoCodec(7)"));
  EXPECT_THAT(script_->opened, SizeIs(1));
}

TEST_F(RefusedChangeTest, BeforeAStartThereIsNothingToGoOn) {
  EncodeParams params = Sized({33, 32});
  params.frame_rate = -5;
  controller_->SetEncodeParams(params);
  EXPECT_THAT(Errors(), IsEmpty());
  EXPECT_EQ(Wanted(), std::nullopt);
  controller_->Start();
  WriteAndWait(0);
  EXPECT_THAT(script_->opened, SizeIs(1));
}

TEST_F(RefusedChangeTest, WhereNothingIsEncodedEachChangeIsTried) {
  controller_->SetEncodeParams(Sized({33, 32}));
  controller_->Start();
  controller_->SetEncodeParams(Sized({35, 32}));
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(RefusedChangeTest, SettingsThatNoEncoderIsOpenedWithAfterAllLeaveTheOneThatIsOpen) {
  script_->delay = 1;
  script_->reconfigure_fails = true;
  EncodeParams before;
  before.key_frame_interval_ms = 100;
  controller_->SetEncodeParams(before);
  controller_->Start();
  for (int i = 0; i < 3; ++i) Write(i);
  recorder_->WaitForPackets(2);
  {
    const std::lock_guard lock(script_->mutex);
    script_->open_fails = true;
  }
  EncodeParams change;
  change.preset = "slow";
  change.frame_rate = 10;
  controller_->SetEncodeParams(change);
  for (int i = 3; i < 15; ++i) Write(i);
  Flush();
  // It turns out at the first frame that is due at the new rate; behind it all are kept again.
  EXPECT_THAT(WrittenSequences(), SizeIs(::testing::Ge(13U)));
  EXPECT_THAT(Errors(), ElementsAre("told not to open"));
  EXPECT_THAT(script_->opened, SizeIs(2));
  EXPECT_EQ(controller_->GetProperty().implementation, "scripted");
  EXPECT_THAT(AskedForKey(), ::testing::Contains(::testing::Gt(0U)));
}

}  // namespace
}  // namespace movra::media
