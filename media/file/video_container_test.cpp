#include "media/file/video_container.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/capture/camera_error.h"
#include "media/file/clip_for_test.h"
#include "media/file/video_file_decoder.h"
#include "media/open_descriptors_for_test.h"
#include "media/sanitizer_for_test.h"

// What a video file could make a player open besides itself.

namespace {

std::atomic<int> sockets_made = 0;

}  // namespace

// Stands before the system's for everything in this process, FFmpeg's libraries too.
extern "C" int socket(int domain, int type, int protocol) noexcept {
  ++sockets_made;
  static const auto next = reinterpret_cast<int (*)(int, int, int)>(dlsym(RTLD_NEXT, "socket"));
  return next(domain, type, protocol);
}

namespace movra::media {
namespace {

using ::testing::HasSubstr;
using video::CameraInfo;

constexpr char kFastH264[] = "-c:v libx264 -preset veryfast -crf 20";

// Whether a file is opened, by anybody.
class OpenWatch {
 public:
  explicit OpenWatch(const std::string& path) : queue_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    EXPECT_GE(inotify_add_watch(queue_, path.c_str(), IN_OPEN), 0) << path;
  }
  ~OpenWatch() { close(queue_); }
  OpenWatch(const OpenWatch&) = delete;
  OpenWatch& operator=(const OpenWatch&) = delete;

  // Since the last question.
  [[nodiscard]] bool WasOpened() const {
    alignas(inotify_event) std::array<char, 4096> events{};
    return read(queue_, events.data(), events.size()) > 0;
  }

 private:
  const int queue_;
};

// Listens on the loopback address, on a port of its own.
class Listener {
 public:
  Listener() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(socket_, reinterpret_cast<const sockaddr*>(&address), size), 0);
    EXPECT_EQ(listen(socket_, 4), 0);
    EXPECT_EQ(getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    port_ = ntohs(address.sin_port);
  }
  ~Listener() { close(socket_); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  [[nodiscard]] std::string Url(const std::string& name) const {
    return "http://127.0.0.1:" + std::to_string(port_) + "/" + name;
  }
  [[nodiscard]] bool WasConnected() const {
    pollfd wait{socket_, POLLIN, 0};
    return poll(&wait, 1, 0) > 0;
  }

 private:
  const int socket_;
  int port_ = 0;
};

// What the process may have open, until this goes.
class DescriptorLimit {
 public:
  DescriptorLimit() { EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0); }
  ~DescriptorLimit() { Set(before_.rlim_cur); }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

  void Set(rlim_t most) const {
    const rlimit limit{most, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  }

 private:
  rlimit before_{};
};

std::string PlaylistOf(const std::string& url) {
  return "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\n" + url +
         "\n#EXT-X-ENDLIST\n";
}

std::string ManifestOf(const std::string& url) {
  return "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
         "mediaPresentationDuration=\"PT10S\"><Period><AdaptationSet mimeType=\"video/mp4\">"
         "<Representation id=\"1\" bandwidth=\"1000\"><BaseURL>" +
         url + "</BaseURL></Representation></AdaptationSet></Period></MPD>\n";
}

std::string SessionDescription() {
  return "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 0.0.0.0\nt=0 0\n"
         "m=video 45678 RTP/AVP 96\na=rtpmap:96 H264/90000\n";
}

void AppendNumber(std::string& bytes, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
}

std::string TwoBytes(int number) {
  return {static_cast<char>(number >> 8), static_cast<char>(number)};
}

// A QuickTime alias: the samples are in the file of that name, `levels` directories above the
// movie's own one, or where the whole path says if that is 0.
std::string AliasTo(std::string path, int levels) {
  if (path.size() % 2 == 1) path += '\0';
  // Names and dates of a disk, the two numbers of levels, more of the disk, then tagged values.
  return std::string(130, '\0') + TwoBytes(levels) + TwoBytes(levels) + std::string(16, '\0') +
         TwoBytes(2) + TwoBytes(static_cast<int>(path.size())) + path + TwoBytes(-1) + TwoBytes(0);
}

class VideoContainerTest : public ::testing::Test {
 protected:
  // Opens the file, which is refused, as a file and through a pipe; returns the reason.
  CameraInfo Refused(const std::string& path) {
    const CameraInfo info = Open(path);
    EXPECT_EQ(info.error_code, static_cast<int>(CameraError::kNotAVideo)) << info.error_text;
    EXPECT_THAT(info.error_text, HasSubstr("'" + path + "' "));
    return info;
  }

