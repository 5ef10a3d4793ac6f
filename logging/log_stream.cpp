#include "logging/log_stream.h"

#include <array>
#include <charconv>
#include <locale>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "logging/log_sink.h"

namespace movra {
namespace internal {

// The text and the filters of a line being built. Setting up a stream costs more than the rest of a
// line, so a thread keeps one buffer and uses it again; a nested line makes another one.
class LogLineBuffer : private std::streambuf {
 public:
  LogLineBuffer() : out(this) {
    out.imbue(std::locale::classic());  // a log's numbers do not depend on the user's language
    Reset();
  }

  void Reset() {
    text.clear();
    filters.clear();
    out.clear();
    out.flags(std::ios_base::dec | std::ios_base::skipws | std::ios_base::boolalpha);
    out.width(0);
    out.precision(6);
    out.fill(' ');
  }

  std::string text;
  std::vector<PendingFilter> filters;
  std::ostream out;

 private:
  int_type overflow(int_type character) override {
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
      text.push_back(traits_type::to_char_type(character));
    }
    return traits_type::not_eof(character);
  }

  std::streamsize xsputn(const char* characters, std::streamsize count) override {
    text.append(characters, static_cast<std::size_t>(count));
    return count;
  }
};

namespace {

// The buffer that the thread's next line will use. A plain pointer, and apart from its owner,
// because lines are written even after the thread's objects have been destroyed.
thread_local LogLineBuffer* spare_buffer = nullptr;
thread_local bool thread_is_ending = false;

struct SpareBufferOwner {
  ~SpareBufferOwner() {
    thread_is_ending = true;
    delete std::exchange(spare_buffer, nullptr);
  }
};

LogLineBuffer* TakeBuffer() {
  if (spare_buffer != nullptr) return std::exchange(spare_buffer, nullptr);
  return new LogLineBuffer;
}

}  // namespace

void LogLineBufferReturner::operator()(LogLineBuffer* buffer) const {
  if (thread_is_ending || spare_buffer != nullptr) {
    delete buffer;
    return;
  }
  thread_local const SpareBufferOwner owner;
  buffer->Reset();
  spare_buffer = buffer;
}

}  // namespace internal

namespace {

template <class T>
void AppendDigits(std::string& text, T value) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  text.append(digits.data(), end);
}

}  // namespace

LogStream::LogStream(const char* file, int line, const char* function, int level,
                     const void* object)
    : file_(file),
      line_(line),
      function_(function),
      level_(level),
      object_(object),
      value_filtering_(LogValueFiltering()),
      buffer_(internal::TakeBuffer()),
      out_(buffer_->out) {}

LogStream::~LogStream() {
  if (!internal::ShouldWriteLine(file_, line_, function_, buffer_->filters)) return;
  movra_logging::SendToLogSinks({.file = file_,
                                 .line = line_,
                                 .function = function_,
                                 .level = level_,
                                 .text = buffer_->text,
                                 .object = object_});
}

LogStream& LogStream::operator<<(const char* text) {
  return *this << std::string_view(text != nullptr ? text : "(null)");
}

LogStream& LogStream::operator<<(std::string_view text) {
  if (out_.width() == 0) {
    buffer_->text.append(text);
  } else {
    out_ << text;
  }
  return *this;
}

LogStream& LogStream::operator<<(LogTraceId trace) {
  buffer_->text.append("[trace:");
  AppendDecimal(static_cast<unsigned long long>(trace.trace().id()));
  buffer_->text.push_back(']');
  return *this;
}

LogStream& LogStream::operator<<(LogTag tag) {
  buffer_->text.append(tag.text());
  return *this;
}

LogStream& LogStream::operator<<(const LogFilterDescHolder<kCombinedByOr>& holder) {
  if (holder.description() != nullptr) {
    buffer_->filters.push_back({.description = holder.description()});
  }
  return *this;
}

LogStream& LogStream::operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
  manipulator(out_);
  return *this;
}

void LogStream::AppendDecimal(long long value) { AppendDigits(buffer_->text, value); }

void LogStream::AppendDecimal(unsigned long long value) { AppendDigits(buffer_->text, value); }

void LogStream::AddNumber(unsigned long long value) {
  buffer_->filters.push_back({.number = value});
}

}  // namespace movra
