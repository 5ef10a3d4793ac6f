#ifndef MOVRA_MEDIA_SANITIZER_FOR_TEST_H_
#define MOVRA_MEDIA_SANITIZER_FOR_TEST_H_

namespace movra::media {

// Whether a sanitizer watches this build. It reserves more memory than any limit leaves, opens
// descriptors to look at an object by, where none is left takes the object for none, and takes
// several times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SANITIZER_FOR_TEST_H_
