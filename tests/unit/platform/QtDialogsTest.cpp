// The Qt dialogs adapter: filter conversion, and real dialogs answered from a timer.
#include "platform/qt/QtDialogs.h"
#include "platform/Adapters.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include <functional>

namespace station {
namespace {

struct FilterCase {
    const char* filter;
    const char* expected;
};

class FileFilter : public testing::TestWithParam<FilterCase> {};

TEST_P(FileFilter, BecomesQtForm) {
    EXPECT_EQ(qtFileFilter(GetParam().filter).toStdString(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Filters, FileFilter,
                         testing::Values(FilterCase{"Open Connections | *.XML", "Open Connections (*.XML)"},
                                         FilterCase{"Pictures|*.bmp;*.gif| All files |*.*",
                                                    "Pictures (*.bmp *.gif);;All files (*.*)"},
                                         FilterCase{"Reports| *.txt ; ;*.prn ", "Reports (*.txt *.prn)"},
                                         FilterCase{"Anything", "Anything (*)"}, FilterCase{"|*.xml", "*.xml (*.xml)"},
                                         FilterCase{"", ""}, FilterCase{" | ", ""}));

/// The modal window as the expected dialog; anything else is closed and fails the test, so that a
/// wrong window can never hang it.
template <class Dialog> Dialog* as(QWidget* modal) {
    auto* dialog = qobject_cast<Dialog*>(modal);
    if (!dialog) {
        ADD_FAILURE() << "unexpected modal window " << modal->metaObject()->className();
        modal->close();
    }
    return dialog;
}

/// Hands the first modal window that opens while `run` executes to `act`.
template <class Run> auto whileModal(const std::function<void(QWidget*)>& act, Run run) {
    QTimer timer;
    bool acted = false;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (QWidget* modal = QApplication::activeModalWidget(); modal && !acted) {
            acted = true;
            act(modal);
        }
    });
    timer.start(10);
    return run();
}

struct MessageCase {
    Dialogs::Icon icon;
    Dialogs::Buttons buttons;
    std::optional<std::string> title;
    QMessageBox::StandardButton press; ///< NoButton: the box is closed instead
    QMessageBox::Icon shownIcon;
    QMessageBox::StandardButtons offered;
    const char* shownTitle;
    Dialogs::Answer answer;
};

class Message : public testing::TestWithParam<MessageCase> {};

TEST_P(Message, ShowsTheBoxAndReturnsTheAnswer) {
    const auto& c = GetParam();
    auto dialogs = makeDialogs("VORNE Terminal");
    QString title;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons offered;
    const auto answer = whileModal(
        [&](QWidget* modal) {
            auto* box = as<QMessageBox>(modal);
            if (!box)
                return;
            title = box->windowTitle();
            icon = box->icon();
            offered = box->standardButtons();
            if (c.press == QMessageBox::NoButton)
                box->close();
            else
                box->button(c.press)->click();
        },
        [&] { return dialogs->message("Text", c.icon, c.buttons, c.title); });
    EXPECT_EQ(answer, c.answer);
    EXPECT_EQ(icon, c.shownIcon);
    EXPECT_EQ(offered, c.offered);
    EXPECT_EQ(title, QLatin1String(c.shownTitle));
}

using I = Dialogs::Icon;
using B = Dialogs::Buttons;
using A = Dialogs::Answer;
using Q = QMessageBox;
const auto okCancel = Q::Ok | Q::Cancel, yesNo = Q::Yes | Q::No;
INSTANTIATE_TEST_SUITE_P(
    Boxes, Message,
    testing::Values(
        MessageCase{I::None, B::Ok, {}, Q::Ok, Q::NoIcon, Q::Ok, "VORNE Terminal", A::Ok},
        MessageCase{I::Critical, B::Ok, "Helpdesk", Q::NoButton, Q::Critical, Q::Ok, "Helpdesk", A::Ok},
        MessageCase{I::Question, B::YesNo, {}, Q::Yes, Q::Question, yesNo, "VORNE Terminal", A::Yes},
        MessageCase{I::Exclamation, B::YesNo, {}, Q::No, Q::Warning, yesNo, "VORNE Terminal", A::No},
        MessageCase{I::Information, B::YesNo, {}, Q::NoButton, Q::Information, yesNo, "VORNE Terminal", A::No},
        MessageCase{I::None, B::OkCancel, {}, Q::Cancel, Q::NoIcon, okCancel, "VORNE Terminal", A::Cancel},
        MessageCase{I::None, B::OkCancel, {}, Q::NoButton, Q::NoIcon, okCancel, "VORNE Terminal", A::Cancel}));

TEST(QtDialogs, InputReturnsTheTypedTextOrNothingWhenCancelled) {
    auto dialogs = makeDialogs("VORNE Terminal");
    auto answer = [&](bool accept) {
        return whileModal(
            [accept](QWidget* modal) {
                auto* box = as<QInputDialog>(modal);
                if (!box)
                    return;
                box->setTextValue(QStringLiteral("store 12"));
                accept ? box->accept() : box->reject();
            },
            [&] { return dialogs->input("Store?"); });
    };
    EXPECT_EQ(answer(true), "store 12");
    EXPECT_EQ(answer(false), "");
}

TEST(QtDialogs, FileDialogsStartWhereToldAndReturnTheChoice) {
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("shop.xml")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const std::string path = QDir::toNativeSeparators(file.fileName()).toStdString();
    auto dialogs = makeDialogs("VORNE Terminal");

    QStringList filters;
    const auto opened = whileModal(
        [&](QWidget* modal) {
            auto* dialog = as<QFileDialog>(modal);
            if (!dialog)
                return;
            filters = dialog->nameFilters();
            EXPECT_EQ(QDir(dialog->directory()), QDir(dir.path()));
            dialog->selectFile(QStringLiteral("shop.xml"));
            static_cast<QDialog*>(dialog)->accept(); // QFileDialog::accept is protected
        },
        [&] { return dialogs->openFile(dir.path().toStdString(), "Open Connections | *.XML"); });
    EXPECT_EQ(opened, path);
    EXPECT_EQ(filters, QStringList{QStringLiteral("Open Connections (*.XML)")});

    // The save dialog offers the current file; accepting it unchanged returns that file.
    const auto saved = whileModal(
        [](QWidget* modal) {
            auto* dialog = as<QFileDialog>(modal);
            if (!dialog)
                return;
            dialog->setOption(QFileDialog::DontConfirmOverwrite);
            static_cast<QDialog*>(dialog)->accept(); // QFileDialog::accept is protected
        },
        [&] { return dialogs->saveFile(path, "Connection File | *.xml"); });
    EXPECT_EQ(saved, path);

    const auto cancelled = whileModal([](QWidget* modal) { modal->close(); },
                                      [&] { return dialogs->openFile(dir.path().toStdString(), ""); });
    EXPECT_EQ(cancelled, "");
}

} // namespace
} // namespace station
