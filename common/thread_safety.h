#pragma once

/// \file
/// Annotations of what a mutex guards, for clang's thread-safety analysis. The analysis needs a standard library whose
/// mutex is annotated (libc++, with the macro below); with any other the annotations are empty. clang cannot follow
/// calls through member pointers; the callers of such handlers and steps hold the lock.

#if defined(__clang__) && defined(_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS)
#define BLNITS_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define BLNITS_THREAD_SAFETY(attribute)
#endif

/// After a member: it is used only with `lock` held.
#define BLNITS_GUARDED_BY(lock) BLNITS_THREAD_SAFETY(guarded_by(lock))

/// After a function: it is called only with `lock` held.
#define BLNITS_REQUIRES(lock) BLNITS_THREAD_SAFETY(requires_capability(lock))
