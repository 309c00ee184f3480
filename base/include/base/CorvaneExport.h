#ifndef BASE_CORVANEEXPORT_H
#define BASE_CORVANEEXPORT_H

// Marks what Corvane.dll exports; the library itself is built with CORVANE_BUILD.
#if defined(CORVANE_BUILD) && defined(_WIN32)
#define CORVANE_API __declspec(dllexport)
#elif defined(_WIN32)
#define CORVANE_API __declspec(dllimport)
#else
// Parts of it are linked straight into native tests.
#define CORVANE_API
#endif

#endif
