#pragma once
#include "platform/Browser.h"
#include "platform/Clock.h"
#include "platform/Dialogs.h"
#include "platform/HttpClient.h"
#include "platform/NetworkAdapters.h"
#include "platform/SingleInstance.h"
#include "platform/Yield.h"

namespace station {

/// The outside world as the station's logic and forms see it: one reference per port, built by
/// app/main.cpp from the real adapters and by tests from fakes.
struct Ports {
    HttpClient& http;
    NetworkAdapters& adapters;
    SingleInstance& singleInstance;
    Browser& browser;
    Dialogs& dialogs;
    Yield& yield;
    Clock& clock;
};

} // namespace station
