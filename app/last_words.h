// What the program says when it cannot go on.

#ifndef MOVRA_APP_LAST_WORDS_H_
#define MOVRA_APP_LAST_WORDS_H_

namespace movra::app {

// From now on an exception that nobody catches, on whatever thread, ends the process with one line
// on standard error and the exit code for it: there was no memory or no thread to be had, or it is
// an error of the program. The files that are open play up to their last fragment.
void InstallLastWords();

}  // namespace movra::app

#endif  // MOVRA_APP_LAST_WORDS_H_
