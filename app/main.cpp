// movra-producer: the producer as a program.

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "app/cli.h"
#include "app/console.h"
#include "app/devices_command.h"
#include "app/last_words.h"
#include "app/run_command.h"
#include "core/dispatch_queue.h"
#include "core/run_loop.h"
#include "core/service_center.h"
#include "media/application/signal_watcher.h"
#include "video/camera_service.h"

namespace movra::app {
namespace {

// A process may be started without standard descriptors. The next files that it opens would get
// their numbers, and a message would land in a stream. What takes their place can only be read, so
// that writing is an error as it should be.
void OccupyStandardDescriptors() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDONLY) < 0) return;
  }
}

ExitCode Print(const std::string& text, Console& console) {
  std::cout << text << std::flush;
  if (std::cout) return ExitCode::kSuccess;
  console.Line("movra-producer: standard output could not be written");
  return ExitCode::kWriteFailed;
}

ExitCode Devices(const DevicesOptions& options, Console& console) {
  using video::CameraListInterface;
  return Print(DevicesText(options, video::ICameraService::GetCameraDeviceList(
                                        CameraListInterface::GetCameraListMode::kAll)),
               console);
}

ExitCode Run(const RunOptions& options, std::chrono::steady_clock::time_point start,
             Console& console) {
  const auto loop = std::make_shared<core::RunLoop>();
  core::SetMainQueue(loop);
  const ExitCode code = RunCommand(options, start, loop, console);
  core::ServiceCenter::Instance().Clear();
  core::SetMainQueue(nullptr);
  return code;
}

int Main(int argc, char** argv) {
  const auto start = std::chrono::steady_clock::now();
  media::HoldBackSignals();
  InstallLastWords();
  OccupyStandardDescriptors();
  Console console(STDERR_FILENO);
  const Result<Command> command = ParseCommandLine({argv + 1, argv + argc});
  if (const Failure* const failure = FailureOf(command)) {
    console.Line("movra-producer: " + failure->text);
    return static_cast<int>(failure->code);
  }
  ExitCode code = ExitCode::kInternal;
  if (const auto* text = std::get_if<PrintText>(&ValueOf(command)))
    code = Print(text->text, console);
  if (const auto* devices = std::get_if<DevicesOptions>(&ValueOf(command))) {
    code = Devices(*devices, console);
  }
  if (const auto* run = std::get_if<RunOptions>(&ValueOf(command))) {
    code = Run(*run, start, console);
  }
  return static_cast<int>(code);
}

}  // namespace
}  // namespace movra::app

int main(int argc, char** argv) { return movra::app::Main(argc, argv); }
