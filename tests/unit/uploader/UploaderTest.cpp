#include "uploader/Uploader.h"

#include "service/Codec.h"
#include "tests/support/FakePorts.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <tuple>

namespace station {
namespace {

TEST(RemoteFolder, ChainLevelCodesUseReportsOthersUploads) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"12340000", "reports/12340/12340000/excel"}, {"1234567", "uploads/12345/1234567"},
        {"12345000", "uploads/12345/12345000"},       {"00000", "reports/00000/00000/excel"},
        {"0000", "reports/0000/0000/excel"},
    };
    for (const auto& [code, folder] : cases)
        EXPECT_EQ(remoteFolder(code), folder) << code;
}

class RecordingView : public UploaderView {
public:
    std::string caption;
    std::vector<std::string> remote;
    std::vector<std::pair<std::string, bool>> progress;
    std::vector<std::string> unselected;
    void setCaption(const std::string& text) override { caption = text; }
    void showRemote(const std::vector<std::string>& names) override { remote = names; }
    void showProgress(const std::string& text, bool exitEnabled) override { progress.emplace_back(text, exitEnabled); }
    void unselect(const std::string& name) override { unselected.push_back(name); }
};

/// Counts the window events let run and runs `during` among them, as a click would come in.
class HookYield : public Yield {
public:
    int count = 0;
    std::function<void()> during;
    void yield() override {
        ++count;
        if (during)
            during();
    }
    void pause(std::chrono::milliseconds) override {}
};

struct Rig {
    test::FakePorts fake;
    HookYield yield;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://service/terminal2secure.asp"};
    StationState state;
    RecordingView view;
    Uploader uploader{fake.ftp.open(), "ftp.example:2121", state, service, fake.dialogs, yield, view};
    std::map<std::string, std::string>& remote() { return fake.ftp.folders["uploads/12345/1234567"]; }

    Rig() {
        state.stationId = "00-11-22-33-44-55";
        state.stores.at(0).serialNumber = "1234567";
        state.stores.at(0).storeName = "Main Street";
        state.stores.at(1).serialNumber = "12340000";
        state.stores.at(1).storeName = "Chain office";
    }
    /// Answers the message boxes in turn.
    void answers(std::vector<Dialogs::Answer> list) {
        fake.dialogs.whileShown = [this, list, i = std::size_t{0}](const std::string&) mutable {
            fake.dialogs.answer = list.at(i++);
        };
    }
};

TEST(Uploader, RefreshLogsInOnceIntoTheStoresFolderAndListsIt) {
    Rig rig;
    rig.remote() = {{"a.txt", ""}, {"b c.txt", ""}};
    rig.uploader.cmdRefresh_Click();
    rig.uploader.cmdRefresh_Click();
    EXPECT_EQ(rig.fake.ftp.logins, 1);
    EXPECT_EQ(rig.fake.ftp.calls.front(), "login ftp.example:2121 administrator lantern");
    EXPECT_EQ(rig.fake.ftp.calls[1], "cd uploads/12345/1234567");
    EXPECT_EQ(rig.fake.ftp.calls.back(), "list -lr *.*");
    EXPECT_EQ(rig.view.caption, "Upload Data to Main Street - 1234567");
    EXPECT_EQ(rig.view.remote, (std::vector<std::string>{"a.txt", "b c.txt"}));
}

TEST(Uploader, AnotherStoreLogsInAfreshIntoItsOwnFolder) {
    Rig rig;
    rig.uploader.cmdRefresh_Click();
    rig.uploader.setStore(1);
    rig.uploader.cmdRefresh_Click();
    EXPECT_EQ(rig.fake.ftp.logins, 2);
    EXPECT_EQ(rig.fake.ftp.calls.back(), "list -lr *.*");
    EXPECT_EQ(rig.fake.ftp.calls[rig.fake.ftp.calls.size() - 2], "cd reports/12340/12340000/excel");
}

