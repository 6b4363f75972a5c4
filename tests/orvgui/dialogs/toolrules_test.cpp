// What the tool dialogs ask for, refuse and remember: everything that is decided without a window.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvcore/tools/web/webparameters.h"
#include "orvgui/common/webconsent.h"
#include "orvgui/dialogs/toolvalidation.h"
#include "orvgui/dialogs/toolvalues.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"

namespace {

EvidenceFacts Camera() {
    EvidenceFacts facts;
    facts.make = "Maker";
    facts.model = "Model 1";
    facts.software = "Firmware 2";
    facts.tableHashes = {"aa", "bb"};
    facts.width = 40;
    facts.height = 30;
    return facts;
}

// "label|value|entries" of each parameter; choices show the chosen entry.
std::vector<std::string> Describe(ToolKind kind, const EvidenceFacts& facts, const std::string& key = {}) {
    std::vector<std::string> lines;
    for (const Parameter& parameter : ToolParameters(kind, facts, key)) {
        EXPECT_EQ(parameter.Name(), parameter.GetDescription());
        std::string value;
        switch (parameter.Type()) {
            case ParameterType::Choice:
                value = Join(parameter.Strings(), "; ") + "|" + ToString(parameter.Get<int>());
                break;
            case ParameterType::Bool:
                value = parameter.Get<bool>() ? "true" : "false";
                break;
            case ParameterType::Int:
                value = "int " + ToString(parameter.Get<int>());
                break;
            default:
                value = "\"" + parameter.Get<std::string>() + "\"";
        }
        lines.push_back(parameter.Name() + "|" + value);
    }
    return lines;
}

using Lines = std::vector<std::string>;

// The parameters of a kind for a camera's picture, with some values changed.
VecParameter Values(ToolKind kind, const std::function<void(VecParameter&)>& change) {
    VecParameter parameters = ToolParameters(kind, Camera(), "key");
    change(parameters);
    return parameters;
}

template <typename T>
std::function<void(VecParameter&)> With(const char* name, const T& value) {
    return [name, value](VecParameter& parameters) {
        EXPECT_TRUE(parameters.Find(name)->SetValue(value)) << name;
    };
}
std::function<void(VecParameter&)> With(const char* name, const char* value) {
    return With(name, std::string(value));
}

// The field that is wrong, with a sign for a warning; "" for none.
std::string Refused(ToolKind kind, const VecParameter& parameters,
                    const ToolSurroundings& surroundings = {}) {
    const auto problem = ValidateTool(kind, parameters, surroundings);
    if (!problem) return {};
    EXPECT_FALSE(problem->message.empty());
    EXPECT_NE(parameters.Find(problem->field), nullptr) << problem->field;
    return problem->field + (problem->isWarning ? " (warning)" : "");
}

}  // namespace

