#include "Drovel/tests/DrovelFixture.h"

void DrovelFixture::SetUpTestSuite()
{
    support::startLogger();
}

void DrovelFixture::TearDownTestSuite()
{
    support::stopLogger();
}

void DrovelFixture::SetUp()
{
    doubles::reset();
    m_log.clear();
}

void DrovelFixture::TearDown()
{
    if (m_drovel.isOpened()) {
        m_drovel.stopPlayFile();
    }
    EXPECT_THAT(doubles::openPorts(), testing::IsEmpty());
}

void DrovelFixture::openStream()
{
    ASSERT_TRUE(m_drovel.startPlayStream(header(), 3, m_hWnd));
    doubles::clearCalls();
}

void DrovelFixture::openFile()
{
    m_drovel.setStreamOpenMode(KAVUN_MODE_FILE);
    ASSERT_TRUE(m_drovel.startPlayFile(m_sPath.data(), m_hWnd));
    doubles::clearCalls();
}

std::vector<std::string> DrovelFixture::newCalls()
{
    std::vector<std::string> texts = doubles::callTexts();
    doubles::clearCalls();
    return texts;
}

unsigned char *DrovelFixture::header()
{
    return reinterpret_cast<unsigned char *>(m_sHeader.data());
}
