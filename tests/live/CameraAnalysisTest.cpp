// What a camera has found in its pictures, from its metadata track to the screen, live and out of a recording.

#include "tests/live/LiveFixture.h"

#include "Selvikdcm.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace live
{
namespace
{

using cameras::addressOf;
using cameras::CameraBed;

/** The left edge of a box over a picture, in its pixels; empty where there is no box. */
std::optional<int> boxIn(const Shot &shot)
{
    // The colour of the player's lines, and the rows through which those of the camera's boxes go.
    constexpr std::uint8_t kBlue = 255;
    constexpr std::uint8_t kGreen = 230;
    const int nTop = shot.nHeight * 2 / 5;
    const int nBottom = shot.nHeight * 3 / 5;
    for (int x = 0; x < shot.nWidth; ++x) {
        int nFound = 0;
        for (int y = nTop; y < nBottom; ++y) {
            const std::uint8_t *pPixel = shot.row(y) + std::size_t{4} * static_cast<std::size_t>(x);
            nFound += pPixel[0] == kBlue && pPixel[1] == kGreen && pPixel[2] == 0 ? 1 : 0;
        }
        if (nFound == nBottom - nTop) {
            return x;
        }
    }
    return std::nullopt;
}

/** How many places the boxes of analysis_document() in camera_clips.py have; a round of pictures is several times as
 * many. */
constexpr int kPlaces = 20;
/** A busy machine's picture may have the box of one as long before it; a place further on is that of a picture to come.
 */
constexpr int kMostLate = 15;

/** Where the camera says that its box is. */
bool isWhereItBelongs(int nLeft, int nPicture, int nWidth)
{
    constexpr double kSlack = 3;
    const double left = (0.1 + nPicture % kPlaces * 0.09) / 2 * nWidth;
    return std::fabs(nLeft - left) <= kSlack;
}

/** How many pictures had their boxes. */
struct Boxes {
    int nRight = 0;
    /** That of a picture before it, up to kMostLate. */
    int nLate = 0;
    int nWrong = 0;
    int nNone = 0;
    /** A wrong one, for people. */
    std::string wrong{};
};

class CameraAnalysis : public LiveFixture
{
protected:
    /** Looks at what is on the screen until it has seen so many pictures. */
    Boxes look(int nPictures)
    {
        Boxes boxes;
        int nLatest = -1;
        Boxes ofLatest;
        static_cast<void>(support::pumpUntil(
            [&] {
                Shot shot;
                const PaneView view = screen().read(0, &shot);
                if (view.kind != PaneView::Kind::Whole) {
                    return false;
                }
                if (view.nPicture != nLatest) {
                    add(ofLatest, boxes);
                    nLatest = view.nPicture;
                    ofLatest = {};
                }
                judge(ofLatest, shot, view.nPicture);
                return boxes.nRight + boxes.nLate + boxes.nWrong + boxes.nNone >= nPictures;
            },
            30'000));
        return boxes;
    }

    static void judge(Boxes &boxes, const Shot &shot, int nPicture)
    {
        const auto box = boxIn(shot);
        const auto isOf = [&](int nBefore) {
            return box && isWhereItBelongs(*box, nPicture + kPlaces - nBefore, shot.nWidth);
        };
        bool bWrong = box.has_value();
        for (int nBefore = 0; nBefore <= kMostLate; ++nBefore) {
            bWrong = bWrong && !isOf(nBefore);
        }
        if (bWrong) {
            boxes.wrong = "picture " + std::to_string(nPicture) + " has its box at pixel " + std::to_string(*box) +
                          " of " + std::to_string(shot.nWidth);
        }
        ++(!box ? boxes.nNone : isOf(0) ? boxes.nRight : bWrong ? boxes.nWrong : boxes.nLate);
    }

    /** A live picture may be shown before what the camera says about it has come: it is right if it ever was. */
    static void add(const Boxes &ofPicture, Boxes &boxes)
    {
        if (ofPicture.nRight > 0) {
            ++boxes.nRight;
        } else if (ofPicture.nLate > 0) {
            ++boxes.nLate;
        } else if (ofPicture.nWrong > 0) {
            ++boxes.nWrong;
            boxes.wrong = ofPicture.wrong;
        } else if (ofPicture.nNone > 0) {
            ++boxes.nNone;
        }
    }

    /** Another picture than that one is held: its number, once what belongs to it is drawn on it; else -1. */
    int heldAfter(int nFormer)
    {
        int nPicture = -1;
        const bool bDrawn = support::pumpUntil([&] {
            Shot shot;
            const PaneView view = screen().read(0, &shot);
            Boxes boxes;
            judge(boxes, shot, view.nPicture);
            nPicture = view.nPicture;
            return view.kind == PaneView::Kind::Whole && nPicture != nFormer && boxes.nRight == 1;
        });
        return bDrawn ? nPicture : -1;
    }

    /** The picture that is held, once nothing else has been seen for a while; -1 where that does not happen. */
    int settled()
    {
        constexpr int kLooks = 20;
        int nPicture = -1;
        int nSame = 0;
        const bool bSettled = support::pumpUntil([&] {
            const PaneView view = screen().read(0);
            nSame = view.kind == PaneView::Kind::Whole && view.nPicture == nPicture ? nSame + 1 : 0;
            nPicture = view.nPicture;
            return nSame >= kLooks;
        });
        return bSettled ? nPicture : -1;
    }

    long loginToCamera()
    {
        return login(addressOf(bed().port(CameraBed::Port::Anybody), m_camera.path));
    }

    const cameras::Camera m_camera = cameras::cameraAt("analysis");
};

TEST_F(CameraAnalysis, IsDrawnOnThePictureThatItBelongsToWhileTheHostWantsIt)
{
    constexpr int kPictures = 30;
    start(Route::Task, {loginToCamera()});
    ASSERT_TRUE(waitForPicture(0, m_camera));
    EXPECT_EQ(look(kPictures).nNone, kPictures) << "nobody wants it yet";

    ASSERT_EQ(PELLORA_SetIntelData(m_lHandle, 1), 1);
    // Until its first sender reports the camera does not tell at what time of day a picture and a document were.
    const auto isInStep = [](const Boxes &boxes, int nSeen) {
        return boxes.nWrong == 0 && boxes.nNone == 0 && boxes.nRight > nSeen / 2;
    };
    constexpr int kPatience = 20;
    Boxes boxes = look(kPictures);
    for (int i = 0; i < kPatience && !isInStep(boxes, kPictures); ++i) {
        boxes = look(kPictures);
    }
    ASSERT_TRUE(isInStep(boxes, kPictures))
        << boxes.wrong << ", right " << boxes.nRight << ", late " << boxes.nLate << ", none " << boxes.nNone;
    // On a busy machine documents arrive late, and some pictures are looked at in their first moments alone. What is
    // out of step stays so.
    boxes = look(3 * kPictures);
    for (int i = 0; i < 3 && !isInStep(boxes, 3 * kPictures); ++i) {
        boxes = look(3 * kPictures);
    }
    EXPECT_TRUE(isInStep(boxes, 3 * kPictures))
        << boxes.wrong << ", right " << boxes.nRight << ", late " << boxes.nLate << ", none " << boxes.nNone;

    ASSERT_EQ(PELLORA_SetIntelData(m_lHandle, 0), 1);
    static_cast<void>(look(3));
    EXPECT_EQ(look(kPictures).nNone, kPictures);
    stop(Route::Task);
}

/** Keeps what the device library hands over, as a host does that records. */
class Recorder
{
public:
    explicit Recorder(long lUserID)
    {
        SELVIK_DCM_PREVIEW_INFO info = {};
        info.channel = 1;
        info.callback = &Recorder::onData;
        info.user = this;
        m_lHandle = SELVIK_DCM_StartPreview(lUserID, &info);
    }

    ~Recorder()
    {
        stop();
    }

    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    void stop()
    {
        if (m_lHandle >= 0) {
            SELVIK_DCM_StopPreview(std::exchange(m_lHandle, -1));
        }
    }

    [[nodiscard]] int records() const
    {
        return m_nRecords;
    }

    /** After stop(). */
    void save(const std::string &path) const
    {
        std::ofstream(path, std::ios::binary) << m_bytes;
    }

private:
    static void onData(long, const SELVIK_DCM_STREAM_DATA *pData, void *pSelf)
    {
        auto &self = *static_cast<Recorder *>(pSelf);
        self.m_bytes.append(reinterpret_cast<const char *>(pData->bytes), pData->length);
        ++self.m_nRecords;
    }

    // The device library's thread, until stop().
    std::string m_bytes;
    std::atomic<int> m_nRecords{0};
    long m_lHandle = -1;
};

TEST_F(CameraAnalysis, IsDrawnOnThePicturesOfARecordingToo)
{
    std::string path = std::string(std::getenv("PELLORA_CAMERA_LOGS")) + "/analysis.mkv";
    {
        // Sixteen seconds: each picture and each document is a record. The sender reports come within the first six,
        // and a busy machine takes long to look at what comes after them.
        constexpr int kRecords = 800;
        Recorder recorder(loginToCamera());
        ASSERT_TRUE(support::pumpUntil([&] { return recorder.records() > kRecords; }, 60'000));
        recorder.stop();
        recorder.save(path);
    }
    ASSERT_EQ(PELLORA_PreviewFile(m_lHandle, path.data(), 0, 0), 1);
    ASSERT_TRUE(waitForPicture(0, m_camera));
    EXPECT_EQ(look(10).nNone, 10) << "nobody wants it yet";

    ASSERT_EQ(PELLORA_SetIntelData(m_lHandle, 1), 1);
    constexpr unsigned long kSynchronised = 7;
    constexpr int kPictures = 30;
    constexpr int kPatience = 5;
    Boxes boxes;
    for (int i = 0; i < kPatience && boxes.nRight < kPictures; ++i) {
        // On a busy machine a picture may be looked at once, and that before its document was read.
        ASSERT_EQ(PELLORA_SetPlayPos(m_lHandle, kSynchronised), 1);
        static_cast<void>(look(5));
        boxes = look(kPictures);
        EXPECT_EQ(boxes.nWrong, 0) << boxes.wrong;
        EXPECT_EQ(boxes.nLate, 0);
    }
    EXPECT_EQ(boxes.nRight, kPictures) << "none " << boxes.nNone;

    ASSERT_EQ(PELLORA_Pause(m_lHandle), 1);
    ASSERT_EQ(PELLORA_SetPlayPos(m_lHandle, kSynchronised + 1), 1);
    ASSERT_TRUE(support::pumpUntil([&] { return PELLORA_OneByOneBack(m_lHandle) == 1; })) << "the index is there";
    int nPicture = settled();
    for (const int nStep : std::vector<int>{-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 1, 1, 1, 1, 1, -1, 1}) {
        ASSERT_GE(nPicture, 0);
        ASSERT_EQ(nStep < 0 ? PELLORA_OneByOneBack(m_lHandle) : PELLORA_OneByOne(m_lHandle), 1);
        const int nNext = heldAfter(nPicture);
        EXPECT_EQ(cameras::shorterWay(nNext - nPicture, m_camera.nPictures), nStep);
        nPicture = nNext;
    }

    ASSERT_EQ(PELLORA_SetIntelData(m_lHandle, 0), 1);
    EXPECT_TRUE(support::pumpUntil([&] {
        Shot shot;
        const PaneView view = screen().read(0, &shot);
        return view.kind == PaneView::Kind::Whole && view.nPicture == nPicture && !boxIn(shot);
    }));
    EXPECT_EQ(PELLORA_StopPreviewFile(m_lHandle), 1);
}

} // namespace
} // namespace live