TEST(Uploader, OverwriteQuestionDeletesOnOkSkipsOnCancelAndGoesOn) {
    Rig rig;
    rig.remote() = {{"one.txt", "old"}, {"two.txt", "old"}, {"THREE.TXT", "old"}};
    rig.uploader.cmdRefresh_Click();
    rig.answers({Dialogs::Answer::Ok, Dialogs::Answer::Cancel});
    rig.uploader.cmdTransfer_Click("/data", {"one.txt", "two.txt", "three.txt"});

    ASSERT_EQ(rig.fake.dialogs.shown.size(), 2u) << "a name differing only in case is another file";
    for (const auto& shown : rig.fake.dialogs.shown) {
        EXPECT_EQ(shown.text, "File already exist on remote store.  Delete the remote file?");
        EXPECT_EQ(shown.title, "Delete File?");
        EXPECT_EQ(shown.buttons, Dialogs::Buttons::OkCancel);
        EXPECT_EQ(shown.icon, Dialogs::Icon::Question);
    }
    // The local file is the folder and the name joined by the system's separator.
    const std::string slash(1, static_cast<char>(std::filesystem::path::preferred_separator));
    EXPECT_EQ(rig.remote()["one.txt"], "/data" + slash + "one.txt");
    EXPECT_EQ(rig.remote()["two.txt"], "old");
    EXPECT_EQ(rig.remote()["three.txt"], "/data" + slash + "three.txt");
    EXPECT_EQ(rig.remote()["THREE.TXT"], "old");
    EXPECT_EQ(rig.view.unselected, (std::vector<std::string>{"one.txt", "three.txt"}));
    EXPECT_EQ(rig.view.remote.size(), 4u) << "listed again after the last file";
}

TEST(Uploader, RefusedListingIsTriedAgainPlainThenByNamesBeforeItFails) {
    struct Case {
        std::set<std::string> refused;
        std::vector<std::string> listings; ///< the listing calls, in order
        bool listed;
    };
    const std::vector<Case> cases{
        {{}, {"list -lr *.*"}, true},
        {{"list -lr *.*"}, {"list -lr *.*", "list "}, true},
        {{"list -lr *.*", "list "}, {"list -lr *.*", "list ", "nlst"}, true},
        {{"list -lr *.*", "list ", "nlst"}, {"list -lr *.*", "list ", "nlst"}, false},
    };
    for (const auto& c : cases) {
        Rig rig;
        rig.remote() = {{"a.txt", ""}};
        rig.uploader.cmdRefresh_Click();
        rig.fake.ftp.refused = c.refused;
        rig.fake.ftp.calls.clear();
        rig.uploader.cmdRefresh_Click();
        EXPECT_EQ(rig.fake.ftp.calls, c.listings);
        EXPECT_EQ(rig.view.remote, c.listed ? std::vector<std::string>{"a.txt"} : std::vector<std::string>{})
            << "a failed listing leaves no names of an earlier one";
        EXPECT_EQ(rig.fake.dialogs.texts(), c.listed
                                                ? std::vector<std::string>{}
                                                : std::vector<std::string>{"550 nlst: No such file or directory."});
    }
}

TEST(Uploader, TransferOverAFolderThatCouldNotBeListedAsksBeforeEachFile) {
    Rig rig;
    rig.remote() = {{"one.txt", "old"}};
    rig.fake.ftp.refused = {"list -lr *.*", "list ", "nlst"};
    rig.uploader.cmdRefresh_Click();
    rig.fake.dialogs.shown.clear();
    rig.answers({Dialogs::Answer::Cancel, Dialogs::Answer::Ok, Dialogs::Answer::Ok});
    rig.uploader.cmdTransfer_Click("/data", {"one.txt", "two.txt"});
    ASSERT_EQ(rig.fake.dialogs.shown.size(), 3u) << "a question for each file, then the listing's failure";
    EXPECT_EQ(rig.fake.dialogs.shown[0].text, "The files on the remote store could not be listed, so one.txt may be "
                                              "there already.  Send it and overwrite the remote file?");
    EXPECT_EQ(rig.fake.dialogs.shown[0].buttons, Dialogs::Buttons::OkCancel);
    EXPECT_EQ(rig.remote()["one.txt"], "old");
    EXPECT_EQ(rig.remote().count("two.txt"), 1u);
}

