#include "interface/tests/PreviewFixture.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstring>

std::vector<ToldStatus> PreviewFixture::s_told;
std::function<void(const tagPELLORA_PREVIEW_STATUS &)> PreviewFixture::s_whenTold;

void PreviewFixture::SetUp()
{
    PelloraFixture::SetUp();
    s_told.clear();
    s_whenTold = nullptr;
    m_lHandle = createWindow();
    ASSERT_EQ(videoWindows().size(), 1U);
    for (QWidget *pPane : panesOf(videoWindows().front())) {
        m_notices[m_panes.size()] = std::make_unique<DeliveredNotices>(pPane);
        m_panes.emplace_back(pPane);
    }
    ASSERT_EQ(m_panes.size(), 9U);
    support::pumpPosted();
    doubles::clearCalls();
    m_log.clear();
}

void PreviewFixture::TearDown()
{
    s_whenTold = nullptr;
    doubles::setTraffic(nullptr);
    doubles::letAllThrough();
    for (long lHandle = 0; lHandle < 9; ++lHandle) {
        PELLORA_DestroyWindow(lHandle);
    }
    EXPECT_TRUE(until([] { return doubles::openPreviews().empty() && doubles::runningStreams() == 0; }));
    EXPECT_THAT(doubles::openPreviews(), testing::IsEmpty());
    EXPECT_EQ(doubles::startedPreviews(), doubles::stoppedPreviews());
    PelloraFixture::TearDown();
}

QWidget *PreviewFixture::pane(std::size_t nIndex) const
{
    return m_panes.at(nIndex);
}

long PreviewFixture::start(unsigned char byOpenDraw)
{
    return startIn(0, byOpenDraw);
}

long PreviewFixture::startIn(long lSubHandel, unsigned char byOpenDraw)
{
    EXPECT_EQ(PELLORA_SetCurWnd(m_lHandle, lSubHandel), 1);
    EXPECT_TRUE(delivers(
        1, [&] { EXPECT_EQ(PELLORA_PreviewStream(m_lHandle, previewParam(7, 2, 1, byOpenDraw)), 1); },
        static_cast<std::size_t>(lSubHandel)));
    const std::vector<long> previews = doubles::openPreviews();
    return previews.empty() ? -1 : previews.back();
}

long PreviewFixture::startDirect(unsigned char byOpenDraw)
{
    tagPELLORA_BATCH_PREVIEW_PARAM batch = batchOf(1);
    batch.struPreviewParam[0] = previewParam(7, 2, 1, byOpenDraw);
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batch, nullptr), 1);
    const std::vector<long> previews = doubles::openPreviews();
    return previews.empty() ? -1 : previews.back();
}

long PreviewFixture::startPlaying(unsigned char byOpenDraw)
{
    const long lPreview = start(byOpenDraw);
    sendHeader(lPreview);
    doubles::clearCalls();
    m_log.clear();
    s_told.clear();
    return lPreview;
}

void PreviewFixture::sendHeader(long lPreview)
{
    EXPECT_TRUE(doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header"));
    settle();
}

bool PreviewFixture::delivers(int nNotices, const std::function<void()> &action, std::size_t nPane)
{
    const int nBefore = m_notices.at(nPane)->count();
    action();
    return until([&] { return m_notices.at(nPane)->count() >= nBefore + nNotices; });
}

bool PreviewFixture::until(const std::function<bool()> &condition)
{
    return support::pumpUntil(condition, kPatience);
}

bool PreviewFixture::untilHeld(const std::string &function, std::size_t nCalls)
{
    return until([&] { return doubles::heldCalls(function) >= nCalls; });
}

bool PreviewFixture::untilCalled(const std::string &text)
{
    return until([&] {
        const Texts calls = doubles::callTexts();
        return std::find(calls.begin(), calls.end(), text) != calls.end();
    });
}

bool PreviewFixture::untilLogged(const std::string &text) const
{
    return until([&] {
        const Texts texts = m_log.texts();
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    });
}

void PreviewFixture::settle()
{
    QCoreApplication::sendPostedEvents();
    support::pumpPosted();
}

void PreviewFixture::listen()
{
    EXPECT_EQ(PELLORA_SetPreviewStatusCallback(m_lHandle,
                                               [](tagPELLORA_PREVIEW_STATUS status) {
                                                   ToldStatus told = {};
                                                   told.record = status;
                                                   told.bytes.assign(reinterpret_cast<const char *>(&status),
                                                                     sizeof(status));
                                                   told.threadId = GetCurrentThreadId();
                                                   s_told.push_back(told);
                                                   if (s_whenTold) {
                                                       s_whenTold(status);
                                                   }
                                               }),
              1);
    m_log.clear();
}

Texts PreviewFixture::told()
{
    Texts texts;
    for (const ToldStatus &told : s_told) {
        texts.push_back(std::to_string(told.record.lSubHandel) + " " + std::to_string(told.record.userID) + "/" +
                        std::to_string(told.record.lChannel) + " " + std::to_string(told.record.byPlaying));
    }
    return texts;
}

tagPELLORA_PREVIEW_PARAM previewParam(long lUserID, unsigned long lChannel, long lStreamType, unsigned char byOpenDraw)
{
    tagPELLORA_PREVIEW_PARAM param = {};
    param.userID = lUserID;
    param.lChannel = lChannel;
    param.streamType = lStreamType;
    param.openDraw = byOpenDraw;
    return param;
}

tagPELLORA_BATCH_PREVIEW_PARAM batchOf(unsigned short wNum)
{
    tagPELLORA_BATCH_PREVIEW_PARAM batch = {};
    batch.wNum = wNum;
    for (unsigned long i = 0; i < 9; ++i) {
        batch.struPreviewParam[i] = previewParam(7, i + 1);
        // Words that are only told, never asked for.
        batch.struPreviewParam[i].lHandle = 77;
        batch.struPreviewParam[i].lSubHandel = 88;
    }
    return batch;
}

Texts openingCalls(long lPort, const QWidget *pPane, const std::string &headerBytes)
{
    const std::string port = std::to_string(lPort);
    const std::string size = std::to_string((headerBytes.size() - 2) / 2);
    return {"Kavun_GetPort(out)",
            "Kavun_SetStreamOpenMode(" + port + ", 0)",
            "Kavun_OpenStream(" + port + ", " + headerBytes + ", " + size + ", 5242880)",
            "Kavun_SetDisplayBuf(" + port + ", 6)",
            "Kavun_Play(" + port + ", " + pictureWindow(pPane) + ")",
            "Kavun_RenderPrivateData(" + port + ", 255, 0)"};
}

Texts closingCalls(long lPort)
{
    const std::string port = std::to_string(lPort);
    return {"Kavun_Stop(" + port + ")", "Kavun_CloseStream(" + port + ")", "Kavun_FreePort(" + port + ")"};
}

Texts operator+(Texts first, const Texts &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

std::string stopCall(long lPreview)
{
    return "SELVIK_DCM_StopPreview(" + std::to_string(lPreview) + ")";
}

Texts callsWith(const Texts &calls, const std::string &beginning)
{
    Texts found;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(found),
                 [&](const std::string &call) { return call.rfind(beginning, 0) == 0; });
    return found;
}
