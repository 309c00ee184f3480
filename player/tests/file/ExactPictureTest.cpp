// The picture on display is the one that plain decoding says, whatever led there.
#include "player/tests/support/Clips.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/Walk.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace
{

using player::test::Clip;
using player::test::PlainPicture;
using player::test::Walk;

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
    const std::string path = testing::TempDir() + "joined-" + GetParam().first;
    {
        std::ofstream file(path, std::ios::binary);
        for (const char *part : {GetParam().first, GetParam().second}) {
            const auto bytes = player::test::bytesOf(player::test::mediaPath(part));
            file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        }
    }
    // Each picture of both lasts 40 ms.
    std::vector<PlainPicture> pictures;
    for (const char *part : {GetParam().first, GetParam().second}) {
        for (int number = 0; number < player::test::clip(part).pictures; ++number) {
            pictures.push_back({number, static_cast<std::int64_t>(pictures.size()) * 40000, 0});
        }
    }
    Walk(path, pictures, 5).go(40);
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Containers, JoinedFiles,
                         testing::Values(Joined{"h264.ts", "h264.ts"}, Joined{"h264.ts", "start-1h.ts"},
                                         Joined{"start-1h.ts", "h264.ts"}, Joined{"mpeg2.mpg", "mpeg2.mpg"},
                                         Joined{"raw.h264", "raw.h264"}, Joined{"raw.h265", "raw.h265"}),
                         [](const auto &row) {
                             return player::test::testName(std::string(row.param.first) + "_" + row.param.second);
                         });

TEST(EditedFile, IsSteppedAndSoughtThroughAsItsListSays)
{
    // 512 ticks a picture; the first one is at 1024. Picture 30 is no key picture.
    const std::string path = testing::TempDir() + "edited.mp4";
    {
        const auto bytes = player::test::clipWithEditList(1024 + 30 * 512, 2000);
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    std::vector<PlainPicture> pictures;
    for (int number = 30; number < 80; ++number) {
        pictures.push_back({number, (number - 30) * 40000, 0});
    }
    Walk(path, pictures, 3).go(40);
    std::remove(path.c_str());
}

} // namespace
