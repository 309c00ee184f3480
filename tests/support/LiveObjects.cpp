#include "tests/support/LiveObjects.h"

#include <QObject>

#include <atomic>

// Qt's hooks for inspection tools: exported, but declared in a private header only, which is not installed. The first
// word is the version of the table.
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace support
{

namespace
{

constexpr int kAddObject = 3;
constexpr int kRemoveObject = 4;

std::atomic<int> g_nObjects{0};

bool hook()
{
    qtHookData[kAddObject] = reinterpret_cast<quintptr>(+[](QObject *) { ++g_nObjects; });
    qtHookData[kRemoveObject] = reinterpret_cast<quintptr>(+[](QObject *) { --g_nObjects; });
    return true;
}

} // namespace

int liveObjects()
{
    static const bool bHooked = hook();
    return bHooked ? g_nObjects.load() : 0;
}

} // namespace support
