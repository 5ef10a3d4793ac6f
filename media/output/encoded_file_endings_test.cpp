#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "media/ffmpeg/decode_for_test.h"
#include "media/open_descriptors_for_test.h"
#include "media/output/encoded_file_writer.h"
#include "media/output/output_for_test.h"
#include "media/without_rights_of_root_for_test.h"

// How writing is refused, breaks off or is cut short.

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using video::StreamEnd;

constexpr std::array<std::pair<const char*, ContainerFormat>, 4> kContainers{{
    {"a.mp4", ContainerFormat::kMp4},
    {"a.mkv", ContainerFormat::kMkv},
    {"a.ts", ContainerFormat::kMpegTs},
    {"a.h264", ContainerFormat::kAnnexB},
}};

class EncodedFileEndingsTest : public ::testing::Test {
 protected:
  // The program's business; without it a closed pipe ends the process.
  EncodedFileEndingsTest() { signal(SIGPIPE, SIG_IGN); }

  std::shared_ptr<EncodedFileWriter> Create(const std::string& path,
                                            ContainerFormat format = ContainerFormat::kMp4,
                                            bool overwrite = false) {
    EncodedFileWriterOptions options;
    options.path = path;
    options.format = format;
    options.overwrite = overwrite;
    options.on_error = [this](const WriteError& error) { errors_.push_back(error); };
    options.on_end = [this](const StreamEnd& /*end*/) { ++ends_; };
    return EncodedFileWriter::Create(options, &refusal_);
  }

  // A named pipe, and its reading end, which does not block.
  std::string MakePipe(int& reader) {
    const std::string path = directory_ / "pipe";
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GE(reader, 0);
    return path;
  }

  const TemporaryDirectory directory_;
  std::string refusal_;
  std::vector<WriteError> errors_;
  int ends_ = 0;
};

TEST_F(EncodedFileEndingsTest, AnExistingFileIsRefusedAndLeftAlone) {
  const std::string path = directory_ / "a.mp4";
  std::ofstream(path) << "precious";
  EXPECT_EQ(Create(path), nullptr);
  EXPECT_THAT(refusal_, AllOf(HasSubstr(path), HasSubstr("exists already")));
  EXPECT_EQ(ReadWholeFile(path), "precious");
}

TEST_F(EncodedFileEndingsTest, AnExistingFileIsReplacedOnRequestAndNotBeforeTheFirstFrame) {
  const std::string path = directory_ / "a.h264";
  std::ofstream(path) << std::string(100'000, 'x');
  {
    const auto unused = Create(path, ContainerFormat::kAnnexB, true);
    ASSERT_NE(unused, nullptr);
  }
  EXPECT_EQ(ReadWholeFile(path).size(), 100'000U);
  const auto writer = Create(path, ContainerFormat::kAnnexB, true);
  ASSERT_NE(writer, nullptr);
  SampleStream stream;
  stream.WriteMany(*writer, 2);
  writer->Close();
  EXPECT_EQ(ReadWholeFile(path).size(), writer->bytes_written());
  EXPECT_THAT(DecodeFile(path).pictures, SizeIs(2));
}

TEST_F(EncodedFileEndingsTest, AFileHasOneWriterAtATimeUntilItsWriterGoes) {
  const std::string path = directory_ / "a.h264";
  std::ofstream(path) << "old";
  auto first = Create(path, ContainerFormat::kAnnexB, true);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(Create(path, ContainerFormat::kAnnexB, true), nullptr) << "nothing written yet";
  EXPECT_THAT(refusal_, AllOf(HasSubstr(path), HasSubstr("another run is writing it")));
  SampleStream stream;
  stream.WriteMany(*first, 2);
  const std::string written = ReadWholeFile(path);
  EXPECT_EQ(Create(path, ContainerFormat::kAnnexB, true), nullptr);
  first->Close();
  EXPECT_EQ(Create(path, ContainerFormat::kAnnexB, true), nullptr) << "it is still looked at";
  EXPECT_EQ(ReadWholeFile(path), written);
  first.reset();
  EXPECT_NE(Create(path, ContainerFormat::kAnnexB, true), nullptr);
}

TEST_F(EncodedFileEndingsTest, APipeMayHaveSeveralWriters) {
  int reader = -1;
  const std::string path = MakePipe(reader);
  const auto first = Create(path, ContainerFormat::kAnnexB);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(Create(path, ContainerFormat::kAnnexB), nullptr) << refusal_;
  close(reader);
}

TEST_F(EncodedFileEndingsTest, WhatIsOpenedIsClosed) {
  for (const auto& [name, format] : kContainers) {
    { const auto loaded = Create(directory_ / (std::string("first-") + name), format); }
    const auto before = OpenDescriptors();
    for (const bool has_frames : {true, false}) {
      const auto writer = Create(directory_ / name, format, true);
      ASSERT_NE(writer, nullptr) << refusal_;
      EXPECT_EQ(Create(directory_ / name, format), nullptr);
      SampleStream stream;
      if (has_frames) stream.WriteMany(*writer, 2);
    }
    EXPECT_EQ(OpenDescriptors(), before) << name;
  }
}

TEST_F(EncodedFileEndingsTest, PathsThatCannotBeWrittenAreRefusedByName) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {directory_ / "missing/a.mp4", "No such file or directory"},
      {directory_ / "", "Is a directory"},
      {"/proc/a.mp4", "No such file or directory"},
      {directory_ / std::string(300, 'n'), "File name too long"},
      {"", "No such file or directory"},
  };
  for (const auto& [path, reason] : cases) {
    EXPECT_EQ(Create(path), nullptr) << path;
    EXPECT_THAT(refusal_, AllOf(HasSubstr(path), HasSubstr(reason)));
  }
}

