#ifndef PLAYER_PORTTABLE_H
#define PLAYER_PORTTABLE_H

#include "player/src/port/Port.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace player
{

/**
 * The open ports by number.
 *
 * Numbers count up and are never handed out twice, so that a stale one reaches nobody.
 *
 * Threads: any. A port that was found stays whole while the finder holds it, also when it is removed meanwhile.
 */
class PortTable
{
public:
    static constexpr int kMostPorts = 256;

    explicit PortTable(Platform &platform) : m_platform(platform) {}

    /** Null when all ports are taken. */
    std::shared_ptr<Port> add();
    [[nodiscard]] std::shared_ptr<Port> find(std::int64_t number) const;
    /** The number is dead from now on; null when it was. Closing what is left is the caller's. */
    std::shared_ptr<Port> remove(std::int64_t number);

private:
    Platform &m_platform;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::map<std::int32_t, std::shared_ptr<Port>> m_ports;
    std::array<bool, kMostPorts> m_slots{};
    std::int32_t m_nNext = 0;
};

} // namespace player

#endif
