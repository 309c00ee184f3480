#include "device/src/SocketReader.h"

#ifdef _WIN32
#include "device/src/NativeSocket.h"
#endif

#include <utility>

namespace selvik
{

#ifdef _WIN32

namespace
{

/** A read that is under way; none is any more when it goes. */
class BegunRead
{
public:
    BegunRead(NativeSocket handle, HANDLE hEvent, std::uint8_t *pBuffer, std::size_t capacity) : m_handle(handle)
    {
        m_overlapped.hEvent = hEvent;
        WSABUF buffer = {static_cast<ULONG>(capacity), reinterpret_cast<char *>(pBuffer)};
        DWORD flags = 0;
        // Beginning resets the event.
        m_bDone = WSARecv(handle, &buffer, 1, nullptr, &flags, &m_overlapped, nullptr) == 0;
        if (!m_bDone && WSAGetLastError() != WSA_IO_PENDING) {
            throw Failure(SELVIK_ERROR_HOST);
        }
    }
    ~BegunRead()
    {
        end();
    }
    BegunRead(const BegunRead &) = delete;
    BegunRead &operator=(const BegunRead &) = delete;

    [[nodiscard]] bool isDone() const
    {
        return m_bDone;
    }

    /** Waits no longer than that, nor longer than until the other event; whether the read is done. */
    [[nodiscard]] bool await(HANDLE hStop, Milliseconds duration)
    {
        const HANDLE events[] = {m_overlapped.hEvent, hStop};
        const auto most = static_cast<DWORD>(duration.count());
        m_bDone = WaitForMultipleObjects(hStop != nullptr ? 2 : 1, events, FALSE, most) == WAIT_OBJECT_0;
        return m_bDone;
    }

    /** Takes it back where it is not done, unless it gets done meanwhile. 0 where nothing has come. */
    [[nodiscard]] std::size_t finish()
    {
        DWORD count = 0;
        const DWORD error = end(&count);
        if (error == WSA_OPERATION_ABORTED) {
            return 0;
        }
        if (error != 0 || count == 0) {
            throw Failure(SELVIK_ERROR_HOST);
        }
        return count;
    }

private:
    DWORD end(DWORD *pCount = nullptr)
    {
        if (m_bEnded) {
            return 0;
        }
        m_bEnded = true;
        if (!m_bDone) {
            CancelIoEx(reinterpret_cast<HANDLE>(m_handle), &m_overlapped);
        }
        DWORD count = 0;
        DWORD flags = 0;
        const bool bDone = WSAGetOverlappedResult(m_handle, &m_overlapped, &count, TRUE, &flags) != 0;
        if (pCount != nullptr) {
            *pCount = count;
        }
        return bDone ? 0 : static_cast<DWORD>(WSAGetLastError());
    }

    const NativeSocket m_handle;
    OVERLAPPED m_overlapped = {};
    bool m_bDone = false;
    bool m_bEnded = false;
};

} // namespace

SocketReader::SocketReader() : m_hEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

SocketReader::~SocketReader()
{
    if (m_hEvent != nullptr) {
        CloseHandle(m_hEvent);
    }
}

std::size_t SocketReader::receive(Socket &socket, std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience)
{
    // Beginning a read only to take it back costs more than asking.
    if (m_hEvent == nullptr || patience.stopEvent() == nullptr || patience.isOver()) {
        return receiveByPolling(socket, pBuffer, capacity, patience);
    }
    BegunRead read(static_cast<NativeSocket>(socket.handle()), m_hEvent, pBuffer, capacity);
    if (!read.isDone()) {
        (void)patience.pollSockets([&](Milliseconds most) { return read.await(patience.stopEvent(), most); });
    }
    return read.finish();
}

#else

SocketReader::SocketReader() = default;
SocketReader::~SocketReader() = default;

std::size_t SocketReader::receive(Socket &socket, std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience)
{
    return receiveByPolling(socket, pBuffer, capacity, patience);
}

#endif

std::size_t SocketReader::receiveByPolling(Socket &socket, std::uint8_t *pBuffer, std::size_t capacity,
                                           const Patience &patience)
{
    // Where the last read did not fill its buffer there was no more, and asking again would only cost a call.
    bool bMayHaveMore = std::exchange(m_bMayHaveMore, true) || patience.isOver();
    for (;;) {
        const std::size_t received = bMayHaveMore ? socket.receive(pBuffer, capacity) : 0;
        if (received > 0 || (bMayHaveMore && patience.isOver())) {
            m_bMayHaveMore = received == capacity;
            return received;
        }
        (void)Socket::waitReadable({&socket}, patience);
        bMayHaveMore = true;
    }
}

} // namespace selvik
