#include "orvcore/tools/web/download.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>

#include "orvcore/tools/web/webparameters.h"
#include "orvcore/tools/web/websearch.h"
#include "tests/support/loopbackserver.h"
#include "tests/support/testcore.h"
#include "zorbase/hash.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string FailureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const ZorException& exception) {
        return exception.GetMessage();
    }
    return "nothing was thrown";
}

TEST(SafeDownloadName, KeepsWhatIsHarmless) {
    const struct {
        std::string name;
        const char* type;
        const char* safe;
    } cases[] = {
        {"photo.jpg", "image/jpeg", "photo.jpg"},
        {"photo.JPEG", "image/jpeg", "photo.JPEG"},
        {"a%20b%C3%A9.png?x=1#y", "image/png", "a b\u00E9.png"},
        {"photo", "image/jpeg; charset=x", "photo.jpg"},
        {"view.php", "image/webp", "view.php.webp"},
        {"view.php", "text/html", "view.php"},
        {"..%2F..%2Fetc%2Fpasswd", "", "passwd"},
        {"..\\..\\boot.ini", "", "boot.ini"},
        {"../../x.jpg", "", "x.jpg"},
        {".bashrc", "", "bashrc"},
        {"...", "image/png", "image.png"},
        {"", "", "image"},
        {"?a=b", "image/gif", "image.gif"},
        {"%00%0d%0a", "image/gif", "image.gif"},
        {std::string("a\0b.jpg", 7), "", "ab.jpg"},
        {"a<b>:\"|*.jpg", "", "a_b_____.jpg"},
        {"photo%E2%80%AEgpj.exe", "", "photogpj.exe"},
        {"\xFF\xFE.jpg", "", "\u00FF\u00FE.jpg"},
        {"%E4%F6.jpg", "", "\u00E4\u00F6.jpg"},
        {"a%D8%9Cb.jpg", "", "ab.jpg"},
        {"x. . ", "", "x"},
    };
    for (const auto& each : cases) EXPECT_EQ(SafeDownloadName(each.name, each.type), each.safe) << each.name;
    const std::string longName = SafeDownloadName(std::string(3000, 'x') + ".jpg", "image/jpeg");
    EXPECT_EQ(longName.size(), 120u);
    EXPECT_TRUE(longName.ends_with("x.jpg"));
    std::string wide;
    for (int i = 0; i < 100; ++i) wide += "\u00E9";
    EXPECT_EQ(ToValidUtf8(SafeDownloadName("a" + wide, "image/png")),
              SafeDownloadName("a" + wide, "image/png"));
}

