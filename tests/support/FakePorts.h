#pragma once
// Scripted stand-ins for the platform ports, for logic and form tests.
#include "platform/Ports.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace station::test {

class FakeHttp : public HttpClient {
public:
    struct Call {
        std::string method;
        std::string url;
        std::string contentType;
        std::string body;
    };
    /// Answers a POST; by default with the next queued reply, else an empty 200.
    std::function<Response(const Call&)> handler;
    std::deque<Response> replies;
    std::vector<Call> calls;

    Response post(const std::string& url, const std::string& contentType, const std::string& body) override;
    Response get(const std::string& url, const BasicAuth* auth, const Progress& progress) override;
    /// Bodies of the POSTs so far.
    std::vector<std::string> bodies() const;

    static Response ok(std::string body) { return {true, 200, std::move(body), {}}; }
    static Response failed() { return {false, 0, {}, "connection refused"}; }
};

class FakeAdapters : public NetworkAdapters {
public:
    std::vector<Adapter> adapters;
    std::vector<Adapter> list() override { return adapters; }
};

class FakeSingleInstance : public SingleInstance {
public:
    bool free = true;
    bool acquire() override { return free; }
};

class FakeBrowser : public Browser {
public:
    std::vector<std::string> opened;
    bool open(const std::string& url) override {
        opened.push_back(url);
        return true;
    }
};

class FakeDialogs : public Dialogs {
public:
    struct Shown {
        std::string text;
        Icon icon;
        Buttons buttons;
        std::optional<std::string> title;
    };
    std::vector<Shown> shown;
    Answer answer = Answer::Ok;
    std::string inputAnswer;
    std::string fileAnswer;

    Answer message(const std::string& text, Icon icon, Buttons buttons,
                   const std::optional<std::string>& title) override {
        shown.push_back({text, icon, buttons, title});
        return answer;
    }
    std::string input(const std::string&) override { return inputAnswer; }
    std::string openFile(const std::string&, const std::string&) override { return fileAnswer; }
    std::string saveFile(const std::string&, const std::string&) override { return fileAnswer; }
};

class CountingYield : public Yield {
public:
    int count = 0;
    void yield() override { ++count; }
};

class FakeClock : public Clock {
public:
    std::chrono::system_clock::time_point time{std::chrono::sys_days{std::chrono::year{2026} / 11 / 22}};
    std::chrono::system_clock::time_point now() override { return time; }
};

/// One of each fake, with the Ports view over them.
struct FakePorts {
    FakeHttp http;
    FakeAdapters adapters;
    FakeSingleInstance singleInstance;
    FakeBrowser browser;
    FakeDialogs dialogs;
    CountingYield yield;
    FakeClock clock;
    Ports ports{http, adapters, singleInstance, browser, dialogs, yield, clock};
};

/// A service reply of `count` store records for station `station`, each field ended by "|".
std::string storeListReply(std::size_t count, const std::string& station = "001122334455");

} // namespace station::test
