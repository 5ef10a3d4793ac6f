#include "media/output/sink_branch.h"

#include <algorithm>
#include <string>
#include <utility>

#include "logging/guarded_call.h"

namespace movra::media {
namespace {

using std::chrono::steady_clock;

// A sink that is merely slow still gets what waits for it.
constexpr std::chrono::milliseconds kClosingPatience{200};

}  // namespace

SinkBranch::SinkBranch(std::shared_ptr<IEncodedSink> sink, const SinkQueue& queue,
                       std::function<void(const WriteError&)> on_error)
    : sink_(std::move(sink)), limits_(queue), on_error_(std::move(on_error)) {}

void SinkBranch::Start() {
  {
    const Lock lock(mutex_);
    over_ = false;
  }
  try {
    thread_ = std::thread([self = shared_from_this()] { self->Run(); });
  } catch (...) {
    const Lock lock(mutex_);
    over_ = true;
    throw;
  }
}

void SinkBranch::Put(std::shared_ptr<const StoredFrame> frame) {
  Lock lock(mutex_);
  ++figures_.handed;
  if (limits_.waits_when_full) {
    changed_.wait(lock, [&] { return HasRoomFor(*frame) || broken_off_ || closing_; });
  }
  if (const auto reason = WhyDropped(*frame)) {
    CountDrop(*reason);
    const bool is_too_slow =
        *reason == SinkDrop::kQueueFull && limits_.policy == SinkPolicy::kLossless;
    if (is_too_slow) BreakOff(std::move(lock));
    return;
  }
  ++queued_frames_;
  queued_bytes_ += frame->bytes.size();
  Push({std::move(frame), std::nullopt});
}

void SinkBranch::PutEnd(const video::StreamEnd& end) {
  const Lock lock(mutex_);
  if (!broken_off_ && !closing_) Push({nullptr, end});
}

void SinkBranch::LimitWaits(std::chrono::milliseconds patience) {
  sink_->LimitWaits(patience);
  const auto limit = steady_clock::now() + patience;
  const Lock lock(mutex_);
  wait_limit_ = std::min(limit, wait_limit_.value_or(limit));
}

void SinkBranch::Close(std::optional<std::chrono::nanoseconds> end) {
  {
    Lock lock(mutex_);
    if (std::exchange(closing_, true)) return;
    changed_.notify_all();
    const auto limit = wait_limit_.value_or(steady_clock::now() + kClosingPatience);
    changed_.wait_until(lock, limit, [this] { return over_; });
    DropWaiting(SinkDrop::kClosed);
  }
  static_cast<void>(movra_logging::CallGuarded([this] { return "The output " + sink_->name(); },
                                               [&] { sink_->Close(end); }));
  Lock lock(mutex_);
  const bool is_over = over_;
  lock.unlock();
  if (!thread_.joinable()) return;
  // What is stuck in its sink keeps its share of this; nobody waits for it.
  is_over ? thread_.join() : thread_.detach();
}

SinkFigures SinkBranch::figures() const {
  WrittenFigures written = sink_->written();
  const Lock lock(mutex_);
  SinkFigures figures = figures_;
  figures.written = written;
  figures.waiting = queued_frames_;
  return figures;
}

bool SinkBranch::broken_off() const {
  const Lock lock(mutex_);
  return broken_off_;
}

bool SinkBranch::HasRoomFor(const StoredFrame& frame) const {
  return queued_frames_ == 0 || (queued_frames_ < limits_.max_frames &&
                                 queued_bytes_ + frame.bytes.size() <= limits_.max_bytes);
}

std::optional<SinkDrop> SinkBranch::WhyDropped(const StoredFrame& frame) {
  if (broken_off_) return SinkDrop::kBrokenOff;
  if (closing_) return SinkDrop::kClosed;
  const bool is_key_frame = frame.frame.key_frame;
  if (needs_key_frame_ && !is_key_frame) return SinkDrop::kNoKeyFrame;
  needs_key_frame_ = false;
  if (HasRoomFor(frame)) return std::nullopt;
  if (limits_.policy == SinkPolicy::kLossless) return SinkDrop::kQueueFull;
  if (is_key_frame) {
    // Whoever watches goes on from here rather than from what is older.
    DropWaiting(SinkDrop::kQueueFull);
    return std::nullopt;
  }
  needs_key_frame_ = true;
  return SinkDrop::kQueueFull;
}

void SinkBranch::Push(Item item) {
  queue_.push_back(std::move(item));
  changed_.notify_all();
}

void SinkBranch::DropWaiting(SinkDrop reason) {
  for (; queued_frames_ > 0; --queued_frames_) CountDrop(reason);
  queued_bytes_ = 0;
  queue_.clear();
}

void SinkBranch::CountDrop(SinkDrop reason) {
  ++figures_.dropped[static_cast<std::size_t>(reason)];
}

void SinkBranch::BreakOff(Lock lock) {
  broken_off_ = true;
  const std::size_t waiting = queued_bytes_;
  Push({});
  lock.unlock();
  Tell(WriteErrorKind::kTooSlow,
       "it takes less than is encoded, and " + std::to_string(waiting) + " bytes wait for it");
}

void SinkBranch::Run() {
  Lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return !queue_.empty() || closing_; });
    if (queue_.empty()) break;
    const Item item = std::move(queue_.front());
    queue_.pop_front();
    if (item.frame != nullptr) {
      --queued_frames_;
      queued_bytes_ -= item.frame->bytes.size();
      ++figures_.passed;
      changed_.notify_all();
    }
    lock.unlock();
    const bool goes_on = Deliver(item);
    lock.lock();
    if (goes_on) continue;
    broken_off_ = true;
    DropWaiting(SinkDrop::kBrokenOff);
    changed_.notify_all();
  }
  over_ = true;
  changed_.notify_all();
}

bool SinkBranch::Deliver(const Item& item) {
  const bool returned = movra_logging::CallGuarded([this] { return "The output " + sink_->name(); },
                                                   [&] {
                                                     if (item.frame != nullptr) {
                                                       sink_->Write(item.frame->frame);
                                                     } else if (item.end) {
                                                       sink_->WriteEnd(*item.end);
                                                     } else {
                                                       sink_->Close(std::nullopt);
                                                     }
                                                   });
  if (!returned) Tell(WriteErrorKind::kFailed, "it threw an exception, as the log says");
  return returned && !sink_->failed();
}

void SinkBranch::Tell(WriteErrorKind kind, const std::string& what) const {
  if (on_error_) on_error_({kind, "broke off writing " + sink_->name() + ": " + what});
}

}  // namespace movra::media
