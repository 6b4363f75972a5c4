#include "orvcore/report/selftest.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <map>
#include <set>

#include "orvcore/filter/libraryversions.h"
#include "orvcore/filters/filterlist.h"
#include "orvcore/report/selftestrecord.h"
#include "orvcore/tables/tablemarkup.h"
#include "zorbase/appversion.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr std::uint64_t kMaximumBytes = std::uint64_t{1} << 26;

// One line of the list.
struct Line {
    std::string filter, evidence, reference, settings;
    std::string what, relation, expected;
    std::string Run() const { return filter + "\t" + evidence + "\t" + reference + "\t" + settings; }
};

std::vector<Line> ReadLines(const std::string& path) {
    std::vector<Line> lines;
    int number = 0;
    for (const std::string& text : StringToVecString(ReadFile(path), "\n")) {
        ++number;
        if (Trim(text).empty() || text.starts_with("#")) continue;
        const std::vector<std::string> cells = StringToVecString(text, "\t");
        if (cells.size() != 8)
            ZOR_THROW(Format, "Line " + ToString(number) + " of \"" + ToValidUtf8(path) + "\" has " +
                                  ToString(static_cast<int>(cells.size())) + " cells in place of 8.");
        lines.push_back({cells[0], cells[1], cells[2], cells[3], cells[4], cells[5], cells[6]});
    }
    if (lines.empty()) ZOR_THROW(Format, "\"" + ToValidUtf8(path) + "\" names no answers.");
    return lines;
}

[[noreturn]] void Fail(const std::string& why) {
    ZOR_THROW(Format, why);
}

const char* NameOf(OrvVerdict verdict) {
    switch (verdict) {
        case OrvVerdict::None:
            return "None";
        case OrvVerdict::NotApplicable:
            return "NotApplicable";
        case OrvVerdict::NothingFound:
            return "NothingFound";
        case OrvVerdict::WorthALook:
            return "WorthALook";
        case OrvVerdict::StrongSign:
            return "StrongSign";
    }
    return "";
}

std::vector<int> Numbers(const std::string& text, std::size_t count) {
    std::vector<int> numbers;
    for (const std::string& piece : StringToVecString(text, ",")) {
        int number = 0;
        if (!FromString(piece, number)) Fail("\"" + text + "\" does not consist of numbers");
        numbers.push_back(number);
    }
    if (numbers.size() != count) Fail("\"" + text + "\" has another count of numbers");
    return numbers;
}

std::string CellOf(const OrvFilterResult& result, std::string label) {
    int column = 1;
    if (const std::size_t colon = label.rfind(':'); colon != std::string::npos) {
        if (FromString(label.substr(colon + 1), column))
            label.resize(colon);
        else
            column = 1;
    }
    for (const Parameter& output : result.output) {
        if (output.Type() != ParameterType::TableString || !output.IsSet()) continue;
        const TableString& table = output.Get<TableString>();
        for (std::size_t i = 1; i < table.size(); ++i)
            if (!table[i].empty() && Trim(ParseCell(table[i][0]).text) == label) {
                if (column < 0 || static_cast<std::size_t>(column) >= table[i].size()) Fail("no such column");
                return ParseCell(table[i][static_cast<std::size_t>(column)]).text;
            }
    }
    Fail("no row \"" + label + "\"");
}

// Mean size of the first map's values in a part of the picture over that in the rest. A value counts where its block's middle lies.
double MapRatio(const OrvFilterResult& result, const std::vector<int>& box) {
    const std::vector<OrvMap> maps = result.GetMaps(OrvEvidence);
    if (maps.empty() || maps[0].values.empty()) Fail("no map");
    const OrvMap& map = maps[0];
    cv::Mat values;
    map.values.convertTo(values, CV_64F);
    const int channels = values.channels();
    double sum[2] = {};
    double count[2] = {};
    for (int y = 0; y < values.rows; ++y)
        for (int x = 0; x < values.cols; ++x) {
            const double atX = map.origin.x + (x + 0.5) * map.block.width;
            const double atY = map.origin.y + (y + 0.5) * map.block.height;
            const bool isInside =
                atX >= box[0] && atY >= box[1] && atX < box[0] + box[2] && atY < box[1] + box[3];
            for (int c = 0; c < channels; ++c) {
                const double value = values.ptr<double>(y)[x * channels + c];
                if (!std::isfinite(value)) continue;
                sum[isInside] += std::abs(value);
                count[isInside] += 1;
            }
        }
    if (count[0] == 0 || count[1] == 0 || sum[0] == 0) Fail("the map has no values there");
    return (sum[1] / count[1]) / (sum[0] / count[0]);
}

