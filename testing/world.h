// What the doubles' factories answer, and what they made.
//
// The factories are static and global, so they find their instructions in the one World that exists
// at a time; testing/environment.h makes it together with everything else that a test needs.

#ifndef MOVRA_TESTING_WORLD_H_
#define MOVRA_TESTING_WORLD_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/thread_manager.h"
#include "testing/journal.h"
#include "video/custom_process_params.h"
#include "video/encode_params.h"
#include "video/screen_source_info.h"
#include "video/size.h"
#include "video/stats.h"
#include "video/video_device_info.h"

namespace movra::testing {

class CameraServiceDouble;
class EncoderDouble;
class PreprocessorDouble;
class RendererDouble;
class ScreenSharingDouble;
class SimulatedQueue;
class TrackDouble;

// Set before the call whose answer they are; read at each call.
struct Answers {
  bool is_metal_available = false;
  std::string virtual_camera_prefix = "virtual:";  // Ids that begin so are virtual cameras.
  // What the size limit function gives; absent: the size it was given.
  movra_base::Optional<video::Size> limited_size;
  std::vector<video::VideoDeviceInfo> cameras;
  std::vector<video::ScreenSourceInfo> screen_sources;
  video::PixelFrameFormat encoder_input_format{video::BufferType::kMemory,
                                               video::PixelFormat::kI420};

  // False: the factory returns null.
  bool makes_preprocessor = true;
  bool makes_screen_sharing = true;
  bool makes_renderer = true;
  bool makes_encoder = true;
  bool makes_track = true;
  bool makes_camera_service = true;

  // The codec manager's; whole ints, because callers keep only the low byte.
  int hardware_encoder = 0;
  int software_encoder = 1;
  int roi = 0;
  int reference_selection = 0;

  bool is_auto_focus_enabled = false;
  // What each double's statistics are when it is made; then they are its own.
  std::uint32_t camera_capture_stat = 0;
  std::uint32_t screen_capture_stat = 0;
  std::uint32_t preprocessor_stat = 0;
  video::RendererStats renderer_stats;
};

// The doubles of one kind in the order in which they were made. Holds them weakly, so looking does
// not keep them alive.
template <class T>
class Made {
 public:
  void Add(const std::shared_ptr<T>& object) { objects_.push_back(object); }

  // How many were made, dead ones included.
  [[nodiscard]] std::size_t count() const { return objects_.size(); }

  // Null when it is dead or was never made.
  [[nodiscard]] std::shared_ptr<T> Find(std::size_t index) const {
    return index < objects_.size() ? objects_[index].lock() : nullptr;
  }
  [[nodiscard]] bool IsAlive(std::size_t index) const { return Find(index) != nullptr; }
  [[nodiscard]] std::size_t CountAlive() const {
    std::size_t alive = 0;
    for (const auto& object : objects_) alive += object.expired() ? 0 : 1;
    return alive;
  }

  // One that is expected to be there: throws when it is not. Borrowed.
  [[nodiscard]] T& At(std::size_t index) const {
    const std::shared_ptr<T> object = Find(index);
    if (object == nullptr) throw std::logic_error("the double does not exist, or no longer");
    return *object;
  }
  // The one that was made last.
  [[nodiscard]] T& Last() const { return At(count() - 1); }

 private:
  std::vector<std::weak_ptr<T>> objects_;
};

// A queue that was asked of the thread manager.
struct QueueRequest {
  core::BusinessID business{};
  unsigned long key = 0;
  bool has_option = false;
  std::weak_ptr<SimulatedQueue> queue;  // Gone when nobody uses it any more.
};

class World {
 public:
  World();
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  // The one that exists; throws if none does.
  [[nodiscard]] static World& Current();
  // The same, null if there is none.
  [[nodiscard]] static World* Find();

  [[nodiscard]] const std::shared_ptr<Journal>& journal() const { return journal_; }

  // The name, for the second and later takers with a number: "renderer", "renderer#2".
  [[nodiscard]] std::string UniqueName(const std::string& name);

  Answers answers;

  Made<PreprocessorDouble> preprocessors;
  Made<ScreenSharingDouble> screen_sharings;
  Made<RendererDouble> renderers;
  Made<EncoderDouble> big_encoders;  // Of every stream but the small one.
  Made<EncoderDouble> small_encoders;
  Made<TrackDouble> tracks;
  Made<CameraServiceDouble> camera_services;

  // What was asked of the thread manager; environments fill it.
  std::vector<QueueRequest> queue_requests;

  // The track that was made last under this name; throws if there is none alive.
  [[nodiscard]] TrackDouble& Track(const std::string& name) const;

 private:
  const std::shared_ptr<Journal> journal_ = std::make_shared<Journal>();
  std::map<std::string, int> names_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_WORLD_H_
