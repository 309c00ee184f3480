#include "player/src/port/ErrorStore.h"

namespace player
{

namespace
{

// The port's number tells whether an entry is of the port that has the slot now: slots are used again, numbers never.
// The number is kept plus one, so that a table of zeros holds no entry and needs no construction.
struct Entry {
    std::int64_t portPlusOne;
    Error error;
};

struct Table {
    Entry entries[ErrorStore::kSlots];
    Error latest;
};

thread_local Table t_table;

} // namespace

void ErrorStore::set(int slot, std::int32_t port, Error error)
{
    t_table.latest = error;
    if (slot >= 0 && slot < kSlots) {
        t_table.entries[slot] = {std::int64_t{port} + 1, error};
    }
}

Error ErrorStore::get(int slot, std::int32_t port)
{
    if (slot < 0 || slot >= kSlots) {
        return t_table.latest;
    }
    const Entry &entry = t_table.entries[slot];
    return entry.portPlusOne == std::int64_t{port} + 1 ? entry.error : Error::None;
}

} // namespace player
