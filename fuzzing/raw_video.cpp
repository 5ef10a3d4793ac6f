#include <algorithm>
#include <vector>

#include "fuzzing/fuzz_targets.h"
#include "media/bitstream/annex_b.h"
#include "media/bitstream/h264.h"
#include "media/file/y4m_header.h"
#include "media/file/y4m_reader.h"

namespace movra::fuzzing {

void FuzzY4mHeader(Bytes bytes) {
  const auto header = media::ParseY4mHeader(TextOf(bytes));
  if (!header) return;
  Require(header->size.width > 0 && header->size.height > 0, "a picture has a size");
  Require(header->rate_numerator > 0 && header->rate_denominator > 0, "a video has a rate");
}

void FuzzY4mFile(Bytes bytes) {
  const std::string text = TextOf(bytes);
  const auto header = media::ParseY4mHeader(text.substr(0, text.find('\n')));
  // Room for a larger picture takes longer than the bytes that there are to look at.
  if (header && header->size.width > 1'000'000 / header->size.height) return;
  const MemoryFile file(bytes);
  if (!media::Y4mReader::CanRead(file.path())) return;
  media::Y4mReader reader;
  if (reader.Open(file.path()).error_code == 0) Play(reader);
}

void FuzzAnnexB(Bytes bytes) {
  const std::uint8_t* end = bytes.data();
  for (const Bytes unit : media::NalUnits(bytes)) {
    Require(!unit.empty() && unit.data() >= end, "units stand one behind the other");
    end = unit.data() + unit.size();
    Require(end <= bytes.data() + bytes.size(), "units lie within the stream");
    Require(unit.back() != 0, "a unit does not end in zero");
    Require(media::h264::NalUnitType(unit) < 32, "a type has five bits");
  }
  const std::vector<std::uint8_t> sets = media::h264::ParameterSets(bytes);
  Require(media::h264::ParameterSets(sets) == sets, "parameter sets hold nothing else");
  Require(!media::h264::IsKeyFrame(sets), "parameter sets are no picture");
  const std::string codecs = media::h264::CodecsString(bytes);
  Require(codecs.empty() || codecs.size() == std::string("avc1.PPCCLL").size(),
          "a codecs string has six digits");
}

}  // namespace movra::fuzzing