class Downloads : public testing::Test {
  protected:
    VecParameter Parameters(const std::vector<std::string>& photos) const {
        return {Parameter::Strings(kWebParameterPhotos, "", photos),
                Parameter::Path(ParameterType::Folder, kWebParameterFolder, "", Target())};
    }
    std::string Target() const { return folder / "case/downloads"; }
    std::string Run(const std::vector<std::string>& photos, bool allowsLocal = true,
                    std::uint64_t maximumBytes = 1 << 20, const OrvJob& job = OrvJob()) const {
        OrvWebServices services;
        services.allowsLocalDownloads = allowsLocal;
        return FailureOf([&] { DownloadFiles(Parameters(photos), services, maximumBytes, job); });
    }
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(Target()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::vector<std::vector<std::string>> Log(const std::string& name = "downloads.tsv") const {
        std::vector<std::vector<std::string>> rows;
        for (const std::string& line :
             StringToVecString(ReadFile(Target() + "/" + name), "\n", SplitMode::SkipEmpty))
            rows.push_back(StringToVecString(line, "\t"));
        return rows;
    }

    TemporaryFolder folder;
    LoopbackServer server{[](const LoopbackRequest& request) {
        LoopbackAnswer answer;
        answer.contentType = "image/jpeg";
        answer.body = "bytes of " + request.path;
        if (request.path == "/missing") answer.status = 404;
        if (request.path == "/empty") answer.body.clear();
        if (request.path == "/large") answer.body = std::string(2 << 20, 'x');
        if (request.path == "/cut") answer.promised = 5000;
        if (request.path == "/late") answer.delayMs = 60000;
        if (request.path == "/moved") {
            answer.status = 302;
            answer.headers.emplace_back("Location", "/new.jpg");
        }
        if (request.path == "/away") {
            answer.status = 302;
            answer.headers.emplace_back("Location", "file:///etc/passwd");
        }
        return answer;
    }};
};

TEST_F(Downloads, EachUnderItsNameWithAWordOfWhereItCameFrom) {
    MakeFolder(Target());
    WriteFile(Target() + "/a.jpg", std::string("mine"));
    EXPECT_EQ(Run({"a.jpg", server.Address("/a.jpg"), "a.jpg", server.Address("/b/a.jpg"), "moved",
                   server.Address("/moved"), "..%2f=cmd", server.Address("/x#top")}),
              "nothing was thrown");
    EXPECT_THAT(Files(),
                ElementsAre("=cmd.jpg", "a (2).jpg", "a (3).jpg", "a.jpg", "downloads.tsv", "moved.jpg"));
    EXPECT_EQ(ReadFile(Target() + "/a.jpg"), "mine");
    EXPECT_EQ(ReadFile(Target() + "/a (3).jpg"), "bytes of /b/a.jpg");
    EXPECT_EQ(ReadFile(Target() + "/moved.jpg"), "bytes of /new.jpg");
    const auto log = Log();
    ASSERT_EQ(log.size(), 5u);
    EXPECT_THAT(log[0],
                ElementsAre("Name", "Address", "Answered By", "Time", "Bytes", "SHA-256", "Type", "Failure"));
    EXPECT_THAT(log[3], ElementsAre("moved.jpg", server.Address("/moved"), server.Address("/new.jpg"),
                                    testing::MatchesRegex("20..-..-..T..:..:..Z"), "17",
                                    Sha256(std::string("bytes of /new.jpg")), "image/jpeg", ""));
    EXPECT_EQ(log[4][0], "'=cmd.jpg") << "inert in a spreadsheet";
    Run({"a.jpg", server.Address("/a.jpg")});
    EXPECT_EQ(Log("downloads (2).tsv").size(), 2u) << "an older word stays";
}

TEST_F(Downloads, OneFailureDoesNotStopTheOthers) {
    const std::string message =
        Run({"m", server.Address("/missing"), "e", server.Address("/empty"), "l", server.Address("/large"),
             "c", server.Address("/cut"), "f", "file:///etc/passwd", "r", server.Address("/away"), "good.jpg",
             server.Address("/good.jpg")});
    EXPECT_THAT(
        message,
        AllOf(HasSubstr("6 of 7 files were not downloaded:\n\"m\": The site 127.0.0.1 answered with 404"),
              HasSubstr("\"e\": The site 127.0.0.1 sent an empty file"),
              HasSubstr("larger than 1,048,576 bytes"), HasSubstr("was cut"),
              HasSubstr("\"f\": The address cannot be used"), Not(HasSubstr("\"r\"")), HasSubstr("\u2026")));
    EXPECT_THAT(Files(), ElementsAre("downloads.tsv", "good.jpg")) << "nothing half-written";
    const auto log = Log();
    ASSERT_EQ(log.size(), 8u);
    EXPECT_THAT(log[6][7], HasSubstr("redirects to"));
    EXPECT_EQ(log[7][7], "");
}

TEST_F(Downloads, TheLocalNetworkIsAskedForOnlyWhenAllowed) {
    EXPECT_THAT(
        Run({"a", server.Address("/a")}, false),
        HasSubstr(
            "lies on this machine or in the local network (127.0.0.1). Downloads from there are switched off"));
    EXPECT_EQ(server.Connections(), 0);
    EXPECT_THAT(Files(), ElementsAre("downloads.tsv"));
}

TEST_F(Downloads, AbortAndAFullDiskKeepWhatIsWhole) {
    std::stop_source source;
    std::thread aborter([&] {
        while (server.Requests().size() < 2) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        source.request_stop();
    });
    Run({"a.jpg", server.Address("/a.jpg"), "late", server.Address("/late"), "b", server.Address("/b")}, true,
        1 << 20, OrvJob(source.get_token()));
    aborter.join();
    EXPECT_THAT(Files(), ElementsAre("a.jpg", "downloads.tsv"));
    EXPECT_EQ(Log().size(), 2u);
    EXPECT_EQ(server.Requests().size(), 2u);

    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1 << 20, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string message =
        Run({"large.jpg", server.Address("/large"), "b.jpg", server.Address("/b.jpg")}, true, 1 << 30);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_THAT(message, AllOf(HasSubstr("large.jpg"), HasSubstr("File too large")));
    EXPECT_THAT(Files(), ElementsAre("a.jpg", "downloads (2).tsv", "downloads.tsv"));

    for (const std::vector<std::string>& photos : {std::vector<std::string>{}, {"only a name"}})
        EXPECT_THAT(Run(photos), HasSubstr("No address"));
}

class WebSearch : public testing::Test {
  protected:
    WebSearch() { evidence = OrvLoadedFile::Load(folder.WritePicture("secret name.jpg"), 1 << 30, OrvJob()); }
    VecParameter Parameters(bool tinEye, bool google, bool allow, const std::string& domain = {}) const {
        return {Parameter::Bool(kWebParameterTinEye, "", tinEye),
                Parameter::Bool(kWebParameterGoogle, "", google),
                Parameter::String(kWebParameterDomain, "", domain),
                Parameter::Bool(kWebParameterAllow, "", allow)};
    }
    OrvWebServices Services() const {
        OrvWebServices services;
        services.tinEyeAddress = server.Address("/tineye");
        services.googlePictureAddress = server.Address("/google");
        return services;
    }
    std::string Failure(const VecParameter& parameters) const {
        return FailureOf([&] { SearchWeb(parameters, evidence, Services(), OrvJob()); });
    }

