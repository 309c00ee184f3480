#ifndef THREADPOOL_POOLEXPORT_H
#define THREADPOOL_POOLEXPORT_H

// The pool's classes are exported from the library, so that a host can derive tasks and use the pool too.
// PELLORA_POOL_INSIDE: for code of the same library, whose own classes must not be exported with them.
#if !defined(_WIN32) || defined(PELLORA_POOL_INSIDE)
#define PELLORA_POOL_API
#elif defined(PELLORA_POOL_BUILD)
#define PELLORA_POOL_API __declspec(dllexport)
#else
#define PELLORA_POOL_API __declspec(dllimport)
#endif

#endif
