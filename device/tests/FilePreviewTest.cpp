// Previews of files that stand in for cameras, and what holds for every preview.

#include "device/tests/PreviewFixture.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <memory>
#include <vector>

namespace selvik
{
namespace
{

/** Printed by name. */
struct FileCase {
    const char *pFile;
    const char *pCodec;
};

void PrintTo(const FileCase &file, std::ostream *pStream)
{
    *pStream << file.pFile;
}

class FilePreview : public PreviewFixture
{
};

class FileCamera : public PreviewFixture, public testing::WithParamInterface<FileCase>
{
};

TEST_P(FileCamera, IsSentAsALiveStream)
{
    StreamRecorder recorder(m_time);
    Started preview(*this, recorder, clip(GetParam().pFile));
    ASSERT_GE(preview.handle(), 0) << preview.error();
    ASSERT_TRUE(recorder.waitForRecords(1, 40, 20s));
    EXPECT_EQ(preview.stop(), 0ms);
    EXPECT_TRUE(recorder.beganWithHeader());
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(recorder.overlaps(), 0);
    const StreamContents contents = recorder.read(0);
    EXPECT_EQ(contents.codec, GetParam().pCodec);
    EXPECT_EQ(contents.nWidth, 320);
    EXPECT_EQ(contents.nHeight, 240);
    EXPECT_TRUE(contents.bFirstIsKey);
    EXPECT_TRUE(contents.bTimesRise);
    EXPECT_GE(contents.nPictures, 10);
    EXPECT_EQ(contents.nDecoded, contents.nPictures);
    EXPECT_EQ(contents.nDecodeErrors, 0);
    EXPECT_GT(contents.nSounds, 0);
    EXPECT_FALSE(contents.recordingTime.empty());
}

TEST_F(FilePreview, BeginsWithTheFirstPictureAgain)
{
    // 100 pictures each.
    const std::vector<std::string> files = {"mpeg1.mpg", "mpeg2.mpg", "h264.mpg", "h264.ts", "h264.mp4", "h264.avi"};
    std::vector<std::unique_ptr<StreamRecorder>> recorders;
    std::vector<std::unique_ptr<Started>> previews;
    for (const std::string &file : files) {
        recorders.push_back(std::make_unique<StreamRecorder>(m_time));
        previews.push_back(std::make_unique<Started>(*this, *recorders.back(), clip(file)));
        ASSERT_GE(previews.back()->handle(), 0) << file;
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        // Pictures, and sounds between them.
        std::size_t nRecords = 104;
        while (recorders[i]->read(0).nPictures <= 103 && recorders[i]->waitForRecords(1, nRecords, 30s)) {
            nRecords += 50;
        }
        previews[i].reset();
        const std::vector<int> keys = recorders[i]->read(0).keyPictures;
        EXPECT_TRUE(std::find(keys.begin(), keys.end(), 100) != keys.end()) << files[i];
    }
}

INSTANTIATE_TEST_SUITE_P(Codecs, FileCamera,
                         testing::Values(FileCase{"h264.mp4", "h264"}, FileCase{"h265-mulaw.mkv", "hevc"},
                                         FileCase{"h264-alaw.mkv", "h264"}, FileCase{"mjpeg-g722.mkv", "mjpeg"},
                                         FileCase{"mpeg4.mov", "mpeg4"}),
                         [](const testing::TestParamInfo<FileCase> &testCase) {
                             std::string name = testCase.param.pFile;
                             const auto isOther = [](unsigned char letter) { return std::isalnum(letter) == 0; };
                             std::replace_if(name.begin(), name.end(), isOther, '_');
                             return name;
                         });

TEST_F(FilePreview, KeepsTheFilesPaceAndGoesOnBeyondItsEnd)
{
    StreamRecorder recorder(m_time);
    const Clock::time_point begin = m_time.now();
    const Started preview(*this, recorder, clip("mpeg4.mov"));
    ASSERT_GE(preview.handle(), 0);
    // Four seconds long: it must have started over.
    m_time.sleep(5s - since(begin));
    ASSERT_EQ(recorder.headers(), 1U);
    const StreamContents contents = recorder.read(0);
    EXPECT_NEAR(contents.nPictures, 125, 3);
    for (std::size_t i = 1; i < contents.pictureTimes.size(); ++i) {
        const long long nStep = contents.pictureTimes[i] - contents.pictureTimes[i - 1];
        EXPECT_LE(std::abs(nStep), 200) << "at picture " << i;
    }
}

TEST_F(FilePreview, SaysThatTheFileIsMissing)
{
    StreamRecorder recorder(m_time);
    const Started missing(*this, recorder, "file:/nowhere/clip.mp4");
    EXPECT_EQ(missing.handle(), -1);
    EXPECT_EQ(missing.error(), static_cast<unsigned long>(SELVIK_ERROR_CHANNEL));
    EXPECT_EQ(recorder.headers(), 0U);
}

TEST_F(FilePreview, ComesInRecordsOfWholeClusters)
{
    StreamRecorder recorder(m_time);
    Started preview(*this, recorder, clip("h264.mp4"));
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 60, 20s));
    (void)preview.stop();
    const std::vector<Bytes> records = recorder.connection(0);
    for (std::size_t i = 1; i < records.size(); ++i) {
        // A cluster: its four bytes of identity, then a size that ends with the record.
        const Bytes &record = records[i];
        ASSERT_GT(record.size(), 12U);
        EXPECT_EQ(read32(record.data()), 0x1F43B675U);
        std::size_t sizeLength = 1;
        while ((record[4] & (0x80 >> (sizeLength - 1))) == 0) {
            ++sizeLength;
        }
        std::uint64_t nSize = record[4] & (0xFF >> sizeLength);
        for (std::size_t n = 1; n < sizeLength; ++n) {
            nSize = nSize << 8 | record[4 + n];
        }
        EXPECT_EQ(nSize, record.size() - 4 - sizeLength) << "record " << i;
    }
}

