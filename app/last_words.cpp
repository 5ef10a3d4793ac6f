#include "app/last_words.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <new>
#include <system_error>

#include "app/exit_codes.h"

namespace movra::app {
namespace {

// Takes no memory: there may be none.
[[noreturn]] void End(ExitCode code, const char* what, const char* detail) {
  std::array<char, 256> line{};
  const int length =
      std::snprintf(line.data(), line.size(), "movra-producer: %s%s\n", what, detail);
  const auto size = std::min(static_cast<std::size_t>(std::max(length, 0)), line.size() - 1);
  static_cast<void>(!write(STDERR_FILENO, line.data(), size));
  _exit(static_cast<int>(code));
}

[[noreturn]] void OnTerminate() {
  try {
    if (const auto exception = std::current_exception()) std::rethrow_exception(exception);
  } catch (const std::bad_alloc&) {
    End(ExitCode::kNoResources, "there is not enough memory", "");
  } catch (const std::system_error& error) {
    const bool is_full = error.code() == std::errc::resource_unavailable_try_again;
    if (is_full) End(ExitCode::kNoResources, "no more threads can be started", "");
    End(ExitCode::kInternal, "an error that should not happen: ", error.what());
  } catch (const std::exception& error) {
    End(ExitCode::kInternal, "an error that should not happen: ", error.what());
  } catch (...) {
  }
  End(ExitCode::kInternal, "an error that should not happen", "");
}

}  // namespace

void InstallLastWords() { std::set_terminate(&OnTerminate); }

}  // namespace movra::app
