#ifndef THREADPOOL_POOLEXPORT_H
#define THREADPOOL_POOLEXPORT_H

// The pool's classes are exported from the library, so that a host can derive tasks and use the pool too.
#if !defined(_WIN32)
#define PELLORA_POOL_API
#elif defined(PELLORA_POOL_BUILD)
#define PELLORA_POOL_API __declspec(dllexport)
#else
#define PELLORA_POOL_API __declspec(dllimport)
#endif

#endif
