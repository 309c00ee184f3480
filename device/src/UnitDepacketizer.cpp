#include "device/src/UnitDepacketizer.h"

#include "device/src/UnitScanner.h"

#include <algorithm>
#include <array>

namespace selvik
{

void UnitDepacketizer::feedWhole(ByteView unit, CodedSink &sink)
{
    sink.begin(unit);
    sink.append(unit);
}

void UnitDepacketizer::feedEach(ByteView units, CodedSink &sink)
{
    visitUnits(units, Leading::IsUnit, [&sink](ByteView unit) { feedWhole(unit, sink); });
}

void UnitDepacketizer::begin(ByteView head, ByteView behind, CodedSink &sink)
{
    // What the beginning of a slice needs that is looked at before the rest comes.
    std::array<std::uint8_t, 24> beginning = {};
    const std::size_t size = std::min(behind.size, beginning.size() - head.size);
    std::copy(head.begin(), head.end(), beginning.begin());
    std::copy_n(behind.begin(), size, beginning.begin() + static_cast<std::ptrdiff_t>(head.size));
    sink.begin({beginning.data(), head.size + size});
    sink.append(head);
}

void UnitDepacketizer::feedFragment(std::uint8_t flags, ByteView head, ByteView fragment, CodedSink &sink)
{
    if ((flags & 0x80) != 0) {
        begin(head, fragment, sink);
        m_bInside = true;
    }
    if (m_bInside) {
        sink.append(fragment);
        m_bInside = (flags & 0x40) == 0;
    }
}

} // namespace selvik
