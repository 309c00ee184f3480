#ifndef PLAYER_ERROR_H
#define PLAYER_ERROR_H

namespace player
{

/** Last errors of a port; the values are those of Kavun.h. */
enum class Error : unsigned long {
    None = 0,
    Argument = 1,
    Order = 2,
    Resources = 3,
    Open = 4,
    Unsupported = 5,
    Corrupt = 6,
    BufferTooSmall = 7,
    NoPicture = 8,
    Limit = 9,
    NoTime = 10,
    BufferFull = 11,
    NoIndex = 12,
    NoSound = 13,
    End = 14
};

/** Thrown while a file or a stream is being opened: why it cannot be played. */
struct OpenFailure {
    Error error;
};

} // namespace player

#endif
