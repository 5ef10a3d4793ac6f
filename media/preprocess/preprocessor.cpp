#include "media/preprocess/preprocessor.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "base/weak_bind.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/frame/platform_objects.h"

namespace movra::media {

using video::InterceptPosition;
using video::PixelFrame;

namespace {

using Image = video::ObjcWrapper<NSImage>;

// The same object: one share count, and one address where several objects share a count.
template <class T>
bool IsSame(const std::weak_ptr<T>& a, const std::weak_ptr<T>& b) {
  return !a.owner_before(b) && !b.owner_before(a) && a.lock() == b.lock();
}

// Adds behind the others; those whose object is gone drop out.
template <class T>
void Add(std::vector<Attachment<T>>& attachments, Attachment<T> added) {
  std::erase_if(attachments, [](const Attachment<T>& a) { return a.target.expired(); });
  attachments.push_back(std::move(added));
}

template <class T>
void Remove(std::vector<Attachment<T>>& attachments, const std::weak_ptr<T>& target) {
  std::erase_if(attachments, [&](const Attachment<T>& a) {
    if (!IsSame(a.target, target)) return false;
    *a.attached = false;
    return true;
  });
}

}  // namespace

Preprocessor::Preprocessor(const video::VideoContext& context,
                           std::shared_ptr<core::DispatchQueue> queue)
    : context_(context), queue_(std::move(queue)) {}

// The callbacks stay where they are installed: they find the object gone, and the ends may have new
// owners by the time the last reference goes.
Preprocessor::~Preprocessor() { AnswerSnapshots(nullptr); }

void Preprocessor::StartProcessing() {
  {
    const std::lock_guard lock(mutex_);
    if (run_ == 0) run_ = ++runs_;
  }
  Schedule();
}

void Preprocessor::SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) {
  const auto added = reader.lock();
  std::weak_ptr<video::IPixelFrameTrackReader> replaced = std::move(reader);
  {
    const std::lock_guard lock(mutex_);
    reader_.swap(replaced);
  }
  const auto removed = replaced.lock();
  if (removed && removed != added) removed->SetReadableCallback({});
  if (added) added->SetReadableCallback(MakeWeakBind(weak_from_this(), &Preprocessor::Schedule));
}

void Preprocessor::AddInterceptor(InterceptPosition position,
                                  const video::CustomProcessParams& params,
                                  std::weak_ptr<video::VideoInterceptorListener> listener) {
  Change([&](PipelineSettings& settings) {
    Add(settings.interceptors, {position, params, std::move(listener)});
  });
}

void Preprocessor::RemoveInterceptor(std::weak_ptr<video::VideoInterceptorListener> listener) {
  Change([&](PipelineSettings& settings) { Remove(settings.interceptors, listener); });
}

void Preprocessor::AddOutputTrack(InterceptPosition position,
                                  const video::CustomProcessParams& params,
                                  std::weak_ptr<video::IPixelFrameTrackWriter> writer) {
  const auto added = writer.lock();
  if (added == nullptr) return;
  if (position == InterceptPosition::kEncoder) {
    added->SetRoomCallback(MakeWeakBind(weak_from_this(), &Preprocessor::Schedule));
  }
  Change([&](PipelineSettings& settings) {
    Add(settings.taps, {position, params, std::move(writer)});
  });
}

void Preprocessor::RemoveOutputTrack(std::weak_ptr<video::IPixelFrameTrackWriter> writer) {
  // First, so that no lossless frame passes between a tap's removal and its return in another size.
  ++changes_;
  Change([&](PipelineSettings& settings) { Remove(settings.taps, writer); });
  if (const auto removed = writer.lock()) removed->SetRoomCallback({});
  const auto main_queue = core::GetMainQueue();
  if (main_queue->IsCurrent()) {
    main_queue->Post(movra_base::BindOnce(&Preprocessor::EndChange, weak_from_this()));
  } else {
    EndChange();
  }
}

