// devservice: the reference central service of the VORNE Terminal station, for tests and the demo.
//
//   devservice serve --port N --db FILE [--files DIR] [--bind 127.0.0.1]
//       Serves POST /terminal2secure.asp, GET /Reports/<first5>/<store id>/<name> (basic auth
//       administrator / lantern) and GET /rdp/<name> from the files folder (default: FILE's name
//       with "-files", beside it). Port 0 picks a free port. Prints "listening on ADDRESS:PORT"
//       once connections are accepted; ends cleanly on SIGTERM or SIGINT.
//   devservice seed --db FILE [--station ID] [--stores N] [--files DIR]
//       Report formats, on-call list and sample files; with --station, that station's demo stores;
//       --stores alone sets the store count of every station, known or still to come.
//   devservice shutdown|reopen --db FILE STOREKEY       store maintenance ("store=" poll)
//   devservice set-update --db FILE [--station ID] URL  update base address ("upd1="), "" removes
//   devservice set-reply|clear-reply --db FILE [--station ID] [TEXT]
//                                                        fixed "mac=" reply, e.g. a malformed one
//   devservice set-report --db FILE PREFIX FONT SIZE P|L
//   devservice stores|settings --db FILE [--station ID]
//   devservice tickets|alerts|versions --db FILE
//   devservice requests --db FILE [--key KEY]            every logged request, in arrival order
//   devservice publish --db FILE --version V --installer FILE [--readme FILE] [--sign KEY.sec]
//                                                        a release under rdp/, with setup.exe.minisig
//                                                        from the minisign key when given; served
//                                                        with an ETag and single ranges (If-Range)
//   devservice cut-download --db FILE BYTES              the next update download breaks off
//                                                        after BYTES bytes (tests of resuming)
//
// Admin commands work on the database while a server runs on it. Listings print one record per
// line, columns separated by tabs, with tab, CR, LF and backslash written as \t \r \n \\.
#include "tools/devservice/Commands.h"

#include <csignal>
#include <iostream>

namespace {

volatile std::sig_atomic_t stopSignal = 0;

extern "C" void onStopSignal(int) {
    stopSignal = 1;
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGTERM, onStopSignal);
    std::signal(SIGINT, onStopSignal);
    const std::vector<std::string> args(argv + 1, argv + argc);
    return devservice::runCommand(args, std::cout, std::cerr, [] { return stopSignal != 0; });
}