  CameraInfo RefusedThroughAPipe(const std::string& bytes) {
    const std::string pipe = clips_.Path("pipe");
    EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(pipe, std::ios::binary) << bytes; });
    const CameraInfo info = Refused(pipe);
    writer.join();
    EXPECT_EQ(unlink(pipe.c_str()), 0);
    return info;
  }

  [[nodiscard]] std::string Bytes(const std::string& path) const {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // What is opened must be closed, and no socket made.
  static CameraInfo Open(const std::string& path) {
    const auto before = OpenDescriptors();
    const int sockets = sockets_made;
    CameraInfo info;
    {
      VideoFileDecoder decoder;
      info = decoder.Open(path);
    }
    EXPECT_EQ(sockets_made, sockets) << path;
    EXPECT_EQ(OpenDescriptors(), before) << path;
    return info;
  }

  // A QuickTime movie whose video says that it is kept elsewhere.
  [[nodiscard]] std::string MakeMovieThatRefersTo(const std::string& path, int levels) const {
    std::string movie = Bytes(clips_.Make("whole.mov", kFastH264));
    const std::size_t at = movie.find("dref") + 4 + 8 + 4;  // The type of the first entry.
    const std::string alias = AliasTo(path, levels);
    const std::size_t old_bytes = 12;
    EXPECT_TRUE(movie.compare(at, 4, "url ") == 0 || movie.compare(at, 4, "alis") == 0);
    std::string entry;
    AppendNumber(entry, static_cast<std::uint32_t>(12 + alias.size()));
    entry += "alis";
    AppendNumber(entry, 0);
    movie.replace(at - 4, old_bytes, entry + alias);
    // The boxes around it grow; the index stands behind the samples, whose places remain.
    for (const char* box : {"dref", "dinf", "minf", "mdia", "trak", "moov"}) {
      const std::size_t size_at = movie.rfind(box, at) - 4;
      std::uint32_t size = 0;
      for (std::size_t i = 0; i < 4; ++i) {
        size = size << 8 | static_cast<std::uint8_t>(movie[size_at + i]);
      }
      std::string grown;
      AppendNumber(grown, static_cast<std::uint32_t>(size + alias.size()));
      movie.replace(size_at, 4, grown);
    }
    return clips_.MakeText("refers.mov", movie);
  }

  const ClipDirectory clips_;
};

TEST_F(VideoContainerTest, APlaylistFetchesNothingWhateverItIsCalled) {
  const Listener listener;
  for (const std::string& text :
       {PlaylistOf(listener.Url("a.ts")), ManifestOf(listener.Url("a.mp4"))}) {
    for (const char* name : {"list.mp4", "list.m3u8", "list.mpd"}) {
      Refused(clips_.MakeText(name, text));
    }
    RefusedThroughAPipe(text);
  }
  EXPECT_FALSE(listener.WasConnected());
}

TEST_F(VideoContainerTest, APlaylistOpensNoOtherFile) {
  const std::string other = clips_.Make("other.ts", kFastH264);
  const OpenWatch watch(other);
  for (const std::string& text :
       std::vector<std::string>{PlaylistOf(other), PlaylistOf("other.ts"), ManifestOf(other),
                                "ffconcat version 1.0\nfile other.ts\n", "file '" + other + "'\n",
                                "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nother.ts\n"}) {
    for (const char* name : {"list.mp4", "list.m3u8", "list.ffconcat", "list.concat"}) {
      Refused(clips_.MakeText(name, text));
    }
    RefusedThroughAPipe(text);
  }
  EXPECT_FALSE(watch.WasOpened());
}