TEST_F(EncodedFileEndingsTest, ADirectoryWithoutWritePermissionIsRefused) {
  const std::string locked = directory_ / "locked";
  ASSERT_EQ(mkdir(locked.c_str(), 0500), 0);
  const WithoutRightsOfRoot as_anybody;
  EXPECT_EQ(Create(locked + "/a.mp4"), nullptr);
  EXPECT_THAT(refusal_, HasSubstr("Permission denied"));
}

TEST_F(EncodedFileEndingsTest, APipeThatNobodyReadsIsRefusedInsteadOfWaitedFor) {
  const std::string path = directory_ / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(Create(path), nullptr);
  EXPECT_THAT(refusal_, HasSubstr(path));
}

TEST_F(EncodedFileEndingsTest, WithoutAFrameNoFileIsLeftBehind) {
  for (const bool with_end : {true, false}) {
    const std::string path = directory_ / "a.mp4";
    const auto writer = Create(path);
    ASSERT_NE(writer, nullptr);
    EXPECT_TRUE(std::filesystem::exists(path));
    if (with_end) writer->WriteEnd(StreamEnd());
    writer->Close();
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(writer->failed());
  }
  EXPECT_EQ(ends_, 1);
  EXPECT_THAT(errors_, SizeIs(0));
}

TEST_F(EncodedFileEndingsTest, AnotherFileThatTookThePathIsNotRemoved) {
  const std::string path = directory_ / "a.mp4";
  const auto writer = Create(path);
  ASSERT_NE(writer, nullptr);
  std::filesystem::remove(path);
  std::ofstream(path) << "";
  writer->Close();
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(EncodedFileEndingsTest, AKeyFrameWithoutParameterSetsIsAnErrorAndLeavesNoFile) {
  const std::string path = directory_ / "a.mp4";
  const auto writer = Create(path);
  const std::array<std::uint8_t, 6> data{0, 0, 0, 1, 0x65, 1};
  video::EncodedFrame frame;
  frame.data = data.data();
  frame.size_bytes = data.size();
  frame.key_frame = true;
  writer->Write(frame);
  writer->Write(frame);
  ASSERT_THAT(errors_, SizeIs(1));
  EXPECT_THAT(errors_[0].text, AllOf(HasSubstr(path), HasSubstr("parameter sets")));
  EXPECT_TRUE(writer->failed());
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(EncodedFileEndingsTest, ACodecThatIsNotKnownIsAnErrorByName) {
  const std::string path = directory_ / "a.mp4";
  const auto writer = Create(path);
  const std::array<std::uint8_t, 6> data{0, 0, 0, 1, 0x65, 1};
  video::EncodedFrame frame;
  frame.data = data.data();
  frame.size_bytes = data.size();
  frame.key_frame = true;
  frame.codec = static_cast<video::VideoCodec>(7);
  writer->Write(frame);
  ASSERT_THAT(errors_, SizeIs(1));
  EXPECT_THAT(errors_[0].text, AllOf(HasSubstr(path), HasSubstr("VideoCodec(7)")));
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(EncodedFileEndingsTest, AFullDiskIsAnErrorOfItsOwnKindTheMomentItHappens) {
  for (const auto format : {ContainerFormat::kMp4, ContainerFormat::kMkv, ContainerFormat::kMpegTs,
                            ContainerFormat::kAnnexB}) {
    errors_.clear();
    ends_ = 0;
    const auto writer = Create("/dev/full", format);
    ASSERT_NE(writer, nullptr) << refusal_;
    SampleStream stream;
    stream.WriteMany(*writer, 5);
    ASSERT_THAT(errors_, SizeIs(1));
    EXPECT_EQ(errors_[0].code, WriteErrorKind::kDiskFull);
    EXPECT_THAT(errors_[0].text, AllOf(HasSubstr("/dev/full"), HasSubstr("No space left")));
    EXPECT_TRUE(writer->failed());
    EXPECT_EQ(writer->written().frames, 0U);
    // The stream's end still comes out.
    writer->WriteEnd(StreamEnd());
    EXPECT_EQ(ends_, 1);
    EXPECT_THAT(errors_, SizeIs(1));
  }
}

// No file may grow beyond a size while this lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

TEST_F(EncodedFileEndingsTest, AfterAWriteErrorInMidStreamTheFileEndsBehindItsLastWholeFrame) {
  for (const auto& [name, format] : kContainers) {
    errors_.clear();
    const std::string path = directory_ / name;
    const auto writer = Create(path, format);
    ASSERT_NE(writer, nullptr) << refusal_;
    {
      const FileSizeLimit limit(10'001);
      SampleStream stream;
      stream.WriteMany(*writer, 120);
    }
    ASSERT_THAT(errors_, SizeIs(1)) << name;
    EXPECT_THAT(errors_[0].text, AllOf(HasSubstr(path), HasSubstr("File too large")));
    const DecodedFile file = DecodeFile(path);
    EXPECT_EQ(file.error, "") << name;
    EXPECT_THAT(file.pictures, SizeIs(writer->written().frames)) << name;
    EXPECT_GE(file.pictures.size(), 15U) << name;
    EXPECT_LT(file.pictures.size(), 120U) << name;
    EXPECT_EQ(std::chrono::round<milliseconds>(30 * writer->written().duration),
              std::chrono::seconds(file.pictures.size()));
    EXPECT_EQ(std::filesystem::file_size(path), writer->bytes_written()) << name;
  }
}

TEST_F(EncodedFileEndingsTest, AnErrorBeforeTheFirstWholeFrameLeavesNoFile) {
  const std::string path = directory_ / "a.mp4";
  const auto writer = Create(path);
  ASSERT_NE(writer, nullptr) << refusal_;
  {
    const FileSizeLimit limit(1500);  // More than the header.
    SampleStream stream;
    stream.WriteMany(*writer, 20);
  }
  EXPECT_TRUE(writer->failed());
  EXPECT_EQ(writer->written(), WrittenFigures());
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(EncodedFileEndingsTest, AClosedPipeIsAnErrorOfItsOwnKind) {
  for (const auto format : {ContainerFormat::kMp4, ContainerFormat::kMkv, ContainerFormat::kMpegTs,
                            ContainerFormat::kAnnexB}) {
    errors_.clear();
    int reader = -1;
    const std::string path = MakePipe(reader);
    const auto writer = Create(path, format);
    ASSERT_NE(writer, nullptr) << refusal_;
    SampleStream stream;
    stream.WriteMany(*writer, 3);
    EXPECT_THAT(errors_, SizeIs(0));
    close(reader);
    stream.WriteMany(*writer, 30);
    ASSERT_THAT(errors_, SizeIs(1));
    EXPECT_EQ(errors_[0].code, WriteErrorKind::kClosedPipe);
    writer->Close();
    std::filesystem::remove(path);
  }
}

// Writes one frame that is larger than any pipe; returns when the pipe is full.
std::thread WriteUntilThePipeIsFull(EncodedFileWriter& writer, int reader) {
  std::thread encoder([&writer] {
    std::vector<std::uint8_t> data{0, 0, 0, 1, 0x67, 1, 0, 0, 0, 1, 0x68, 1, 0, 0, 0, 1, 0x65};
    data.resize(1 << 24, 0xAA);
    video::EncodedFrame frame;
    frame.data = data.data();
    frame.size_bytes = data.size();
    frame.key_frame = true;
    writer.Write(frame);
    // Without container the first picture is written with the second.
    frame.timestamp = milliseconds(40);
    writer.Write(frame);
  });
  const int room = fcntl(reader, F_GETPIPE_SZ);
  int waiting = 0;
  while (waiting < room || !writer.waits_for_reader()) {
    EXPECT_EQ(ioctl(reader, FIONREAD, &waiting), 0);
    std::this_thread::yield();
  }
  return encoder;
}

TEST_F(EncodedFileEndingsTest, CloseBreaksOffAWriteThatAPipesReaderBlocks) {
  int reader = -1;
  const auto writer = Create(MakePipe(reader), ContainerFormat::kAnnexB);
  ASSERT_NE(writer, nullptr) << refusal_;
  std::thread encoder = WriteUntilThePipeIsFull(*writer, reader);
  writer->Close();
  encoder.join();
  EXPECT_TRUE(writer->failed());
  EXPECT_FALSE(writer->waits_for_reader());
  // Whoever closes knows.
  EXPECT_THAT(errors_, SizeIs(0));
  close(reader);
}

TEST_F(EncodedFileEndingsTest, ALimitOnWaitsHoldsForAWriteThatWaitsAlreadyAndTheSoonerOneStands) {
  int reader = -1;
  const auto writer = Create(MakePipe(reader), ContainerFormat::kAnnexB);
  ASSERT_NE(writer, nullptr) << refusal_;
  std::thread encoder = WriteUntilThePipeIsFull(*writer, reader);
  writer->LimitWaits(std::chrono::hours(1));
  writer->LimitWaits(milliseconds(20));
  writer->LimitWaits(std::chrono::hours(1));
  encoder.join();
  ASSERT_THAT(errors_, SizeIs(1));
  EXPECT_EQ(errors_[0].code, WriteErrorKind::kInterrupted);
  EXPECT_THAT(errors_[0].text, HasSubstr("its reader takes nothing"));
  close(reader);
}

TEST_F(EncodedFileEndingsTest, ALimitOnWaitsTakesNothingFromAReaderThatReads) {
  int reader = -1;
  const auto writer = Create(MakePipe(reader), ContainerFormat::kAnnexB);
  ASSERT_NE(writer, nullptr) << refusal_;
  writer->LimitWaits(milliseconds(0));
  SampleStream stream;
  stream.WriteMany(*writer, 5);  // The pipe has room for them.
  EXPECT_THAT(errors_, SizeIs(0));
  EXPECT_EQ(writer->written().frames, 5U);
  close(reader);
}

TEST_F(EncodedFileEndingsTest, StandardOutputGetsAPlayableStream) {
  const std::string path = directory_ / "stdout.mp4";
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  std::fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  dup2(file, STDOUT_FILENO);
  const auto writer = Create("-");
  dup2(saved, STDOUT_FILENO);
  close(saved);
  close(file);
  ASSERT_NE(writer, nullptr) << refusal_;
  SampleStream stream;
  stream.WriteMany(*writer, 20);
  writer->WriteEnd(StreamEnd());
  EXPECT_THAT(errors_, SizeIs(0));
  EXPECT_THAT(DecodeFile(path).pictures, SizeIs(20));
}

// The child writes frames, says so, and is killed while it waits for more.
void WriteAndBeKilled(const std::string& path, ContainerFormat format, int frames) {
  std::array<int, 2> ready{};
  ASSERT_EQ(pipe(ready.data()), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    EncodedFileWriterOptions options;
    options.path = path;
    options.format = format;
    const auto writer = EncodedFileWriter::Create(options, nullptr);
    SampleStream stream;
    stream.WriteMany(*writer, frames);
    const char written = 'w';
    if (write(ready[1], &written, 1) == 1) pause();
    _exit(1);
  }
  char written = 0;
  close(ready[1]);
  EXPECT_EQ(read(ready[0], &written, 1), 1);
  close(ready[0]);
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
}

TEST_F(EncodedFileEndingsTest, AKilledProcessLeavesAFileThatLacksAtMostHalfASecond) {
  for (const auto& [name, format] : kContainers) {
    // Counts that leave fragments of every length open.
    for (const int frames : {16, 95, 103}) {
      const std::string path = directory_ / std::to_string(frames) + name;
      WriteAndBeKilled(path, format, frames);
      const DecodedFile file = DecodeFile(path);
      EXPECT_GE(file.pictures.size(), static_cast<std::size_t>(frames - 15)) << path;
      EXPECT_LE(file.pictures.size(), static_cast<std::size_t>(frames)) << path;
    }
  }
}

}  // namespace
}  // namespace movra::media
