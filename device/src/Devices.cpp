#include "device/src/Devices.h"

#include "device/src/Failure.h"
#include "device/src/Module.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace selvik
{

Preview::Request Devices::read(long userID, const SELVIK_DCM_PREVIEW_INFO &info) const
{
    if (info.callback == nullptr) {
        throw Failure(SELVIK_ERROR_ARGUMENT);
    }
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
    CameraSource source = {*std::move(address), info.channel, info.streamType,
                           bKept ? login->kept : std::make_shared<KeptAddresses>()};
    return {login ? userID : -1, std::move(source), {info.callback, info.user}, nullptr};
}

long Devices::startPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *pInfo)
{
    if (pInfo == nullptr) {
        throw Failure(SELVIK_ERROR_ARGUMENT);
    }
    const std::shared_ptr<StateTeller::Line> states =
        m_states.open(std::max(userID, -1L), pInfo->channel, pInfo->streamType);
    try {
        Preview::Request request = read(userID, *pInfo);
        request.states = states;
        return start(std::move(request));
    } catch (const Failure &failure) {
        m_states.tell(states, SELVIK_STATE_FAILED, failure.error());
        throw;
    } catch (...) {
        m_states.tell(states, SELVIK_STATE_FAILED, SELVIK_ERROR_RESOURCES);
        throw;
    }
}

long Devices::start(Preview::Request request)
{
    prepareProcess();
    const long userID = request.userID;
    long handle = -1;
    // In the table before it starts: its callback may already stop it. From here on nothing may be thrown before it is
    // started, since a log-out waits for the end of what is in the table.
    const std::shared_ptr<Preview> preview = m_previews.add(std::move(request), handle);
    if (userID >= 0 && !m_logins.has(userID)) {
        // A log-out forgets the log-in first and then stops what is in the table: it may have looked there too early.
        (void)preview->stop();
    }
    const unsigned long error = preview->start();
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
    if (pAddress == nullptr) {
        throw Failure(SELVIK_ERROR_ARGUMENT);
    }
    // The form does not depend on the numbers that are filled in.
    if (!Address::parse(Address::fill(pAddress, 1, 0), {})) {
        throw Failure(SELVIK_ERROR_ADDRESS);
    }
    return m_logins.add(
        {pAddress, {pUser != nullptr ? pUser : std::string(), pPassword != nullptr ? pPassword : std::string()}});
}

void Devices::logout(long userID)
{
    if (!m_logins.remove(userID)) {
        throw Failure(SELVIK_ERROR_HANDLE);
    }
    // All of them are told before one is waited for.
    const auto forEach = [this, userID](auto operation) {
        for (auto preview = m_previews.nextOfLogin(userID, -1); preview != nullptr;
             preview = m_previews.nextOfLogin(userID, preview->handle())) {
            operation(*preview);
        }
    };
    forEach([](Preview &preview) { preview.stop(); });
    forEach([](Preview &preview) { preview.awaitEnd(); });
}

void Devices::setStateCallback(SELVIK_DCM_STATE_CB pFunction, void *pUser)
{
    prepareProcess();
    m_states.setCallback(pFunction, pUser);
}

} // namespace selvik
