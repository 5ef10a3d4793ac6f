#include <utility>

#include "base/once_callback.h"

void RunIt(movra_base::OnceCallback<void(int)> callback) {
#ifdef MOVRA_MISUSE
  callback.Run(0);  // Nothing at the call would show that the callback is spent.
#else
  std::move(callback).Run(0);
#endif
}