TEST(ToolParameters, AreInOrderWithTheirDefaults) {
    EXPECT_EQ(Describe(ToolKind::CameraForensics, Camera(), "secret"),
              (Lines{"CameraForensics API Key|\"secret\"", "Camera Make|\"Maker\"",
                     "Camera Model|\"Model 1\"", "Exif Software|Any Software; Firmware 2|0",
                     "JPEG QT Hash|Any QT; Luma only (aa); Luma and Chroma (aa,bb)|0",
                     "Number of Pictures|int 10", "Look For Pictures Of Size|Any Size; 40 x 30|0"}));
    EXPECT_EQ(
        Describe(ToolKind::CameraForensics, {}),
        (Lines{"CameraForensics API Key|\"\"", "Camera Make|\"[write here make]\"",
               "Camera Model|\"[write here model]\"", "Exif Software|Any Software|0", "JPEG QT Hash|Any QT|0",
               "Number of Pictures|int 10", "Look For Pictures Of Size|Any Size|0"}));
    EXPECT_EQ(Describe(ToolKind::CameraSearch, Camera()),
              (Lines{"Camera Make|\"Maker\"", "Camera Model|\"Model 1\"",
                     "Start From Pictures Taken N Days Ago. N Is|int 3000",
                     "Stop After Finding At Least N Pictures. N Is|int 10",
                     "Web Search Site|Flickr; Google|0", "Look For Pictures Of Size|40 x 30; Any Size|0",
                     "Exclude Picture With Known Software Tags|Yes (Available Only For Flickr); No|0",
                     "Exclude Pictures With Different Make or Model|Yes; No|0"}));
    EXPECT_EQ(
        Describe(ToolKind::PdfImages, {}),
        (Lines{"First page to process|int 1", "Last page to process (0 for the last in the document)|int 0",
               "Convert JPEG2000 images to PNG|false", "Convert JBIG2 images to PNG|true",
               "Convert CCITT images to PNG|true", "Owner password (for encrypted files)|\"\"",
               "User password (for encrypted files)|\"\""}));
    EXPECT_EQ(Describe(ToolKind::WebSearch, {}),
              (Lines{"Search On TinEye|false", "Search On Google|true",
                     "Search On This Domain (Optional - Only For Google)|\"\"",
                     "Allow To Send Images On The Web|false"}));
    const ScopedVariable documents("ORVANE_DOCUMENTS", "/documents");
    const VecParameter batch = ToolParameters(ToolKind::BatchProcessing, {}, {});
    ASSERT_EQ(batch.size(), 4U);
    const std::pair<const char*, std::pair<std::size_t, int>> choices[] = {
        {"Evidence Preprocessing", {4, 0}},
        {"Tools And Configurations To Preprocess", {3, 0}},
        {"Processing Type", {3, 2}}};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(batch[i].Name(), choices[i].first);
        EXPECT_EQ(batch[i].Strings().size(), choices[i].second.first);
        EXPECT_EQ(batch[i].Get<int>(), choices[i].second.second);
    }
    EXPECT_EQ(batch[3].Name(), "Output Filename");
    EXPECT_EQ(batch[3].Type(), ParameterType::FileSave);
    EXPECT_EQ(batch[3].Get<std::string>(), "/documents/report/report.html");
    EXPECT_EQ(batch[3].GetFileType(),
              "HTML file (*.html)|*.html|TAB separated values (*.tsv)|*.tsv|All files (*.*)|*.*");
}

TEST(ToolParameters, TheSiteDecidesTheAction) {
    const VecParameter flickr = ToolParameters(ToolKind::CameraSearch, {}, {});
    EXPECT_EQ(ActionOfTool(ToolKind::CameraSearch, flickr), OrvActionSearchFlickr);
    EXPECT_EQ(
        ActionOfTool(ToolKind::CameraSearch, Values(ToolKind::CameraSearch, With(kToolParameterSite, 1))),
        OrvActionSearchGoogle);
    EXPECT_EQ(ActionOfTool(ToolKind::CameraForensics, {}), OrvActionCameraForensics);
    EXPECT_EQ(ActionOfTool(ToolKind::WebSearch, {}), OrvActionWebSearch);
    EXPECT_EQ(ActionOfTool(ToolKind::BatchProcessing, {}), OrvActionBatchProcessing);
}

TEST(ToolValidation, NamesTheFieldThatIsWrong) {
    const auto nothing = [](VecParameter&) {};
    const auto allowed = With(kWebParameterAllow, true);
    const auto both = [](const auto& first, const auto& second) {
        return [first, second](VecParameter& parameters) {
            first(parameters);
            second(parameters);
        };
    };
    const auto pages = [&](int first, int last) {
        return both(With(kToolParameterFirstPage, first), With(kToolParameterLastPage, last));
    };
    const auto domain = [&](const char* name) { return both(allowed, With(kWebParameterDomain, name)); };
    const struct {
        ToolKind kind;
        std::function<void(VecParameter&)> change;
        const char* field;
    } cases[] = {
        {ToolKind::PdfImages, nothing, ""},
        {ToolKind::PdfImages, pages(5, 0), ""},
        {ToolKind::PdfImages, pages(5, 5), ""},
        {ToolKind::PdfImages, pages(5, 4), kToolParameterLastPage},
        {ToolKind::WebSearch, nothing, kWebParameterAllow},
        {ToolKind::WebSearch, allowed, ""},
        {ToolKind::WebSearch, both(allowed, With(kWebParameterGoogle, false)), kWebParameterTinEye},
        {ToolKind::WebSearch,
         both(both(allowed, With(kWebParameterGoogle, false)), With(kWebParameterTinEye, true)), ""},
        {ToolKind::WebSearch, domain("news.example.com"), ""},
        {ToolKind::WebSearch, domain(" example.com "), ""},
        {ToolKind::WebSearch, domain("https://example.com"), kWebParameterDomain},
        {ToolKind::WebSearch, domain("example.com/pictures"), kWebParameterDomain},
        {ToolKind::WebSearch, domain("two words.com"), kWebParameterDomain},
        {ToolKind::WebSearch, domain("example"), kWebParameterDomain},
        {ToolKind::CameraSearch, nothing, ""},
        {ToolKind::CameraSearch, With(kWebParameterMake, kToolMakeHint), kWebParameterMake},
        {ToolKind::CameraSearch, With(kWebParameterMake, "  "), kWebParameterMake},
        {ToolKind::CameraSearch, With(kWebParameterModel, kToolModelHint), kWebParameterModel},
        {ToolKind::CameraSearch, With(kWebParameterModel, ""), kWebParameterModel},
        {ToolKind::CameraSearch, With(kWebParameterModel, "a\nb"), kWebParameterModel},
        {ToolKind::CameraSearch, With(kWebParameterModel, std::string(300, 'x')), kWebParameterModel},
        {ToolKind::CameraForensics, nothing, ""},
        {ToolKind::CameraForensics, With(kWebParameterKey, "two words"), kWebParameterKey},
        {ToolKind::CameraForensics, With(kWebParameterModel, kToolModelHint), kWebParameterModel},
        {ToolKind::CameraForensics,
         both(With(kWebParameterMake, ""), With(kWebParameterModel, kToolModelHint)), kWebParameterMake},
    };
    for (const auto& [kind, change, field] : cases) {
        const VecParameter values = Values(kind, change);
        EXPECT_EQ(Refused(kind, values), field) << GetParametersString(values, false);
    }
}

