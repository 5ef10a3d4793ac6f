#include <memory>

#include "base/weak_bind.h"

struct Target {
  void OnEvent(int) {}
};

void Handle(const std::shared_ptr<Target>& target) {
  using Handler = movra::WeakBind<void, Target, int>;
#ifdef MOVRA_MISUSE
  const Handler handler(target.get(), &Target::OnEvent);  // Nothing tells when it is gone.
#else
  const Handler handler(target, &Target::OnEvent);
#endif
  handler(0);
}
