#include "device/src/Devices.h"

#include "device/src/Failure.h"
#include "device/src/Module.h"

#include <memory>
#include <optional>

namespace selvik
{

CameraSource Devices::sourceOf(long userID, const SELVIK_DCM_PREVIEW_INFO &info) const
{
    const std::optional<Login> login = m_logins.find(userID);
    if (info.url == nullptr && !login) {
        throw Failure(SELVIK_ERROR_HANDLE);
    }
    const std::string text = info.url != nullptr ? std::string(info.url) : login->address;
    std::optional<Address> address =
        Address::parse(Address::fill(text, info.channel, info.streamType), login ? login->credentials : Credentials());
    if (!address) {
        throw Failure(SELVIK_ERROR_ADDRESS);
    }
    // Only the log-in's own address is asked for streams again and again.
    const bool bKept = login && info.url == nullptr;
    return {*std::move(address), info.channel, info.streamType,
            bKept ? login->kept : std::make_shared<KeptAddresses>()};
}

long Devices::startPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *pInfo)
{
    if (pInfo == nullptr || pInfo->callback == nullptr) {
        throw Failure(SELVIK_ERROR_ARGUMENT);
    }
    CameraSource source = sourceOf(userID, *pInfo);
    prepareProcess();
    const bool bLoggedIn = m_logins.find(userID).has_value();
    long handle = -1;
    // In the table before it starts: its callback may already stop it.
    const std::shared_ptr<Preview> preview =
        m_previews.add(bLoggedIn ? userID : -1, std::move(source), {pInfo->callback, pInfo->user}, handle);
    unsigned long error = SELVIK_ERROR_NONE;
    try {
        error = preview->start();
    } catch (...) {
        // No thread was started that would take the preview out of the table at its end.
        m_previews.remove(handle);
        throw;
    }
    if (error != SELVIK_ERROR_NONE) {
        throw Failure(error);
    }
    return handle;
}

void Devices::stopPreview(long handle)
{
    const std::shared_ptr<Preview> preview = m_previews.find(handle);
    // A second stop waits for the callback as the first one does, but only the first one succeeds.
    if (preview == nullptr || !preview->stop()) {
        throw Failure(SELVIK_ERROR_HANDLE);
    }
}

long Devices::login(const char *pAddress, const char *pUser, const char *pPassword)
{
    if (pAddress == nullptr || pUser == nullptr || pPassword == nullptr) {
        throw Failure(SELVIK_ERROR_ARGUMENT);
    }
    // The form does not depend on the numbers that are filled in.
    if (!Address::parse(Address::fill(pAddress, 1, 0), {})) {
        throw Failure(SELVIK_ERROR_ADDRESS);
    }
    return m_logins.add({pAddress, {pUser, pPassword}});
}

void Devices::logout(long userID)
{
    if (!m_logins.remove(userID)) {
        throw Failure(SELVIK_ERROR_HANDLE);
    }
    const std::vector<std::shared_ptr<Preview>> ending = m_previews.ofLogin(userID);
    for (const std::shared_ptr<Preview> &preview : ending) {
        preview->stop();
    }
    for (const std::shared_ptr<Preview> &preview : ending) {
        preview->awaitEnd();
    }
}

} // namespace selvik
