// A position in the sources: who asked for something that is kept, such as a subscription.
// The file text is borrowed and must be a constant of the program.

#ifndef MOVRA_CORE_LOCATION_H_
#define MOVRA_CORE_LOCATION_H_

namespace core {

class Location {
 public:
  constexpr Location(const char* file, int line) : file_(file), line_(line) {}

  [[nodiscard]] constexpr const char* file() const { return file_; }
  [[nodiscard]] constexpr int line() const { return line_; }

 private:
  const char* file_;
  int line_;
};

}  // namespace core

#endif  // MOVRA_CORE_LOCATION_H_
