// Sources that are not there, cannot be read, are damaged or break off.

#include "app/ending_for_test.h"

namespace movra::app {
namespace {

std::vector<std::string> Play(const std::string& name) {
  return {"run", "--camera", "file:DIR/" + name, "--out", "out", "--small", "off"};
}

// Nothing can be decoded from these.
std::vector<Ending> Refused() {
  return {
      {"NoSuchFile", Play("missing.mp4"), 10, "there is no file 'DIR/missing.mp4'"},
      {"DanglingLink", Play("dangling.mp4"), 10, "DIR/dangling.mp4"},
      {"NoFileName", {"run", "--camera", "file:"}, 10, "there is no file ''"},
      {"ADirectory", Play("folder"), 11, "DIR/folder' is a directory"},
      {"ADevice", {"run", "--camera", "file:/dev/null"}, 11, "/dev/null"},
      {"NoRightToReadIt",
       Play("UNREADABLE.mp4"),
       11,
       "no permission to read 'DIR/UNREADABLE.mp4'",
       {},
       {},
       &DropTheRightsOfRoot},
      {"AnEmptyFile", Play("empty.mp4"), 12, "DIR/empty.mp4' is empty"},
      {"NoVideo", Play("text.mp4"), 13, "DIR/text.mp4"},
      {"Zeros", Play("zeros.mp4"), 13, "DIR/zeros.mp4"},
      {"AHeaderAlone", Play("header.mp4"), 13, "DIR/header.mp4"},
      {"UnknownCamera", {"run", "--camera", "webcam"}, 14, "webcam"},
      {"UnknownOptionOfTheTestCamera", {"run", "--camera", "test:?colour=red"}, 14, "colour=red"},
      {"MissingDevice", {"run", "--camera", "/dev/video99"}, 14, "/dev/video99"},
      {"ANameThatIsTooLong", Play(std::string(300, 'n')), 15, "File name too long"},
  };
}

// What can be decoded from these is kept.
std::vector<Ending> Damaged() {
  const std::string kept = "; the rest is kept";
  return {
      {"ADamagedMp4",
       Play("DAMAGED.mp4"),
       16,
       "could not be decoded whole" + kept,
       {{.file = "out/big.mp4", .at_least = 30, .step = 0}}},
      {"AnMp4ThatBreaksOff",
       Play("BROKEN.mp4"),
       16,
       "BROKEN.mp4' breaks off after",
       {{.file = "out/big.mp4", .at_least = 15}}},
      {"AnMkvThatBreaksOff",
       Play("BROKEN.mkv"),
       16,
       "BROKEN.mkv' breaks off after",
       {{.file = "out/big.mp4", .at_least = 15}}},
      {"AnMp4ThatBreaksOffPlayedInRealTime",
       {"run", "--camera", "file:DIR/BROKEN.mp4", "--out", "out", "--realtime"},
       16,
       "breaks off",
       {{.file = "out/big.mp4", .at_least = 1, .step = 0},
        {.file = "out/small.mp4", .at_least = 1, .step = 0}}},
  };
}

}  // namespace

std::vector<Ending> EndingsOfSources() {
  std::vector<Ending> rows = Refused();
  for (Ending& row : Damaged()) rows.push_back(std::move(row));
  return rows;
}

}  // namespace movra::app
