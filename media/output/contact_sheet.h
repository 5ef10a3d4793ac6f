#ifndef MOVRA_MEDIA_OUTPUT_CONTACT_SHEET_H_
#define MOVRA_MEDIA_OUTPUT_CONTACT_SHEET_H_

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace movra::media {

// A video on a contact sheet.
struct ContactSheetRow {
  std::string path{};
  std::string title{};                   // Stands above its pictures, in UTF-8.
  std::uint64_t frames = 0;              // How many pictures the video has.
  std::chrono::nanoseconds duration{0};  // From its first picture to the end of the last one.
  std::chrono::nanoseconds begin{0};     // Of its first picture, on the videos' common time line.
};

// Writes a PNG that shows what the videos hold: a row of pictures for each, under its title. The
// columns are four moments, evenly spread over the first video, with their times; each picture is
// the one that its video shows at that moment. The pictures are decoded from the files and fill one
// box, so that a small stream can be compared with a big one.
//
// False, and `error`, if a video cannot be played or the sheet cannot be written; then there is no
// sheet. Any thread.
[[nodiscard]] bool WriteContactSheet(const std::vector<ContactSheetRow>& rows,
                                     const std::string& sheet_path, std::string* error);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_CONTACT_SHEET_H_