TEST_F(VideoContainerTest, AListThatNamesItselfIsRefusedAtOnce) {
  const CameraInfo info =
      Refused(clips_.MakeText("self.mp4", "ffconcat version 1.0\nfile self.mp4\n"));
  EXPECT_THAT(info.error_text, HasSubstr("has no video of its own in it but is 'concat'"));
  EXPECT_THAT(info.error_text, HasSubstr("such as MP4, MOV, Matroska"));
}

TEST_F(VideoContainerTest, ASessionDescriptionListensForNobody) {
  EXPECT_THAT(RefusedThroughAPipe(SessionDescription()).error_text, HasSubstr("'sdp'"));
  Refused(clips_.MakeText("session.mp4", SessionDescription()));
  Refused(clips_.MakeText("session.sdp", SessionDescription()));
}

TEST_F(VideoContainerTest, APatternOfNamesIsTheNameOfOneFile) {
  clips_.RunFfmpeg("-f lavfi -i color=red:s=64x64:d=0.1:r=30 picture-%d.png");
  const OpenWatch watch(clips_.Path("picture-2.png"));
  for (const char* pattern : {"picture-%d.png", "picture-*.png", "picture-[12].png"}) {
    EXPECT_EQ(Open(clips_.Path(pattern)).error_code, static_cast<int>(CameraError::kNoSuchFile));
  }
  // A picture that really has such a name is shown alone.
  const std::string named = clips_.MakeText("picture-%d.png", Bytes(clips_.Path("picture-1.png")));
  EXPECT_EQ(Open(named).error_code, 0);
  EXPECT_FALSE(watch.WasOpened());
}

TEST_F(VideoContainerTest, AMovieThatKeepsItsSamplesElsewhereIsRefused) {
  const std::string other = clips_.Make("other.mp4", kFastH264);
  const OpenWatch watch(other);
  for (const auto& [path, up] : {std::pair{std::string("other.mp4"), 1}, std::pair{other, 0}}) {
    const std::string movie = MakeMovieThatRefersTo(path, up);
    EXPECT_THAT(Refused(movie).error_text, HasSubstr("other.mp4', which is not opened"));
  }
  EXPECT_FALSE(watch.WasOpened());
}

TEST_F(VideoContainerTest, AnAddressIsTheNameOfAFile) {
  const Listener listener;
  for (const std::string& path :
       {listener.Url("a.mp4"), "concat:" + clips_.Path("a.ts"), std::string("pipe:0"),
        "subfile,,start,0,end,10,,:" + clips_.Path("a.ts")}) {
    EXPECT_EQ(Open(path).error_code, static_cast<int>(CameraError::kNoSuchFile)) << path;
  }
  EXPECT_FALSE(listener.WasConnected());
}

TEST_F(VideoContainerTest, TextIsNoDrawing) {
  EXPECT_THAT(Refused(clips_.MakeText("note.nfo", "Dear diary,\nnothing moved.\n")).error_text,
              HasSubstr("no"));
  Refused(clips_.MakeText("drawing.svg",
                          "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'>"
                          "<image href='other.png' width='9' height='9'/></svg>"));
}

