// Files that nobody ever sees half of.

#ifndef MOVRA_APP_WHOLE_FILE_H_
#define MOVRA_APP_WHOLE_FILE_H_

#include <functional>
#include <string>

namespace movra::app {

// Lets `write` make a file under the name that it is given, beside `path`, and moves it there once
// it is whole. So of two runs that write the same file one has it, and a failure leaves what was
// there. Without `overwrite` a file that is there is refused, even if it came a moment ago. What is
// no regular file, such as /dev/stdout or a link, is written in place.
//
// `write` answers with what went wrong, for people, or with an empty text; so does this.
[[nodiscard]] std::string WriteWholeFile(
    const std::string& path, bool overwrite,
    const std::function<std::string(const std::string& name)>& write);

}  // namespace movra::app

#endif  // MOVRA_APP_WHOLE_FILE_H_
