#include "interface/tests/PelloraFixture.h"

#include <QApplication>

#include <cstdio>

namespace
{

bool isClass(const QObject *pObject, const char *name)
{
    return std::string(pObject->metaObject()->className()) == name;
}

} // namespace

void PelloraFixture::SetUpTestSuite()
{
    PELLORA_Init();
    // The tests read the log themselves, instead of from the installation's file.
    support::stopLogger();
    support::startLogger();
}

void PelloraFixture::TearDownTestSuite()
{
    PELLORA_Fini();
}

void PelloraFixture::SetUp()
{
    doubles::reset();
    m_pHost = std::make_unique<support::HostWindow>();
    m_log.clear();
}

void PelloraFixture::TearDown()
{
    for (long lHandle = 0; lHandle < 9; ++lHandle) {
        PELLORA_DestroyWindow(lHandle);
    }
    m_pHost.reset();
    support::pumpPosted();
    EXPECT_THAT(doubles::openPorts(), testing::IsEmpty());
    EXPECT_THAT(videoWindows(), testing::IsEmpty());
}

long PelloraFixture::createWindow()
{
    return PELLORA_CreateWindow(m_pHost->handle(), 2);
}

long PelloraFixture::playFile(long lHandle, unsigned char byLoop, unsigned char byOpenDraw)
{
    std::string path = "a.mkv";
    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), byLoop, byOpenDraw), 1);
    doubles::clearCalls();
    m_log.clear();
    const std::vector<long> ports = doubles::openPorts();
    return ports.empty() ? -1 : ports.back();
}

std::vector<std::string> PelloraFixture::newCalls()
{
    std::vector<std::string> texts;
    for (const std::string &text : doubles::callTexts()) {
        if (text.rfind("Kavun_GetLastError", 0) != 0) {
            texts.push_back(text);
        }
    }
    doubles::clearCalls();
    return texts;
}

std::vector<QWidget *> videoWindows()
{
    std::vector<QWidget *> windows;
    for (QWidget *pWidget : QApplication::topLevelWidgets()) {
        if (isClass(pWidget, "pellora::VideoWindow")) {
            windows.push_back(pWidget);
        }
    }
    return windows;
}

std::vector<QWidget *> panesOf(const QWidget *pWindow)
{
    std::vector<QWidget *> panes;
    for (QWidget *pWidget : pWindow->findChildren<QWidget *>()) {
        if (isClass(pWidget, "pellora::VideoWnd")) {
            panes.push_back(pWidget);
        }
    }
    return panes;
}

QWidget *childNamed(const QWidget *pParent, const char *name)
{
    return pParent->findChild<QWidget *>(name);
}

HWND nativeWindow(const QWidget *pWidget)
{
    return reinterpret_cast<HWND>(pWidget->winId());
}

std::string pictureWindow(const QWidget *pPane)
{
    return spelled(nativeWindow(childNamed(pPane, "m_pLiveViewWnd")));
}

std::string functionName(const std::string &signature)
{
    const std::string name = signature.substr(signature.find("PELLORA_"));
    return name.substr(0, name.find('('));
}

std::string spelled(const void *pPointer)
{
    char text[32];
    std::snprintf(text, sizeof(text), "0x%llX", static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(pPointer)));
    return text;
}
