// The decorators that move blocking port calls off the caller's thread, over stand-in adapters
// that block until the test lets them go.
#include "platform/OffThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace station {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

/// Holds every call that passes it until opened.
class Gate {
public:
    void pass() { m_opened.wait(); }
    void open() { m_open.set_value(); }

private:
    std::promise<void> m_open;
    std::shared_future<void> m_opened = m_open.get_future().share();
};

template <typename Done> bool eventually(Done done) {
    for (int i = 0; i < 500 && !done(); ++i)
        std::this_thread::sleep_for(10ms);
    return done();
}

template <typename Call> std::chrono::steady_clock::duration timed(Call call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::steady_clock::now() - start;
}

/// What the call threw, empty when it returned.
template <typename Call> std::string thrown(Call call) {
    try {
        call();
    } catch (const std::exception& e) {
        return e.what();
    }
    return {};
}

class GatedSpooler : public Spooler {
public:
    GatedSpooler(Gate& gate, std::atomic<bool>& destroyed) : m_gate(gate), m_destroyed(destroyed) {}
    ~GatedSpooler() override { m_destroyed = true; }
    std::vector<std::string> printers() override {
        ++calls;
        m_gate.pass();
        throw SpoolerUnavailable("The print spooler is not running.");
    }
    Result printRaw(const std::string&, const std::string&, const std::string& data) override {
        ++calls;
        thread = std::this_thread::get_id();
        m_gate.pass();
        return data == "known" ? Result::Done : Result::UnknownPrinter;
    }
    std::atomic<int> calls{0};
    std::thread::id thread;

private:
    Gate& m_gate;
    std::atomic<bool>& m_destroyed;
};

class OffThreadSpoolerTest : public testing::Test {
protected:
    Gate gate;
    std::atomic<bool> destroyed{false};
    std::shared_ptr<GatedSpooler> inner = std::make_shared<GatedSpooler>(gate, destroyed);
    BlockingWaiter waiter;
    std::optional<OffThreadSpooler> spooler{std::in_place, inner, waiter, 200ms};
};

TEST_F(OffThreadSpoolerTest, HungCallIsGivenUpAndLaterCallsFailFastUntilItEnds) {
    std::string why;
    const auto took = timed([&] { why = thrown([&] { spooler->printRaw("receipts", "doc", "known"); }); });
    EXPECT_THAT(why, HasSubstr("did not answer in time"));
    EXPECT_GE(took, 200ms);
    EXPECT_LT(took, 2s);
    EXPECT_TRUE(spooler->busy());

    // While the hung call runs on, a new one is refused at once and never reaches the spooler.
    const auto refused = timed([&] { why = thrown([&] { spooler->printers(); }); });
    EXPECT_THAT(why, HasSubstr("still not answered an earlier request"));
    EXPECT_LT(refused, 100ms);
    EXPECT_EQ(inner->calls, 1);

    gate.open();
    ASSERT_TRUE(eventually([&] { return !spooler->busy(); }));
    EXPECT_EQ(spooler->printRaw("receipts", "doc", "known"), Spooler::Result::Done);
    EXPECT_EQ(spooler->printRaw("nosuch", "doc", "other"), Spooler::Result::UnknownPrinter);
    EXPECT_NE(inner->thread, std::this_thread::get_id());
    // The adapter's own words reach the caller unchanged.
    EXPECT_EQ(thrown([&] { spooler->printers(); }), "The print spooler is not running.");
}

TEST_F(OffThreadSpoolerTest, AdapterOutlivesADecoratorThatGaveUpOnItsCall) {
    EXPECT_THAT(thrown([&] { spooler->printers(); }), HasSubstr("did not answer in time"));
    spooler.reset();
    inner.reset();
    // The abandoned call still holds the adapter: it must not be gone under it.
    EXPECT_FALSE(destroyed);
    gate.open();
    EXPECT_TRUE(eventually([&] { return destroyed.load(); }));
}

/// A printer object that records on which thread each call ran.
class ThreadRecordingPrinter : public TextPrinter {
public:
    std::vector<std::string> printers() override { return note(), std::vector<std::string>{"reports"}; }
    void select(const std::string&) override { note(); }
    std::string current() override { return note(), "reports"; }
    void setFont(const std::string&, float) override { note(); }
    void setOrientation(Orientation) override { note(); }
    void print(const std::string& text) override { note(), printed += text; }
    void endDocument() override { note(); }

    std::string printed;
    std::vector<std::thread::id> threads;

private:
    void note() { threads.push_back(std::this_thread::get_id()); }
};

TEST(OffThreadTextPrinterTest, EveryCallRunsInOrderOnTheOneThreadThatOwnsThePrinter) {
    auto inner = std::make_shared<ThreadRecordingPrinter>();
    BlockingWaiter waiter;
    OffThreadTextPrinter printer(inner, waiter, 1s, 1s);
    EXPECT_EQ(printer.printers(), std::vector<std::string>{"reports"});
    printer.select("reports");
    EXPECT_EQ(printer.current(), "reports");
    printer.setFont("courier", 10);
    printer.setOrientation(TextPrinter::Orientation::Landscape);
    printer.print("page one\f");
    printer.print("page two");
    printer.endDocument();
    EXPECT_EQ(inner->printed, "page one\fpage two");
    ASSERT_EQ(inner->threads.size(), 8u);
    for (const auto& id : inner->threads)
        EXPECT_EQ(id, inner->threads.front());
    EXPECT_NE(inner->threads.front(), std::this_thread::get_id());
}

