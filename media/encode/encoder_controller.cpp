#include "media/encode/encoder_controller.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <system_error>
#include <utility>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/encode/refused_change.h"
#include "media/figures/frame_account.h"
#include "media/text/warning.h"
#include "media/track/wanted_size.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

// Longer waits count as this one, which keeps the deadline within the clock's range.
constexpr std::uint64_t kLongestWaitMs = 24ULL * 60 * 60 * 1000;

}  // namespace

EncoderController::EncoderController(const video::VideoContext& context,
                                     video::VideoStreamType type, std::weak_ptr<Client> client,
                                     EncoderRegistry registry)
    : VideoLoggable(context),
      type_(type),
      registry_(std::move(registry)),
      counters_(std::make_shared<EncoderCounters>(
          FrameAccount::Stream(FrameAccount::Of(context.trace()), type))),
      checker_("an encoder controller", context),
      relay_("The client of an encoder", std::move(client)) {}

EncoderController::~EncoderController() { End(0); }

void EncoderController::Start() {
  checker_.Check();
  if (run_ != nullptr) return;
  const EncoderEvents events(type_, relay_.Open());
  const auto run = std::make_shared<EncoderRun>(
      context(), controls_,
      std::make_unique<StreamEncoder>(context(), type_, registry_, events, counters_), counters_,
      events, unfinished_run_);
  if (!StartThread(run, events)) return;
  run_ = run;
  events_.emplace(events);
  unfinished_run_.reset();
  ListenToInput();
  TellIfWithoutSize();
}

bool EncoderController::StartThread(const std::shared_ptr<EncoderRun>& run,
                                    const EncoderEvents& events) {
  try {
    thread_ = std::thread([run] { run->Run(); });
    return true;
  } catch (const std::system_error& error) {
    const std::string text = std::string("the encoder's thread cannot be started: ") + error.what();
    if (movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelError)) {
      LogStream("../../media/encode/encoder_controller", __LINE__, __func__,
                movra_logging::kLogLevelError, nullptr)
          << LogTraceId(GetTraceId()) << LogTag(GetLogTag()) << " " << text;
    }
    events.Failed(video::VideoEncoderError::kOpenFailed, text);
    return false;
  }
}

void EncoderController::Stop(std::uint64_t max_wait_ms) {
  checker_.Check();
  End(max_wait_ms);
}

void EncoderController::End(std::uint64_t max_wait_ms) {
  if (run_ == nullptr) return;
  run_->Drain();
  const auto wait = std::chrono::milliseconds(std::min(max_wait_ms, kLongestWaitMs));
  const bool finished =
      max_wait_ms > 0 && run_->WaitFinished(std::chrono::steady_clock::now() + wait);
  run_->Abandon();
  UnlistenToInput();
  UpdateLateFrames();
  relay_.Close();
  if (finished) {
    thread_.join();
  } else {
    // The thread holds the run and ends with it; waiting for that is not for the main queue.
    thread_.detach();
    unfinished_run_ = run_;
  }
  run_.reset();
  events_.reset();
  counters_->SetProperty({});
}

void EncoderController::RequestKeyFrame() {
  checker_.Check();
  if (run_ != nullptr) run_->RequestKeyFrame();
}

bool EncoderController::IsStarted() {
  checker_.Check();
  return run_ != nullptr;
}

video::EncoderStats EncoderController::GetStats() {
  checker_.Check();
  UpdateLateFrames();
  video::EncoderStats stats = counters_->Stats();
  stats.record.frames_dropped_late = late_in_former_tracks_ + late_in_track_;
  return stats;
}

video::EncoderProperty EncoderController::GetProperty() {
  checker_.Check();
  return counters_->Property();
}

void EncoderController::SetEncodeParams(const video::EncodeParams& params) {
  checker_.Check();
  video::EncodeParams merged = controls_.params;
  MergeEncodeParams(params, merged);
  has_size_ = params.width.has_value() && params.height.has_value();
  const std::string why = run_ != nullptr ? WhyRefused(params, merged) : std::string();
  if (!why.empty()) {
    // The producer has the size delivered all the same, which nobody here can encode.
    refused_size_ = refused_size_ || has_size_;
    KeepInputSize();
    return TellRefused(context(), type_, *events_, why);
  }
  if (has_size_) input_size_ = video::Size{*params.width, *params.height};
  KeepInputSize();
  controls_.params = merged;
  ApplyControls();
}

