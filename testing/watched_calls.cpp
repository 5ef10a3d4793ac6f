// Calls within the core that no collaborator sees, made visible: the registry of notifications, log
// lines as they begin, and the texts that are made for lines and messages. The linker leads each of
// them to its watcher here (--wrap, for every symbol that this file spells; see CMakeLists.txt),
// which tells the journal and goes on to the function itself. Nothing of it stands in the core.
//
// What the journal gets, where there is one:
//   kRegistry  "NotificationCenter.SubscribeEvent(3:, producer)"    the key as the registry has it
//              "NotificationCenter.UnsubscribeEvent(3:, producer)"
//   kText      the function's name ("LogStream" for a line that begins), unless a double describes
//              its call with it

#include <list>
#include <memory>
#include <string>
#include <utility>

#include "core/notification_center.h"
#include "logging/log_stream.h"
#include "testing/describe.h"
#include "testing/journal.h"
#include "testing/named.h"
#include "testing/world.h"
#include "video/capture_params.h"
#include "video/encode_params.h"
#include "video/event_msg.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::testing {
namespace {

void Tell(Journal::Kind kind, std::string text) {
  if (const World* const world = World::Find()) world->journal()->Add(kind, std::move(text));
}

void TellOfText(const char* function) {
  if (!Describing::IsInProgress()) Tell(Journal::kText, function);
}

// A subscription is seen in two steps: its key is made, then its subscriber is looked for.
thread_local std::string key_made_last;

}  // namespace

// Declares the function as it is and the one in its place, which is called like it. A member
// function, or a constructor, is a function whose first parameter is the object.
#define MOVRA_WATCH(Result, Function, symbol, parameters)  \
  Result Real##Function parameters asm("__real_" symbol);  \
  Result Watch##Function parameters asm("__wrap_" symbol); \
  Result Watch##Function parameters