TEST(ToolValidation, AReportNeedsAPlaceAndHarmsNothing) {
    const TemporaryFolder folder;
    const std::string evidence = folder / "case/photo.html";
    WriteFile(evidence, "the evidence");
    WriteFile(folder / "case/page.html", "somebody's page beside it");
    WriteFile(folder / "case/below/page.html", "and below");
    WriteFile(folder / "out/old.html", "a report");
    WriteFile(folder / "reference.tsv", "the reference");
    ASSERT_EQ(symlink((folder / "case").c_str(), (folder / "link").c_str()), 0);
    ASSERT_EQ(link((folder / "reference.tsv").c_str(), (folder / "out/twin.tsv").c_str()), 0);
    ToolSurroundings surroundings;
    surroundings.evidencePath = evidence;
    const std::string wrong = kToolParameterOutput;
    const std::string warning = wrong + " (warning)";
    const std::pair<std::string, std::string> cases[] = {
        {folder / "out/new.html", ""},
        {folder / "out/new.TSV", ""},
        {folder / "not/there/yet/new.html", ""},
        {folder / "case/report.html", ""},  // beside the evidence a new file is no harm
        {folder / "out/old.html", warning},
        {"", wrong},
        {"report.html", wrong},
        {"out/report.html", wrong},
        {folder / "out/", wrong},
        {folder / "out", wrong},
        {folder / "out/new.jpg", wrong},
        {folder / "out/new", wrong},
        {folder / "out/old.html/new.html", wrong},  // a file where a folder should be
        {evidence, wrong},
        {folder / "link/photo.html", wrong},
        {folder / "case/page.html", wrong},
        {folder / "case/below/page.html", wrong},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(Refused(ToolKind::BatchProcessing,
                          Values(ToolKind::BatchProcessing, With(kToolParameterOutput, path)), surroundings),
                  expected)
            << path;

    surroundings.referencePath = folder / "reference.tsv";
    EXPECT_EQ(Refused(ToolKind::BatchProcessing,
                      Values(ToolKind::BatchProcessing, With(kToolParameterOutput, folder / "out/twin.tsv")),
                      surroundings),
              wrong)
        << "the reference under another name";
    if (geteuid() != 0) {
        ASSERT_EQ(chmod((folder / "out").c_str(), 0555), 0);
        EXPECT_EQ(
            Refused(ToolKind::BatchProcessing,
                    Values(ToolKind::BatchProcessing, With(kToolParameterOutput, folder / "out/new.html")),
                    surroundings),
            wrong);
        chmod((folder / "out").c_str(), 0755);
    }
}

TEST(ToolValidation, ABatchNeedsWhatItWorksOn) {
    const TemporaryFolder folder;
    const char* const files = "Evidence Preprocessing";
    const char* const work = "Processing Type";
    const auto batch = [&](int filesEntry, int workEntry, const std::string& output) {
        return Values(ToolKind::BatchProcessing, [&](VecParameter& parameters) {
            With(files, filesEntry)(parameters);
            With(work, workEntry)(parameters);
            With(kToolParameterOutput, output)(parameters);
        });
    };
    const std::string output = folder / "a.html";
    ToolSurroundings surroundings;
    EXPECT_EQ(Refused(ToolKind::BatchProcessing, batch(3, 2, output), surroundings), files) << "no reference";
    EXPECT_EQ(Refused(ToolKind::BatchProcessing, batch(0, 0, ""), surroundings), "") << "writes no report";
    EXPECT_EQ(Refused(ToolKind::BatchProcessing, batch(0, 1, ""), surroundings), kToolParameterOutput);
    surroundings.referencePath = folder / "reference.png";
    EXPECT_EQ(Refused(ToolKind::BatchProcessing, batch(3, 2, output), surroundings), "");
    surroundings.keepsResults = false;
    EXPECT_EQ(Refused(ToolKind::BatchProcessing, batch(0, 1, output), surroundings), work);
    EXPECT_EQ(Refused(ToolKind::BatchProcessing, batch(0, 2, output), surroundings), "");
}

TEST(ToolValues, ComeBackAsFarAsTheyAreTheUsers) {
    const EvidenceFacts camera = Camera();
    VecParameter search = ToolParameters(ToolKind::CameraSearch, camera, {});
    With(kWebParameterMake, "Edited")(search);
    With(kWebParameterDays, 7)(search);
    With(kWebParameterSize, 1)(search);  // any
    With(kWebParameterSameCamera, 1)(search);
    With(kToolParameterSite, 1)(search);
    const Json record = RememberToolValues(search, camera);

    EvidenceFacts other = Camera();
    other.make = "Another";
    other.width = 99;
    VecParameter recalled = ToolParameters(ToolKind::CameraSearch, other, {});
    RecallToolValues(record, other, recalled);
    EXPECT_EQ(recalled.Get<std::string>(kWebParameterMake), "Another") << "the evidence says it";
    EXPECT_EQ(recalled.Get<int>(kWebParameterDays), 7);
    EXPECT_EQ(ReadWebEntry(recalled, kWebParameterSize), "Any Size");
    EXPECT_EQ(ReadWebEntry(recalled, kWebParameterSameCamera), "No");
    EXPECT_EQ(recalled.Get<int>(kToolParameterSite), 1);

    // Where the evidence names no camera, what was typed for such a file comes back, but not the hint.
    VecParameter unnamed = ToolParameters(ToolKind::CameraSearch, {}, {});
    With(kWebParameterMake, "Typed")(unnamed);
    const Json typed = RememberToolValues(unnamed, {});
    EXPECT_FALSE(typed.contains(kWebParameterModel));
    VecParameter again = ToolParameters(ToolKind::CameraSearch, {}, {});
    RecallToolValues(typed, {}, again);
    EXPECT_EQ(again.Get<std::string>(kWebParameterMake), "Typed");
    EXPECT_EQ(again.Get<std::string>(kWebParameterModel), kToolModelHint);
}

TEST(ToolValues, AChoiceOfTheEvidenceIsOneOfTheNextEvidence) {
    EvidenceFacts next = Camera();
    next.software = "Firmware 3";
    next.tableHashes = {"cc"};
    next.width = 50;
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {kWebParameterTables, {"Any QT", "Luma only (cc)", "Luma and Chroma (cc)"}},
        {kWebParameterSoftware, {"Any Software", "Firmware 3"}},
        {kWebParameterSize, {"Any Size", "50 x 30"}},
    };
    for (const auto& [name, entries] : cases) {
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const VecParameter first = Values(ToolKind::CameraForensics, With(name, static_cast<int>(i)));
            VecParameter second = ToolParameters(ToolKind::CameraForensics, next, {});
            const Json record = RememberToolValues(first, Camera());
            EXPECT_EQ(JsonToText(record, 0).find("(aa"), std::string::npos) << "no hash is kept";
            RecallToolValues(record, next, second);
            EXPECT_EQ(ReadWebEntry(second, name), entries[i]);
            // A file without such facts has the default.
            VecParameter bare = ToolParameters(ToolKind::CameraForensics, {}, {});
            RecallToolValues(record, {}, bare);
            EXPECT_EQ(bare.Get<int>(name), 0);
        }
    }
}

