#ifndef BASE_TESTS_CAPTUREDSTDERR_H
#define BASE_TESTS_CAPTUREDSTDERR_H

#include <io.h>

#include <cstdio>
#include <string>

/** Standard error of the whole process into a file for the object's life. */
class CapturedStderr
{
public:
    explicit CapturedStderr(const std::wstring &path) : m_nSaved(_dup(2))
    {
        std::fflush(stderr);
        std::FILE *pFile = _wfopen(path.c_str(), L"wb");
        _dup2(_fileno(pFile), 2);
        std::fclose(pFile);
    }
    ~CapturedStderr()
    {
        std::fflush(stderr);
        _dup2(m_nSaved, 2);
        _close(m_nSaved);
    }
    CapturedStderr(const CapturedStderr &) = delete;
    CapturedStderr &operator=(const CapturedStderr &) = delete;

private:
    int m_nSaved;
};

#endif
