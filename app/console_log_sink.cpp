#include "app/console_log_sink.h"

#include <string>
#include <string_view>

namespace movra::app {
namespace {

using movra_logging::LogRecord;

char LevelLetter(int level) {
  if (level >= movra_logging::kLogLevelError) return 'E';
  return level == movra_logging::kLogLevelWarning ? 'W' : 'I';
}

}  // namespace

ConsoleLogSink::ConsoleLogSink(Console& console, int min_level) : console_(console) {
  movra_logging::SetMinLogLevel(min_level);
  movra_logging::AddLogSink(this);
}

ConsoleLogSink::~ConsoleLogSink() { movra_logging::RemoveLogSink(this); }

void ConsoleLogSink::Send(const LogRecord& record) {
  const std::string_view name = record.file.substr(record.file.rfind('/') + 1);
  std::string line;
  line += LevelLetter(record.level);
  line += ' ';
  line += name;
  line += ':' + std::to_string(record.line) + ' ';
  line += record.function;
  line += "] ";
  line += record.text;
  console_.Line(line);
}

}  // namespace movra::app
