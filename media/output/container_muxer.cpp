#include "media/output/container_muxer.h"

namespace movra::media {
namespace {

// The byte stream is what encoders give, so there is nothing to do but to write it.
class AnnexBMuxer final : public IContainerMuxer {
 public:
  explicit AnnexBMuxer(OutputFile& file) : file_(file) {}

  std::string Start(const MuxHeader& /*header*/) override { return {}; }

  std::string Write(const MuxPacket& packet) override {
    if (!file_.Write(packet.data.data(), packet.data.size())) return "the file refused it";
    file_.MarkWhole();
    ++pictures_;
    return {};
  }

  std::string Finish() override { return {}; }

  [[nodiscard]] std::uint64_t pictures_in_file() const override { return pictures_; }

 private:
  OutputFile& file_;
  std::uint64_t pictures_ = 0;
};

}  // namespace

std::unique_ptr<IContainerMuxer> MakeContainerMuxer(ContainerFormat format, OutputFile& file,
                                                    std::string& error) {
  if (format == ContainerFormat::kAnnexB) return std::make_unique<AnnexBMuxer>(file);
  return MakeLibavMuxer(format, file, error);
}

}  // namespace movra::media
