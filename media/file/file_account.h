#ifndef MOVRA_MEDIA_FILE_FILE_ACCOUNT_H_
#define MOVRA_MEDIA_FILE_FILE_ACCOUNT_H_

#include <cstdint>
#include <optional>
#include <set>

struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct AVStream;

namespace movra::media {

// Holds what a file says that there is against what comes out of it, for its video stream alone:
// what a file lacks is lost without a word of any decoder.
//
// Packets are held against pictures only where one stands for the other: a packet may be no picture
// (left out by an edit), or one that is never shown (a reference of VP8 or VP9), half of one (a
// field), or belong before the first picture that can be decoded (an open group of pictures that
// begins the stream).
//
// One thread at a time. The container outlives it.
class FileAccount {
 public:
  void Open(AVFormatContext& container, const AVStream& stream);

  // Before the first packet: reading begins somewhere behind the file's beginning.
  void BeginLate() { begins_late_ = true; }

  // The same file, opened again; its account goes on.
  void GoOnWith(AVFormatContext& container, const AVStream& stream);

  // A packet was read, before it goes to the decoder. Answers how many pictures were lost between
  // it and the packet before.
  [[nodiscard]] std::uint64_t TakePacket(const AVPacket& packet);
  // A picture came out of the decoder, whole or not.
  void TakePicture(const AVFrame& picture);
  // Something was sent to the decoder and it answered that it was of no use.
  void TakeError() { ++pictures_; }
  // Whether the picture belongs before the first one of the stream that can be decoded.
  [[nodiscard]] bool IsBeforeTheFirst(const AVFrame& picture) const;

  // The container has no further packet, or cannot go on. Whether all of the file was read,
  // whatever stands behind it; false if nothing tells.
  [[nodiscard]] bool IsComplete() const;
  // The container has no further packet. Whether it ends before its video does; true stays.
  bool EndsEarly();
  // The decoder has nothing left either. How many pictures were lost of which nobody has told.
  [[nodiscard]] std::uint64_t Missing() const;
  // Another pass begins.
  void Rewind();

 private:
  // Whether the packet's picture is shown before a key frame in front of it, and may be missing.
  [[nodiscard]] bool Leads(const AVPacket& packet);
  [[nodiscard]] bool LeadsInBareStream(const AVPacket& packet);
  [[nodiscard]] bool IsOnePicture(const AVPacket& packet) const;
  [[nodiscard]] std::uint64_t LostBefore(const AVPacket& packet);
  [[nodiscard]] bool IsShorterThanItSays() const;
  [[nodiscard]] bool IsShorterThanItsDuration() const;
  // Of the container's own count, those that were never read.
  [[nodiscard]] std::uint64_t NeverRead() const;

  AVFormatContext* container_ = nullptr;
  const AVStream* stream_ = nullptr;

  // Stream times in the stream's unit, of all passes.
  std::optional<std::int64_t> earliest_pts_;
  std::int64_t latest_pts_end_ = 0;
  bool judged_ = false;  // The first pass came to its end.
  bool ends_early_ = false;
  std::uint64_t never_read_ = 0;  // Known from the first pass on.

  bool begins_late_ = false;
  std::int64_t passed_over_ = 0;  // Packets of the container's index, by beginning late.

  // Of this pass.
  std::uint64_t packets_ = 0;
  std::uint64_t expected_ = 0;
  std::uint64_t pictures_ = 0;
  bool begins_with_key_ = false;
  bool has_left_front_ = false;            // Of the open group that may begin the stream.
  bool has_begun_ = false;                 // The first picture that can be decoded has come out.
  std::optional<std::int64_t> key_pts_;    // Of the last packet that a decoder can begin with.
  std::optional<std::int64_t> first_pts_;  // Of the first one.
  std::set<std::int64_t> leading_pts_;     // Shown before the key frame that they follow.
  bool counts_ = false;                    // Whether a packet stands for a picture.
  bool last_packet_incomplete_ = false;
  std::int64_t last_packet_end_ = 0;  // In the file.
  std::optional<std::int64_t> last_dts_;
  std::int64_t last_pos_ = -1;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_FILE_ACCOUNT_H_
