#ifndef MOVRA_MEDIA_FILE_CLIP_FOR_TEST_H_
#define MOVRA_MEDIA_FILE_CLIP_FOR_TEST_H_

#include <cstddef>
#include <string>

#include "media/temporary_directory_for_test.h"
#include "video/size.h"

namespace movra::media {

// A directory of video files that the `ffmpeg` command line makes; it goes with the object. With
// one version of `ffmpeg` and its encoders the files are the same on every machine: no font,
// locale, time zone or number of processors has a part in them.
class ClipDirectory {
 public:
  ClipDirectory();  // Not defaulted here, or clang would not let a directory be const.

  [[nodiscard]] std::string Path(const std::string& name) const { return directory_ / name; }

  // Encodes `frames` test pictures, 30 a second and with the markers 0, 1, 2 ..., by
  // `ffmpeg -i PICTURES arguments NAME`, and returns the path. Throws if that fails.
  std::string Make(const std::string& name, const std::string& arguments, int frames = 10,
                   video::Size size = {320, 180}) const;

  // A clip whose pictures are stored lying on their left side and say that they are to be turned.
  std::string MakeTurned(const std::string& name, int frames = 10,
                         video::Size size = {320, 180}) const;

  // Makes an MP4 say how its pictures are to be shown: a stored x axis goes to (x_to_x, x_to_y), a
  // stored y axis to (y_to_x, y_to_y), as whole numbers.
  static void SetDisplayMatrix(const std::string& path, int x_to_x, int x_to_y, int y_to_x,
                               int y_to_y);

  // Runs `ffmpeg arguments` in the directory. Throws if that fails.
  void RunFfmpeg(const std::string& arguments) const;

  // A copy of the first bytes of a file.
  std::string MakeTruncated(const std::string& source, const std::string& name, double share) const;

  std::string MakeText(const std::string& name, const std::string& text) const;

 private:
  const TemporaryDirectory directory_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_CLIP_FOR_TEST_H_
