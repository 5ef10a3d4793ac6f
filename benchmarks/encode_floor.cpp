// The least that any program can spend on the benchmark's work: both encodes in one process, each
// on a thread of its own, from pictures that are scaled already.
//
//   encode_floor THREADS {WxH RATE KBPS PICTURES.yuv OUT.h264}...
//
// THREADS are each encoder's; 0 leaves them to libx264. PICTURES hold planar 4:2:0 without headers.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

// After <cstdarg> and <cstdint>, which it needs and does not include.
#include <x264.h>

namespace {

struct Stream {
  int width = 0;
  int height = 0;
  int rate = 0;
  int kbps = 0;
  std::string pictures;
  std::string out;
};

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

[[noreturn]] void Die(const std::string& what) {
  std::fprintf(stderr, "encode_floor: %s\n", what.c_str());
  std::exit(1);
}

File OpenUnbuffered(const std::string& path, const char* mode) {
  File file(std::fopen(path.c_str(), mode));
  if (file == nullptr) Die("cannot open " + path);
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

x264_t* OpenEncoder(const Stream& stream, int threads) {
  x264_param_t params;
  x264_param_default_preset(&params, "veryfast", "zerolatency");
  params.i_log_level = X264_LOG_ERROR;
  params.i_width = stream.width;
  params.i_height = stream.height;
  params.i_csp = X264_CSP_I420;
  params.i_threads = threads;
  params.i_bframe = 0;
  params.i_fps_num = static_cast<std::uint32_t>(stream.rate);
  params.i_fps_den = 1;
  params.b_vfr_input = 0;
  params.i_keyint_max = 2 * stream.rate;
  params.b_repeat_headers = 1;
  params.b_annexb = 1;
  params.rc.i_rc_method = X264_RC_ABR;
  params.rc.i_bitrate = stream.kbps;
  params.rc.i_vbv_max_bitrate = stream.kbps;
  params.rc.i_vbv_buffer_size = stream.kbps;
  x264_t* const encoder = x264_encoder_open(&params);
  if (encoder == nullptr) Die("libx264 cannot be opened for " + stream.out);
  return encoder;
}

void Encode(const Stream& stream, int threads) {
  const File pictures = OpenUnbuffered(stream.pictures, "rb");
  const File out = OpenUnbuffered(stream.out, "wb");
  x264_t* const encoder = OpenEncoder(stream, threads);
  const auto luma =
      static_cast<std::size_t>(stream.width) * static_cast<std::size_t>(stream.height);
  std::vector<std::uint8_t> samples(luma * 3 / 2);
  x264_picture_t picture;
  x264_picture_init(&picture);
  picture.img.i_csp = X264_CSP_I420;
  picture.img.i_plane = 3;
  for (int i = 0; i < 3; ++i) picture.img.i_stride[i] = i == 0 ? stream.width : stream.width / 2;
  picture.img.plane[0] = samples.data();
  picture.img.plane[1] = samples.data() + luma;
  picture.img.plane[2] = samples.data() + luma * 5 / 4;
  while (std::fread(samples.data(), samples.size(), 1, pictures.get()) == 1) {
    x264_nal_t* units = nullptr;
    int count = 0;
    x264_picture_t coded;
    const int bytes = x264_encoder_encode(encoder, &units, &count, &picture, &coded);
    if (bytes <= 0) Die("no packet for a picture of " + stream.pictures);
    if (std::fwrite(units[0].p_payload, static_cast<std::size_t>(bytes), 1, out.get()) != 1) {
      Die("cannot write " + stream.out);
    }
    ++picture.i_pts;
  }
  x264_encoder_close(encoder);
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kWords = 5;
  if (argc < 2 + kWords || (argc - 2) % kWords != 0) {
    Die("usage: encode_floor THREADS {WxH RATE KBPS PICTURES.yuv OUT.h264}...");
  }
  const int threads = std::atoi(argv[1]);
  std::vector<std::thread> encodes;
  for (int i = 2; i < argc; i += kWords) {
    Stream stream{0, 0, std::atoi(argv[i + 1]), std::atoi(argv[i + 2]), argv[i + 3], argv[i + 4]};
    if (std::sscanf(argv[i], "%dx%d", &stream.width, &stream.height) != 2) Die("no size");
    encodes.emplace_back(Encode, stream, threads);
  }
  for (std::thread& encode : encodes) encode.join();
}
