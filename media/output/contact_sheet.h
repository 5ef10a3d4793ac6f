#ifndef MOVRA_MEDIA_OUTPUT_CONTACT_SHEET_H_
#define MOVRA_MEDIA_OUTPUT_CONTACT_SHEET_H_

#include <cstdint>
#include <string>
#include <vector>

namespace movra::media {

// A video on a contact sheet.
struct ContactSheetRow {
  std::string path;
  std::string title;         // Stands above its pictures, in UTF-8.
  std::uint64_t frames = 0;  // How many pictures the video has.
};

// Writes a PNG that shows what the videos hold: a row of four evenly spread pictures for each,
// under its title and over the time of each picture. The pictures are decoded from the files and
// fill one box, so that a small stream can be compared with a big one.
//
// False, and `error`, if a video cannot be played or the sheet cannot be written; then there is no
// sheet. Any thread.
[[nodiscard]] bool WriteContactSheet(const std::vector<ContactSheetRow>& rows,
                                     const std::string& sheet_path, std::string* error);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_CONTACT_SHEET_H_
