// What a killed run may leave torn.

#ifndef MOVRA_APP_TORN_END_FOR_TEST_H_
#define MOVRA_APP_TORN_END_FOR_TEST_H_

#include <cstdint>
#include <string>

namespace movra::app {

// How many of the file's bytes come before a last write that may be torn: a fragment of an .mp4, a
// cluster of an .mkv, a picture of a .ts. The whole file if it ends with a whole one, or if what is
// behind them is anything but the beginning of exactly one; then a strict reader objects to it.
[[nodiscard]] std::uintmax_t BytesBeforeATornEnd(const std::string& path);

}  // namespace movra::app

#endif  // MOVRA_APP_TORN_END_FOR_TEST_H_
