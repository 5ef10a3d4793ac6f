// What the fuzzers begin with and what they have found is played like any other test.

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "fuzzing/fuzz_targets.h"
#include "media/open_descriptors_for_test.h"

namespace movra::fuzzing {
namespace {

struct Target {
  const char* name;
  void (*function)(Bytes);
};

constexpr Target kTargets[] = {
#include "targets.inc"
};

// Or the test would be listed under the addresses of these.
void PrintTo(const Target& target, std::ostream* out) { *out << target.name; }

class Corpus : public testing::TestWithParam<Target> {};

TEST_P(Corpus, IsPlayedWithoutAFault) {
  const std::filesystem::path directory = std::filesystem::path(MOVRA_CORPUS) / GetParam().name;
  GetParam().function({});  // What is loaded once stays open.
  const auto before = media::OpenDescriptors();
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    SCOPED_TRACE(entry.path().string());
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    GetParam().function(bytes);
    // Half of it is a file that breaks off.
    GetParam().function(Bytes(bytes).first(bytes.size() / 2));
    ++files;
  }
  EXPECT_GE(files, 3);
  EXPECT_EQ(media::OpenDescriptors(), before);
}

INSTANTIATE_TEST_SUITE_P(Fuzzing, Corpus, testing::ValuesIn(kTargets),
                         [](const auto& target) { return std::string(target.param.name); });

}  // namespace
}  // namespace movra::fuzzing
