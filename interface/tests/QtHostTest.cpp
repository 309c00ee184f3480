// A host that runs Qt itself.

#include "interface/tests/InstalledLog.h"
#include "interface/tests/PelloraFixture.h"

#include <QApplication>
#include <QPushButton>

#include <memory>
#include <stdexcept>

namespace
{

class QtHostTest : public testing::Test
{
protected:
    void SetUp() override
    {
        // A host that brings Qt finds the plug-ins itself; Wine's drive Z: is the file system that they are in.
        QCoreApplication::addLibraryPath("Z:" + qEnvironmentVariable("PELLORA_BIN"));
        m_pApplication = std::make_unique<QApplication>(m_nArguments, m_arguments);
        doubles::reset();
    }

    int m_nArguments = 1;
    char m_name[5] = "host";
    char *m_arguments[2] = {m_name, nullptr};
    std::unique_ptr<QApplication> m_pApplication;
};

TEST_F(QtHostTest, UsesTheHostsOwnApplicationObject)
{
    QPushButton button("host");
    button.setGeometry(50, 50, 400, 300);
    button.show();

    EXPECT_EQ(PELLORA_Init(), 1);
    EXPECT_EQ(QCoreApplication::instance(), m_pApplication.get());
    EXPECT_EQ(PELLORA_CreateWindow(reinterpret_cast<HWND>(button.winId()), 2), 0);
    EXPECT_EQ(PELLORA_SplitScreen(0, 4), 1);
    support::pumpPosted();
    EXPECT_TRUE(videoWindows().front()->isVisible());
    EXPECT_EQ(PELLORA_DestroyWindow(0), 1);
    EXPECT_EQ(PELLORA_Fini(), 1);

    EXPECT_EQ(QCoreApplication::instance(), m_pApplication.get());
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
}

/** A widget of the host's that cannot do with another style sheet. */
class UnstyledWidget : public QWidget
{
protected:
    void changeEvent(QEvent *pEvent) override
    {
        if (pEvent->type() == QEvent::StyleChange) {
            throw std::runtime_error("no other style");
        }
        QWidget::changeEvent(pEvent);
    }
};

TEST_F(QtHostTest, BeginsAlsoWhenTheStyleSheetCannotBeApplied)
{
    int nBegun = 0;
    std::string added;
    {
        UnstyledWidget widget;
        widget.show();
        added = addedToInstalledLog([&nBegun] { nBegun = PELLORA_Init(); });
    }

    EXPECT_EQ(nBegun, 1);
    EXPECT_THAT(added, testing::HasSubstr("ERROR no other style"));
    EXPECT_EQ(PELLORA_Fini(), 1);
}

} // namespace
