#ifndef MOVRA_MEDIA_FFMPEG_DECODER_COMPLAINTS_H_
#define MOVRA_MEDIA_FFMPEG_DECODER_COMPLAINTS_H_

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>

namespace movra::media {

// The packets of which a decoder of FFmpeg said that something in them is wrong, in words alone:
// some of them hand out the picture all the same, without a mark.
//
// A codec context takes part whose `opaque` points here and whose `reordered_opaque` is the number
// of the packet that is sent next; its pictures then carry that number too, whichever thread they
// come from. Any thread. Outlives the codec context.
class DecoderComplaints {
 public:
  DecoderComplaints() {
    const std::lock_guard lock(all().mutex);
    all().objects.insert(this);
  }
  ~DecoderComplaints() {
    const std::lock_guard lock(all().mutex);
    all().objects.erase(this);
  }
  DecoderComplaints(const DecoderComplaints&) = delete;
  DecoderComplaints& operator=(const DecoderComplaints&) = delete;

  // Of a decoder that may be anybody's: whoever else uses the library in this process has objects
  // of their own at `opaque`.
  static void AddOf(const void* opaque, std::int64_t packet) {
    const std::lock_guard lock(all().mutex);
    const auto object = all().objects.find(opaque);
    if (object != all().objects.end()) (*object)->Add(packet);
  }

  void Add(std::int64_t packet) {
    const std::lock_guard lock(mutex_);
    packets_.insert(packet);
  }

  // Whether there was one of this packet; those of much older ones are forgotten.
  [[nodiscard]] bool Take(std::int64_t packet) {
    constexpr std::int64_t kLongestWay = 256;  // Packets that a decoder may hold.
    const std::lock_guard lock(mutex_);
    packets_.erase(packets_.begin(), packets_.lower_bound(packet - kLongestWay));
    return packets_.erase(packet) > 0;
  }

 private:
  struct All {
    std::mutex mutex;
    std::set<DecoderComplaints*, std::less<>> objects;  // Guarded by mutex.
  };
  // Never destroyed: decoders on other threads may outlive main.
  static All& all() {
    static auto* const all = new All;
    return *all;
  }

  std::mutex mutex_;
  std::set<std::int64_t> packets_;  // Guarded by mutex_.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_DECODER_COMPLAINTS_H_