std::string EncoderController::WhyRefused(const video::EncodeParams& change,
                                          const video::EncodeParams& merged) const {
  std::string why = WhySenseless(change);
  if (!why.empty()) return why;
  const auto why_not = [this](const video::EncodeParams& params, const video::Size& size) {
    // A side of 0 is the picture's own, and which one that is shows when it comes.
    constexpr int kAnySide = 256;
    const video::Size encoded{size.width > 0 ? size.width : kAnySide,
                              size.height > 0 ? size.height : kAnySide};
    return registry_.WhyRefused(ResolveEncoderSettings(params, {}, encoded), encoded);
  };
  const video::Size size = input_size_.value_or(video::Size());
  const bool has_size = change.width.has_value() && change.height.has_value();
  why = why_not(merged, has_size ? video::Size{*change.width, *change.height} : size);
  // Where nothing can be encoded as it is, nothing goes on: each change is worth a try.
  return why.empty() || !why_not(controls_.params, size).empty() ? std::string() : why;
}

void EncoderController::KeepInputSize() {
  const auto reader = controls_.reader.lock();
  if (refused_size_ && input_size_ && reader != nullptr) WantSize(*reader, *input_size_);
}

void EncoderController::SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) {
  checker_.Check();
  if (reader.lock() == controls_.reader.lock()) return;
  UpdateLateFrames();
  late_in_former_tracks_ += std::exchange(late_in_track_, 0);
  UnlistenToInput();
  controls_.reader = std::move(reader);
  if (const auto input = controls_.reader.lock()) CountInto(*input, counters_->frames());
  KeepInputSize();
  ApplyControls();
  if (run_ != nullptr) ListenToInput();
}

void EncoderController::SetOutputTrackWriter(std::weak_ptr<video::IVideoFrameTrackWriter> writer) {
  checker_.Check();
  controls_.writer = std::move(writer);
  ApplyControls();
}

void EncoderController::SetRpsNearestRefSize(int /*size*/) {
  checker_.Check();
  LogReferenceSelectionOnce();
}

void EncoderController::DeliverRpsAck(std::int32_t /*ack_value*/, std::uint16_t /*ack_flag*/) {
  checker_.Check();
  LogReferenceSelectionOnce();
}

void EncoderController::SetRoiConfig(std::vector<video::RoiConfigInfo> configs) {
  checker_.Check();
  controls_.regions = std::move(configs);
  ApplyControls();
}

void EncoderController::ApplyControls() {
  if (run_ != nullptr) run_->SetControls(controls_);
}

void EncoderController::ListenToInput() {
  if (const auto reader = controls_.reader.lock()) {
    // Weakly, because the track may outlive the run.
    reader->SetReadableCallback([weak_run = std::weak_ptr<EncoderRun>(run_)] {
      if (const auto run = weak_run.lock()) run->Wake();
    });
  }
}

void EncoderController::UnlistenToInput() {
  if (const auto reader = controls_.reader.lock()) reader->SetReadableCallback({});
}

void EncoderController::UpdateLateFrames() {
  if (const auto reader = controls_.reader.lock()) late_in_track_ = reader->GetDroppedFrames();
}

void EncoderController::TellIfWithoutSize() const {
  if (has_size_) return;
  Warn(context(), "../../media/encode/encoder_controller",
       video::VideoStreamTypeToString(type_) +
           " encoder was started without a width and a height: it gets no frames before "
           "SetEncoderParams brings a new size");
}

void EncoderController::LogReferenceSelectionOnce() {
  if (std::exchange(reference_selection_logged_, true)) return;
  if (!movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelWarning)) return;
  LogStream("../../media/encode/encoder_controller", __LINE__, __func__,
            movra_logging::kLogLevelWarning, nullptr)
      << LogTraceId(GetTraceId()) << LogTag(GetLogTag())
      << " The encoder does not support reference picture selection; it is ignored.";
}

}  // namespace movra::media
