#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "media/output/encoded_file_writer.h"

// Of builds without FFmpeg's libraries.

namespace movra::media {
namespace {

TEST(NoLibavMuxer, ContainersAreRefusedWithTheReasonAndLeaveNoFile) {
  EncodedFileWriterOptions options;
  options.path = ::testing::TempDir() + "/movra_no_libav.mp4";
  std::string error;
  EXPECT_EQ(EncodedFileWriter::Create(options, &error), nullptr);
  EXPECT_THAT(error, ::testing::HasSubstr("MOVRA_WITH_GPL"));
  EXPECT_FALSE(std::filesystem::exists(options.path));
}

TEST(NoLibavMuxer, TheByteStreamNeedsNoLibrary) {
  EncodedFileWriterOptions options;
  options.path = ::testing::TempDir() + "/movra_no_libav.h264";
  options.format = ContainerFormat::kAnnexB;
  std::string error;
  EXPECT_NE(EncodedFileWriter::Create(options, &error), nullptr) << error;
}

}  // namespace
}  // namespace movra::media
