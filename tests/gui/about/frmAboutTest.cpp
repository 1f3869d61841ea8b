#include "about/frmAbout.h"

#include "core/ProgramVersion.h"
#include "tests/support/FakePorts.h"

#include <QLabel>
#include <QPushButton>
#include <gtest/gtest.h>

namespace station {
namespace {

TEST(frmAbout, LabelsNameProgramVersionAndStation) {
    test::FakePorts fake;
    StationState state;
    state.stationId = "00-1A-2B-3C-4D-5E";
    frmAbout window(state, fake.ports);
    EXPECT_EQ(window.windowTitle(), QStringLiteral("About VORNETerminal"));
    EXPECT_EQ(window.lblVersion->text().toStdString(), "Version " + programVersion());
    EXPECT_EQ(window.lblTitle->text(), QStringLiteral("VORNETerminal"));
    EXPECT_EQ(window.lblMac->text(), QStringLiteral("00-1A-2B-3C-4D-5E"));
    EXPECT_TRUE(window.lblDescription->text().startsWith(QStringLiteral("Graphical Telnet Client Application\n")));
    EXPECT_EQ(window.lblDisclaimer->text().count(QLatin1Char('\n')), 5);
}

TEST(frmAbout, SystemInformationButtonHiddenOnlyWithoutRegistryOrTool) {
    test::FakePorts fake;
    StationState state;
    {
        frmAbout withRegistry(state, fake.ports);
        EXPECT_FALSE(withRegistry.cmdSysInfo->isHidden()) << "the registry answers when the button is pressed";
        withRegistry.cmdSysInfo_Click();
        ASSERT_EQ(fake.dialogs.shown.size(), 1u);
        EXPECT_EQ(fake.dialogs.shown[0].text, "System Information Is Unavailable At This Time");
    }
    fake.registry.exists = false;
    qputenv("PATH", "/nonexistent-folder");
    frmAbout withoutTool(state, fake.ports);
    EXPECT_TRUE(withoutTool.cmdSysInfo->isHidden());
}

} // namespace
} // namespace station
