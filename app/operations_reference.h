// The table of operations as a page for people.

#ifndef MOVRA_APP_OPERATIONS_REFERENCE_H_
#define MOVRA_APP_OPERATIONS_REFERENCE_H_

#include <string>

namespace movra::app {

// Markdown: docs/operations.md, which a test holds equal to this.
[[nodiscard]] std::string OperationsReference();

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATIONS_REFERENCE_H_
