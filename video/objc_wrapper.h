#ifndef MOVRA_VIDEO_OBJC_WRAPPER_H_
#define MOVRA_VIDEO_OBJC_WRAPPER_H_

// Opaque shared wrappers of platform objects. The core only passes them on, so the platform types
// stay incomplete here and one header serves every platform; whoever draws or reads images defines
// NSView, NSImage and the wrapper's contents for its platform.

#ifdef __OBJC__
@class NSView;
@class NSImage;
#else
class NSView;
class NSImage;
#endif

namespace movra::video {

// Always held by std::shared_ptr. Specialised by the collaborators for their platform's objects.
template <class T>
class ObjcWrapper;

}  // namespace movra::video

#endif  // MOVRA_VIDEO_OBJC_WRAPPER_H_
