#include "base/src/base/LogConfiguration.h"

#include "base/src/base/Utf8.h"

#include <log4cxx/helpers/bytearrayinputstream.h>

#include <windows.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <vector>

namespace Base
{
namespace
{

class FileHandle
{
public:
    explicit FileHandle(HANDLE hFile) : m_hFile(hFile) {}
    ~FileHandle()
    {
        if (isOpen()) {
            CloseHandle(m_hFile);
        }
    }
    FileHandle(const FileHandle &) = delete;
    FileHandle &operator=(const FileHandle &) = delete;
    [[nodiscard]] bool isOpen() const
    {
        return m_hFile != INVALID_HANDLE_VALUE;
    }
    [[nodiscard]] HANDLE get() const
    {
        return m_hFile;
    }

private:
    HANDLE m_hFile;
};

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool readFile(const std::wstring &path, std::vector<unsigned char> &bytes)
{
    const FileHandle file(CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file.isOpen()) {
        return false;
    }
    std::array<unsigned char, 4096> block{};
    DWORD count = 0;
    while (ReadFile(file.get(), block.data(), static_cast<DWORD>(block.size()), &count, nullptr) != 0) {
        if (count == 0) {
            return true;
        }
        bytes.insert(bytes.end(), block.begin(), block.begin() + count);
    }
    return false;
}

bool canWriteIn(const std::wstring &folder)
{
    const std::wstring probe = folder + L"~corvane-" + std::to_wstring(GetCurrentProcessId()) + L".tmp";
    const FileHandle file(CreateFileW(probe.c_str(), GENERIC_WRITE, kShareAll, nullptr, CREATE_ALWAYS,
                                      FILE_FLAG_DELETE_ON_CLOSE | FILE_ATTRIBUTE_TEMPORARY, nullptr));
    return file.isOpen();
}

std::wstring userFolder()
{
    std::wstring folder(32768, L'\0');
    folder.resize(GetEnvironmentVariableW(L"LOCALAPPDATA", folder.data(), static_cast<DWORD>(folder.size())));
    if (folder.empty()) {
        return {};
    }
    folder += L"\\Corvane";
    CreateDirectoryW(folder.c_str(), nullptr);
    return folder + L'\\';
}

// Slashes, because log4cxx takes a backslash in a file name for the start of an escape.
std::string logFolder(const std::wstring &path)
{
    std::wstring full(32768, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    std::wstring folder = full.substr(0, full.find_last_of(L'\\') + 1);
    if (!canWriteIn(folder)) {
        const std::wstring fallback = userFolder();
        folder = fallback.empty() ? folder : fallback;
    }
    std::string text = toUtf8(folder);
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

bool isRelative(const std::string &file)
{
    const bool rooted = !file.empty() && (file[0] == '/' || file[0] == '\\' || file[0] == '$');
    const bool drive = file.size() > 1 && file[1] == ':';
    return !file.empty() && !rooted && !drive;
}

bool namesFile(std::string key)
{
    std::transform(key.begin(), key.end(), key.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const auto endsWith = [&key](std::string_view suffix) {
        return key.size() >= suffix.size() && key.compare(key.size() - suffix.size(), suffix.size(), suffix) == 0;
    };
    return key.compare(0, 8, "log4j.ap") == 0 &&
           (endsWith(".file") || endsWith(".filenamepattern") || endsWith(".activefilename"));
}

} // namespace

bool readLogConfiguration(const std::string &path, log4cxx::helpers::Properties &properties)
{
    const std::wstring wide = toUtf16(path);
    std::vector<unsigned char> bytes;
    if (wide.empty() || !readFile(wide, bytes)) {
        return false;
    }
    properties.load(std::make_shared<log4cxx::helpers::ByteArrayInputStream>(bytes));
    if (properties.get("log4j.rootLogger").empty() && properties.get("log4j.rootCategory").empty()) {
        return false;
    }
    std::string folder;
    for (const std::string &key : properties.propertyNames()) {
        const std::string value = properties.get(key);
        if (!namesFile(key) || !isRelative(value)) {
            continue;
        }
        if (folder.empty()) {
            folder = logFolder(wide);
        }
        properties.setProperty(key, folder + value);
    }
    return true;
}

bool canAppendTo(const std::string &path)
{
    const FileHandle file(
        CreateFileW(toUtf16(path).c_str(), FILE_APPEND_DATA, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    return file.isOpen();
}

void fillDefaultLogConfiguration(log4cxx::helpers::Properties &properties)
{
    properties.setProperty("log4j.rootLogger", "WARN, stderr");
    properties.setProperty("log4j.appender.stderr", "org.apache.log4j.ConsoleAppender");
    properties.setProperty("log4j.appender.stderr.Target", "System.err");
    properties.setProperty("log4j.appender.stderr.layout", "org.apache.log4j.PatternLayout");
    properties.setProperty("log4j.appender.stderr.layout.ConversionPattern", "%d [%t] %p %m (%F:%L)%n");
}

} // namespace Base
