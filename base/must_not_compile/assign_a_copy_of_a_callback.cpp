#include <utility>

#include "base/once_callback.h"

void KeepIt(movra_base::OnceClosure& kept, movra_base::OnceClosure& callback) {
#ifdef MOVRA_MISUSE
  kept = callback;  // Two of them could run twice.
#else
  kept = std::move(callback);
#endif
}
