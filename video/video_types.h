#ifndef MOVRA_VIDEO_VIDEO_TYPES_H_
#define MOVRA_VIDEO_VIDEO_TYPES_H_

#include <cstdint>

// The enumerations that cross the video interfaces. Each has a fixed 32-bit underlying type and
// every 32-bit value is legal input: a value without a name travels through unchanged, and its text
// form (video/to_string.h) prints the type and the number.

namespace movra::video {

// Which of the two encoded streams an operation means. Encoding operations treat every value other
// than kSmall as the big stream. A producer's own stream type (main or sub) uses the same values.
enum class VideoStreamType : std::int32_t { kBig = 0, kSmall = 1 };

enum class VideoProducerType : std::int32_t { kDefault = 0 };

// What the producer captures from.
enum class VideoSourceType : std::int32_t {
  kNone = 0,
  kCamera = 1,
  kScreen = 2,
  kVirtualCamera = 3,
  kCustom = 4,
  kMirroredScreen = 5,  // Never set by the producer; counts as a screen where sources are compared.
};

enum class CameraDeviceState : std::int32_t {
  kUnknown = 0,
  kOpened = 1,
  kClosed = 2,
  kAdded = 3,
  kRemoved = 4,
};

// How the size of a camera capture follows from the big stream's encode size.
enum class ProducerMode : std::int32_t {
  kDefault = 0,      // The encode size, limited to 1920x1080, made landscape.
  kEncodeSize = 1,   // The encode size as it is, made landscape.
  kLimitedSize = 2,  // As kDefault.
  kOwnSize = 3,      // The size that the application asks the camera for, portrait or landscape.
};

// Stages of the preprocessor at which frames can be intercepted or tapped, in the order in which a
// frame passes them.
enum class InterceptPosition : std::int32_t {
  kCaptured = 0,              // As the source delivered it.
  kBeautified = 1,            // After beauty, filters and green screen.
  kCustomProcessing = 2,      // The application's own processing.
  kPreview = 3,               // Preview taps, before the watermark.
  kPreviewWithWatermark = 4,  // Preview taps, after the watermark.
  kEncoder = 5,               // What the encoders receive.
};

enum class RenderEventReason : std::int32_t {
  kUnknown = 0,
  kFirstFrame = 1,        // The first frame since rendering started.
  kFirstFrameInView = 2,  // The first frame in a newly set view.
};

enum class SnapshotSourceType : std::int32_t { kPreprocessor = 0, kLocalRenderer = 1 };

// Memory layout of a picture. Planes are listed in the order of PixelFrameInfo::planes.
enum class PixelFormat : std::int32_t {
  kNone = -1,  // None requested, or not yet known.
  kI420 = 0,   // Y, U, V; chroma halved both ways.
  kNV12 = 1,   // Y, interleaved UV; chroma halved both ways.
  kBGRA = 2,   // One plane; bytes B, G, R, A.
  kRGBA = 3,   // One plane; bytes R, G, B, A.
  kI422 = 4,   // Y, U, V; chroma halved across.
  kI444 = 5,   // Y, U, V; full chroma.
  kGray = 6,   // Y alone.
  kI010 = 7,   // As kI420 with 10 bits in the low end of 16-bit little-endian samples.
};

// Where the pixels live.
enum class BufferType : std::int32_t {
  kMemory = 0,   // Ordinary memory that the CPU reads.
  kTexture = 1,  // A graphics texture; nothing on Linux makes one yet.
};

enum class MirrorMode : std::int32_t { kAuto = 0, kEnabled = 1, kDisabled = 2 };

// Clockwise rotation that makes a picture upright.
enum class VideoRotation : std::int32_t { k0 = 0, k90 = 90, k180 = 180, k270 = 270 };

// How a picture is fitted into a view of another shape.
enum class FillMode : std::int32_t {
  kFill = 0,     // Crops what does not fit.
  kFit = 1,      // Keeps everything and leaves bars.
  kStretch = 2,  // Changes the shape.
};

enum class GSensorMode : std::int32_t { kDisabled = 0, kRotateToDevice = 1, kFollowLayout = 2 };

// How a captured picture is fitted into an output of another shape.
enum class FrameAdaptiveMode : std::int32_t {
  kCrop = 0,     // Fills the output and crops what does not fit.
  kStretch = 1,  // Changes the shape.
  kFit = 2,      // Keeps everything and adds bars.
};

enum class BeautyStyle : std::int32_t { kSmooth = 0, kNatural = 1, kClear = 2 };

// How a screen is captured.
enum class CapturerMode : std::int32_t {
  kUnknown = 0,
  kDisplay = 1,   // Copied off the screen, all of it or all of a monitor.
  kWindow = 2,    // One window by itself.
  kRegion = 3,    // A part, copied off the screen.
  kComposed = 4,  // Put together from windows, because some are left out.
};

enum class VideoRenderError : std::int32_t { kNone = 0, kNoDisplay = 1, kViewLost = 2 };

enum class VideoEncoderError : std::int32_t {
  kNone = 0,
  kOpenFailed = 1,         // The encoder rejected its parameters.
  kEncodeFailed = 2,       // A frame could not be encoded.
  kInputUnsupported = 3,   // A frame arrived in a format that the encoder cannot read.
  kReconfigureFailed = 4,  // A change of parameters did not take effect.
  kUnavailable = 5,        // This build has no such encoder.
};

enum class VideoScreenSharingError : std::int32_t {
  kNone = 0,
  kUnavailable = 1,
  kSourceNotFound = 2,
  kCaptureFailed = 3,
  kNoDisplay = 4,     // No desktop can be reached.
  kNotPermitted = 5,  // The desktop, or the person at it, does not allow it.
};

enum class VideoScreenSharingStoppedReason : std::int32_t {
  kByRequest = 0,
  kSourceClosed = 1,
  kFailed = 2,
  kMonitorGone = 3,
};

enum class VideoScreenSharingPausedReason : std::int32_t { kByRequest = 0, kMinimised = 1 };

enum class VideoScreenSharingResumedReason : std::int32_t { kByRequest = 0, kRestored = 1 };

enum class VideoCodec : std::int32_t { kH264 = 1 };

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_TYPES_H_