TEST_F(VideoContainerTest, TooFewDescriptorsAreTheReason) {
  if (kIsSanitized) GTEST_SKIP() << "the sanitizer needs descriptors of its own";
  const std::string clip = clips_.Make("a.mp4", kFastH264);
  const std::string pipe = clips_.Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  ASSERT_EQ(VideoFileDecoder().Open(clip).error_code, 0);  // The libraries are there from now on.
  const DescriptorLimit limit;
  int refused = 0;
  for (rlim_t most = 3;; ++most, ++refused) {
    limit.Set(most);
    const CameraInfo info = VideoFileDecoder().Open(clip);
    if (info.error_code == 0) break;
    ASSERT_EQ(info.error_code, static_cast<int>(CameraError::kCannotOpen)) << info.error_text;
    ASSERT_THAT(info.error_text, HasSubstr("Too many open files"));
  }
  EXPECT_GT(refused, 0);
  limit.Set(3);
  EXPECT_EQ(VideoFileDecoder().Open(pipe).error_code, static_cast<int>(CameraError::kCannotOpen));
}

// Each is opened, decoded to its end and closed, and leaves no descriptor behind.
TEST_F(VideoContainerTest, EveryKindThatHoldsItsOwnVideoIsPlayed) {
  const std::string mpeg4 = "-c:v mpeg4 -q:v 4 -pix_fmt yuv420p";
  const std::string picture = "-update 1 -pix_fmt ";
  for (const auto& [name, arguments] : std::vector<std::pair<std::string, std::string>>{
           {"a.mp4", kFastH264},
           {"a.mov", kFastH264},
           {"a.3gp", kFastH264},
           {"fragments.mp4", std::string(kFastH264) + " -movflags frag_keyframe+empty_moov"},
           {"a.mkv", kFastH264},
           {"a.webm", "-c:v libvpx -deadline realtime -cpu-used 8"},
           {"a.ts", kFastH264},
           {"a.m2ts", kFastH264},
           {"a.mpg", "-c:v mpeg2video -q:v 3"},
           {"a.vob", "-c:v mpeg2video -q:v 3"},
           {"a.m2v", "-c:v mpeg2video -q:v 3"},
           {"a.avi", mpeg4},
           {"a.flv", kFastH264},
           {"a.wmv", "-c:v wmv2"},
           {"a.ogv", "-c:v libtheora"},
           {"a.nut", mpeg4},
           {"a.mxf", "-c:v mpeg2video -q:v 3 -r 25"},
           {"a.dv", "-c:v dvvideo -pix_fmt yuv420p -s 720x576 -r 25"},
           {"a.ivf", "-c:v libvpx -deadline realtime -cpu-used 8"},
           {"a.h264", kFastH264},
           {"a.h265", "-c:v libx265 -preset ultrafast -x265-params log-level=none -f hevc"},
           {"a.m4v", mpeg4 + " -f m4v"},
           {"a.mjpeg", "-c:v mjpeg -pix_fmt yuvj420p"},
           {"a.y4m", ""},
           {"a.gif", ""},
           {"a.apng", "-f apng"},
           {"a.png", picture + "rgb24"},
           {"a.jpg", picture + "yuvj420p"},
           {"a.bmp", picture + "bgr24"},
           {"a.tiff", picture + "rgb24"},
           {"a.webp", picture + "yuv420p -c:v libwebp"}}) {
    const int pictures = arguments.starts_with(picture) ? 1 : 10;
    const std::string path = clips_.Make(name, arguments, pictures);
    const auto before = OpenDescriptors();
    {
      VideoFileDecoder decoder;
      const CameraInfo info = decoder.Open(path);
      EXPECT_EQ(info.error_code, 0) << info.error_text;
      if (info.error_code != 0) continue;
      int frames = 0;
      SourceItem item = decoder.Next();
      for (; std::holds_alternative<SourceFrame>(item); item = decoder.Next()) ++frames;
      const auto& end = std::get<video::StreamEnd>(item);
      EXPECT_EQ(end.error_code, 0) << name << ": " << end.reason;
      EXPECT_GE(frames, std::max(pictures * 8 / 10, 1)) << name;
    }
    EXPECT_EQ(OpenDescriptors(), before) << name;
  }
}

}  // namespace
}  // namespace movra::media
