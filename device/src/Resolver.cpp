#include "device/src/Resolver.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#include <sys/socket.h>
#endif

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace selvik
{

namespace
{

std::atomic<int> &runningLookups()
{
    // Never destroyed: a look-up may still hang when the process ends.
    static auto *const pCount = new std::atomic<int>(0);
    return *pCount;
}

/** What a look-up and whoever waits for it share; the last of them frees it. */
struct Lookup {
    std::mutex mutex;
    std::condition_variable changed;
    bool bDone = false;
    std::vector<std::string> addresses;
};

std::vector<std::string> askSystem(const std::string &host, bool bNumericOnly)
{
#ifdef _WIN32
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        return {};
    }
#endif
    std::vector<std::string> addresses;
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = bNumericOnly ? AI_NUMERICHOST : 0;
    addrinfo *pList = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &pList) == 0) {
        for (const addrinfo *p = pList; p != nullptr; p = p->ai_next) {
            char text[NI_MAXHOST] = {};
            if (getnameinfo(p->ai_addr, static_cast<socklen_t>(p->ai_addrlen), text, sizeof text, nullptr, 0,
                            NI_NUMERICHOST) == 0) {
                addresses.emplace_back(text);
            }
        }
        freeaddrinfo(pList);
    }
#ifdef _WIN32
    WSACleanup();
#endif
    return addresses;
}

void runLookup(const std::shared_ptr<Lookup> &lookup, const NameLookup &lookUp, const std::string &host)
{
    std::vector<std::string> addresses;
    try {
        addresses = lookUp(host);
    } catch (...) {
        // Out of memory: the waiting side sees an unknown host.
        addresses.clear();
    }
    {
        const std::lock_guard<std::mutex> lock(lookup->mutex);
        lookup->addresses.swap(addresses);
        lookup->bDone = true;
    }
    lookup->changed.notify_all();
    --runningLookups();
}

} // namespace

std::vector<std::string> lookUpName(const std::string &host)
{
    return askSystem(host, false);
}

std::vector<std::string> resolveHost(const std::string &host, const Patience &patience, const NameLookup &lookUp)
{
    std::vector<std::string> addresses = askSystem(host, true);
    if (!addresses.empty()) {
        return addresses;
    }
    if (++runningLookups() > kMaxLookups) {
        --runningLookups();
        throw Failure(SELVIK_ERROR_HOST);
    }
    auto lookup = std::make_shared<Lookup>();
    try {
        std::thread(runLookup, lookup, lookUp, host).detach();
    } catch (...) {
        --runningLookups();
        throw;
    }
    std::unique_lock<std::mutex> lock(lookup->mutex);
    if (!patience.wait(lock, lookup->changed, [&] { return lookup->bDone; })) {
        patience.check();
    }
    if (lookup->addresses.empty()) {
        throw Failure(SELVIK_ERROR_HOST);
    }
    return lookup->addresses;
}

} // namespace selvik
