// The device library's C interface: checks arguments, keeps each thread's last error, lets nothing be thrown across.

#include "Selvikdcm.h"

#include "device/src/Address.h"
#include "device/src/Failure.h"
#include "device/src/LoginTable.h"
#include "device/src/Module.h"
#include "device/src/PreviewTable.h"

#include <memory>
#include <string>

namespace
{

using selvik::Address;
using selvik::Failure;
using selvik::Login;
using selvik::Preview;

thread_local unsigned long t_lastError = SELVIK_ERROR_NONE;

// Neither table is ever destroyed: at the end of a process other threads may still ask.
selvik::LoginTable &logins()
{
    static auto *const pTable = new selvik::LoginTable;
    return *pTable;
}

selvik::PreviewTable &previews()
{
    static auto *const pTable = new selvik::PreviewTable;
    return *pTable;
}

/** Runs a body at the C boundary: what it throws becomes the last error, else that is none. */
template <typename Result, typename Body>
Result guarded(Result failure, Body body) noexcept
{
    try {
        const Result result = body();
        t_lastError = SELVIK_ERROR_NONE;
        return result;
    } catch (const Failure &error) {
        t_lastError = error.error();
    } catch (...) {
        t_lastError = SELVIK_ERROR_RESOURCES;
    }
    return failure;
}

/** The address that a request means. */
Address addressOf(long userID, const SELVIK_DCM_PREVIEW_INFO &info)
{
    const std::optional<Login> login = logins().find(userID);
    if (info.url == nullptr && !login) {
        throw Failure(SELVIK_ERROR_HANDLE);
    }
    const std::string text = info.url != nullptr ? std::string(info.url) : login->address;
    std::optional<Address> address = Address::parse(Address::fill(text, info.channel, info.streamType),
                                                    login ? login->credentials : selvik::Credentials());
    if (!address) {
        throw Failure(SELVIK_ERROR_ADDRESS);
    }
    return *std::move(address);
}

} // namespace

long SELVIK_DCM_StartPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *info)
{
    return guarded(-1L, [&] {
        if (info == nullptr || info->callback == nullptr) {
            throw Failure(SELVIK_ERROR_ARGUMENT);
        }
        Address address = addressOf(userID, *info);
        selvik::prepareProcess();
        const bool bLoggedIn = logins().find(userID).has_value();
        long handle = -1;
        // Known before it starts: the callback may already stop it.
        const std::shared_ptr<Preview> preview =
            previews().add(bLoggedIn ? userID : -1, std::move(address), {info->callback, info->user}, handle);
        unsigned long error = SELVIK_ERROR_NONE;
        try {
            error = preview->start();
        } catch (...) {
            // There is no thread that would take it out at its end.
            previews().remove(handle);
            throw;
        }
        if (error != SELVIK_ERROR_NONE) {
            throw Failure(error);
        }
        return handle;
    });
}

int SELVIK_DCM_StopPreview(long previewHandle)
{
    return guarded(0, [&] {
        const std::shared_ptr<Preview> preview = previews().find(previewHandle);
        if (preview == nullptr) {
            throw Failure(SELVIK_ERROR_HANDLE);
        }
        // Whoever comes second waits for the callback too, but it is the first one's success.
        if (!preview->stop()) {
            throw Failure(SELVIK_ERROR_HANDLE);
        }
        return 1;
    });
}

unsigned long SELVIK_DCM_GetLastError(void)
{
    return t_lastError;
}

long SELVIK_DCM_Login(const char *address, const char *user, const char *password)
{
    return guarded(-1L, [&] {
        if (address == nullptr || user == nullptr || password == nullptr) {
            throw Failure(SELVIK_ERROR_ARGUMENT);
        }
        // Any channel shows whether the form is right.
        if (!Address::parse(Address::fill(address, 1, 0), {})) {
            throw Failure(SELVIK_ERROR_ADDRESS);
        }
        return logins().add({address, {user, password}});
    });
}

int SELVIK_DCM_Logout(long userID)
{
    return guarded(0, [&] {
        if (!logins().remove(userID)) {
            throw Failure(SELVIK_ERROR_HANDLE);
        }
        const std::vector<std::shared_ptr<Preview>> ending = previews().ofLogin(userID);
        for (const std::shared_ptr<Preview> &preview : ending) {
            preview->stop();
        }
        for (const std::shared_ptr<Preview> &preview : ending) {
            preview->awaitEnd();
        }
        return 1;
    });
}
