#ifndef BENCH_PLAINFFMPEG_H
#define BENCH_PLAINFFMPEG_H

#include <functional>
#include <string>

namespace bench
{

/** Reads and decodes with FFmpeg's defaults until the condition says enough; how many pictures it decoded. */
int decodeUntil(const std::string &address, const std::function<bool(int nPictures)> &isEnough);

} // namespace bench

#endif