double SpreadOf(const Image& image) {
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(image.ToGray().GetMat(), mean, deviation);
    return deviation[0];
}

std::string Found(const OrvFilterResult& result, const std::string& what, const OrvJob& job) {
    const OrvSlotResult& found = *result.slot[OrvEvidence];
    const auto rest = [&what](const char* prefix) { return what.substr(std::string(prefix).size()); };
    if (what == "verdict") return NameOf(found.verdict);
    if (what == "result") return found.verdictText;
    if (what.starts_with("row:")) return CellOf(result, rest("row:"));
    if (what.starts_with("out:")) {
        for (const Parameter& output : result.output)
            if (output.GetDescription() == rest("out:")) return output.GetValueAsString();
        Fail("no output \"" + rest("out:") + "\"");
    }
    if (what == "tables") {
        std::string text;
        for (const Parameter& output : result.output)
            if (output.Type() == ParameterType::TableString && output.IsSet())
                for (const std::vector<std::string>& row : output.Get<TableString>())
                    for (const std::string& cell : row) text += ParseCell(cell).text + "\n";
        return text;
    }
    if (what.starts_with("map:")) return ToString(MapRatio(result, Numbers(rest("map:"), 4)));
    if (what.starts_with("plot:")) {
        double x = 0;
        if (!FromString(rest("plot:"), x) || found.plot.curves.empty()) Fail("no such curve");
        for (std::size_t i = 0; i < std::min(found.plot.x.size(), found.plot.curves[0].size()); ++i)
            if (found.plot.x[i] == static_cast<float>(x))
                return ToString(static_cast<double>(found.plot.curves[0][i]));
        Fail("the curve has no such place");
    }
    const Image shown = result.GetPicture(OrvEvidence);
    if (!shown.IsValid()) Fail("no picture");
    if (what == "spread")
        return ToString(SpreadOf(shown) / SpreadOf(result.file[OrvEvidence]->GetDecoded(job)->image));
    if (what.starts_with("picture:")) {
        const std::vector<int> at = Numbers(rest("picture:"), 2);
        if (at[0] < 0 || at[1] < 0 || at[0] >= shown.GetWidth() || at[1] >= shown.GetHeight())
            Fail("outside of the picture");
        const auto pixel = shown.ToColor().GetMat().at<cv::Vec3b>(at[1], at[0]);
        return ToString(pixel[2]) + " " + ToString(pixel[1]) + " " + ToString(pixel[0]);
    }
    Fail("\"" + what + "\" is no question");
}

bool Agrees(const std::string& found, const std::string& relation, const std::string& expected) {
    if (relation == "is") return found == expected;
    if (relation == "has") return found.find(expected) != std::string::npos;
    if (relation == "lacks") return found.find(expected) == std::string::npos;
    if (relation != "from") Fail("\"" + relation + "\" is no relation");
    const std::size_t to = expected.find(" to ");
    double low = 0;
    double high = 0;
    if (to == std::string::npos || !FromString(expected.substr(0, to), low) ||
        !FromString(expected.substr(to + 4), high))
        Fail("\"" + expected + "\" is no range");
    // The number may be followed by its unit.
    const std::string text = Trim(found);
    double value = 0;
    return FromString(text.substr(0, text.find(' ')), value) && value >= low && value <= high;
}

}  // namespace

OrvFilterResultPtr RunOnSelfTestFiles(const OrvFilter& filter, const std::string& settings,
                                      const std::string (&files)[kFileSlots], const std::string& folder,
                                      const OrvJob& job) {
    OrvFilterResult request;
    request.input = filter.GetInputPrototype();
    request.postProcessing = filter.GetPostProcessingPrototype();
    for (const std::string& setting : StringToVecString(settings, ";", SplitMode::SkipEmpty)) {
        const std::size_t equals = setting.find('=');
        Parameter* parameter = request.input.Find(setting.substr(0, equals));
        if (parameter == nullptr) parameter = request.postProcessing.Find(setting.substr(0, equals));
        std::string value = equals == std::string::npos ? std::string() : setting.substr(equals + 1);
        if (value.starts_with("@")) value = PathJoin(folder, value.substr(1));
        if (parameter == nullptr || !parameter->SetValueFromString(value))
            ZOR_THROW(Format, "the setting \"" + setting + "\" does not fit");
    }
    for (int slot = 0; slot < kFileSlots; ++slot)
        if (!files[slot].empty())
            request.file[slot] = OrvLoadedFile::Load(PathJoin(folder, files[slot]), kMaximumBytes, job);
    return filter.Run(request, {}, job, nullptr);
}