void Preprocessor::EndChange() {
  --changes_;
  Schedule();  // The held frame may have waited for the tap, or for the change.
}

void Preprocessor::StopProcessing() {
  PixelFrame dropped;  // Released after the lock.
  {
    const std::lock_guard lock(mutex_);
    run_ = 0;
    dropped = std::exchange(held_, {});
  }
  AnswerSnapshots(nullptr);
}

void Preprocessor::Snapshot(SnapshotCallback on_done) {
  {
    const std::lock_guard lock(mutex_);
    if (run_ != 0) {
      snapshots_.push_back(std::move(on_done));
      return;
    }
  }
  std::move(on_done).Run(nullptr);
}

void Preprocessor::SetMirror(video::MirrorMode mode) {
  // Automatic means a mirror for cameras that face the user; none here says that it does.
  Change([&](PipelineSettings& settings) {
    settings.orientation.mirror = mode == video::MirrorMode::kEnabled;
  });
}

void Preprocessor::SetRotation(video::VideoRotation rotation) {
  Change([&](PipelineSettings& settings) { settings.orientation.rotation = rotation; });
}

void Preprocessor::SetEncoderMirror(bool mirror) {
  Change([&](PipelineSettings& settings) { settings.encoder_orientation.mirror = mirror; });
}

// Holds for the taps that are there, until each is added anew with the size of its own.
void Preprocessor::SetEncoderOutputSize(int width, int height) {
  Change([&](PipelineSettings& settings) {
    for (Tap& tap : settings.taps) {
      if (tap.position != InterceptPosition::kEncoder ||
          tap.params.stream_type == video::VideoStreamType::kSmall) {
        continue;
      }
      tap.params.width = width;
      tap.params.height = height;
    }
  });
}

void Preprocessor::SetEncoderRotation(video::VideoRotation rotation) {
  Change([&](PipelineSettings& settings) { settings.encoder_orientation.rotation = rotation; });
}

void Preprocessor::SetFrameAdaptiveMode(video::FrameAdaptiveMode mode) {
  Change([&](PipelineSettings& settings) { settings.adaptive_mode = mode; });
}

// What these tell changes nothing here: sizes and modes arrive with the taps and the adaptive mode,
// and there is no sensor that would say how the device is held.
void Preprocessor::SetSourceType(video::VideoSourceType /*type*/) {}
void Preprocessor::SetProducerMode(video::ProducerMode /*mode*/) {}
void Preprocessor::SetFrameAdaptiveFlag(bool /*flag*/) {}
void Preprocessor::SetGSensorMode(video::GSensorMode /*mode*/) {}

void Preprocessor::SetBeautyStyle(video::BeautyStyle style) {
  if (style != video::BeautyStyle::kSmooth) ReportUnavailable("beauty");
}

void Preprocessor::SetBeautyLevel(float level) {
  if (level > 0) ReportUnavailable("beauty");
}

void Preprocessor::SetWhitenessLevel(float level) {
  if (level > 0) ReportUnavailable("beauty");
}

void Preprocessor::SetRuddyLevel(float level) {
  if (level > 0) ReportUnavailable("beauty");
}

void Preprocessor::SetLUTColorFilter(std::shared_ptr<Image> filter) {
  if (filter) ReportUnavailable("colour filter");
}

void Preprocessor::SetLUTColorFilterStrength(float /*strength*/) {}

void Preprocessor::SetLUTColorFilter(std::shared_ptr<Image> first, float /*first_strength*/,
                                     std::shared_ptr<Image> second, float /*second_strength*/,
                                     float /*ratio*/) {
  if (first || second) ReportUnavailable("colour filter");
}

void Preprocessor::SetGreenScreenParams(const video::GreenScreenParams& params) {
  if (params.enabled) ReportUnavailable("green screen");
}

void Preprocessor::SetWatermark(std::shared_ptr<Image> image, double /*x*/, double /*y*/,
                                double /*width*/, bool /*in_preview*/) {
  if (image) ReportUnavailable("watermark");
}

