#ifndef MOVRA_MEDIA_OUTPUT_OUTPUT_FILE_H_
#define MOVRA_MEDIA_OUTPUT_OUTPUT_FILE_H_

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "media/output/byte_sink.h"
#include "media/output/write_error.h"

namespace movra::media {

// A file, a pipe or standard output that bytes go into, unbuffered, so that an error is known when
// it happens and what was written survives the process.
//
// The file exists from Open on, which is what makes sure that it can be written, but nothing is
// left behind of a run that wrote nothing: a file that Open made is removed again if it is still
// empty, and one that it is to overwrite is not touched before the first byte. After an error a
// file is cut back to where its writer last called it whole, so that it does not end in the middle
// of a picture.
//
// A regular file has one such writer at a time, in all programs, from Open until this goes: two
// runs that both may overwrite it would mix their bytes.
//
// One thread at a time, except for what says otherwise.
class OutputFile final : public IByteSink {
 public:
  // "-" is standard output. Null, and for people what was wrong, if the path cannot be written; a
  // regular file that exists is one unless it may be overwritten, and that somebody writes is one.
  [[nodiscard]] static std::unique_ptr<OutputFile> Open(const std::string& path, bool overwrite,
                                                        std::string& error);

  ~OutputFile() override;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // IByteSink
  [[nodiscard]] bool Write(const std::uint8_t* data, std::size_t size) override;
  [[nodiscard]] bool Seek(std::int64_t position) override;
  [[nodiscard]] bool IsSeekable() const override { return seekable_; }
  void MarkWhole() override { whole_ = bytes_written_; }
  [[nodiscard]] const std::optional<WriteError>& error() const override { return error_; }
  // Any thread.
  [[nodiscard]] std::uint64_t bytes_written() const override { return bytes_written_; }

  // Nothing is written any more, and the reader of a pipe sees the end.
  void Close();

  // Any thread. From now on all writes together wait for the reader of a pipe no longer than this;
  // then that is an error. An earlier limit that ends sooner stands.
  void LimitWaits(std::chrono::milliseconds patience);
  // Any thread. Whether a write waits for the reader of a pipe at this moment.
  [[nodiscard]] bool waits_for_reader() const { return waits_for_reader_; }

 private:
  OutputFile(std::string path, int fd, int wake_fd, bool made);

  bool Fail(const char* what, int error_number);
  void CutBackToWhole();
  // Waits until a part can be written without blocking; the size of that part, 0 after an error.
  std::size_t WaitForReader(std::size_t size);
  void RemoveIfEmpty() const;

  const std::string path_;
  int fd_;             // -1: closed; a regular file only when this goes.
  const int wake_fd_;  // Readable when the limit has changed. Open for as long as this is.
  const bool made_;    // By Open.
  bool regular_ = false;
  bool seekable_ = false;
  bool begun_ = false;
  bool closed_ = false;
  std::uint64_t position_ = 0;
  std::uint64_t whole_ = 0;
  std::optional<WriteError> error_;
  std::atomic<std::chrono::steady_clock::time_point> wait_limit_{
      std::chrono::steady_clock::time_point::max()};
  std::atomic<bool> waits_for_reader_ = false;
  std::atomic<std::uint64_t> bytes_written_ = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_OUTPUT_FILE_H_
