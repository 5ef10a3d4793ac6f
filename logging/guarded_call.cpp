#include "logging/guarded_call.h"

#include <exception>

#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace movra_logging::internal {

std::string DescribeThrown() {
  try {
    throw;
  } catch (const std::exception& error) {
    const char* const text = error.what();
    return text != nullptr ? text : "an exception without a text";
  } catch (...) {
    return "something that is no std::exception";
  }
}

void ReportThrown(std::string_view whose) noexcept {
  if (!ShouldCreateLogMessage(kLogLevelWarning)) return;
  movra::LogStream("../logging/guarded_call", __LINE__, __func__, kLogLevelWarning, nullptr)
      << whose << " threw: " << DescribeThrown();
}

}  // namespace movra_logging::internal
