#ifndef MOVRA_MEDIA_OUTPUT_SINK_DOUBLE_FOR_TEST_H_
#define MOVRA_MEDIA_OUTPUT_SINK_DOUBLE_FOR_TEST_H_

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "media/output/encoded_sink.h"

namespace movra::media {

// A sink that a test blocks, breaks and asks. Any thread.
class SinkDouble final : public IEncodedSink {
 public:
  explicit SinkDouble(std::string name = "'double'") : name_(std::move(name)) {}
  ~SinkDouble() override {
    if (on_gone) on_gone();
  }

  // Before the first frame: writes stay inside until Release.
  void Block() { blocked_ = true; }
  void Release() {
    const std::lock_guard lock(mutex_);
    blocked_ = false;
    changed_.notify_all();
  }
  // Set before the first frame.
  std::optional<std::uint64_t> throws_at;  // The number of a frame.
  std::optional<std::uint64_t> fails_at;
  bool close_releases = false;
  std::function<void()> on_gone;
  std::function<void()> on_frame;  // That it keeps.
  // As in a SinkRequest.
  std::function<void(const WriteError&)> on_error;
  std::function<void(const video::StreamEnd&)> on_end;

  void WaitUntilInside() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return inside_; });
  }
  void WaitForFrames(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return frames_.size() >= count; });
  }
  void WaitForEnd() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return ends_ > 0; });
  }
  void WaitForClose() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return closes_ > 0; });
  }

  // IEncodedSink
  void Write(const video::EncodedFrame& frame) override {
    std::unique_lock lock(mutex_);
    if (closes_ > 0 || ends_ > 0) return;
    inside_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !blocked_; });
    inside_ = false;
    thread_ = std::this_thread::get_id();
    if (throws_at == frame.sequence) throw std::runtime_error("the test's own");
    if (failed_) return;
    failed_ = fails_at == frame.sequence;
    if (!failed_) {
      Keep(frame);
    } else if (closes_ == 0 && on_error) {
      lock.unlock();
      on_error({WriteErrorKind::kFailed, "cannot write " + name_});
    }
  }
  void WriteEnd(const video::StreamEnd& end) override {
    {
      const std::lock_guard lock(mutex_);
      if (closes_ > 0 || ends_++ > 0) return;
      changed_.notify_all();
    }
    if (on_end) on_end(end);
  }
  void LimitWaits(std::chrono::milliseconds patience) override {
    const std::lock_guard lock(mutex_);
    limit_ = patience;
  }
  void Close(std::optional<std::chrono::nanoseconds> end) override {
    if (close_releases) Release();
    const std::lock_guard lock(mutex_);
    // The first frame's time is 0.
    if (closes_++ == 0 && ends_ == 0 && end && figures_.frames > 0) figures_.duration = *end;
    end_ = end;
    changed_.notify_all();
  }
  [[nodiscard]] WrittenFigures written() const override { return Get(figures_); }
  [[nodiscard]] bool waits_for_reader() const override { return false; }
  [[nodiscard]] bool failed() const override {
    const std::lock_guard lock(mutex_);
    return failed_;
  }
  [[nodiscard]] std::string name() const override { return name_; }

  // What came, frame by frame.
  [[nodiscard]] std::vector<std::uint64_t> frames() const { return Get(frames_); }
  [[nodiscard]] std::vector<const std::uint8_t*> places() const { return Get(places_); }
  [[nodiscard]] std::vector<std::vector<std::uint8_t>> bytes() const { return Get(bytes_); }
  [[nodiscard]] std::thread::id thread() const { return Get(thread_); }
  [[nodiscard]] int ends() const { return Get(ends_); }
  [[nodiscard]] int closes() const { return Get(closes_); }
  [[nodiscard]] std::optional<std::chrono::milliseconds> limit() const { return Get(limit_); }
  [[nodiscard]] std::optional<std::chrono::nanoseconds> end() const { return Get(end_); }

 private:
  // With mutex_ held.
  void Keep(const video::EncodedFrame& frame) {
    frames_.push_back(frame.sequence);
    places_.push_back(frame.data);
    bytes_.emplace_back(frame.data, frame.data + frame.size_bytes);
    if (figures_.frames++ == 0) first_time_ = frame.timestamp;
    figures_.key_frames += frame.key_frame ? 1 : 0;
    figures_.bytes += frame.size_bytes;
    figures_.file_bytes = figures_.bytes;
    figures_.duration = frame.timestamp + frame.duration - first_time_;
    if (on_frame) on_frame();
    changed_.notify_all();
  }

  template <class T>
  [[nodiscard]] T Get(const T& field) const {
    const std::lock_guard lock(mutex_);
    return field;
  }

  const std::string name_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool blocked_ = false;
  bool inside_ = false;
  bool failed_ = false;
  std::vector<std::uint64_t> frames_;
  std::vector<const std::uint8_t*> places_;
  std::vector<std::vector<std::uint8_t>> bytes_;
  WrittenFigures figures_;
  std::chrono::nanoseconds first_time_{0};
  std::thread::id thread_;
  int ends_ = 0;
  int closes_ = 0;
  std::optional<std::chrono::milliseconds> limit_;
  std::optional<std::chrono::nanoseconds> end_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_SINK_DOUBLE_FOR_TEST_H_
