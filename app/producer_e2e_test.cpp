// The producer on the real collaborators, without the program around it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "app/encoder_error_client.h"
#include "app/producer_e2e_for_test.h"
#include "media/camera/frame_marker.h"
#include "media/encode/encode_for_test.h"
#include "media/ffmpeg/decode_for_test.h"

namespace movra::app {
namespace {

using media::PacketRecorder;
using ::testing::Each;
using ::testing::ElementsAreArray;
using video::Size;

// The frame numbers found in the decoded pictures; -1 where none can be read.
std::vector<int> Numbers(const PacketRecorder& recorder) {
  std::vector<std::vector<std::uint8_t>> packets;
  for (const auto& packet : recorder.packets()) packets.push_back(packet.bytes);
  std::vector<int> numbers;
  for (const auto& picture : media::DecodePackets(packets)) {
    const auto number =
        media::ReadFrameMarker(picture.luma.data(), picture.size.width, picture.size);
    numbers.push_back(number ? static_cast<int>(*number) : -1);
  }
  return numbers;
}

std::vector<int> Count(int first, int count, int step) {
  std::vector<int> numbers(static_cast<std::size_t>(count));
  for (int& number : numbers) {
    number = first;
    first += step;
  }
  return numbers;
}

TEST_F(ProducerE2e, EveryFrameArrivesOnceAndInOrderInBothStreams) {
  const auto producer = MakeProducer();
  const auto big = std::make_shared<PacketRecorder>();
  const auto small = std::make_shared<PacketRecorder>();
  StartEncoder(*producer, kBig, Params({640, 360}, 30, 800'000), big);
  StartEncoder(*producer, kSmall, Params({320, 180}, 15, 150'000), small);
  StartCamera(*producer, "test:?frames=90&size=640x360&rate=30&lossless");
  big->WaitForEnd();
  small->WaitForEnd();

  EXPECT_THAT(Numbers(*big), ElementsAreArray(Count(0, 90, 1)));
  EXPECT_THAT(Numbers(*small), ElementsAreArray(Count(0, 45, 2)));
  EXPECT_EQ(big->packets().back().frame.timestamp - big->packets().front().frame.timestamp,
            std::chrono::nanoseconds(89'000'000'000 / 30));
}

TEST_F(ProducerE2e, AChangeOfSizeShowsInWhatComesOutAndLosesNoFrame) {
  const auto producer = MakeProducer();
  const auto big = std::make_shared<PacketRecorder>();
  StartEncoder(*producer, kBig, Params({640, 360}, 30, 800'000), big);
  StartCamera(*producer, "test:?frames=120&size=640x360&rate=30&lossless");
  big->WaitForPackets(30);
  big->HoldNextWrite();
  big->WaitUntilHeld();
  OnMainQueue([&] { producer->SetEncoderParams(kBig, Params({320, 180}, 30, 800'000)); });
  big->Release();
  big->WaitForEnd();

  EXPECT_THAT(Numbers(*big), ElementsAreArray(Count(0, 120, 1)));
  const auto packets = big->packets();
  std::size_t first_small = 0;
  while (first_small < packets.size() && packets[first_small].frame.size == Size{640, 360}) {
    ++first_small;
  }
  ASSERT_LT(first_small, packets.size());
  EXPECT_TRUE(packets[first_small].frame.key_frame);
  for (std::size_t i = first_small; i < packets.size(); ++i) {
    EXPECT_EQ(packets[i].frame.size, (Size{320, 180}));
  }
}

TEST_F(ProducerE2e, ChangesThatTheEncoderCannotTakeAreToldAndTheStreamGoesOnAsItWas) {
  std::vector<std::string> told;
  const auto client = std::make_shared<EncoderErrorClient>(
      [&](video::VideoStreamType type, video::VideoEncoderError error, const std::string& detail) {
        EXPECT_EQ(type, kBig);
        EXPECT_EQ(error, video::VideoEncoderError::kReconfigureFailed);
        told.push_back(detail);
      });
  const auto producer = MakeProducer();
  const auto big = std::make_shared<PacketRecorder>();
  OnMainQueue([&] { producer->SetClient(client); });
  StartEncoder(*producer, kBig, Params({640, 360}, 30, 800'000), big);
  StartCamera(*producer, "test:?frames=150&size=640x360&rate=30&lossless");
  const auto change = [&](const video::EncodeParams& params) {
    big->HoldNextWrite();
    big->WaitUntilHeld();
    OnMainQueue([&] { producer->SetEncoderParams(kBig, params); });
    OnMainQueue([] {});  // What it told meanwhile has come.
    big->Release();
  };
  const std::vector<video::EncodeParams> bad{
      Params({321, 181}, 30, 800'000), Params({640, 360}, -30, 800'000),
      Params({640, 360}, 0, 800'000), Params({20'000, 20'000}, 30, 800'000),
      Params({-640, 360}, 30, 800'000)};
  for (std::size_t i = 0; i < bad.size(); ++i) {
    big->WaitForPackets(15 * (i + 1));
    change(bad[i]);
    EXPECT_EQ(told.size(), i + 1);
  }
  big->WaitForPackets(100);
  change(Params({320, 180}, 30, 800'000));
  big->WaitForEnd();

  EXPECT_EQ(told.size(), bad.size());
  EXPECT_THAT(Numbers(*big), ElementsAreArray(Count(0, 150, 1)));
  const auto packets = big->packets();
  for (std::size_t i = 0; i < 100; ++i) EXPECT_EQ(packets[i].frame.size, (Size{640, 360})) << i;
  EXPECT_EQ(packets.back().frame.size, (Size{320, 180}));
}

TEST_F(ProducerE2e, AChangeOfTheFrameRateShowsInWhatComesOut) {
  const auto producer = MakeProducer();
  const auto big = std::make_shared<PacketRecorder>();
  StartEncoder(*producer, kBig, Params({320, 180}, 30, 400'000), big);
  StartCamera(*producer, "test:?frames=150&size=320x180&rate=30&lossless");
  big->WaitForPackets(30);
  big->HoldNextWrite();
  big->WaitUntilHeld();
  OnMainQueue([&] { producer->SetEncoderParams(kBig, Params({320, 180}, 10, 400'000)); });
  big->Release();
  big->WaitForEnd();

  const std::vector<int> numbers = Numbers(*big);
  ASSERT_GT(numbers.size(), 40U);
  const std::vector<int> head(numbers.begin(), numbers.begin() + 30);
  EXPECT_THAT(head, ElementsAreArray(Count(0, 30, 1)));
  std::vector<int> steps(numbers.size());
  std::adjacent_difference(numbers.begin(), numbers.end(), steps.begin());
  EXPECT_THAT(std::vector<int>(steps.end() - 25, steps.end()), Each(3));
}

TEST_F(ProducerE2e, AChangeOfTheBitRateShowsInWhatComesOut) {
  const auto producer = MakeProducer();
  const auto big = std::make_shared<PacketRecorder>();
  StartEncoder(*producer, kBig, Params({640, 360}, 30, 1'500'000), big);
  StartCamera(*producer, "test:?frames=360&size=640x360&rate=30&lossless");
  big->WaitForPackets(150);
  big->HoldNextWrite();
  big->WaitUntilHeld();
  const std::size_t changed_at = big->packets().size();
  OnMainQueue([&] { producer->SetEncoderParams(kBig, Params({640, 360}, 30, 200'000)); });
  big->Release();
  big->WaitForEnd();

  const auto packets = big->packets();
  ASSERT_EQ(packets.size(), 360U);
  const auto bytes = [&](std::size_t first, std::size_t count) {
    std::size_t sum = 0;
    for (std::size_t i = first; i < first + count; ++i) sum += packets[i].bytes.size();
    return sum;
  };
  // A second each, the later one after the buffer of the old rate is used up.
  EXPECT_GT(bytes(changed_at - 60, 60), 3 * bytes(packets.size() - 60, 60));
}

TEST_F(ProducerE2e, AProducerWhoseWriterBlocksDoesNotStallAnother) {
  const auto blocked_producer = MakeProducer();
  const auto other_producer = MakeProducer();
  const auto blocked = std::make_shared<PacketRecorder>();
  const auto other = std::make_shared<PacketRecorder>();
  StartEncoder(*blocked_producer, kBig, Params({320, 180}, 30, 200'000), blocked);
  StartEncoder(*other_producer, kBig, Params({320, 180}, 30, 200'000), other);
  blocked->HoldNextWrite();
  StartCamera(*blocked_producer, "test:?frames=60&size=320x180&rate=30&lossless");
  blocked->WaitUntilHeld();
  StartCamera(*other_producer, "test:?frames=100&size=320x180&rate=30&lossless");
  other->WaitForEnd();
  EXPECT_THAT(Numbers(*other), ElementsAreArray(Count(0, 100, 1)));
  EXPECT_LE(blocked->packets().size(), 1U);

  blocked->Release();
  blocked->WaitForEnd();
  EXPECT_THAT(Numbers(*blocked), ElementsAreArray(Count(0, 60, 1)));
}

TEST_F(ProducerE2e, StoppingReleasesASourceThatWaitsForRoom) {
  const auto producer = MakeProducer();
  const auto big = std::make_shared<PacketRecorder>();
  StartEncoder(*producer, kBig, Params({320, 180}, 30, 200'000), big);
  big->HoldNextWrite();
  StartCamera(*producer, "test:?size=320x180&rate=30&lossless");
  big->WaitUntilHeld();
  OnMainQueue([&] {
    producer->StopCapture({});
    producer->StopEncoder(kBig, 0);
  });
  EXPECT_FALSE(producer->IsCapturing());
  big->Release();
}

}  // namespace
}  // namespace movra::app
