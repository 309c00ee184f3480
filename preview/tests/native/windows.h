#ifndef PREVIEW_TESTS_NATIVE_WINDOWS_H
#define PREVIEW_TESTS_NATIVE_WINDOWS_H

// The few names of Windows' header that a pane's port needs, for tests that run where the thread sanitizer is.

typedef struct HWND__ *HWND;
typedef struct HDC__ *HDC;
typedef int BOOL;
typedef unsigned int DWORD;

struct tagRECT {
    long left;
    long top;
    long right;
    long bottom;
};
typedef tagRECT RECT;

#define FALSE 0
#define TRUE 1

#endif
