// The picture on display is the one that plain decoding says, whatever led there.
#include "player/tests/support/Clips.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PushedStream.h"
#include "player/tests/support/Walk.h"
#include "tests/support/TemporaryFile.h"

#include <gtest/gtest.h>

namespace
{

using player::test::Clip;
using player::test::CodedPicture;
using player::test::liveFlash;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::liveProgram;
using player::test::PlainPicture;
using player::test::PushedStream;
using player::test::Walk;
using testsupport::TemporaryFile;

class ExactPicture : public testing::TestWithParam<Clip>
{
};

TEST_P(ExactPicture, IsOnDisplayAfterAnyMoves)
{
    if (GetParam().pictures > 400) {
        GTEST_SKIP() << "the same as others, only longer";
    }
    Walk(GetParam().path(), player::test::decodePlainly(GetParam().path()), 11).go(40);
}

INSTANTIATE_TEST_SUITE_P(Clips, ExactPicture, testing::ValuesIn(player::test::numberedClips()),
                         [](const auto &row) { return player::test::testName(row.param.file); });

/** Recordings put one behind the other, as by copying their bytes. */
struct Joined {
    const char *first;
    const char *second;
};

void PrintTo(const Joined &joined, std::ostream *pStream)
{
    *pStream << joined.first << " and " << joined.second;
}

class JoinedFiles : public testing::TestWithParam<Joined>
{
};

TEST_P(JoinedFiles, PlayThroughTheirSeamWhateverTheirStampsSay)
{
    const TemporaryFile file(GetParam().first);
    for (const char *part : {GetParam().first, GetParam().second}) {
        file.append(player::test::bytesOf(player::test::mediaPath(part)));
    }
    // Each picture of both lasts 40 ms.
    std::vector<PlainPicture> pictures;
    for (const char *part : {GetParam().first, GetParam().second}) {
        for (int number = 0; number < player::test::clip(part).pictures; ++number) {
            pictures.push_back({number, static_cast<std::int64_t>(pictures.size()) * 40000, 0});
        }
    }
    Walk(file.path(), pictures, 5).go(40);
}

INSTANTIATE_TEST_SUITE_P(Containers, JoinedFiles,
                         testing::Values(Joined{"h264.ts", "h264.ts"}, Joined{"h264.ts", "start-1h.ts"},
                                         Joined{"start-1h.ts", "h264.ts"}, Joined{"mpeg2.mpg", "mpeg2.mpg"},
                                         Joined{"raw.h264", "raw.h264"}, Joined{"raw.h265", "raw.h265"}),
                         [](const auto &row) {
                             return player::test::testName(std::string(row.param.first) + "_" + row.param.second);
                         });

TEST_P(ExactPicture, EndsAsOftenAsItIsPlayedToItsEnd)
{
    const auto pictures = player::test::decodePlainly(GetParam().path());
    for (const int speed : {4, -4}) {
        Walk(GetParam().path(), pictures, 7).endAgain(speed);
    }
}

/** A hundred pictures, each of which lasts 40 ms, and whose file says something else. */
struct OddStamps {
    const char *name;
    PushedStream (*make)();
    /** When a picture is shown, in milliseconds. */
    int (*time)(int number);
};

void PrintTo(const OddStamps &odd, std::ostream *pStream)
{
    *pStream << odd.name;
}

/** Adds to the stamps from the key picture by that count on. */
LiveOptions jump(int key, std::int64_t ticks)
{
    LiveOptions options;
    options.edit = [key, ticks, keys = 0](CodedPicture &picture) mutable {
        keys += picture.key ? 1 : 0;
        picture.pts += keys > key ? ticks : 0;
        picture.dts += keys > key ? ticks : 0;
    };
    return options;
}

LiveOptions edited(std::function<void(CodedPicture &picture)> edit)
{
    LiveOptions options;
    options.edit = std::move(edit);
    return options;
}

int regular(int number)
{
    return 40 * number;
}

const OddStamps kOddStamps[] = {
    {"matroska_repeat",
     [] {
         return liveMatroska("msmpeg4v3.mkv",
                             edited([](CodedPicture &picture) { picture.pts -= picture.number % 10 == 5 ? 40 : 0; }));
     },
     [](int number) { return number % 10 == 5 ? 40 * (number - 1) + 1 : 40 * number; }},
    {"matroska_start_over", [] { return liveMatroska("h264-alaw.mkv", jump(2, -2000)); }, regular},
    {"matroska_jump_back", [] { return liveMatroska("h264-alaw.mkv", jump(2, -1500)); }, regular},
    {"matroska_pause", [] { return liveMatroska("h264-alaw.mkv", jump(2, 20000)); },
     [](int number) { return 40 * number + (number < 50 ? 0 : 20000); }},
    {"flash_start_over", [] { return liveFlash("h264.flv", jump(2, -2000)); }, regular},
    {"flash_leap", [] { return liveFlash("h264.flv", jump(2, 3600000)); }, regular},
    {"program_missing",
     [] {
         return liveProgram("mpeg2.mpg", edited([](CodedPicture &picture) {
                                picture.pts = picture.number % 25 < 2 ? picture.pts : AV_NOPTS_VALUE;
                            }));
     },
     regular},
    {"program_start_over", [] { return liveProgram("mpeg2.mpg", jump(4, -2000 * 90)); }, regular},
    {"program_leap", [] { return liveProgram("mpeg2.mpg", jump(4, 3600 * 90000)); }, regular},
};

class OddlyStampedFile : public testing::TestWithParam<OddStamps>
{
};

TEST_P(OddlyStampedFile, IsSteppedAndSoughtThroughAsItPlays)
{
    const PushedStream stream = GetParam().make();
    const TemporaryFile file(GetParam().name);
    file.append(stream.header);
    for (const auto &record : stream.records) {
        file.append(record.bytes);
    }
    std::vector<PlainPicture> pictures;
    for (int number = 0; number < 100; ++number) {
        pictures.push_back({number, GetParam().time(number) * std::int64_t{1000}, 0});
    }
    Walk(file.path(), pictures, 9).playThrough();
    Walk(file.path(), pictures, 9).stepThrough();
    Walk(file.path(), pictures, 9).go(60);
}

INSTANTIATE_TEST_SUITE_P(Stamps, OddlyStampedFile, testing::ValuesIn(kOddStamps),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(EditedFile, IsSteppedAndSoughtThroughAsItsListSays)
{
    // 512 ticks a picture; the first one is at 1024. Picture 30 is no key picture.
    const TemporaryFile file("edited.mp4");
    file.append(player::test::clipWithEditList(1024 + 30 * 512, 2000));
    std::vector<PlainPicture> pictures;
    for (int number = 30; number < 80; ++number) {
        pictures.push_back({number, (number - 30) * 40000, 0});
    }
    Walk(file.path(), pictures, 3).go(40);
}

} // namespace
