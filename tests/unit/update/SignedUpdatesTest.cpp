// Signed releases: signatures made by the minisign program, checked by the real OpenSSL verifier.
#include "tests/unit/update/ProgramUpdatesFixture.h"

namespace station {
namespace {

// Made with minisign 0.11 for the 768 bytes of the release above: a key pair without a password,
// then `minisign -S -s k.sec -m setup.exe -t COMMENT` (-l for the legacy form).
constexpr const char* releaseKey = "untrusted comment: minisign public key C66F71BA9F1CA6E4\n"
                                   "RWTkphyfunFvxi+tSNRP1WsfzBO9b0DoI2UuqmJbfs3GG2dxdhQbAiu5\n";
constexpr const char* prehashed =
    "RUTkphyfunFvxo7jbsPoHlJg+MFqX//tz1Bkzd4R1IEMz/JAeXq1T48Ofb3z7Ifz2ObOppszuRKSTO+zG1oVXzHkbkFW+4NG0Ag=";

std::string minisig(const std::string& signature, const std::string& comment, const std::string& global) {
    return "untrusted comment: signature from minisign secret key\r\n" + signature + "\r\ntrusted comment: " + comment +
           "\r\n" + global + "\r\n";
}

const std::string goodSignature =
    minisig(prehashed, "timestamp:1763900000 version=2.02",
            "Cj8r4SU0fnfKw2SFmKUEJuv+AecdTWfgDQOug+Hgt4A4ODyZU19+aro3zqpNtc07O2UxpA2GTUurWls8AUWkCg==");
constexpr const char* olderGlobal =
    "UmlaJSNJY1p8GFzNaAfeOH1Zr6GL7I1+PpJr85+TuPQT2T6tFFVE9QrP8hBYxWYXCprLRWcKcbUB0AC9lHW0DQ==";

struct SignatureCase {
    const char* name;
    std::function<void(ProgramUpdatesTest&)> arrange;
    const char* status; ///< empty: the installer is started
};

class SignedUpdates : public ProgramUpdatesTest, public testing::WithParamInterface<SignatureCase> {
public:
    void SetUp() override {
        ProgramUpdatesTest::SetUp();
        key = releaseKey;
        fake.http.handler = [this, served = fake.http.handler](const test::FakeHttp::Call& call) {
            if (call.url == "http://upd.test/rdp/setup.exe.minisig")
                return signature ? test::FakeHttp::ok(*signature) : test::FakeHttp::failed();
            return served(call);
        };
    }
    std::unique_ptr<SignatureVerifier> verifier = makeSignatureVerifier();
    Ports withVerifier = test::portsOver(fake, {.signatures = verifier.get()});
    Ports& ports() override { return withVerifier; }
    std::optional<std::string> signature = goodSignature;
};

TEST_P(SignedUpdates, StartOnlyAnInstallerSignedWithTheKeyForTheOfferedVersion) {
    GetParam().arrange(*this);
    auto& u = updates(key);
    u.CheckProgramUpdates("1");
    const bool started = std::string(GetParam().status).empty();
    EXPECT_EQ(fake.processLauncher.started.size(), started ? 1u : 0u);
    EXPECT_EQ(fs::exists(install("Setup.exe")), started) << "a refused installer is deleted";
    EXPECT_EQ(view.status, GetParam().status);
    EXPECT_EQ(view.ended, started);
    EXPECT_TRUE(view.timer || started);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SignedUpdates,
    testing::Values(
        SignatureCase{"Good", [](ProgramUpdatesTest&) {}, ""},
        SignatureCase{"OnlyTheKeyLineBuiltIn",
                      [](ProgramUpdatesTest& f) { f.key = "RWTkphyfunFvxi+tSNRP1WsfzBO9b0DoI2UuqmJbfs3GG2dxdhQbAiu5"; },
                      ""},
        // Kept bytes from disk first, then the rest: the digest covers the whole file once.
        SignatureCase{"ResumedDownload",
                      [](ProgramUpdatesTest& f) {
                          f.fake.downloader.breakAt = 300;
                          f.updates(f.key).CheckProgramUpdates("1");
                          f.fake.downloader.breakAt.reset();
                      },
                      ""},
        SignatureCase{"TamperedByte", [](ProgramUpdatesTest& f) { f.fake.downloader.file[500] ^= 1; },
                      "The new release was refused: the signature does not match the installer"},
        SignatureCase{"Missing", [](ProgramUpdatesTest& f) { static_cast<SignedUpdates&>(f).signature.reset(); },
                      "The new release was refused: it carries no signature"},
        SignatureCase{"Unreadable",
                      [](ProgramUpdatesTest& f) { static_cast<SignedUpdates&>(f).signature = "not a signature\r\n"; },
                      "The new release was refused: its signature file cannot be read"},
        SignatureCase{
            "OtherKey",
            [](ProgramUpdatesTest& f) {
                static_cast<SignedUpdates&>(f).signature =
                    minisig("RUQeaWWVfhTttsTTKC4ncUo2ac8h6vWk8a8AMsKzHz5C0kjw/"
                            "Wcjk994Afxb6t9T4fCoNtiSWJ6bDnpXX+wRYrc9K34YgALqvw4=",
                            "version=2.02",
                            "3B8QzCvoQ+3jetauvcmGhHlHB7lFsvZALAlRtrGxuxWKrSkZ65gp3mwhYOODHLt7x6pOUQGiIGp9ynH31OgkDw==");
            },
            "The new release was refused: it is signed with another key"},
        SignatureCase{
            "Legacy",
            [](ProgramUpdatesTest& f) {
                static_cast<SignedUpdates&>(f).signature =
                    minisig("RWTkphyfunFvxlZdGPX84f3WYw0/"
                            "+uC1SMEmfvdr0vV2oj9Lf+orbmOqwfF0JJiAWLncPxum1fuGJdCVkGafldhsdU56GDMgbAg=",
                            "version=2.02",
                            "/5gBNd8I/nuvo1vmP7xWY6dymEizp9XKZgtR1JKqaOLV6d2qxn0nXe3QVWC18xY9ZGq8GCq7LsKctcHn25dZCw==");
            },
            "The new release was refused: it is signed in the legacy form, which is not accepted"},
        // An old signed release served again under a higher "Version =" line.
        SignatureCase{"OlderVersion",
                      [](ProgramUpdatesTest& f) {
                          static_cast<SignedUpdates&>(f).signature = minisig(prehashed, "version=2.01", olderGlobal);
                      },
                      "The new release was refused: its signature is for version 2.01, not 2.02"},
        SignatureCase{"CommentRewritten",
                      [](ProgramUpdatesTest& f) {
                          static_cast<SignedUpdates&>(f).signature = minisig(prehashed, "version=2.02", olderGlobal);
                      },
                      "The new release was refused: the trusted comment of its signature does not verify"},
        SignatureCase{
            "NoVersionNamed",
            [](ProgramUpdatesTest& f) {
                static_cast<SignedUpdates&>(f).signature =
                    minisig(prehashed, "file:setup.exe",
                            "KGvVVejc8XhHoRsQ5doZ52swMLWl0s2FzHB2hiKD86p7+lhFUd4h6wR/lEl0Yq96p7Mz6t5CMI/oyN+qcgIXBQ==");
            },
            "The new release was refused: its signature names no version"}),
    [](const auto& param) { return std::string(param.param.name); });

} // namespace
} // namespace station
