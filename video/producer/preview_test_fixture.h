// The fixture of the tests of the preview side.

#ifndef MOVRA_VIDEO_PRODUCER_PREVIEW_TEST_FIXTURE_H_
#define MOVRA_VIDEO_PRODUCER_PREVIEW_TEST_FIXTURE_H_

#include <memory>
#include <string>

#include "video/producer/producer_test_fixture.h"

namespace movra::video {

// The tracks of both previews are named after the producer; the journal calls the one that was made
// first kTrack and the other one kSecondTrack.
inline constexpr char kTrack[] = "[call][main]";
inline constexpr char kSecondTrack[] = "[call][main]#2";

class PreviewTest : public ProducerTest {
 protected:
  // A producer that previews in a view.
  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakePreviewingProducer() {
    auto producer = MakeProducer();
    producer->SetRenderView(testing::MakeView("view"));
    return producer;
  }
  // A producer that renders into writer().
  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakeCustomRenderingProducer() {
    auto producer = MakeProducer();
    EnableCustomRendering(*producer);
    return producer;
  }
  void EnableCustomRendering(IVideoProducer2& producer) {
    producer.EnableCustomRendering(true, PixelFormat::kI420, BufferType::kMemory, writer_);
  }
  static void DisableCustomRendering(IVideoProducer2& producer) {
    producer.EnableCustomRendering(false, PixelFormat::kNone, BufferType::kMemory, nullptr);
  }

  // Where the application wants its preview frames.
  [[nodiscard]] const std::shared_ptr<testing::FrameWriterDouble>& writer() const {
    return writer_;
  }
  void ReleaseWriter() { writer_.reset(); }

  [[nodiscard]] testing::PreprocessorDouble& preprocessor() { return world().preprocessors.Last(); }

  // The entries of the taps on the preprocessor.
  [[nodiscard]] static std::string AddTap(const std::string& position,
                                          const std::string& track = kTrack) {
    return "preprocessor.AddOutputTrack(" + position + ", {0x0 enabled kMemory kNone kBig}, " +
           track + ".writer)";
  }
  [[nodiscard]] static std::string RemoveTap(const std::string& track = kTrack) {
    return "preprocessor.RemoveOutputTrack(" + track + ".writer)";
  }
  [[nodiscard]] static std::string CreateTrack() {
    return "IPixelFrameTrack.Create([call][main], 1)";
  }
  [[nodiscard]] static std::string CreateRenderer() {
    return "IVideoRendererController.Create({7 [call][main]}, producer, queue304)";
  }

 private:
  std::shared_ptr<testing::FrameWriterDouble> writer_ =
      env().Make<testing::FrameWriterDouble>("writer");
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PRODUCER_PREVIEW_TEST_FIXTURE_H_
