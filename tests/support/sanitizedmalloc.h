#ifndef SANITIZEDMALLOC_H
#define SANITIZEDMALLOC_H

/// ZK_MALLOC_IS_THE_SANITIZERS is defined where a sanitizer brings its own `malloc`, which
/// a test cannot stand in front of.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#    define ZK_MALLOC_IS_THE_SANITIZERS 1
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#        define ZK_MALLOC_IS_THE_SANITIZERS 1
#    endif
#endif

#endif
