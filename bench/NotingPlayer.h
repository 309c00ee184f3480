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

    /** How many different pictures were presented, and how many in between were not. */
    struct Tally {
        int nShown = 0;
        int nDropped = 0;
    };

    /** The camera sends so many pictures round and round. */
    explicit NotingPlayer(HWND hWnd, int nRound = 0) : m_hWnd(hWnd), m_nRound(nRound) {}
    ~NotingPlayer();
    NotingPlayer(const NotingPlayer &) = delete;
    NotingPlayer &operator=(const NotingPlayer &) = delete;

    bool start(const std::string &address);
    /** When a number was presented first. */
    [[nodiscard]] std::map<int, Clock::time_point> presented() const;
    /** Since the last question. */
    [[nodiscard]] Tally takeTally();

private:
    static void onStream(long, const SELVIK_DCM_STREAM_DATA *pData, void *pUser);
    static void onDraw(long, HDC hDc, void *pUser);
    void note(int nNumber, Clock::time_point when);

    HWND m_hWnd;
    const int m_nRound;
    long m_lLogin = -1;
    long m_lPreview = -1;
    long m_lPort = -1;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::map<int, Clock::time_point> m_presented;
    int m_nLast = -1;
    Tally m_tally;
};

} // namespace bench

#endif