    CaseFolder folder;
    OrvFilePtr evidence;
    std::string location = "https://results.example/search?id=7";
    int status = 302;
    LoopbackServer server{[this](const LoopbackRequest& request) {
        LoopbackAnswer answer;
        answer.status = request.path == "/refuse" ? 404 : status;
        if (!location.empty()) answer.headers.emplace_back("Location", location);
        return answer;
    }};
};

TEST_F(WebSearch, SendsTheBytesAndAnswersWhereTheResultsAre) {
    const VecParameter results =
        SearchWeb(Parameters(true, true, true, "Example.org"), evidence, Services(), OrvJob());
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].GetValueAsString(), location);
    EXPECT_EQ(results[1].GetValueAsString(), location + "&q=site%3Aexample.org");
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 2u);
    const std::string bytes(evidence->GetBytes().begin(), evidence->GetBytes().end());
    EXPECT_THAT(requests[0].body,
                AllOf(HasSubstr("name=\"image\""), HasSubstr(bytes), Not(HasSubstr("secret name"))));
    EXPECT_THAT(requests[1].body, AllOf(HasSubstr("name=\"encoded_image\""), HasSubstr(bytes)));
    EXPECT_EQ(SearchWeb(Parameters(true, false, true, "not a domain"), evidence, Services(), OrvJob()).size(),
              1u)
        << "the domain is Google's alone";
}

TEST_F(WebSearch, OneSiteThatFailsDoesNotStopTheOther) {
    OrvWebServices services = Services();
    services.tinEyeAddress = server.Address("/refuse");
    VecParameter results = SearchWeb(Parameters(true, true, true), evidence, services, OrvJob());
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].GetValueAsString(), location);
    EXPECT_EQ(results[1].Name(), kWebResultIncomplete);
    EXPECT_THAT(results[1].GetValueAsString(), HasSubstr("404 (not found)"));

    services.googlePictureAddress = server.Address("/refuse");
    EXPECT_THAT(FailureOf([&] { SearchWeb(Parameters(true, true, true), evidence, services, OrvJob()); }),
                HasSubstr("404"));
    const auto sent = server.Requests().size();
    services.googlePictureAddress.clear();
    EXPECT_THAT(FailureOf([&] { SearchWeb(Parameters(true, true, true), evidence, services, OrvJob()); }),
                HasSubstr("Google picture search address is missing"));
    EXPECT_EQ(server.Requests().size(), sent) << "what is missing is told before anything is sent";
}

TEST_F(WebSearch, SendsNothingUnlessEverythingIsInOrder) {
    EXPECT_THAT(Failure(Parameters(true, true, false)), HasSubstr("Nothing was sent"));
    EXPECT_THAT(Failure(Parameters(false, false, true)), HasSubstr("No site"));
    for (const char* domain :
         {"https://example.org", "example.org OR site:evil.example", "a b", "example.org/x"})
        EXPECT_THAT(Failure(Parameters(false, true, true, domain)), HasSubstr("must be a domain")) << domain;
    EXPECT_THAT(FailureOf([&] { SearchWeb(Parameters(true, true, true), nullptr, Services(), OrvJob()); }),
                HasSubstr("load an evidence"));
    EXPECT_THAT(FailureOf([&] { SearchWeb(Parameters(true, false, true), evidence, {}, OrvJob()); }),
                HasSubstr("The TinEye address is missing"));
    WriteFile(folder / "text.jpg", std::string("no picture"));
    const OrvFilePtr text = OrvLoadedFile::Load(folder / "text.jpg", 1 << 30, OrvJob());
    EXPECT_THAT(FailureOf([&] { SearchWeb(Parameters(true, false, true), text, Services(), OrvJob()); }),
                HasSubstr("format"));
    EXPECT_EQ(server.Connections(), 0);
}

TEST_F(WebSearch, OpensOnlyWebAddresses) {
    for (const char* hostile : {"javascript:alert(1)", "file:///etc/passwd", ""}) {
        location = hostile;
        EXPECT_THAT(Failure(Parameters(true, false, true)), HasSubstr("did not tell where its results are"))
            << hostile;
    }
    location.clear();
    status = 503;
    EXPECT_THAT(Failure(Parameters(true, false, true)),
                HasSubstr("503 (not available now). Try again later."));
}

}  // namespace
