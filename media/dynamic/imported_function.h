#ifndef MOVRA_MEDIA_DYNAMIC_IMPORTED_FUNCTION_H_
#define MOVRA_MEDIA_DYNAMIC_IMPORTED_FUNCTION_H_

#include <string>

namespace movra::media {

// A function of a shared library that is loaded only when it is needed, instead of at the start of
// every process. Called like the function that it stands for.
//
// An object in namespace movra::media with the function's own name takes the place of the global
// declaration for all code there:
//
//   inline ImportedFunction<decltype(::av_frame_alloc)> av_frame_alloc;
//
// Bound once, before any call; calling one that is not bound ends the process. Any thread may call
// what was bound before.
template <class Function>
class ImportedFunction;

template <class Result, class... Args>
class ImportedFunction<Result(Args...)> {
 public:
  using Pointer = Result (*)(Args...);

  Result operator()(Args... args) const { return function_(args...); }

  void Bind(Pointer function) { function_ = function; }
  [[nodiscard]] bool is_bound() const { return function_ != nullptr; }

 private:
  Pointer function_ = nullptr;
};

// Loads libraries and binds functions to them. What fails first is kept for error(); after that
// nothing more is done. Libraries stay loaded until the process ends, because they may leave
// threads and handlers behind.
//
//   LibraryLoader loader;
//   loader.Open("libavutil.so.57");
//   loader.Bind("av_frame_alloc", av_frame_alloc);
//   if (!loader.error().empty()) return loader.error();
class LibraryLoader {
 public:
  // The functions bound from here on come from the library of this name.
  void Open(const std::string& name);

  template <class Function>
  void Bind(const char* name, ImportedFunction<Function>& function) {
    void* const found = Find(name);
    if (found != nullptr) function.Bind(reinterpret_cast<Function*>(found));
  }

  // Why something could not be loaded, for people; empty if everything could.
  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  [[nodiscard]] void* Find(const char* name);

  void* library_ = nullptr;
  std::string error_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_DYNAMIC_IMPORTED_FUNCTION_H_
