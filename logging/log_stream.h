// One log line, from its first element to the sinks.
//
// A line is a temporary that lives for one expression; destroying it hands the text to the sinks,
// unless the line's filters say that it repeats (logging/log_filter.h). The caller asks first
// whether the level is on:
//
//   if (movra_logging::ShouldCreateLogMessage(1)) {
//     movra::LogStream(file, __LINE__, __func__, 1, nullptr)
//         << LogTraceId(trace) << LogTag(tag) << " " << "Invalid capture status:" << status;
//   }
//
// What is printed how:
//   text, std::string          as it stands
//   integers, enumerations,    as a number by the stream's format flags (std::hex, std::setw ...;
//   and their std::atomics     decimal at first), an enumeration through its own operator<< to
//                              std::ostream if it has one; attaches a filter
//   bool, characters           as text ("true", 'x'); no filter
//   anything else              through its operator<< to std::ostream; no filter
//
// So a size or an address attaches no filter, because it is text by the time it is printed.
//
// Threads: a line belongs to the thread that builds it. Lines may nest: an argument of a line may
// write a line of its own. The texts given to the constructor must outlive the line.

#ifndef MOVRA_LOGGING_LOG_STREAM_H_
#define MOVRA_LOGGING_LOG_STREAM_H_

#include <atomic>
#include <concepts>
#include <memory>
#include <ostream>
#include <string_view>
#include <type_traits>

#include "logging/log_filter.h"
#include "logging/log_identity.h"

namespace movra {
namespace internal {

class LogLineBuffer;

// Returns a finished line's buffer to its thread, which uses it again for the next line.
struct LogLineBufferReturner {
  void operator()(LogLineBuffer* buffer) const;
};

template <class T>
concept LogCharacter =
    std::same_as<T, char> || std::same_as<T, signed char> || std::same_as<T, unsigned char>;

template <class T>
concept LogNumber =
    (std::integral<T> && !std::same_as<T, bool> && !LogCharacter<T>) || std::is_enum_v<T>;

template <class T>
concept OstreamInsertable = requires(std::ostream& out, const T& value) {
  out << value;
};

template <class T>
concept LogPrintable =
    !LogNumber<T> && !std::convertible_to<const T&, std::string_view> && OstreamInsertable<T>;

}  // namespace internal

class LogStream {
 public:
  // Begins a line. The last argument is the object that the line is about, null for none; sinks
  // get its address, and it is not printed.
  LogStream(const char* file, int line, const char* function, int level, const void* object);
  ~LogStream();
  LogStream(const LogStream&) = delete;
  LogStream& operator=(const LogStream&) = delete;

  LogStream& operator<<(const char* text);  // a null pointer prints "(null)"
  LogStream& operator<<(std::string_view text);
  LogStream& operator<<(LogTraceId trace);
  LogStream& operator<<(LogTag tag);
  LogStream& operator<<(const LogFilterDescHolder<kCombinedByOr>& holder);
  LogStream& operator<<(std::ios_base& (*manipulator)(std::ios_base&));

  template <internal::LogNumber T>
  LogStream& operator<<(const T& value) {
    if constexpr (std::is_enum_v<T> && internal::OstreamInsertable<T>) {
      out_ << value;
    } else if constexpr (std::is_enum_v<T>) {
      PrintInteger(+static_cast<std::underlying_type_t<T>>(value));
    } else {
      PrintInteger(value);
    }
    if (value_filtering_) AddNumber(AsFilterValue(value));
    return *this;
  }

  template <class T>
  LogStream& operator<<(const std::atomic<T>& value) {
    return *this << value.load();
  }

  template <internal::LogPrintable T>
  LogStream& operator<<(const T& value) {
    out_ << value;
    return *this;
  }

 private:
  // Signed integers are sign-extended; unsigned ones and enumerations, whatever they are made of,
  // are zero-extended.
  template <class T>
  static unsigned long long AsFilterValue(T value) {
    if constexpr (std::is_enum_v<T>) {
      using Number = std::underlying_type_t<T>;
      if constexpr (std::same_as<Number, bool>) {
        return static_cast<unsigned long long>(value);
      } else {
        return static_cast<std::make_unsigned_t<Number>>(value);
      }
    } else {
      return static_cast<unsigned long long>(value);
    }
  }

  template <class T>
  void PrintInteger(T value) {
    if (!PrintsPlainDecimals()) {
      out_ << value;
    } else if constexpr (std::is_signed_v<T>) {
      AppendDecimal(static_cast<long long>(value));
    } else {
      AppendDecimal(static_cast<unsigned long long>(value));
    }
  }

  // Whether a number is its digits and nothing else under the format flags as they are now.
  [[nodiscard]] bool PrintsPlainDecimals() const {
    constexpr auto kMatters = std::ios_base::basefield | std::ios_base::showpos;
    return (out_.flags() & kMatters) == std::ios_base::dec && out_.width() == 0;
  }

  void AppendDecimal(long long value);
  void AppendDecimal(unsigned long long value);
  void AddNumber(unsigned long long value);

  const char* const file_;
  const int line_;
  const char* const function_;
  const int level_;
  const void* const object_;
  const bool value_filtering_;  // the process's switch when the line began
  const std::unique_ptr<internal::LogLineBuffer, internal::LogLineBufferReturner> buffer_;
  std::ostream& out_;  // writes into the buffer
};

}  // namespace movra

#endif  // MOVRA_LOGGING_LOG_STREAM_H_
