#include "player/src/win/FileBytes.h"

namespace player
{

namespace
{

/** Names from this length on reach the system only in their extended form. */
constexpr std::size_t kLongName = MAX_PATH - 12;

/** Empty where the bytes are no text of that code page. */
std::wstring wide(UINT codePage, const char *text)
{
    const DWORD flags = codePage == CP_UTF8 ? MB_ERR_INVALID_CHARS : 0;
    const int length = MultiByteToWideChar(codePage, flags, text, -1, nullptr, 0);
    if (length <= 1) {
        return {};
    }
    std::wstring result(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(codePage, flags, text, -1, result.data(), length);
    result.pop_back();
    return result;
}

std::wstring fullName(const std::wstring &name)
{
    const DWORD length = GetFullPathNameW(name.c_str(), 0, nullptr, nullptr);
    if (length == 0) {
        return name;
    }
    std::wstring full(length, L'\0');
    full.resize(GetFullPathNameW(name.c_str(), length, full.data(), nullptr));
    return full;
}

/** The form of a long name that the system takes without its usual limit. */
std::wstring extended(const std::wstring &name)
{
    if (name.size() < kLongName || name.rfind(L"\\\\?\\", 0) == 0) {
        return name;
    }
    const std::wstring full = fullName(name);
    return full.rfind(L"\\\\", 0) == 0 ? L"\\\\?\\UNC\\" + full.substr(2) : L"\\\\?\\" + full;
}

} // namespace

std::unique_ptr<FileBytes> FileBytes::open(const char *path)
{
    auto pFile = openIn(CP_UTF8, path);
    return pFile ? std::move(pFile) : openIn(CP_ACP, path);
}

std::unique_ptr<FileBytes> FileBytes::openIn(UINT codePage, const char *path)
{
    const std::wstring name = wide(codePage, path);
    if (name.empty()) {
        return nullptr;
    }
    const HANDLE hFile =
        CreateFileW(extended(name).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        return nullptr;
    }
    auto pFile = std::make_unique<FileBytes>(hFile);
    // Pipes and consoles have names too, but reading from them may never end.
    return GetFileType(hFile) == FILE_TYPE_DISK ? std::move(pFile) : nullptr;
}

FileBytes::FileBytes(HANDLE hFile)
    : m_hFile(hFile),
      m_hDone(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_hInterrupted(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
}

FileBytes::~FileBytes()
{
    for (const HANDLE hOwned : {m_hFile, m_hDone, m_hInterrupted}) {
        if (hOwned) {
            CloseHandle(hOwned);
        }
    }
}

int FileBytes::read(std::uint8_t *pBuffer, int size)
{
    if (!m_hDone || !m_hInterrupted || WaitForSingleObject(m_hInterrupted, 0) == WAIT_OBJECT_0) {
        return -1;
    }
    OVERLAPPED request{};
    request.Offset = static_cast<DWORD>(m_nPosition);
    request.OffsetHigh = static_cast<DWORD>(m_nPosition >> 32);
    request.hEvent = m_hDone;
    int count = 0;
    if (ReadFile(m_hFile, pBuffer, static_cast<DWORD>(size), nullptr, &request) || GetLastError() == ERROR_IO_PENDING) {
        count = awaitRead(request);
    } else {
        count = GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
    }
    m_nPosition += count > 0 ? count : 0;
    return count;
}

int FileBytes::awaitRead(OVERLAPPED &request)
{
    // A server that is gone can keep a read for minutes.
    const HANDLE events[] = {m_hDone, m_hInterrupted};
    if (WaitForMultipleObjects(2, events, FALSE, INFINITE) != WAIT_OBJECT_0) {
        CancelIoEx(m_hFile, &request);
    }
    // The system writes into the buffer until it has let go of the request, cancelled or not.
    DWORD count = 0;
    if (GetOverlappedResult(m_hFile, &request, &count, TRUE)) {
        return static_cast<int>(count);
    }
    return GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

bool FileBytes::seek(std::int64_t position)
{
    m_nPosition = position;
    return position >= 0;
}

void FileBytes::interrupt()
{
    if (m_hInterrupted) {
        SetEvent(m_hInterrupted);
    }
}

std::int64_t FileBytes::size() const
{
    LARGE_INTEGER bytes;
    return GetFileSizeEx(m_hFile, &bytes) ? bytes.QuadPart : -1;
}

} // namespace player