TEST(ToolValues, SecretsAndPermissionsAreNotKept) {
    const std::string secret = "s3cret";
    VecParameter pdf = ToolParameters(ToolKind::PdfImages, {}, {});
    With(kToolParameterOwnerPassword, secret)(pdf);
    With(kToolParameterUserPassword, secret)(pdf);
    VecParameter web = ToolParameters(ToolKind::WebSearch, {}, {});
    With(kWebParameterAllow, true)(web);
    const VecParameter forensics = ToolParameters(ToolKind::CameraForensics, {}, secret);
    for (const VecParameter& parameters : {pdf, web, forensics}) {
        const Json record = RememberToolValues(parameters, {});
        EXPECT_EQ(JsonToText(record, 0).find(secret), std::string::npos);
        EXPECT_FALSE(record.contains(kWebParameterAllow));
    }
    // A record that somebody wrote by hand ticks nothing and fills in no key.
    RecallToolValues({{kWebParameterAllow, true}, {kWebParameterGoogle, false}}, {},
                     web = ToolParameters(ToolKind::WebSearch, {}, {}));
    EXPECT_FALSE(web.Get<bool>(kWebParameterAllow));
    EXPECT_FALSE(web.Get<bool>(kWebParameterGoogle));
}

TEST(ToolValues, WhatDoesNotFitLeavesTheDefault) {
    const Json records[] = {
        Json(),
        Json::array({1, 2}),
        {{kWebParameterDays, 1000000}, {kWebParameterCount, 0}, {kToolParameterSite, "Gone"}},
        {{kWebParameterDays, "7"}, {kWebParameterCount, 2.5}, {kToolParameterSite, 1}},
        {{kWebParameterDays, -1}, {kWebParameterCount, nullptr}, {kToolParameterSite, nullptr}},
        {{kWebParameterMake, std::string(100000, 'x')}, {kWebParameterModel, 3}, {"Unknown", 1}},
    };
    const VecParameter defaults = ToolParameters(ToolKind::CameraSearch, {}, {});
    for (const Json& record : records) {
        VecParameter parameters = defaults;
        RecallToolValues(record, {}, parameters);
        EXPECT_EQ(parameters, defaults) << JsonToText(record, 0).substr(0, 200);
    }
}

