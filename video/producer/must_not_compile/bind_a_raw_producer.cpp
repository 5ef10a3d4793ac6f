#include <memory>

#include "base/once_callback.h"
#include "video/producer/video_producer2_impl.h"

using movra::video::VideoProducer2Impl;

movra_base::OnceClosure InitializeLater(const std::shared_ptr<VideoProducer2Impl>& producer) {
#ifdef MOVRA_MISUSE
  return movra_base::BindOnce(&VideoProducer2Impl::Initialize, producer.get());
#else
  return movra_base::BindOnce(&VideoProducer2Impl::Initialize, producer);
#endif
}