TEST_F(FilePreview, CanBeStoppedInsideItsCallback)
{
    StreamRecorder recorder(m_time);
    std::atomic<int> nStopped{0};
    std::atomic<int> nCalls{0};
    recorder.onData = [&](long handle, unsigned int type) {
        ++nCalls;
        if (type == SELVIK_STREAM_DATA) {
            nStopped += stop(handle) ? 1 : 0;
            // Once more finds nothing.
            nStopped += stop(handle) ? 1 : 0;
        }
    };
    const SELVIK_DCM_PREVIEW_INFO info = recorder.request(clip("h264.mp4"));
    const long handle = m_devices.startPreview(-1, &info);
    ASSERT_TRUE(waitFor([&] { return nStopped == 1; }, 1s));
    const int nCallsThen = nCalls;
    m_time.sleep(200ms);
    EXPECT_FALSE(stop(handle));
    EXPECT_EQ(nCalls, nCallsThen);
}

TEST_F(FilePreview, IsStoppedOnlyWhenItsCallbackHasReturned)
{
    StreamRecorder recorder(m_time);
    std::atomic<bool> bInside{false};
    recorder.onData = [&](long, unsigned int) {
        bInside = true;
        m_time.sleep(50ms);
        bInside = false;
    };
    Started preview(*this, recorder, clip("h264.mp4"));
    ASSERT_TRUE(waitFor([&] { return bInside.load(); }, 1s));
    const Milliseconds duration = preview.stop();
    EXPECT_FALSE(bInside);
    EXPECT_LE(duration, 50ms);
}

TEST_F(FilePreview, HasAHandleThatIsNeverHandedOutTwice)
{
    StreamRecorder recorder(m_time);
    std::vector<long> handles;
    for (int i = 0; i < 5; ++i) {
        const Started preview(*this, recorder, clip("h264.mp4"));
        handles.push_back(preview.handle());
    }
    std::sort(handles.begin(), handles.end());
    EXPECT_GE(handles.front(), 0);
    EXPECT_EQ(std::adjacent_find(handles.begin(), handles.end()), handles.end());
}

TEST_F(FilePreview, EndsWithItsLogInAndLeavesOthersAlone)
{
    const long userID = m_devices.login(clip("{stream}.mp4").c_str(), "", "");
    StreamRecorder other(m_time);
    const Started others(*this, other, clip("h264.mp4"));
    StreamRecorder recorder(m_time);
    const Started own(*this, recorder, clip("h264.mp4"), userID);
    ASSERT_GE(own.handle(), 0);
    m_devices.logout(userID);
    EXPECT_FALSE(stop(own.handle()));
    const std::size_t nBefore = other.dataRecords();
    EXPECT_TRUE(waitFor([&] { return other.dataRecords() > nBefore; }, 1s));
}

} // namespace
} // namespace selvik