#define MOVRA_WATCH_TEXT(Result, Function, symbol, parameters, arguments) \
  MOVRA_WATCH(Result, Function, symbol, parameters) {                     \
    TellOfText(#Function);                                                \
    return Real##Function arguments;                                      \
  }

// clang-format off
MOVRA_WATCH(std::string, GenerateEventId,
            "_ZN4core18NotificationCenter15GenerateEventIdERKNS_14NotificationIdERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            (const core::NotificationId& id, const std::string& event)) {
  return key_made_last = RealGenerateEventId(id, event);
}

MOVRA_WATCH(bool, Contains,
            "_ZN4core18NotificationCenter8ContainsERKNSt7__cxx114listINS0_8ObserverESaIS3_EEERKSt10shared_ptrIvE",
            (const std::list<core::NotificationCenter::Observer>& observers,
             const std::shared_ptr<void>& subscriber)) {
  Tell(Journal::kRegistry, DescribeCall("NotificationCenter", "SubscribeEvent", key_made_last,
                                        NameOfWhole(subscriber.get())));
  return RealContains(observers, subscriber);
}

MOVRA_WATCH(void, UnsubscribeEvent,
            "_ZN4core18NotificationCenter16UnsubscribeEventERKNS_14NotificationIdERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEESt8weak_ptrIvE",
            (core::NotificationCenter* center, const core::NotificationId& id,
             const std::string& event, std::weak_ptr<void> subscriber)) {
  Tell(Journal::kRegistry, DescribeCall("NotificationCenter", "UnsubscribeEvent",
                                        core::NotificationCenter::GenerateEventId(id, event),
                                        NameOfWhole(subscriber.lock().get())));
  RealUnsubscribeEvent(center, id, event, std::move(subscriber));
}

// The constructor of whole objects, not that of bases.
MOVRA_WATCH_TEXT(void, LogStream, "_ZN5movra9LogStreamC1EPKciS2_iPKv",
                 (LogStream* stream, const char* file, int line, const char* function, int level,
                  const void* object),
                 (stream, file, line, function, level, object))

#define MOVRA_WATCH_ENUM(Enum, symbol) \
  MOVRA_WATCH_TEXT(std::string, Enum##ToString, symbol, (video::Enum value), (value))
MOVRA_WATCH_ENUM(VideoSourceType, "_ZN5movra5video23VideoSourceTypeToStringB5cxx11ENS0_15VideoSourceTypeE")
MOVRA_WATCH_ENUM(VideoStreamType, "_ZN5movra5video23VideoStreamTypeToStringB5cxx11ENS0_15VideoStreamTypeE")
MOVRA_WATCH_ENUM(PixelFormat, "_ZN5movra5video19PixelFormatToStringB5cxx11ENS0_11PixelFormatE")
MOVRA_WATCH_ENUM(BufferType, "_ZN5movra5video18BufferTypeToStringB5cxx11ENS0_10BufferTypeE")
MOVRA_WATCH_ENUM(MirrorMode, "_ZN5movra5video18MirrorModeToStringB5cxx11ENS0_10MirrorModeE")
MOVRA_WATCH_ENUM(VideoRotation, "_ZN5movra5video21VideoRotationToStringB5cxx11ENS0_13VideoRotationE")
MOVRA_WATCH_ENUM(FillMode, "_ZN5movra5video16FillModeToStringB5cxx11ENS0_8FillModeE")
MOVRA_WATCH_ENUM(GSensorMode, "_ZN5movra5video19GSensorModeToStringB5cxx11ENS0_11GSensorModeE")
MOVRA_WATCH_ENUM(FrameAdaptiveMode, "_ZN5movra5video25FrameAdaptiveModeToStringB5cxx11ENS0_17FrameAdaptiveModeE")
MOVRA_WATCH_ENUM(ProducerMode, "_ZN5movra5video20ProducerModeToStringB5cxx11ENS0_12ProducerModeE")
MOVRA_WATCH_ENUM(InterceptPosition, "_ZN5movra5video25InterceptPositionToStringB5cxx11ENS0_17InterceptPositionE")

#define MOVRA_WATCH_RECORD(Record, symbol) \
  MOVRA_WATCH_TEXT(std::string, Record##ToString, symbol, (const video::Record* record), (record))
MOVRA_WATCH_RECORD(Size, "_ZNK5movra5video4Size8ToStringB5cxx11Ev")
MOVRA_WATCH_RECORD(CameraParams, "_ZNK5movra5video12CameraParams8ToStringB5cxx11Ev")
MOVRA_WATCH_RECORD(DesktopScreenParams, "_ZNK5movra5video19DesktopScreenParams8ToStringB5cxx11Ev")
MOVRA_WATCH_RECORD(MobileScreenParams, "_ZNK5movra5video18MobileScreenParams8ToStringB5cxx11Ev")
MOVRA_WATCH_RECORD(VideoCoverImageParams, "_ZNK5movra5video21VideoCoverImageParams8ToStringB5cxx11Ev")
MOVRA_WATCH_RECORD(EncodeParams, "_ZNK5movra5video12EncodeParams8ToStringB5cxx11Ev")

MOVRA_WATCH_TEXT(EventMsg, MakeRenderFirstFrameEventMsg,
                 "_ZN5movra5video28MakeRenderFirstFrameEventMsgEjj",
                 (unsigned int width, unsigned int height), (width, height))
MOVRA_WATCH_TEXT(EventMsg, MakeRenderFirstFrameInViewEventMsg,
                 "_ZN5movra5video34MakeRenderFirstFrameInViewEventMsgEjj",
                 (unsigned int width, unsigned int height), (width, height))
MOVRA_WATCH_TEXT(std::string, GetEncodePropertyChangedBaseMsg,
                 "_ZN5movra5video31GetEncodePropertyChangedBaseMsgB5cxx11ENS0_15VideoStreamTypeENS0_15EncoderPropertyE",
                 (video::VideoStreamType type, video::EncoderProperty property), (type, property))
// clang-format on

}  // namespace movra::testing
