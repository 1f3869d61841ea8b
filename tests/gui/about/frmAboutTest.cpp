#include "about/frmAbout.h"

#include "core/ProgramVersion.h"
#include "platform/Adapters.h"
#include "tests/support/FakePorts.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QThread>
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
        ASSERT_EQ(fake.dialogs.texts(), std::vector<std::string>{"System Information Is Unavailable At This Time"});
    }
    fake.registry.exists = false;
    const auto oldPath = qgetenv("PATH");
    qputenv("PATH", "/nonexistent-folder");
    frmAbout withoutTool(state, fake.ports);
    qputenv("PATH", oldPath);
    EXPECT_TRUE(withoutTool.cmdSysInfo->isHidden());
}

#ifndef _WIN32
TEST(frmAbout, OnASystemWithoutRegistryTheInstalledInformationProgramIsStarted) {
    QTemporaryDir bin;
    const auto marker = bin.filePath(QStringLiteral("started"));
    QFile tool(bin.filePath(QStringLiteral("hardinfo")));
    ASSERT_TRUE(tool.open(QIODevice::WriteOnly));
    tool.write("#!/bin/sh\ntouch '" + marker.toUtf8() + "'\n");
    tool.close();
    tool.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    const auto oldPath = qgetenv("PATH");
    qputenv("PATH", bin.path().toUtf8() + ":/usr/bin:/bin");

    test::FakePorts fake;
    auto registry = makeRegistry();
    auto launcher = makeProcessLauncher();
    Ports ports = test::portsOver(fake, {.processLauncher = launcher.get(), .registry = registry.get()});
    StationState state;
    frmAbout window(state, ports);
    EXPECT_FALSE(window.cmdSysInfo->isHidden());
    window.cmdSysInfo_Click();
    qputenv("PATH", oldPath);
    EXPECT_TRUE(fake.dialogs.shown.empty());
    QDeadlineTimer deadline(5000);
    while (!QFile::exists(marker) && !deadline.hasExpired())
        QThread::msleep(20);
    EXPECT_TRUE(QFile::exists(marker)) << "the program was started";
}
#endif

} // namespace
} // namespace station
