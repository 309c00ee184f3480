// The analysis of a recording: each picture is shown with what belongs to it, whatever way led to it.
#include "player/src/port/Port.h"
#include "player/tests/support/AnalysisRecording.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/SilentBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using player::ByteSource;
using player::Error;
using player::Port;
using player::test::analysisDocument;
using player::test::Bytes;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::LiveOptions;
using player::test::MemoryBytes;
using player::test::PushedStream;
using player::test::savedWithAnalysis;
using player::test::Shown;
using player::test::SilentServer;

constexpr long kAnalysis = 1;
constexpr int kRate = 25;

using Labels = std::vector<std::string>;

Labels ownLabel(int number)
{
    return {std::to_string(number)};
}

/** Documents every so many pictures. */
std::string everyTwentieth(int number)
{
    return number % 20 == 0 ? analysisDocument(number) : std::string();
}

Labels ofTwenty(int number)
{
    return ownLabel(number / 20 * 20);
}

std::string everyFortieth(int number)
{
    return number % 40 == 0 ? analysisDocument(number) : std::string();
}

/** A frame stands for a second. */
Labels ofForty(int number)
{
    return number % 40 <= kRate ? ownLabel(number / 40 * 40) : Labels();
}

class FileAnalysisTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_platform.openBy([this](const char *) -> std::unique_ptr<ByteSource> {
            // What its index and its analysis are read from.
            if (++m_nOpened > 1 && m_bSilent) {
                const std::atomic<bool> interrupted{false};
                m_pServer->answer(interrupted);
            }
            return std::make_unique<MemoryBytes>(m_bytes);
        });
    }

    void TearDown() override
    {
        m_pServer->setSilent(false);
        m_port->close();
        m_clock.settle();
        EXPECT_EQ(m_platform.presenters(), 0);
    }

    void open(Bytes bytes)
    {
        m_bytes = std::move(bytes);
        ASSERT_EQ(m_port->openFile("recording"), Error::None);
    }

    void play()
    {
        ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    }

    /** Opened, shown with its analysis, and held; the index is complete. */
    void hold(Bytes bytes)
    {
        m_port->showPrivateData(kAnalysis, true);
        open(std::move(bytes));
        play();
        ASSERT_EQ(m_port->pause(1), Error::None);
        m_clock.advance(100ms);
    }

    void seek(int number)
    {
        // Into its middle: containers round.
        ASSERT_EQ(m_port->seek(static_cast<unsigned long>(number) * 1000 / kRate + 20), Error::None);
        settle(number);
    }

    /** A redrawing later at most the picture is shown with all that belongs to it. */
    void settle(int number)
    {
        m_clock.advance(100ms);
        ASSERT_EQ(m_platform.number(), number);
    }

    Labels labels() const
    {
        return m_platform.shown().back().labels;
    }

    /** Nothing was ever drawn on a picture to which it does not belong. How many had what belongs to them. */
    std::size_t expectNothingWrong(const std::function<Labels(int number)> &expected) const
    {
        std::size_t right = 0;
        for (const Shown &shown : m_platform.shown()) {
            const Labels wanted = expected(shown.number);
            EXPECT_TRUE(shown.labels.empty() || shown.labels == wanted)
                << shown.number << " has " << shown.labels.front();
            right += shown.labels == wanted ? 1U : 0U;
        }
        return right;
    }

    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    std::shared_ptr<SilentServer> m_pServer = std::make_shared<SilentServer>(m_clock);
    std::atomic<int> m_nOpened{0};
    std::atomic<bool> m_bSilent{false};
    Bytes m_bytes;
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 0, 0);
};

struct Recording {
    const char *name;
    Bytes (*make)(const std::string &file, const player::test::DocumentOfPicture &document);
    const char *file;
};

void PrintTo(const Recording &recording, std::ostream *pStream)
{
    *pStream << recording.name;
}

class ARecording : public FileAnalysisTest, public testing::WithParamInterface<Recording>
{
protected:
    static Bytes with(const player::test::DocumentOfPicture &document)
    {
        return GetParam().make(GetParam().file, document);
    }
};

TEST_P(ARecording, IsPlayedWithWhatBelongsToEachPicture)
{
    m_port->showPrivateData(kAnalysis, true);
    open(with(analysisDocument));
    play();
    m_clock.advance(5s);
    ASSERT_EQ(m_platform.numbers().size(), 100U);
    const std::size_t right = expectNothingWrong(ownLabel);
    // The first ones may be shown before anything has been read.
    EXPECT_GE(right + 3, m_platform.shown().size());
    EXPECT_EQ(labels(), ownLabel(99));
}