TEST(Uploader, ProgressShowsDoneOfTotalWithExitDisabledThenClears) {
    Rig rig;
    rig.fake.ftp.progressSteps = {100, 2048};
    rig.uploader.cmdRefresh_Click();
    rig.uploader.cmdTransfer_Click("/data", {"a.bin"});
    EXPECT_EQ(rig.view.progress, (std::vector<std::pair<std::string, bool>>{
                                     {"100  of 2048", false}, {"2048  of 2048", false}, {"", true}}));
    EXPECT_EQ(rig.yield.count, 2);
}

TEST(Uploader, CloseIsTakenAtOnceWhenIdleAfterAWaitOnAServerAndRefusedWhileAFileIsSent) {
    using Close = Uploader::Close;
    enum class When { Idle, ServiceRequest, OverwriteQuestion, Upload };
    const std::vector<std::tuple<When, Close, bool>> cases{
        {When::Idle, Close::Now, false},
        {When::ServiceRequest, Close::WhenDone, true},
        {When::OverwriteQuestion, Close::WhenDone, true},
        {When::Upload, Close::Refused, false},
    };
    for (const auto& [when, answer, dueAfter] : cases) {
        Rig rig;
        if (when == When::OverwriteQuestion)
            rig.remote() = {{"a.bin", "old"}};
        rig.fake.ftp.progressSteps = {100};
        rig.uploader.cmdRefresh_Click();
        std::optional<Close> got;
        bool dueWhileRunning = false;
        const auto ask = [&] {
            got = rig.uploader.requestClose();
            dueWhileRunning = rig.uploader.takeDueClose();
        };
        if (when == When::ServiceRequest)
            rig.fake.http.handler = [&](const test::FakeHttp::Call&) {
                ask();
                return test::FakeHttp::ok("|7|");
            };
        if (when == When::OverwriteQuestion)
            rig.fake.dialogs.whileShown = [&](const std::string&) { ask(); };
        if (when == When::Upload)
            rig.yield.during = ask;
        if (when == When::Idle)
            ask();
        else if (when == When::ServiceRequest)
            rig.uploader.Form_Activate("/data");
        else
            rig.uploader.cmdTransfer_Click("/data", {"a.bin"});
        const auto name = static_cast<int>(when);
        EXPECT_EQ(got, answer) << name;
        EXPECT_FALSE(dueWhileRunning) << name;
        EXPECT_EQ(rig.uploader.takeDueClose(), dueAfter) << name;
        EXPECT_FALSE(rig.uploader.takeDueClose()) << name << ": taken once";
    }
}

TEST(Uploader, LostLineIsLoggedInAgainBeforeTheNextFile) {
    Rig rig;
    rig.uploader.cmdRefresh_Click();
    rig.fake.ftp.failNext = "Connection reset";
    rig.fake.ftp.dropLine = true;
    rig.uploader.cmdTransfer_Click("/data", {"a.txt", "b.txt"});
    ASSERT_EQ(rig.fake.dialogs.texts(), std::vector<std::string>{"Connection reset"});
    EXPECT_EQ(rig.fake.dialogs.shown[0].buttons, Dialogs::Buttons::Ok);
    EXPECT_FALSE(rig.fake.dialogs.shown[0].title.has_value());
    EXPECT_TRUE(rig.remote().empty()) << "the handler stops at the fault";

    rig.uploader.cmdTransfer_Click("/data", {"b.txt"});
    EXPECT_EQ(rig.fake.ftp.logins, 2);
    EXPECT_EQ(rig.remote().count("b.txt"), 1u);
}

TEST(Uploader, FolderThatCannotBeEnteredIsShownAndTheNextRefreshLogsInAgain) {
    Rig rig;
    rig.fake.ftp.failNext = "550 uploads: Permission denied";
    rig.fake.ftp.failWhen = "cd ";
    rig.uploader.cmdRefresh_Click();
    ASSERT_EQ(rig.fake.dialogs.texts(), std::vector<std::string>{"550 uploads: Permission denied"});
    EXPECT_EQ(rig.fake.ftp.calls.back(), "disconnect") << "nothing is listed outside the store's folder";
    rig.uploader.cmdRefresh_Click();
    EXPECT_EQ(rig.fake.ftp.logins, 2);
    EXPECT_EQ(rig.fake.ftp.calls.back(), "list -lr *.*");
}

