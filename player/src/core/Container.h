#ifndef PLAYER_CONTAINER_H
#define PLAYER_CONTAINER_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>

namespace player
{

/**
 * FFmpeg's names of the containers that are played, with commas between them.
 *
 * The others that FFmpeg is built with belong to the device library. Text formats must not be among these: they would
 * make a local file or a pushed stream open network addresses.
 */
inline constexpr char kContainers[] = "mov,matroska,avi,mpegts,mpeg,mpegvideo,flv,h264,hevc,m4v,mjpeg,mpjpeg,ivf,obu";
/** Those of them that a pushed stream may be: fewer, since whoever pushes is less to be trusted than a file. */
inline constexpr char kPushedContainers[] = "mov,matroska,mpegts,mpeg,flv,h264,hevc";

/** Whether the container is among these. */
[[nodiscard]] bool isAmong(const AVInputFormat &input, const char *containers);
/** Whether FFmpeg knows the container by that name, which may be one of several. */
[[nodiscard]] bool isNamed(const AVInputFormat &input, const char *name);
/** Nothing but coded pictures one after another. The times that FFmpeg gives them are made up from a frame rate. */
[[nodiscard]] bool isWithoutTimes(const AVInputFormat &input);

/** Lengths tell where its parts end, rather than start codes where they begin: a broken one leads astray. */
[[nodiscard]] bool followsLengths(const AVInputFormat &input);

/**
 * A container over it that is not open yet. It becomes none but one of `containers`, never opens a second file or a
 * connection, by no protocol, and ends its work when `interrupt` says so. Throws OpenFailure. Passed on to
 * avformat_open_input(), which frees it on failure.
 */
[[nodiscard]] AVFormatContext *makeFormat(AVIOContext &io, const char *containers, AVIOInterruptCB interrupt);

} // namespace player

#endif
