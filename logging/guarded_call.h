// The boundary to code that is not ours: what it throws ends there.
//
// A listener, writer or handler of the application runs on threads that know nothing of it, where
// an exception that nobody expects would end the process or leave its caller half done. Its call is
// guarded: what it throws is told in one warning line, and whoever called it detaches it, so that
// it is told once.
//
//   if (!movra_logging::CallGuarded("The writer of the big stream",
//                                   [&] { writer->OnFrame(frame); })) {
//     writer = nullptr;
//   }
//
// Threads: any. Hold no lock, because log sinks are called.

#ifndef MOVRA_LOGGING_GUARDED_CALL_H_
#define MOVRA_LOGGING_GUARDED_CALL_H_

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace movra_logging {
namespace internal {

// What the exception says that is being handled. Called inside a handler only.
[[nodiscard]] std::string DescribeThrown();

// Writes the warning line about the exception that is being handled.
void ReportThrown(std::string_view whose) noexcept;

}  // namespace internal

// Runs `call` and returns whether it returned; what it returns is dropped. `whose` begins the line
// about what it threw: a text, or a callable that makes one, which is called for that line alone.
template <class Whose, class Call>
[[nodiscard]] bool CallGuarded(const Whose& whose, Call&& call) noexcept {
  try {
    std::forward<Call>(call)();
    return true;
  } catch (...) {
    if constexpr (std::is_invocable_v<const Whose&>) {
      internal::ReportThrown(whose());
    } else {
      internal::ReportThrown(whose);
    }
    return false;
  }
}

}  // namespace movra_logging

#endif  // MOVRA_LOGGING_GUARDED_CALL_H_
