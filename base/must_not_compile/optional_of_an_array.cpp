#include "base/optional.h"

#ifdef MOVRA_MISUSE
using Stored = int[3];  // Is not assigned as a whole.
#else
using Stored = int;
#endif

movra_base::Optional<Stored> Make() { return {}; }
