// Making a picture takes time: what is removed, stopped or asked for meanwhile.

#include <functional>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "media/frame/platform_objects.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace {

std::function<void()> in_the_making;  // Once.

}  // namespace

// Stands before the library's in this program: a pool takes a picture's memory here, so the test
// comes in while the first one of a preprocessor is being made.
void* operator new(std::size_t bytes, std::align_val_t alignment,
                   const std::nothrow_t& /*nothrow*/) noexcept {
  if (in_the_making) std::exchange(in_the_making, {})();
  try {
    return ::operator new(bytes, alignment);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::PixelFormat;
using video::PixelFrame;
using Image = video::ObjcWrapper<NSImage>;

class CountingListener final : public video::VideoInterceptorListener {
 public:
  PixelFrame OnInterceptFrame(video::InterceptPosition /*position*/, PixelFrame frame) override {
    ++calls;
    return frame;
  }
  int calls = 0;
};

class PreprocessorMeanwhile : public PreprocessorTest {
 protected:
  PreprocessorMeanwhile() { preprocessor->StartProcessing(); }

  // Sends a frame; `change` happens while the first picture is made from it.
  void ProcessMeanwhile(std::function<void()> change) {
    const PixelFrame frame = MakeFrame(0, kLive);  // Before, because it takes memory too.
    in_the_making = std::move(change);
    ASSERT_EQ(source->GetWriter()->Write(frame), video::TrackWriteResult::kAccepted);
    queue->RunAll();
    EXPECT_FALSE(std::exchange(in_the_making, {})) << "no picture was made";
  }

  std::shared_ptr<CountingListener> AddListener(PixelFormat format) {
    auto listener = std::make_shared<CountingListener>();
    preprocessor->AddInterceptor(kPreview, Params({}, format), listener);
    return listener;
  }

  // What comes in answer is kept in `answers`.
  void Ask(std::vector<std::shared_ptr<Image>>& answers) {
    preprocessor->Snapshot(movra_base::BindOnce(
        [&](std::shared_ptr<Image> image) { answers.push_back(std::move(image)); }));
  }
};

TEST_F(PreprocessorMeanwhile, AnInterceptorThatIsRemovedIsNotCalled) {
  const auto removed = AddListener(PixelFormat::kBGRA);
  const auto kept = AddListener(PixelFormat::kNone);
  ProcessMeanwhile([&] { preprocessor->RemoveInterceptor(removed); });
  EXPECT_EQ(removed->calls, 0);
  EXPECT_EQ(kept->calls, 1) << "the frame goes on";
}

TEST_F(PreprocessorMeanwhile, NoInterceptorIsCalledOnceProcessingIsStopped) {
  const auto listener = AddListener(PixelFormat::kBGRA);
  ProcessMeanwhile([&] {
    preprocessor->StopProcessing();
    preprocessor->StartProcessing();  // Of the next run nothing has come.
  });
  EXPECT_EQ(listener->calls, 0);
}

TEST_F(PreprocessorMeanwhile, ASnapshotThatIsAskedOfTheNextCaptureIsNotShownTheOneBefore) {
  std::vector<std::shared_ptr<Image>> first;
  std::vector<std::shared_ptr<Image>> second;
  Ask(first);
  ProcessMeanwhile([&] {
    preprocessor->StopProcessing();
    preprocessor->StartProcessing();
    Ask(second);
  });
  EXPECT_THAT(first, ElementsAre(nullptr)) << "its capture is over";
  EXPECT_THAT(second, IsEmpty()) << "of the next one nothing has come";
  ASSERT_EQ(Send(1, kLive), video::TrackWriteResult::kAccepted);
  queue->RunAll();
  ASSERT_EQ(second.size(), 1U);
  ASSERT_NE(second[0], nullptr);
  EXPECT_EQ(second[0]->frame().info().sequence, 1U);
  EXPECT_EQ(first.size(), 1U);
}

TEST_F(PreprocessorMeanwhile, ASnapshotThatIsAskedWhileAnotherIsMadeIsShownTheNextFrame) {
  std::vector<std::shared_ptr<Image>> first;
  std::vector<std::shared_ptr<Image>> second;
  Ask(first);
  ProcessMeanwhile([&] { Ask(second); });
  ASSERT_EQ(first.size(), 1U);
  EXPECT_NE(first[0], nullptr);
  EXPECT_THAT(second, IsEmpty());
  ASSERT_EQ(Send(1, kLive), video::TrackWriteResult::kAccepted);
  queue->RunAll();
  ASSERT_EQ(second.size(), 1U);
  EXPECT_EQ(second[0]->frame().info().sequence, 1U);
}

}  // namespace
}  // namespace movra::media
