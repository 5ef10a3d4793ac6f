// What every frame source promises (media/capture/frame_source.h), whoever made it. A program of
// tests links frame_source_contract_for_test.cpp, and says with INSTANTIATE_TEST_SUITE_P which
// sources it is run on.

#ifndef MOVRA_MEDIA_CAPTURE_FRAME_SOURCE_CONTRACT_FOR_TEST_H_
#define MOVRA_MEDIA_CAPTURE_FRAME_SOURCE_CONTRACT_FOR_TEST_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "media/capture/frame_source.h"

namespace movra::media {

// One kind of source as the suite sees it. Each source that is made is a new one.
struct SourceCase {
  std::string name;
  // Gives ten frames at least without waiting for anybody.
  std::function<std::unique_ptr<FrameSource>()> make;
  std::optional<std::uint64_t> frames;  // Of one that ends: how many there are.
};

class FrameSourceContract : public ::testing::TestWithParam<SourceCase> {};

// A source that waits inside Open, or behind some frames inside Read.
struct WaitingSource {
  std::shared_ptr<const void> kept;  // Without which it would not wait.
  std::unique_ptr<FrameSource> source;
  int frames = 0;  // That it gives before.
  // Returns once it waits. Empty where nobody can tell; then any moment has to do.
  std::function<void()> wait_until_waiting;
};

struct WaitingSourceCase {
  std::string name;
  bool waits_in_open = false;
  std::function<WaitingSource()> make;
};

class WaitingSourceContract : public ::testing::TestWithParam<WaitingSourceCase> {};

// A source that cannot be opened.
struct RefusedSourceCase {
  std::string name;
  std::function<std::unique_ptr<FrameSource>()> make;
};

class RefusedSourceContract : public ::testing::TestWithParam<RefusedSourceCase> {};

// GoogleTest's name for a parameter.
template <class Case>
std::string NameOf(const ::testing::TestParamInfo<Case>& info) {
  return info.param.name;
}
inline void PrintTo(const SourceCase& source, std::ostream* out) { *out << source.name; }
inline void PrintTo(const WaitingSourceCase& source, std::ostream* out) { *out << source.name; }
inline void PrintTo(const RefusedSourceCase& source, std::ostream* out) { *out << source.name; }

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_FRAME_SOURCE_CONTRACT_FOR_TEST_H_