/// A transfer that reports progress in steps the test releases one by one.
class SteppedHttp : public HttpClient {
public:
    Response post(const std::string&, const std::string&, const std::string& body) override {
        gate.pass();
        return {true, 200, body, {}};
    }
    Response get(const std::string&, const BasicAuth* auth, const Progress& progress) override {
        for (std::uint64_t got = 1; got <= 3; ++got) {
            if (progress)
                progress(got * 100, 300);
            std::this_thread::sleep_for(150ms);
        }
        return {true, 200, auth ? auth->user : "body", {}};
    }
    Gate gate;
};

TEST(OffThreadHttpTest, ProgressReachesTheCallerOnItsOwnThreadUpToTheEnd) {
    auto inner = std::make_shared<SteppedHttp>();
    BlockingWaiter waiter;
    OffThreadHttpClient http(inner, waiter, {1s, 5s});
    std::vector<std::uint64_t> seen;
    const HttpClient::BasicAuth auth{"clerk", "secret"};
    const auto caller = std::this_thread::get_id();
    const auto response = http.get("http://x/", &auth, [&](std::uint64_t got, std::uint64_t total) {
        EXPECT_EQ(total, 300u);
        EXPECT_EQ(std::this_thread::get_id(), caller);
        seen.push_back(got);
    });
    ASSERT_TRUE(response.ok);
    EXPECT_EQ(response.body, "clerk") << "the credentials were copied for the transfer's thread";
    ASSERT_FALSE(seen.empty());
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), 300u);
}

TEST(OffThreadHttpTest, ProgressCallbackFailureEndsTheWaitWithThatFailure) {
    auto inner = std::make_shared<SteppedHttp>();
    BlockingWaiter waiter;
    OffThreadHttpClient http(inner, waiter, {1s, 5s});
    const auto took = timed([&] {
        EXPECT_THROW(http.get("http://x/", nullptr, [](auto, auto) { throw std::logic_error("window closed"); }),
                     std::logic_error);
    });
    EXPECT_LT(took, 400ms) << "the caller waited for the whole transfer";
    EXPECT_TRUE(eventually([&] { return http.running() == 0; }));
}

TEST(OffThreadHttpTest, RequestPastItsBoundFailsWithAReasonAndEndsLater) {
    auto inner = std::make_shared<SteppedHttp>();
    BlockingWaiter waiter;
    OffThreadHttpClient http(inner, waiter, {150ms, 5s});
    const auto response = http.post("http://x/", "text/plain", "a");
    EXPECT_FALSE(response.ok);
    EXPECT_EQ(response.status, 0);
    EXPECT_THAT(response.error, HasSubstr("no answer within"));
    EXPECT_EQ(http.running(), 1);
    inner->gate.open();
    EXPECT_TRUE(eventually([&] { return http.running() == 0; }));
    EXPECT_EQ(http.post("http://x/", "text/plain", "b").body, "b");
}

/// A download that reports its progress in steps until the test opens its gate, then ends.
class GatedDownloader : public FileDownloader {
public:
    Result download(const Request& request, const Progress& progress) override {
        Result result;
        for (std::uint64_t got = request.resumeFrom;; got += 100) {
            if (progress)
                progress(got, 1000); // throws once the caller has given up
            if (gate.wait_for(20ms) == std::future_status::ready)
                break;
        }
        result.ok = true;
        result.size = 1000;
        result.validator = request.path;
        return result;
    }
    std::promise<void> open;
    std::shared_future<void> gate = open.get_future().share();
};

TEST(OffThreadDownloadTest, ProgressReachesTheCallerOnItsThreadAndTheResultComesBack) {
    auto inner = std::make_shared<GatedDownloader>();
    BlockingWaiter waiter;
    OffThreadFileDownloader downloader(inner, waiter, 5s);
    const auto caller = std::this_thread::get_id();
    std::vector<std::uint64_t> seen;
    std::thread opener([&] {
        std::this_thread::sleep_for(300ms);
        inner->open.set_value();
    });
    const auto result = downloader.download({"http://x/setup.exe", "/tmp/part", 400, "\"v\"", {}},
                                            [&](std::uint64_t got, std::uint64_t) {
                                                EXPECT_EQ(std::this_thread::get_id(), caller);
                                                seen.push_back(got);
                                            });
    opener.join();
    ASSERT_TRUE(result.ok);
    EXPECT_EQ(result.validator, "/tmp/part") << "the request was copied for the download's thread";
    ASSERT_FALSE(seen.empty());
    EXPECT_GE(seen.front(), 400u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(OffThreadDownloadTest, ADownloadPastItsLimitFailsWithAReasonAndIsStoppedAtItsNextPiece) {
    auto inner = std::make_shared<GatedDownloader>();
    BlockingWaiter waiter;
    OffThreadFileDownloader downloader(inner, waiter, 200ms);
    const auto result = downloader.download({"http://x/", "/tmp/part", 0, {}, {}}, [](auto, auto) {});
    EXPECT_FALSE(result.ok);
    EXPECT_THAT(result.error, HasSubstr("did not end within"));
    EXPECT_TRUE(eventually([&] { return downloader.running() == 0; })) << "the gate never opened, yet it ended";
}

} // namespace
} // namespace station
