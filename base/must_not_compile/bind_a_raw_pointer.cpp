#include <memory>

#include "base/once_callback.h"

struct Target {
  void OnDone() {}
};

movra_base::OnceClosure BindIt(const std::shared_ptr<Target>& target) {
#ifdef MOVRA_MISUSE
  return movra_base::BindOnce(&Target::OnDone, target.get());  // It may be gone by then.
#else
  return movra_base::BindOnce(&Target::OnDone, target);
#endif
}
