#include "interface/Refusal.h"

#include "base/CLog.h"

#include <cstdio>
#include <mutex>
#include <set>
#include <string_view>

#include <windows.h>

namespace pellora
{

namespace
{

/** Texts that are not to be written again. Any thread. */
class WrittenTexts
{
public:
    /** False when it is among them, and when there are so many that no more are kept. */
    bool add(const std::string &text)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_texts.size() < kMostTexts && m_texts.insert(text).second;
    }
    void forget()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_texts.clear();
    }

private:
    static constexpr std::size_t kMostTexts = 64;

    std::mutex m_mutex;
    std::set<std::string> m_texts;
};

// Never destroyed: a host may call while the process ends.

WrittenTexts &textsInTheLog()
{
    static auto *const pTexts = new WrittenTexts;
    return *pTexts;
}

WrittenTexts &textsAside()
{
    static auto *const pTexts = new WrittenTexts;
    return *pTexts;
}

/** Nobody limits what is written there but this. */
void writeAside(const std::string &text)
{
    if (!textsAside().add(text)) {
        return;
    }
    const std::string line = "Pellora: " + text + "\n";
    OutputDebugStringA(line.c_str());
    static_cast<void>(std::fputs(line.c_str(), stderr));
}

std::string_view functionOf(const LogLocation &where)
{
    std::string_view name(where.function);
    const std::size_t nStart = name.find("PELLORA_");
    name.remove_prefix(nStart != std::string_view::npos ? nStart : 0);
    return name.substr(0, name.find('('));
}

bool onlyAsks(std::string_view function)
{
    constexpr std::string_view kQuestion = "PELLORA_Get";
    return function.substr(0, kQuestion.size()) == kQuestion;
}

bool hasLog()
{
    return Base::CLog::getInstance()->isStarted();
}

} // namespace

void noteCall(const LogLocation &where) noexcept
{
    contained(where, [&] {
        if (!onlyAsks(functionOf(where))) {
            textsInTheLog().forget();
        }
    });
}

void writeRefusal(const LogLocation &where, const std::string &reason)
{
    const std::string_view function = functionOf(where);
    const std::string text = std::string(function) + ": " + reason;
    if (!hasLog()) {
        writeAside(text);
    } else if (!onlyAsks(function) || textsInTheLog().add(text)) {
        logWarn(where, "%s", text.c_str());
    }
}

bool refuseWindow(const LogLocation &where, long lHandle) noexcept
{
    contained(where, [&] {
        writeAside(Base::StringUtil::FormatString("%s: there is no window %d", std::string(functionOf(where)).c_str(),
                                                  lHandle));
    });
    return false;
}

} // namespace pellora