void Preprocessor::SetCoverImageParams(std::shared_ptr<video::VideoCoverImageParams> params) {
  if (params) ReportUnavailable("cover image");
}

void Preprocessor::Change(const std::function<void(PipelineSettings&)>& change) {
  auto changed = std::make_shared<PipelineSettings>(*settings_);  // Only this thread replaces it.
  change(*changed);
  std::shared_ptr<const PipelineSettings> replaced = std::move(changed);
  const std::lock_guard lock(mutex_);
  settings_.swap(replaced);
}

void Preprocessor::ReportUnavailable(std::string_view effect) {
  constexpr int kWarning = 1;
  if (!reported_effects_.insert(effect).second) return;
  if (movra_logging::ShouldCreateLogMessage(kWarning)) {
    LogStream("media/preprocess/preprocessor", __LINE__, __func__, kWarning, nullptr)
        << LogTraceId(context_.trace()) << LogTag(context_.log_tag()) << " "
        << "Not available yet, pictures stay as they are:" << effect;
  }
}

void Preprocessor::AnswerSnapshots(const std::shared_ptr<Image>& image) {
  std::vector<SnapshotCallback> answered;
  {
    const std::lock_guard lock(mutex_);
    answered.swap(snapshots_);
  }
  for (SnapshotCallback& on_done : answered) std::move(on_done).Run(image);
}

void Preprocessor::Schedule() {
  if (queue_ == nullptr || is_scheduled_.exchange(true)) return;
  queue_->Post(movra_base::BindOnce(&Preprocessor::ProcessNext, weak_from_this()));
}

void Preprocessor::ProcessNext() {
  is_scheduled_ = false;  // First: what is written from here on posts a task of its own.
  std::shared_ptr<const PipelineSettings> settings;
  {
    const std::lock_guard lock(mutex_);
    settings = settings_;
  }
  const std::uint64_t run = run_;
  if (run == 0) return;
  PixelFrame frame = TakeHeldFrame();
  if (!frame) frame = ReadFrame(*settings);
  if (!frame) return;
  if (frame.info().delivery == video::FrameDelivery::kLossless &&
      (changes_ > 0 || !EncodersHaveRoom(*settings))) {
    return Hold(std::move(frame), run);
  }
  Process(std::move(frame), *settings, run);
  Schedule();  // For what the input holds besides.
}

PixelFrame Preprocessor::TakeHeldFrame() {
  const std::lock_guard lock(mutex_);
  return std::exchange(held_, {});
}

PixelFrame Preprocessor::ReadFrame(const PipelineSettings& settings) {
  std::shared_ptr<video::IPixelFrameTrackReader> reader;
  {
    const std::lock_guard lock(mutex_);
    reader = reader_.lock();
  }
  if (reader == nullptr) return {};
  video::TrackItem item = reader->Read();
  if (auto* const frame = std::get_if<PixelFrame>(&item)) return std::move(*frame);
  if (const auto* const end = std::get_if<video::StreamEnd>(&item)) {
    WriteEndToTaps(settings, *end);
    Schedule();  // A next stream's frames may stand behind it.
  }
  return {};
}

// Whatever makes room from here on posts a task, and that runs after this one.
void Preprocessor::Hold(PixelFrame frame, std::uint64_t run) {
  const std::lock_guard lock(mutex_);
  if (run_ == run) held_ = std::move(frame);
}

void Preprocessor::Process(PixelFrame frame, const PipelineSettings& settings, std::uint64_t run) {
  const PixelFrame upright =
      pipeline_.Process(std::move(frame), settings, [this, run] { return run_ != run; });
  ++processed_;
  bool wants_image = false;
  {
    const std::lock_guard lock(mutex_);
    wants_image = run_ == run && !snapshots_.empty();
  }
  if (!wants_image || !upright) return;
  PixelFrame image = pipeline_.ToImage(upright);
  AnswerSnapshots(image ? std::make_shared<Image>(std::move(image)) : nullptr);
}

}  // namespace movra::media
