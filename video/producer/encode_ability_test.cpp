// What the process can encode, as the codec manager answers it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

#include "testing/environment.h"
#include "video/producer/video_producer2.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;

class EncodeAbilityOfTheProcess : public ::testing::Test {
 protected:
  // The four flags as the one 32-bit quantity that they travel in; its lowest byte first.
  [[nodiscard]] std::uint32_t Ask(int hardware, int software, int roi, int reference_selection) {
    testing::Answers& answers = env_.world().answers;
    answers.hardware_encoder = hardware;
    answers.software_encoder = software;
    answers.roi = roi;
    answers.reference_selection = reference_selection;
    return std::bit_cast<std::uint32_t>(IVideoProducer2::GetEncodeAbility());
  }

  testing::Environment env_;
};

TEST_F(EncodeAbilityOfTheProcess, IsAskedInFourQuestionsAndNeedsNoProducer) {
  env_.journal().LeaveOut(0);
  static_cast<void>(IVideoProducer2::GetEncodeAbility());
  EXPECT_THAT(env_.journal().Take(), ElementsAre("codec_manager.IsHardwareEncoderSupported(1)",
                                                 "codec_manager.IsSoftwareEncoderSupported(1)",
                                                 "codec_manager.IsRoiSupported()",
                                                 "codec_manager.IsReferenceSelectionSupported()"));
}

TEST_F(EncodeAbilityOfTheProcess, PacksEachAnswerIntoItsByte) {
  static_assert(std::endian::native == std::endian::little);
  EXPECT_EQ(Ask(0, 0, 1, 0), 0x00000001u);
  EXPECT_EQ(Ask(0, 0, 0, 1), 0x00000100u);
  EXPECT_EQ(Ask(0, 1, 0, 0), 0x00010000u);
  EXPECT_EQ(Ask(1, 0, 0, 0), 0x01000000u);
  EXPECT_EQ(Ask(0, 0, 0, 0), 0u);
}

TEST_F(EncodeAbilityOfTheProcess, KeepsTheLowByteOfAnAnswer) {
  EXPECT_EQ(Ask(0x104, 0x203, 0x301, 0x402), 0x04030201u);
  EXPECT_EQ(Ask(256, 0x10000, -256, 512), 0u);
  EXPECT_EQ(Ask(-1, 255, 0x7FFFFFFF, -2), 0xFFFFFEFFu);
}

TEST_F(EncodeAbilityOfTheProcess, IsAskedAnewEachTime) {
  EXPECT_EQ(Ask(1, 1, 1, 1), 0x01010101u);
  EXPECT_EQ(Ask(0, 1, 0, 1), 0x00010100u);
}

}  // namespace
}  // namespace movra::video
