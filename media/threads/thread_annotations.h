// What clang's -Wthread-safety checks at compile time: which mutex guards a member, and which one a
// function must be called with. To other compilers the annotations are empty.
//
//   Mutex mutex_;
//   int written_ MOVRA_GUARDED_BY(mutex_) = 0;
//   void CountWritten() MOVRA_REQUIRES(mutex_);

#ifndef MOVRA_MEDIA_THREADS_THREAD_ANNOTATIONS_H_
#define MOVRA_MEDIA_THREADS_THREAD_ANNOTATIONS_H_

#ifdef __clang__
#define MOVRA_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define MOVRA_THREAD_ANNOTATION(x)
#endif

// Of types: what can be held, and what holds it for a scope.
#define MOVRA_CAPABILITY(name) MOVRA_THREAD_ANNOTATION(capability(name))
#define MOVRA_SCOPED_CAPABILITY MOVRA_THREAD_ANNOTATION(scoped_lockable)

// Of members.
#define MOVRA_GUARDED_BY(mutex) MOVRA_THREAD_ANNOTATION(guarded_by(mutex))

// Of functions: called with the mutexes held; takes them; gives them back.
#define MOVRA_REQUIRES(...) MOVRA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define MOVRA_ACQUIRE(...) MOVRA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define MOVRA_RELEASE(...) MOVRA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

#endif  // MOVRA_MEDIA_THREADS_THREAD_ANNOTATIONS_H_
