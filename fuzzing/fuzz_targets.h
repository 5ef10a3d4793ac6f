// What reads bytes or words of strangers, each as a function that takes any bytes at all. A fuzzer
// calls one of them (fuzzer_main.cpp), the tests play the corpus of each (corpus_test.cpp).
//
// A function comes back or ends the process: by a sanitizer, by a check of the code that it drives,
// or by Require.

#ifndef MOVRA_FUZZING_FUZZ_TARGETS_H_
#define MOVRA_FUZZING_FUZZ_TARGETS_H_

#include <cstdint>
#include <span>
#include <string>

#include "media/capture/frame_source.h"

namespace movra::fuzzing {

using Bytes = std::span<const std::uint8_t>;

void FuzzY4mHeader(Bytes bytes);
void FuzzY4mFile(Bytes bytes);
void FuzzAnnexB(Bytes bytes);
void FuzzContainer(Bytes bytes);  // A video file of any kind, through demuxer and decoder.
void FuzzPipe(Bytes bytes);       // The same through a pipe.
void FuzzSpecText(Bytes bytes);
void FuzzTimeText(Bytes bytes);
void FuzzIdText(Bytes bytes);
void FuzzObjectText(Bytes bytes);   // What operations have for colours and listeners.
void FuzzCommandLine(Bytes bytes);  // A word in each line.
void FuzzLogFilter(Bytes bytes);

// Ends the process, saying what should have held, if it does not.
void Require(bool holds, const char* what);

[[nodiscard]] std::string TextOf(Bytes bytes);

// Bytes as a file that has no name but a path.
class MemoryFile {
 public:
  explicit MemoryFile(Bytes bytes);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  [[nodiscard]] std::string path() const;

 private:
  const int fd_;
};

// Looks at every byte of the item's picture and holds its times and numbers to be growing.
class ItemChecker {
 public:
  // False at the end, or where there was nothing.
  bool Check(const media::SourceItem& item);

 private:
  std::int64_t last_timestamp_ = -1;
  std::int64_t last_sequence_ = -1;
  std::uint64_t last_damaged_ = 0;
};

// Reads to the end twice, as far as the reader can begin anew, but no more than some pictures.
template <class Reader>
void Play(Reader& reader) {
  constexpr int kMost = 40;
  ItemChecker checker;
  for (int pass = 0; pass < 2; ++pass) {
    for (int i = 0; i < kMost && checker.Check(reader.Next()); ++i) {
    }
    if (!reader.Rewind()) return;
  }
}

}  // namespace movra::fuzzing

#endif  // MOVRA_FUZZING_FUZZ_TARGETS_H_
