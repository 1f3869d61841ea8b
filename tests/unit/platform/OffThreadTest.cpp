// The decorators that move blocking port calls off the caller's thread, over stand-in adapters
// that block until the test lets them go.
#include "platform/OffThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

class GatedSpooler : public Spooler {
public:
    explicit GatedSpooler(Gate& gate, std::atomic<bool>& destroyed) : m_gate(gate), m_destroyed(destroyed) {}
    ~GatedSpooler() override { m_destroyed = true; }
    std::vector<std::string> printers() override {
        ++calls;
        thread = std::this_thread::get_id();
        m_gate.pass();
        if (fault)
            std::rethrow_exception(fault);
        return {"receipts", "labels"};
    }
    Result printRaw(const std::string&, const std::string&, const std::string& data) override {
        ++calls;
        m_gate.pass();
        return data == "known" ? Result::Done : Result::UnknownPrinter;
    }
    std::atomic<int> calls{0};
    std::thread::id thread;
    std::exception_ptr fault;

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

struct Outcome {
    const char* name;
    std::exception_ptr fault;
    const char* message; ///< what the caller reads; empty: the list comes back
};

class SpoolerOutcomes : public OffThreadSpoolerTest, public testing::WithParamInterface<Outcome> {};

TEST_P(SpoolerOutcomes, ResultOrFaultReachesTheCallerFromTheWorker) {
    gate.open();
    inner->fault = GetParam().fault;
    if (*GetParam().message == '\0') {
        EXPECT_EQ(spooler->printers(), (std::vector<std::string>{"receipts", "labels"}));
    } else {
        try {
            spooler->printers();
            ADD_FAILURE() << "no exception";
        } catch (const std::exception& e) {
            EXPECT_STREQ(e.what(), GetParam().message);
        }
    }
    EXPECT_NE(inner->thread, std::this_thread::get_id());
}

INSTANTIATE_TEST_SUITE_P(
    Calls, SpoolerOutcomes,
    testing::Values(Outcome{"list", nullptr, ""},
                    Outcome{"spooler_down",
                            std::make_exception_ptr(SpoolerUnavailable("The print spooler is not running.")),
                            "The print spooler is not running."},
                    Outcome{"other_fault", std::make_exception_ptr(std::runtime_error("bad reply")), "bad reply"}),
    [](const auto& p) { return std::string(p.param.name); });

TEST_F(OffThreadSpoolerTest, HungCallIsGivenUpAndLaterCallsFailFastUntilItEnds) {
    const auto took = timed([&] {
        EXPECT_THROW(
            {
                try {
                    spooler->printRaw("receipts", "doc", "known");
                } catch (const SpoolerUnavailable& e) {
                    EXPECT_THAT(e.what(), HasSubstr("did not answer in time"));
                    throw;
                }
            },
            SpoolerUnavailable);
    });
    EXPECT_GE(took, 200ms);
    EXPECT_LT(took, 2s);
    EXPECT_TRUE(spooler->busy());

    // While the hung call runs on, a new one is refused at once and never reaches the spooler.
    const auto refused = timed([&] {
        try {
            spooler->printers();
            ADD_FAILURE() << "no exception";
        } catch (const SpoolerUnavailable& e) {
            EXPECT_THAT(e.what(), HasSubstr("still not answered an earlier request"));
        }
    });
    EXPECT_LT(refused, 100ms);
    EXPECT_EQ(inner->calls, 1);

    gate.open();
    ASSERT_TRUE(eventually([&] { return !spooler->busy(); }));
    EXPECT_EQ(spooler->printRaw("receipts", "doc", "known"), Spooler::Result::Done);
    EXPECT_EQ(spooler->printRaw("nosuch", "doc", "other"), Spooler::Result::UnknownPrinter);
}

TEST_F(OffThreadSpoolerTest, AdapterOutlivesADecoratorThatGaveUpOnItsCall) {
    EXPECT_THROW(spooler->printers(), SpoolerUnavailable);
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
    std::vector<std::string> printers() override { return note("printers"), std::vector<std::string>{"reports"}; }
    void select(const std::string& name) override { note("select " + name); }
    std::string current() override { return note("current"), "reports"; }
    void setFont(const std::string& family, float) override { note("font " + family); }
    void setOrientation(Orientation) override { note("orientation"); }
    void print(const std::string& text) override { note("print " + text); }
    void endDocument() override { note("end"); }

    std::vector<std::string> calls;
    std::vector<std::thread::id> threads;

private:
    void note(std::string call) {
        calls.push_back(std::move(call));
        threads.push_back(std::this_thread::get_id());
    }
};

TEST(OffThreadTextPrinterTest, CallsRunInOrderOnOneWorkerThread) {
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
    EXPECT_EQ(inner->calls, (std::vector<std::string>{"printers", "select reports", "current", "font courier",
                                                      "orientation", "print page one\f", "print page two", "end"}));
    ASSERT_FALSE(inner->threads.empty());
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

} // namespace
} // namespace station