TEST_P(ARecording, ShowsWhatBelongsToAPictureAfterASeekAndAfterEachStep)
{
    hold(with(analysisDocument));
    for (const int number : {60, 3, 97, 0, 49, 50, 51, 25, 24}) {
        seek(number);
        EXPECT_EQ(labels(), ownLabel(number));
    }
    for (int number = 25; number < 100; ++number) {
        ASSERT_EQ(m_port->stepForward(), Error::None);
        m_clock.settle();
        ASSERT_EQ(m_platform.number(), number);
        EXPECT_EQ(labels(), ownLabel(number)) << "at once";
    }
    for (int number = 98; number >= 0; --number) {
        ASSERT_EQ(m_port->stepBack(), Error::None);
        m_clock.settle();
        ASSERT_EQ(m_platform.number(), number);
        EXPECT_EQ(labels(), ownLabel(number)) << "at once";
    }
    expectNothingWrong(ownLabel);
}

TEST_P(ARecording, DrawsTheSameByWhateverWayAPictureIsReached)
{
    const struct {
        player::test::DocumentOfPicture document;
        Labels (*expected)(int number);
    } kKinds[] = {{everyTwentieth, ofTwenty}, {everyFortieth, ofForty}};
    for (const auto &kind : kKinds) {
        hold(with(kind.document));
        for (const int number : {30, 26, 19, 20, 58, 66, 79, 99, 0, 45}) {
            seek(number);
            EXPECT_EQ(labels(), kind.expected(number)) << "by a seek, " << number;
            for (const int step : {1, -1, -1, -1, -1, 1, 1, 1}) {
                (void)(step > 0 ? m_port->stepForward() : m_port->stepBack());
                m_clock.advance(50ms);
                const int reached = m_platform.number();
                EXPECT_EQ(labels(), kind.expected(reached)) << "by a step, " << reached;
            }
        }
        m_platform.forget();
        ASSERT_EQ(m_port->pause(0), Error::None);
        m_clock.advance(3s);
        EXPECT_GE(expectNothingWrong(kind.expected), m_platform.shown().size());
        ASSERT_EQ(m_port->closeFile(), Error::None);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Containers, ARecording,
    testing::Values(Recording{"SavedStream", savedWithAnalysis, "mjpeg.mov"},
                    Recording{"SavedStreamWithBPictures", savedWithAnalysis, "h264.mp4"},
                    Recording{"Mp4", player::test::mp4WithAnalysis, "h265.mp4"},
                    Recording{"Mp4WithBPictures", player::test::mp4WithAnalysis, "h264.mp4"},
                    Recording{"Mp4OfOneGroup", player::test::mp4WithAnalysis, "intra-refresh.mkv"}),
    [](const testing::TestParamInfo<Recording> &parameter) { return std::string(parameter.param.name); });

TEST_F(FileAnalysisTest, IsRightAtAnySpeed)
{
    m_port->showPrivateData(kAnalysis, true);
    open(savedWithAnalysis("long.mp4", analysisDocument));
    play();
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(m_port->changeSpeed(1), Error::None);
    }
    m_clock.advance(6s);
    const std::size_t right = expectNothingWrong(ownLabel);
    EXPECT_GE(right + 3, m_platform.shown().size());
    EXPECT_GT(m_platform.number(), 2000);
    m_platform.forget();
    for (int i = 0; i < 8; ++i) {
        ASSERT_EQ(m_port->changeSpeed(-1), Error::None);
    }
    m_clock.advance(3s);
    EXPECT_EQ(expectNothingWrong(ownLabel), m_platform.shown().size());
}

TEST_F(FileAnalysisTest, IsRightWhereTheFileStartsOver)
{
    m_port->showPrivateData(kAnalysis, true);
    open(savedWithAnalysis("h264.mp4", analysisDocument));
    play();
    for (int i = 0; i < 3; ++i) {
        m_clock.advance(4100ms);
        ASSERT_EQ(m_platform.number(), 99);
        EXPECT_EQ(labels(), ownLabel(99));
        play();
    }
    m_clock.advance(1s);
    const std::size_t right = expectNothingWrong(ownLabel);
    EXPECT_GE(right + 4 * 3, m_platform.shown().size());
}

TEST_F(FileAnalysisTest, IsThereAfterFarSeeksInALongRecording)
{
    hold(savedWithAnalysis("long.mp4", analysisDocument));
    for (const int number : {2500, 120, 1333, 2999, 7}) {
        seek(number);
        EXPECT_EQ(labels(), ownLabel(number));
    }
    expectNothingWrong(ownLabel);
}

TEST_F(FileAnalysisTest, StaysOnThePictureThatIsShownUntilTheOneThatIsSoughtIsThere)
{
    hold(savedWithAnalysis("long.mp4", analysisDocument));
    seek(100);
    ASSERT_EQ(labels(), ownLabel(100));
    m_platform.forget();
    for (const int number : {2000, 100, 1000, 101}) {
        seek(number);
    }
    expectNothingWrong(ownLabel);
    EXPECT_EQ(labels(), ownLabel(101));
}

