#include "media/output/encoded_sink_contract_for_test.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "media/output/encoded_fan_out.h"
#include "media/output/sink_double_for_test.h"
#include "media/output/sink_kinds.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

class DoubleBench final : public SinkBench {
 public:
  std::shared_ptr<IEncodedSink> Make(const SinkRequest& request) override {
    return MakeDouble(request);
  }
  std::shared_ptr<IEncodedSink> MakeBreaking(const SinkRequest& request) override {
    const auto sink = MakeDouble(request);
    sink->fails_at = 2;
    return sink;
  }
  // The double is gone in some tests; its frames count as what it left.
  bool LeftAnything() const override { return *frames_ > 0; }

 private:
  std::shared_ptr<SinkDouble> MakeDouble(const SinkRequest& request) {
    auto sink = std::make_shared<SinkDouble>();
    sink->on_error = request.on_error;
    sink->on_end = request.on_end;
    sink->on_frame = [frames = frames_] { ++*frames; };
    return sink;
  }

  const std::shared_ptr<std::atomic<int>> frames_ = std::make_shared<std::atomic<int>>(0);
};

class FileBench final : public SinkBench {
 public:
  FileBench(std::string name, ContainerFormat format) : name_(std::move(name)), format_(format) {}

  std::shared_ptr<IEncodedSink> Make(const SinkRequest& request) override {
    return MakeAt(directory_ / name_, request);
  }
  std::shared_ptr<IEncodedSink> MakeBreaking(const SinkRequest& request) override {
    return MakeAt("/dev/full", request);
  }
  bool LeftAnything() const override { return !directory_.Names().empty(); }

 private:
  std::shared_ptr<IEncodedSink> MakeAt(const std::string& path, SinkRequest request) const {
    request.path = path;
    request.format = format_;
    std::string error;
    auto sink = FindSinkKind(kFileScheme)->make(request, &error);
    EXPECT_NE(sink, nullptr) << error;
    return sink;
  }

  const TemporaryDirectory directory_;
  const std::string name_;
  const ContainerFormat format_;
};

// One of two sinks behind a fan-out, asked for as if it stood alone.
class BranchSink final : public IEncodedSink {
 public:
  explicit BranchSink(std::shared_ptr<IEncodedSink> sink)
      : fan_out_({{std::move(sink), kQueue, {}}, {std::make_shared<SinkDouble>(), kQueue, {}}}) {}

  // IEncodedSink
  void Write(const video::EncodedFrame& frame) override { fan_out_.Write(frame); }
  void WriteEnd(const video::StreamEnd& end) override { fan_out_.WriteEnd(end); }
  void LimitWaits(std::chrono::milliseconds patience) override { fan_out_.LimitWaits(patience); }
  void Close(std::optional<std::chrono::nanoseconds> end) override { fan_out_.Close(end); }
  [[nodiscard]] WrittenFigures written() const override { return sink().written(); }
  [[nodiscard]] bool waits_for_reader() const override { return sink().waits_for_reader(); }
  [[nodiscard]] bool failed() const override { return fan_out_.broken_off(0); }
  [[nodiscard]] std::string name() const override { return sink().name(); }

 private:
  static constexpr SinkQueue kQueue{SinkPolicy::kLossless, std::size_t{1} << 20, 1000, true};

  [[nodiscard]] const IEncodedSink& sink() const { return fan_out_.sink(0); }

  EncodedFanOut fan_out_;
};

class BranchBench final : public SinkBench {
 public:
  explicit BranchBench(std::unique_ptr<SinkBench> behind) : behind_(std::move(behind)) {}

  std::shared_ptr<IEncodedSink> Make(const SinkRequest& request) override {
    return std::make_shared<BranchSink>(behind_->Make(request));
  }
  std::shared_ptr<IEncodedSink> MakeBreaking(const SinkRequest& request) override {
    return std::make_shared<BranchSink>(behind_->MakeBreaking(request));
  }
  bool LeftAnything() const override { return behind_->LeftAnything(); }

 private:
  const std::unique_ptr<SinkBench> behind_;
};

std::unique_ptr<SinkBench> Double() { return std::make_unique<DoubleBench>(); }
std::unique_ptr<SinkBench> Mp4() {
  return std::make_unique<FileBench>("clip.mp4", ContainerFormat::kMp4);
}
std::unique_ptr<SinkBench> Mkv() {
  return std::make_unique<FileBench>("clip.mkv", ContainerFormat::kMkv);
}
std::unique_ptr<SinkBench> MpegTs() {
  return std::make_unique<FileBench>("clip.ts", ContainerFormat::kMpegTs);
}
std::unique_ptr<SinkBench> AnnexB() {
  return std::make_unique<FileBench>("clip.h264", ContainerFormat::kAnnexB);
}
template <std::unique_ptr<SinkBench> (*kMake)()>
std::unique_ptr<SinkBench> BranchOf() {
  return std::make_unique<BranchBench>(kMake());
}

std::string NameOf(const ::testing::TestParamInfo<SinkCase>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(OnTheDouble, EncodedSinkContract,
                         ::testing::Values(SinkCase{"Double", &Double}), NameOf);
INSTANTIATE_TEST_SUITE_P(On, EncodedSinkContract,
                         ::testing::Values(SinkCase{"Mp4", &Mp4}, SinkCase{"Mkv", &Mkv},
                                           SinkCase{"MpegTs", &MpegTs}, SinkCase{"AnnexB", &AnnexB},
                                           SinkCase{"BranchOfADouble", &BranchOf<&Double>},
                                           SinkCase{"BranchOfAnMp4", &BranchOf<&Mp4>}),
                         NameOf);

}  // namespace
}  // namespace movra::media
