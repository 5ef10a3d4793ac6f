#include "app/operation_answer.h"

#include <cstdint>
#include <utility>

#include "base/once_callback.h"

namespace movra::app {

OperationAnswer::OperationAnswer(OnAnswer on_answer)
    : on_answer_(std::move(on_answer)), main_queue_(core::GetMainQueue()) {}

OperationAnswer::~OperationAnswer() {
  if (on_answer_) Give(Json{{"dropped", true}});
}

void OperationAnswer::Give(Result<Json> answer) {
  OnAnswer on_answer = std::exchange(on_answer_, nullptr);
  const auto main_queue = main_queue_.lock();
  if (!main_queue) return;
  if (main_queue->IsCurrent()) {
    on_answer(answer);
    return;
  }
  main_queue->Post(movra_base::BindOnce(
      [](const OnAnswer& on_main_queue, const Result<Json>& given) { on_main_queue(given); },
      std::move(on_answer), std::move(answer)));
}

Json ToData(const video::VideoProducerStats2& stats) {
  const video::EncoderStatsRecord& encoder = stats.encoder_stats;
  return {{"capture_stat", stats.capture_stat},
          {"preprocess_stat", stats.preprocess_stat},
          {"encoder_stats",
           {{"frames_in", encoder.frames_in},
            {"frames_encoded", encoder.frames_encoded},
            {"frames_dropped_rate", encoder.frames_dropped_rate},
            {"frames_dropped_late", encoder.frames_dropped_late},
            {"frames_failed", encoder.frames_failed},
            {"key_frames", encoder.key_frames},
            {"width", encoder.width},
            {"height", encoder.height},
            {"target_bitrate_bps", encoder.target_bitrate_bps},
            {"encode_time_mean_us", encoder.encode_time_mean_us},
            {"encode_time_max_us", encoder.encode_time_max_us},
            {"latency_mean_us", encoder.latency_mean_us},
            {"latency_max_us", encoder.latency_max_us},
            {"bytes", std::uint64_t{encoder.bytes_high} << 32 | encoder.bytes_low}}},
          {"render_stat", stats.render_stat}};
}

Json ToData(const video::EncodeAbility& ability) {
  return {{"roi", ability.roi != 0},
          {"reference_selection", ability.reference_selection != 0},
          {"software_encoder", ability.software_encoder != 0},
          {"hardware_encoder", ability.hardware_encoder != 0}};
}

}  // namespace movra::app
