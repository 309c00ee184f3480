#include "hosts/node/src/LogReason.h"

#include "hosts/node/src/Text.h"

#include <array>
#include <fstream>
#include <sstream>

namespace pellora::node
{
namespace
{

// A call writes a few lines; other threads write between them.
constexpr LONGLONG kTail = 64 * 1024;

std::string tailOf(const std::wstring &path)
{
    // Shared with everybody, deletion too: the log is rolled meanwhile.
    const HANDLE hFile = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        return {};
    }
    LARGE_INTEGER size{};
    GetFileSizeEx(hFile, &size);
    LARGE_INTEGER begin{};
    begin.QuadPart = size.QuadPart > kTail ? size.QuadPart - kTail : 0;
    std::string text(static_cast<std::size_t>(size.QuadPart - begin.QuadPart), '\0');
    DWORD dwRead = 0;
    SetFilePointerEx(hFile, begin, nullptr, FILE_BEGIN);
    ReadFile(hFile, text.data(), static_cast<DWORD>(text.size()), &dwRead, nullptr);
    CloseHandle(hFile);
    text.resize(dwRead);
    return text;
}

/** The first appender's file. */
std::string configuredFile(const std::string &properties)
{
    std::istringstream lines(properties);
    std::string line;
    while (std::getline(lines, line)) {
        const std::size_t nEqual = line.find(".File=");
        if (line.rfind("log4j.appender.", 0) == 0 && nEqual != std::string::npos) {
            const std::string name = line.substr(nEqual + 6);
            return name.substr(0, name.find_last_not_of(" \r\t") + 1);
        }
    }
    return {};
}

/** What stands behind the level, without the place in the source; empty for a line of another level. */
std::string messageOf(const std::string &line, const std::string &level)
{
    const std::size_t nLevel = line.find(level);
    if (nLevel == std::string::npos) {
        return {};
    }
    const std::size_t nText = line.find_first_not_of(' ', nLevel + level.size());
    if (nText == std::string::npos) {
        return {};
    }
    const std::string text = line.substr(nText, line.find_last_not_of('\r') + 1 - nText);
    return text.substr(0, text.rfind(" ("));
}

bool startsWithCall(const std::string &message, const std::string &function)
{
    return message.rfind(function, 0) == 0 && (message.size() == function.size() || message[function.size()] == ':');
}

} // namespace

LogReason::LogReason(const std::wstring &libraryFolder)
{
    std::string file = configuredFile(tailOf(libraryFolder + L"\\addon.log4cxx.properties"));
    if (file.empty()) {
        return;
    }
    if (file.size() > 1 && (file[1] == ':' || file[0] == '/' || file[0] == '\\')) {
        m_paths.push_back(wide(file));
        return;
    }
    m_paths.push_back(libraryFolder + L"\\" + wide(file));
    std::array<wchar_t, MAX_PATH> local{};
    const DWORD dwLength = GetEnvironmentVariableW(L"LOCALAPPDATA", local.data(), MAX_PATH);
    if (dwLength > 0 && dwLength < MAX_PATH) {
        m_paths.push_back(local.data() + (L"\\Corvane\\" + wide(file)));
    }
}

std::string LogReason::of(const std::string &function) const
{
    for (const std::wstring &path : m_paths) {
        std::string reason = in(tailOf(path), function);
        if (!reason.empty()) {
            return reason;
        }
    }
    return {};
}

std::string LogReason::in(const std::string &log, const std::string &function)
{
    std::string own;    // the last warning that names the function: it is told once for questions that repeat
    std::string within; // the first error since the function was called last
    std::string behind; // the warning since then
    std::istringstream lines(log);
    std::string line;
    while (std::getline(lines, line)) {
        const std::string warning = messageOf(line, " WARN ");
        if (startsWithCall(messageOf(line, " INFO "), function)) {
            within.clear();
            behind.clear();
        } else if (startsWithCall(warning, function)) {
            own = behind = warning;
        } else if (within.empty()) {
            within = messageOf(line, " ERROR ");
        }
    }
    const std::string &found = !behind.empty() ? behind : !within.empty() ? within : own;
    const std::string prefix = function + ": ";
    return found.rfind(prefix, 0) == 0 ? found.substr(prefix.size()) : found;
}

} // namespace pellora::node
