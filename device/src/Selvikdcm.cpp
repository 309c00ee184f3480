// The device library's C interface. It opens no connection yet: log-ins are kept and checked, and every preview is
// answered with the reason why it cannot start, so that callers meet the errors that they must handle anyway.

#include "Selvikdcm.h"

#include <array>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

namespace
{

thread_local unsigned long t_lastError = SELVIK_ERROR_NONE;

/** Sets the calling thread's last error; returns whether it is none. */
bool finish(unsigned long error)
{
    t_lastError = error;
    return error == SELVIK_ERROR_NONE;
}

/** Whether an address begins with a scheme that devices are reached by. */
bool isAddress(const std::string &address)
{
    static constexpr std::array<const char *, 5> schemes = {"rtsp://", "rtsps://", "http://", "https://", "file:"};
    for (const char *pScheme : schemes) {
        const std::size_t length = std::strlen(pScheme);
        if (address.size() > length && address.compare(0, length, pScheme) == 0) {
            return true;
        }
    }
    return false;
}

/**
 * The log-ins of the process.
 *
 * Threads: any; guarded by its mutex. Identifiers count up from 0 and are never handed out twice.
 */
class LoginTable
{
public:
    long add(std::string address)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_addresses.emplace(m_lNext, std::move(address));
        return m_lNext++;
    }

    bool remove(long userID)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_addresses.erase(userID) != 0;
    }

    bool contains(long userID) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_addresses.count(userID) != 0;
    }

private:
    mutable std::mutex m_mutex;
    std::map<long, std::string> m_addresses;
    long m_lNext = 0;
};

LoginTable &logins()
{
    // Never destroyed: at the end of a process other threads may still ask.
    static LoginTable *pTable = new LoginTable;
    return *pTable;
}

/** Runs a body at the C boundary: lack of memory becomes error 3, and nothing is thrown across it. */
template <typename Result, typename Body>
Result guarded(Result failure, Body body) noexcept
{
    try {
        return body();
    } catch (...) {
        t_lastError = SELVIK_ERROR_RESOURCES;
        return failure;
    }
}

} // namespace

long SELVIK_DCM_StartPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *info)
{
    return guarded(-1L, [&] {
        if (info == nullptr || info->callback == nullptr) {
            finish(SELVIK_ERROR_ARGUMENT);
        } else if (info->url == nullptr && !logins().contains(userID)) {
            finish(SELVIK_ERROR_HANDLE);
        } else if (info->url != nullptr && !isAddress(info->url)) {
            finish(SELVIK_ERROR_ADDRESS);
        } else {
            finish(SELVIK_ERROR_HOST);
        }
        return -1L;
    });
}

int SELVIK_DCM_StopPreview(long /*previewHandle*/)
{
    // No preview ever started, so no handle is known.
    return finish(SELVIK_ERROR_HANDLE) ? 1 : 0;
}

unsigned long SELVIK_DCM_GetLastError(void)
{
    return t_lastError;
}

long SELVIK_DCM_Login(const char *address, const char *user, const char *password)
{
    return guarded(-1L, [&] {
        if (address == nullptr || user == nullptr || password == nullptr) {
            finish(SELVIK_ERROR_ARGUMENT);
            return -1L;
        }
        if (!isAddress(address)) {
            finish(SELVIK_ERROR_ADDRESS);
            return -1L;
        }
        const long userID = logins().add(address);
        finish(SELVIK_ERROR_NONE);
        return userID;
    });
}

int SELVIK_DCM_Logout(long userID)
{
    return guarded(0,
                   [&] { return finish(logins().remove(userID) ? SELVIK_ERROR_NONE : SELVIK_ERROR_HANDLE) ? 1 : 0; });
}
