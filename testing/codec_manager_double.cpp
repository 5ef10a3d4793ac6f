// A codec manager that answers what the test says.

#include <memory>

#include "testing/world.h"
#include "video/video_codec_manager.h"

namespace movra::testing {
namespace {

// A singleton like the real one, so what it answers and tells belongs to the world of each call.
class CodecManagerDouble : public video::IVideoCodecManager {
 public:
  [[nodiscard]] int IsHardwareEncoderSupported(int codec) override {
    return Answer("IsHardwareEncoderSupported", &Answers::hardware_encoder, codec);
  }
  [[nodiscard]] int IsSoftwareEncoderSupported(int codec) override {
    return Answer("IsSoftwareEncoderSupported", &Answers::software_encoder, codec);
  }
  [[nodiscard]] int IsRoiSupported() override { return Answer("IsRoiSupported", &Answers::roi); }
  [[nodiscard]] int IsReferenceSelectionSupported() override {
    return Answer("IsReferenceSelectionSupported", &Answers::reference_selection);
  }

 private:
  template <class... Args>
  static int Answer(const char* operation, int Answers::*answer, Args... args) {
    World& world = World::Current();
    world.journal()->Call("codec_manager", operation, args...);
    return world.answers.*answer;
  }
};

}  // namespace
}  // namespace movra::testing

namespace movra::video {

IVideoCodecManager& IVideoCodecManager::GetInstance() {
  static testing::CodecManagerDouble manager;
  return manager;
}

}  // namespace movra::video
