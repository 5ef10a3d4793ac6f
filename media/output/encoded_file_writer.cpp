#include "media/output/encoded_file_writer.h"

#include <algorithm>
#include <span>
#include <utility>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/bitstream/codec_bitstream.h"
#include "video/to_string.h"

namespace movra::media {

using std::chrono::nanoseconds;
using video::EncodedFrame;

namespace {

// A reader that is merely slow still gets the end of the stream.
constexpr std::chrono::milliseconds kClosingPatience{200};

}  // namespace

std::shared_ptr<EncodedFileWriter> EncodedFileWriter::Create(
    const EncodedFileWriterOptions& options, std::string* error) {
  std::string failure;
  auto file = OutputFile::Open(options.path, options.overwrite, failure);
  auto muxer = file == nullptr ? nullptr : MakeContainerMuxer(options.format, *file, failure);
  if (muxer == nullptr) {
    if (error != nullptr) {
      *error = failure;
    } else if (options.on_error) {
      options.on_error({.text = failure});
    }
    return nullptr;
  }
  return std::shared_ptr<EncodedFileWriter>(
      new EncodedFileWriter(options, std::move(file), std::move(muxer)));
}

EncodedFileWriter::EncodedFileWriter(EncodedFileWriterOptions options,
                                     std::unique_ptr<OutputFile> file,
                                     std::unique_ptr<IContainerMuxer> muxer)
    : options_(std::move(options)),
      file_(std::move(file)),
      muxer_(std::move(muxer)),
      time_line_(options_.origin) {}

EncodedFileWriter::~EncodedFileWriter() { Close(std::nullopt); }

void EncodedFileWriter::Write(const EncodedFrame& frame) {
  std::optional<WriteError> error;
  {
    const std::lock_guard lock(mutex_);
    if (muxer_ == nullptr) return TellRefusalOnce();
    error = WriteFrame(frame);
  }
  if (error.has_value() && !closed_ && options_.on_error) options_.on_error(*error);
}

void EncodedFileWriter::WriteEnd(const video::StreamEnd& end) {
  std::optional<WriteError> error;
  {
    const std::lock_guard lock(mutex_);
    if (!options_.stays_open && std::exchange(ended_, true)) return;
    if (end.end_time && time_line_.last()) StandUntil(time_line_.PlaceOf(*end.end_time));
    if (!options_.stays_open) error = Finish();
  }
  if (error.has_value() && !closed_ && options_.on_error) options_.on_error(*error);
  if (!closed_ && options_.on_end) options_.on_end(end);
}

void EncodedFileWriter::Close(std::optional<nanoseconds> end) {
  // First, because a blocked Write holds the lock.
  closed_ = true;
  file_->LimitWaits(kClosingPatience);
  const std::lock_guard lock(mutex_);
  if (end) StandUntil(*end);
  static_cast<void>(Finish());
}

WrittenFigures EncodedFileWriter::written() const {
  const std::lock_guard lock(figures_mutex_);
  WrittenFigures figures = figures_;
  figures.file_bytes = file_->bytes_written();
  return figures;
}

std::string EncodedFileWriter::name() const {
  return options_.path == "-" ? "standard output" : "'" + options_.path + "'";
}

std::optional<WriteError> EncodedFileWriter::WriteFrame(const EncodedFrame& frame) {
  const std::optional<nanoseconds> before = time_line_.last();
  if (!before) {
    // A decoder can only begin with a key frame.
    if (!frame.key_frame) return std::nullopt;
    if (auto error = Begin(frame)) return error;
  } else if (frame.codec != codec_) {
    return Check("it holds " + video::VideoCodecToString(codec_) + ", and no " +
                 video::VideoCodecToString(frame.codec) + " besides");
  }
  const nanoseconds time = time_line_.Add(frame.timestamp, frame.duration);
  if (!before) first_time_ = time;
  last_duration_ = frame.duration;
  const std::span data(frame.data, frame.size_bytes);
  const std::string error = muxer_->Write({data, time, frame.duration, frame.key_frame, 0});
  // A container writes the pictures that it has collected when the next one comes.
  NoteWhole();
  if (auto failure = Check(error)) return failure;
  Count(frame, time, before.value_or(time));
  NoteWhole();
  return std::nullopt;
}

std::optional<WriteError> EncodedFileWriter::Begin(const EncodedFrame& key_frame) {
  const CodecBitstream* const bitstream = FindCodecBitstream(key_frame.codec);
  if (bitstream == nullptr) {
    return Check("it cannot hold " + video::VideoCodecToString(key_frame.codec));
  }
  codec_ = key_frame.codec;
  auto sets = ParameterSetsOf(*bitstream, {key_frame.data, key_frame.size_bytes});
  if (!sets) return Check("the first key frame has no parameter sets");
  const MuxTrack track{key_frame.size, key_frame.color, *std::move(sets), codec_};
  return Check(muxer_->Start({&track, 1}));
}

void EncodedFileWriter::TellRefusalOnce() {
  // A file that broke off was told of, and whoever closes one knows.
  if (!ended_ || failed_ || closed_ || std::exchange(refusal_is_told_, true)) return;
  if (!movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelWarning)) return;
  LogStream("../../media/output/encoded_file_writer", __LINE__, __func__,
            movra_logging::kLogLevelWarning, nullptr)
      << name() << " is finished, because its source has ended: nothing of the next source is "
      << "written into it, which only a file that stays open would take";
}

void EncodedFileWriter::Count(const EncodedFrame& frame, nanoseconds time,
                              nanoseconds time_before) {
  const std::lock_guard lock(figures_mutex_);
  ++figures_.frames;
  figures_.key_frames += frame.key_frame ? 1 : 0;
  figures_.bytes += frame.size_bytes;
  figures_.duration = time + frame.duration - first_time_;
  figures_.longest_wait = std::max(figures_.longest_wait, time - time_before);
}

void EncodedFileWriter::NoteWhole() {
  if (figures_.frames == muxer_->packets_in_sink()) whole_ = figures_;
}

void EncodedFileWriter::StandUntil(nanoseconds end) {
  if (muxer_ == nullptr || !time_line_.last()) return;
  const nanoseconds duration = end - *time_line_.last();
  if (duration.count() <= 0) return;
  const std::lock_guard lock(figures_mutex_);
  figures_.duration += duration - std::exchange(last_duration_, duration);
}

std::optional<WriteError> EncodedFileWriter::Finish() {
  if (muxer_ == nullptr) return std::nullopt;
  std::optional<WriteError> error;
  if (time_line_.last()) {
    const std::string failure = muxer_->Finish({&last_duration_, 1});
    NoteWhole();
    error = Check(failure);
  }
  muxer_.reset();
  file_->Close();
  return error;
}

std::optional<WriteError> EncodedFileWriter::Check(const std::string& muxer_error) {
  if (muxer_error.empty()) return std::nullopt;
  failed_ = true;
  muxer_.reset();
  {
    const std::lock_guard lock(figures_mutex_);
    figures_ = whole_;
  }
  // The file knows best what happened to it; its own words are lost on the way through a library.
  WriteError error = file_->error().value_or(
      WriteError{WriteErrorKind::kFailed, options_.path + ": " + muxer_error});
  file_->Close();
  return error;
}

}  // namespace movra::media