TEST(Uploader, DoubleClickDeletesOnlyOnYes) {
    Rig rig;
    rig.remote() = {{"old.csv", ""}};
    rig.uploader.cmdRefresh_Click();
    rig.answers({Dialogs::Answer::No, Dialogs::Answer::Yes});
    rig.uploader.List2_DblClick("old.csv");
    EXPECT_EQ(rig.remote().size(), 1u);
    rig.uploader.List2_DblClick("old.csv");
    EXPECT_TRUE(rig.remote().empty());
    EXPECT_TRUE(rig.view.remote.empty());
    EXPECT_EQ(rig.fake.dialogs.shown[0].text, "Delete this file from the remote store? \r\nold.csv ?");
    EXPECT_EQ(rig.fake.dialogs.shown[0].title, "Delete Remote file");
    EXPECT_EQ(rig.fake.dialogs.shown[0].buttons, Dialogs::Buttons::YesNo);
}

TEST(Uploader, ActivationCreatesTheSavedFolderOrMovesToIt) {
    struct Case {
        std::string reply;
        std::optional<std::string> moveTo;
        std::vector<std::string> writes;
    };
    const std::vector<Case> cases{
        {"65535", std::nullopt, {"insertupload=001122334455|/home/user|"}},
        {"/srv/data|7|", "/srv/data", {}},
        {"/home/user|7|", std::nullopt, {}},
        {"|7|", std::nullopt, {}},
    };
    for (const auto& c : cases) {
        Rig rig;
        rig.fake.http.handler = [&](const test::FakeHttp::Call& call) {
            return test::FakeHttp::ok(call.body.rfind("getupload=", 0) == 0 ? c.reply : "");
        };
        EXPECT_EQ(rig.uploader.Form_Activate("/home/user"), c.moveTo) << c.reply;
        std::vector<std::string> writes;
        for (const auto& body : rig.fake.http.bodies())
            if (body.find("upload=") != std::string::npos && body.rfind("getupload=", 0) != 0)
                writes.push_back(body);
        EXPECT_EQ(writes, c.writes) << c.reply;
        EXPECT_EQ(rig.fake.ftp.logins, 1) << "activation connects";
    }
}

TEST(Uploader, SavingWritesTheExistingRecordTrimmed) {
    Rig rig;
    rig.fake.http.handler = [](const test::FakeHttp::Call& call) {
        return test::FakeHttp::ok(call.body.rfind("getupload=", 0) == 0 ? "/srv/data|7|" : "");
    };
    rig.uploader.Form_Activate("/srv/data");
    EXPECT_FALSE(rig.uploader.differsFromSaved("/srv/data"));
    EXPECT_TRUE(rig.uploader.differsFromSaved("/srv"));
    rig.uploader.cmdSavePath_Click(" /srv/other ");
    // A Windows folder, saved as shown, compares equal however its separators come in.
    rig.fake.http.handler = [](const test::FakeHttp::Call& call) {
        return test::FakeHttp::ok(call.body.rfind("getupload=", 0) == 0 ? "C:\\Users\\clerk\\Uploads|7|" : "");
    };
    EXPECT_EQ(rig.uploader.Form_Activate("C:/Users/clerk/Uploads"), std::nullopt);
    EXPECT_FALSE(rig.uploader.differsFromSaved("C:/Users/clerk/Uploads"));
    EXPECT_FALSE(rig.uploader.differsFromSaved("C:\\Users\\clerk\\Uploads"));
    EXPECT_TRUE(rig.uploader.differsFromSaved("C:/Users/clerk"));
    const auto bodies = rig.fake.http.bodies();
    EXPECT_NE(std::find(bodies.begin(), bodies.end(), "setupload=001122334455|/srv/other|"), bodies.end());
}

} // namespace
} // namespace station
