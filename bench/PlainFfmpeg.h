#ifndef BENCH_PLAINFFMPEG_H
#define BENCH_PLAINFFMPEG_H

#include <functional>
#include <string>

namespace bench
{

/**
 * Reads and decodes with so many threads, and FFmpeg's defaults otherwise, until the condition says enough or the end
 * is reached; how many pictures it decoded.
 */
int decodeUntil(const std::string &address, const std::function<bool(int nPictures)> &isEnough, int nThreads = 1);

} // namespace bench

#endif