TEST(WebConsent, IsAskedOncePerServiceAddressAndKind) {
    const WebTransfer flickr{"Flickr", "api.flickr.com", "the camera's make", false};
    const WebTransfer moved{"Flickr", "other.example", "the camera's make", false};
    const WebTransfer picture{"Flickr", "api.flickr.com", "the picture", true};
    const WebTransfer nowhere{"TinEye", "", "the picture", true};
    const auto count = [](const std::vector<WebTransfer>& transfers, const Json& record) {
        return FindUnagreed(transfers, record).size();
    };
    const Json none = Json::object();
    EXPECT_EQ(count({flickr, picture, nowhere}, none), 2U) << "without an address nothing can be sent";
    const Json record = AddConsent(none, {flickr});
    EXPECT_EQ(count({flickr}, record), 0U);
    EXPECT_EQ(count({moved}, record), 1U);
    EXPECT_EQ(count({picture}, record), 1U) << "texts were agreed to, not images";
    EXPECT_EQ(count({flickr}, AddConsent(none, {picture})), 1U);
    EXPECT_EQ(AddConsent(record, {flickr}), record);
    EXPECT_EQ(count({flickr, moved, picture}, AddConsent(record, {moved, picture})), 0U);
    for (const Json& damaged :
         {Json(), Json::array(), Json{{"agreed", "all"}}, Json{{"agreed", {1, nullptr}}}})
        EXPECT_EQ(count({flickr}, damaged), 1U) << JsonToText(damaged, 0);
    Json many = none;
    for (int i = 0; i < 1500; ++i) many = AddConsent(many, {{"Download", "host" + ToString(i), "", false}});
    EXPECT_EQ(many["agreed"].size(), 1000U);
    EXPECT_EQ(count({{"Download", "host1499", "", false}}, many), 0U);
}

TEST(WebConsent, TheQuestionNamesWhoGetsWhat) {
    std::vector<WebTransfer> transfers = {{"Flickr", "api.flickr.com", "the camera's make", false}};
    const std::string text = ConsentQuestion(transfers).utf8_string();
    EXPECT_NE(text.find("Flickr (api.flickr.com): the camera's make."), std::string::npos) << text;
    EXPECT_EQ(text.find("picture itself"), std::string::npos);
    transfers[0].sendsImage = true;
    EXPECT_NE(ConsentQuestion(transfers).utf8_string().find("picture itself"), std::string::npos);
    transfers.resize(40, {"Download", "example.org", "the address of 1 file", false});
    EXPECT_NE(ConsentQuestion(transfers).utf8_string().find("and 30 more"), std::string::npos);
    EXPECT_LT(ConsentQuestion(transfers).length(), 2000U);
}
