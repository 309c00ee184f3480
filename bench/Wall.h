#ifndef BENCH_WALL_H
#define BENCH_WALL_H

#include "tests/support/HostWindow.h"

#include <string>
#include <vector>

namespace bench
{

/** A host with panes that play cameras. Threads: the one that made it. */
class Wall
{
public:
    explicit Wall(unsigned short wPanes);
    ~Wall();
    Wall(const Wall &) = delete;
    Wall &operator=(const Wall &) = delete;

    /** Starts a camera in pane after pane. */
    void start(const std::vector<std::string> &addresses);
    /** Waits until each of the first panes shows a whole picture. */
    [[nodiscard]] static bool waitForPictures(int nPanes);
    static void pumpFor(double seconds);

private:
    support::HostWindow m_host;
    long m_lHandle;
    std::vector<long> m_logins;
};

} // namespace bench

#endif