TEST_F(FileAnalysisTest, IsSwitchedOnAndOffOnAHeldPicture)
{
    open(savedWithAnalysis("h264.mp4", analysisDocument));
    play();
    ASSERT_EQ(m_port->pause(1), Error::None);
    seek(70);
    EXPECT_EQ(labels(), Labels());
    EXPECT_EQ(m_nOpened, 2) << "once for its pictures, once for its index";
    for (int i = 0; i < 2; ++i) {
        m_port->showPrivateData(kAnalysis, true);
        m_clock.advance(100ms);
        EXPECT_EQ(labels(), ownLabel(70));
        m_port->showPrivateData(kAnalysis, false);
        m_clock.advance(100ms);
        EXPECT_EQ(labels(), Labels());
    }
    EXPECT_EQ(m_nOpened, 3);
}

TEST_F(FileAnalysisTest, IsNotLookedForWhereTheFileHasNone)
{
    m_port->showPrivateData(kAnalysis, true);
    open(player::test::bytesOf(player::test::mediaPath("h264.mp4")));
    play();
    m_clock.advance(1s);
    EXPECT_EQ(m_nOpened, 2);
}

TEST_F(FileAnalysisTest, IsFoundThoughItComesLateInTheFile)
{
    // As cameras send it: what they have seen in a picture they tell half a second later.
    LiveOptions options;
    options.metadata = true;
    options.document = analysisDocument;
    PushedStream stream = player::test::liveMatroska("h264.mp4", options);
    PushedStream late;
    late.header = stream.header;
    constexpr std::size_t kLate = 12;
    std::vector<player::test::Record> waiting;
    for (player::test::Record &record : stream.records) {
        (record.number < 0 ? waiting : late.records).push_back(record);
        if (record.number >= 0 && waiting.size() > kLate) {
            late.records.push_back(waiting.front());
            waiting.erase(waiting.begin());
        }
    }
    late.records.insert(late.records.end(), waiting.begin(), waiting.end());
    hold(player::test::saved(late));
    for (const int number : {50, 49, 99, 1}) {
        seek(number);
        EXPECT_EQ(labels(), ownLabel(number));
    }
    ASSERT_EQ(m_port->pause(0), Error::None);
    m_clock.advance(3s);
    expectNothingWrong(ownLabel);
}

TEST_F(FileAnalysisTest, ThatMakesNoSenseCostsALineAndNoPicture)
{
    m_port->showPrivateData(kAnalysis, true);
    open(savedWithAnalysis("h264.mp4",
                           [](int number) { return number % 2 == 0 ? "<!DOCTYPE a>" : std::string(300000, '<'); }));
    testing::internal::CaptureStderr();
    play();
    m_clock.advance(5s);
    m_port->seek(1000);
    m_clock.advance(1s);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    EXPECT_GE(m_platform.numbers().size(), 100U);
    expectNothingWrong([](int) { return Labels(); });
}

TEST_F(FileAnalysisTest, OfManyLargeDocumentsIsAsRight)
{
    // Six seconds of it are more than is kept, four are needed.
    hold(savedWithAnalysis("h264.mp4", [](int number) { return analysisDocument(number) + std::string(240000, ' '); }));
    for (const int number : {80, 79, 30, 99, 0}) {
        seek(number);
        EXPECT_EQ(labels(), ownLabel(number));
    }
    ASSERT_EQ(m_port->pause(0), Error::None);
    m_clock.advance(4s);
    expectNothingWrong(ownLabel);
}

TEST_F(FileAnalysisTest, IsGivenUpWhereItIsTooMuch)
{
    m_port->showPrivateData(kAnalysis, true);
    // At 120 pictures a second.
    open(savedWithAnalysis("fast.mkv", [](int number) { return analysisDocument(number) + std::string(240000, ' '); }));
    testing::internal::CaptureStderr();
    play();
    m_clock.advance(3s);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    expectNothingWrong([](int) { return Labels(); });
    EXPECT_EQ(m_platform.number(), 239);
}

TEST_F(FileAnalysisTest, HoldsUpNobodyWhileTheFileCannotBeOpenedAgain)
{
    m_bSilent = true;
    m_pServer->setSilent(true);
    m_port->showPrivateData(kAnalysis, true);
    open(savedWithAnalysis("h264.mp4", analysisDocument));
    play();
    m_clock.advance(2s);
    EXPECT_GE(m_platform.number(), 49);
    EXPECT_EQ(m_nOpened, 3);
    ASSERT_EQ(m_port->closeFile(), Error::None);
    EXPECT_EQ(m_clock.now() - m_platform.shown().front().moment, 2s);
    expectNothingWrong([](int) { return Labels(); });
}

} // namespace
