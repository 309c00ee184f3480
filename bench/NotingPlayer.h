#ifndef BENCH_NOTINGPLAYER_H
#define BENCH_NOTINGPLAYER_H

#include "Selvikdcm.h"

#include <windows.h>

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace bench
{

/** One preview fed into one port, whose draw callback notes when each number is presented. */
class NotingPlayer
{
public:
    using Clock = std::chrono::steady_clock;

    explicit NotingPlayer(HWND hWnd) : m_hWnd(hWnd) {}
    ~NotingPlayer();
    NotingPlayer(const NotingPlayer &) = delete;
    NotingPlayer &operator=(const NotingPlayer &) = delete;

    bool start(const std::string &address);
    /** When a number was presented first. */
    [[nodiscard]] std::map<int, Clock::time_point> presented() const;

private:
    static void onStream(long, const SELVIK_DCM_STREAM_DATA *pData, void *pUser);
    static void onDraw(long, HDC hDc, void *pUser);

    HWND m_hWnd;
    long m_lLogin = -1;
    long m_lPreview = -1;
    long m_lPort = -1;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::map<int, Clock::time_point> m_presented;
};

} // namespace bench

#endif