bool SelfTestRun::IsGood() const {
    return untested.empty() && std::all_of(answers.begin(), answers.end(),
                                           [](const SelfTestAnswer& answer) { return answer.isRight; });
}

SelfTestRun RunSelfTest(std::string folder, const OrvJob& job,
                        const std::function<void(const SelfTestAnswer&)>& told) {
    if (folder.empty()) folder = PathJoin(GetAppDataPath(), "selftest");
    const std::vector<Line> lines = ReadLines(PathJoin(folder, "answers.tsv"));
    SelfTestRun run;
    run.date = FormatTime(std::time(nullptr));
    run.program = AppVersion().GetFullName();
    const std::vector<std::unique_ptr<OrvFilter>> filters = CreateAllFilters();
    std::set<std::string> tested;
    OrvFilterResultPtr result;
    std::string problem;
    std::string last;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Line& line = lines[i];
        job.SetProgress(static_cast<double>(i) / static_cast<double>(lines.size()), line.filter);
        SelfTestAnswer answer{line.filter, line.evidence, line.what, line.relation, line.expected, {}, false};
        if (line.Run() != last) {
            last = line.Run();
            result.reset();
            problem.clear();
            const auto filter = std::find_if(filters.begin(), filters.end(),
                                             [&](const auto& one) { return one->GetId() == line.filter; });
            try {
                if (filter == filters.end()) Fail("there is no such filter");
                result =
                    RunOnSelfTestFiles(**filter, line.settings, {line.evidence, line.reference}, folder, job);
                tested.insert(line.filter);
            } catch (const ZorException& exception) {
                if (exception.GetKind() == ZorException::Kind::Aborted) throw;
                problem = exception.GetMessage();
            }
        }
        try {
            if (!result || !result->slot[OrvEvidence]) Fail(problem.empty() ? "no result" : problem);
            answer.found = Found(*result, line.what, job);
            answer.isRight = Agrees(answer.found, line.relation, line.expected);
        } catch (const ZorException& exception) {
            if (exception.GetKind() == ZorException::Kind::Aborted) throw;
            answer.found = exception.GetMessage();
        }
        if (told) told(answer);
        run.answers.push_back(std::move(answer));
    }
    for (const auto& filter : filters)
        if (filter->GetPageKind() != OrvPageKind::Summary && !tested.contains(filter->GetId()))
            run.untested.push_back(filter->GetId());
    return run;
}

std::string SelfTestLine(const SelfTestAnswer& answer) {
    std::string found = ShortenText(ToValidUtf8(answer.found), 120);
    std::replace(found.begin(), found.end(), '\n', ' ');
    return std::string(answer.isRight ? "pass" : "FAIL") + "\t" + answer.filter + "\t" + answer.file + "\t" +
           answer.what + "\t" + answer.relation + " " + answer.expected + "\tfound: " + found;
}

std::string SelfTestText(const SelfTestRun& run) {
    std::string text;
    for (const SelfTestAnswer& answer : run.answers) text += SelfTestLine(answer) + "\n";
    for (const std::string& filter : run.untested) text += "FAIL\t" + filter + "\tno known answer\n";
    const auto right = std::count_if(run.answers.begin(), run.answers.end(),
                                     [](const SelfTestAnswer& answer) { return answer.isRight; });
    return text + VersionText() + "\n" + run.date + ": " + ToString(static_cast<std::int64_t>(right)) +
           " of " + ToString(static_cast<std::int64_t>(run.answers.size())) + " answers as expected.\n";
}

void KeepSelfTest(const SelfTestRun& run) {
    Json record;
    record["version"] = 1;
    record["date"] = run.date;
    record["program"] = run.program;
    record["libraries"] = LibraryVersionsText();
    record["answers"] = run.answers.size();
    Json wrong = Json::array();
    for (const SelfTestAnswer& answer : run.answers)
        if (!answer.isRight) wrong.push_back(answer.filter + " on " + answer.file + " (" + answer.what + ")");
    for (const std::string& filter : run.untested) wrong.push_back(filter + " (no known answer)");
    record["wrong"] = wrong;
    WriteFile(SelfTestRecordPath(), JsonToText(record, 2) + "\n");
}
