#include "orvcore/filter/resultcache.h"

#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "orvcore/filter/filter.h"
#include "orvcore/filter/intermediates.h"
#include "orvcore/filter/libraryversions.h"
#include "orvcore/filter/parameterfiles.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr char kMagic[] = "orvane-result 2\n";
constexpr std::size_t kMostMapBytes = std::size_t{1} << 33;

void AppendBlock(std::string& out, const void* data, std::size_t size) {
    const std::uint64_t length = size;
    out.append(reinterpret_cast<const char*>(&length), sizeof length);
    out.append(static_cast<const char*>(data), size);
}

bool TakeBlock(std::string_view& in, std::string_view& block) {
    std::uint64_t length = 0;
    if (in.size() < sizeof length) return false;
    std::copy_n(in.data(), sizeof length, reinterpret_cast<char*>(&length));
    in.remove_prefix(sizeof length);
    if (length > in.size()) return false;
    block = in.substr(0, length);
    in.remove_prefix(length);
    return true;
}

void AppendImage(std::string& out, const Image& image) {
    if (!image.IsValid()) return AppendBlock(out, nullptr, 0);
    const std::vector<std::uint8_t> bytes = EncodeImage(image, "png");
    AppendBlock(out, bytes.data(), bytes.size());
}

bool TakeImage(std::string_view& in, Image& image) {
    std::string_view block;
    if (!TakeBlock(in, block)) return false;
    if (block.empty()) return true;
    image = DecodeImage(std::span(reinterpret_cast<const std::uint8_t*>(block.data()), block.size())).image;
    return image.IsValid();
}

// Numbers of any type, compressed fast: what is kept is slow to compute, and disk space is cheaper than the wait.
void AppendMat(std::string& out, const cv::Mat& mat) {
    const std::int32_t shape[] = {mat.rows, mat.cols, mat.empty() ? 0 : mat.type()};
    AppendBlock(out, shape, sizeof shape);
    if (mat.empty()) return;
    const cv::Mat dense = mat.isContinuous() ? mat : mat.clone();
    const std::size_t size = BytesOfMat(dense);
    uLongf packed = compressBound(size);
    std::string bytes(packed, '\0');
    if (compress2(reinterpret_cast<Bytef*>(bytes.data()), &packed, dense.data, size, Z_BEST_SPEED) != Z_OK)
        ZOR_THROW(Memory, "The map could not be compressed.");
    AppendBlock(out, bytes.data(), packed);
}

bool TakeMat(std::string_view& in, cv::Mat& mat) {
    std::string_view block;
    std::int32_t shape[3] = {};
    if (!TakeBlock(in, block) || block.size() != sizeof shape) return false;
    std::copy_n(block.data(), sizeof shape, reinterpret_cast<char*>(shape));
    if (shape[0] == 0 || shape[1] == 0) return true;
    if (!TakeBlock(in, block)) return false;
    if (shape[0] < 0 || shape[1] < 0 || (shape[2] & ~CV_MAT_TYPE_MASK) != 0) return false;
    const std::size_t most = kMostMapBytes / static_cast<std::size_t>(CV_ELEM_SIZE(shape[2]));
    if (static_cast<std::size_t>(shape[0]) > most / static_cast<std::size_t>(shape[1])) return false;
    mat.create(shape[0], shape[1], shape[2]);
    uLongf size = BytesOfMat(mat);
    return uncompress(mat.data, &size, reinterpret_cast<const Bytef*>(block.data()), block.size()) == Z_OK &&
           size == BytesOfMat(mat);
}

Json PlotToJson(const OrvPlotData& plot) {
    return {{"x", plot.x},           {"curves", plot.curves}, {"layers", plot.layerCount},
            {"counts", plot.counts}, {"marks", plot.marks},   {"helpLines", plot.helpLines},
            {"xLabel", plot.xLabel}, {"yLabel", plot.yLabel}, {"text", plot.text}};
}

OrvPlotData PlotFromJson(const Json& json) {
    OrvPlotData plot;
    json.at("x").get_to(plot.x);
    json.at("curves").get_to(plot.curves);
    json.at("layers").get_to(plot.layerCount);
    json.at("counts").get_to(plot.counts);
    json.at("marks").get_to(plot.marks);
    json.at("helpLines").get_to(plot.helpLines);
    json.at("xLabel").get_to(plot.xLabel);
    json.at("yLabel").get_to(plot.yLabel);
    json.at("text").get_to(plot.text);
    return plot;
}

// All of a map but its values and its mask.
Json MapToJson(const OrvMap& map) {
    Json lines = Json::array();
    for (const OrvMapLine& line : map.lines)
        lines.push_back({line.from.x, line.from.y, line.to.x, line.to.y});
    Json regions = Json::array();
    for (const OrvMapRegion& region : map.regions) regions.push_back({ToJson(region.box), region.text});
    Json classColours = Json::array();
    for (const auto& [number, colour] : map.classColours)
        classColours.push_back({number, static_cast<int>(colour)});
    return {{"name", map.name},
            {"unit", map.unit},
            {"scale", static_cast<int>(map.scale)},
            {"block", {map.block.width, map.block.height}},
            {"origin", {map.origin.x, map.origin.y}},
            {"image", {map.image.width, map.image.height}},
            {"floor", {map.floor.low, map.floor.high}},
            {"range", {map.range.low, map.range.high}},
            {"automatic", map.isAutomatic},
            {"threshold", map.threshold},
            {"side", static_cast<int>(map.thresholdSide)},
            {"lines", lines},
            {"regions", regions},
            {"classes", map.classNames},
            {"classColours", classColours}};
}

OrvMap MapFromJson(const Json& json) {
    OrvMap map;
    const auto number = [&json](const char* name, std::size_t i) { return json.at(name).at(i).get<int>(); };
    const auto range = [&json](const char* name) {
        return OrvRange{json.at(name).at(0).get<double>(), json.at(name).at(1).get<double>()};
    };
    json.at("name").get_to(map.name);
    json.at("unit").get_to(map.unit);
    map.scale = static_cast<OrvMapScale>(json.at("scale").get<int>());
    map.block = {number("block", 0), number("block", 1)};
    map.origin = {number("origin", 0), number("origin", 1)};
    map.image = {number("image", 0), number("image", 1)};
    map.floor = range("floor");
    map.range = range("range");
    json.at("automatic").get_to(map.isAutomatic);
    json.at("threshold").get_to(map.threshold);
    map.thresholdSide = static_cast<OrvMapSide>(json.at("side").get<int>());
    for (const Json& line : json.at("lines"))
        map.lines.push_back({{line.at(0).get<float>(), line.at(1).get<float>()},
                             {line.at(2).get<float>(), line.at(3).get<float>()}});
    for (const Json& region : json.at("regions")) {
        OrvMapRegion& added = map.regions.emplace_back();
        if (!FromJson(region.at(0), added.box)) ZOR_THROW(Format, "A region that is none");
        region.at(1).get_to(added.text);
    }
    json.at("classes").get_to(map.classNames);
    for (const Json& colour : json.at("classColours")) {
        const int kind = colour.at(1).get<int>();
        if (kind < 0 || kind > static_cast<int>(OrvClassColour::Blue))
            ZOR_THROW(Format, "A colour of a class that is none");
        map.classColours[colour.at(0).get<int>()] = static_cast<OrvClassColour>(kind);
    }
    return map;
}

Json HeadOf(const OrvSlotResult& result) {
    Json maps = Json::array();
    for (const OrvMap& map : result.maps) maps.push_back(MapToJson(map));
    Json morePlots = Json::array();
    for (const OrvPlotData& plot : result.morePlots) morePlots.push_back(PlotToJson(plot));
    return {{"output", result.output.ToJson()},
            {"status", static_cast<int>(result.status)},
            {"verdict", static_cast<int>(result.verdict)},
            {"verdictText", result.verdictText},
            {"findings", result.findings},
            {"plot", PlotToJson(result.plot)},
            {"morePlots", morePlots},
            {"maps", maps}};
}

void ReadHead(const Json& head, OrvSlotResult& result) {
    std::vector<std::string> problems;
    result.output.FromJson(head.at("output"), problems);
    if (!problems.empty()) ZOR_THROW(Format, "Outputs of another kind");
    result.status = static_cast<FilterStatus>(head.at("status").get<int>());
    result.verdict = static_cast<OrvVerdict>(head.at("verdict").get<int>());
    head.at("verdictText").get_to(result.verdictText);
    head.at("findings").get_to(result.findings);
    result.plot = PlotFromJson(head.at("plot"));
    for (const Json& plot : head.at("morePlots")) result.morePlots.push_back(PlotFromJson(plot));
    for (const Json& map : head.at("maps")) result.maps.push_back(MapFromJson(map));
}

}  // namespace

std::string OrvResultCache::FolderOf(const OrvLoadedFile& file) const {
    return PathJoin(m_root, file.GetSha256());
}

std::string OrvResultCache::PathOf(const OrvFilter& filter, const OrvLoadedFile& file,
                                   const VecParameter& input) const {
    const Json key{{"file", file.GetSha256()},          {"filter", filter.GetId()},
                   {"version", filter.GetVersion()},    {"parameters", input.ToJson()},
                   {"files", DigestOfFiles(input)},     {"recipe", file.GetInfo().recipe},
                   {"libraries", LibraryVersionsText()}};
    return PathJoin(FolderOf(file),
                    filter.GetId() + "-" + Sha256(JsonToText(key, 0)).substr(0, 24) + ".result");
}

std::shared_ptr<OrvSlotResult> OrvResultCache::Load(const OrvFilter& filter, const OrvLoadedFile& file,
                                                    const VecParameter& input) const {
    try {
        const std::string path = PathOf(filter, file, input);
        if (!FileExists(path)) return nullptr;
        const std::string content = ReadFile(path);
        std::string_view in = content;
        const std::string_view magic = kMagic;
        constexpr std::size_t kDigest = 64;
        if (in.size() < magic.size() + kDigest || in.substr(0, magic.size()) != magic) return nullptr;
        const std::string_view digest = in.substr(magic.size(), kDigest);
        in.remove_prefix(magic.size() + kDigest);
        if (Sha256(std::string(in)) != digest) return nullptr;

        auto result = std::make_shared<OrvSlotResult>();
        result->output = filter.GetOutputPrototype();
        std::string_view head;
        if (!TakeBlock(in, head)) return nullptr;
        ReadHead(JsonFromText(std::string(head)), *result);
        if (!TakeImage(in, result->outputImage) || !TakeImage(in, result->plot.image)) return nullptr;
        for (OrvPlotData& plot : result->morePlots)
            if (!TakeImage(in, plot.image)) return nullptr;
        for (OrvMap& map : result->maps)
            if (!TakeMat(in, map.values) || !TakeMat(in, map.mask) || !DescribeMapFault(map).empty())
                return nullptr;
        // Looked at now: the last to go.
        std::error_code error;
        std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now(), error);
        return result;
    } catch (const std::exception&) {
        return nullptr;
    }
}

void OrvResultCache::Store(const OrvFilter& filter, const OrvLoadedFile& file, const VecParameter& input,
                           const OrvSlotResult& result) const {
    try {
        std::string body;
        const std::string head = JsonToText(HeadOf(result), 0);
        AppendBlock(body, head.data(), head.size());
        AppendImage(body, result.outputImage);
        AppendImage(body, result.plot.image);
        for (const OrvPlotData& plot : result.morePlots) AppendImage(body, plot.image);
        for (const OrvMap& map : result.maps) {
            AppendMat(body, map.values);
            AppendMat(body, map.mask);
        }
        const std::string path = PathOf(filter, file, input);
        WriteFile(path, kMagic + Sha256(body) + body);
        Trim(path);
    } catch (const std::exception&) {
        // A result that cannot be kept is computed again the next time.
    }
}

void OrvResultCache::Forget(const OrvFilter& filter, const OrvLoadedFile& file,
                            const VecParameter& input) const {
    unlink(PathOf(filter, file, input).c_str());
}

namespace {

struct KeptFile {
    std::filesystem::path path;
    std::filesystem::file_time_type used;
    std::uint64_t size = 0;
};

// The cache's own files; what else lies in its folders (extracted pictures) is none of its business.
std::vector<KeptFile> KeptFilesIn(const std::string& root) {
    namespace fs = std::filesystem;
    std::vector<KeptFile> files;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied, error),
         end;
         !error && entry != end; entry.increment(error)) {
        std::error_code unreadable;
        if (entry->path().extension() != ".result" || !entry->is_regular_file(unreadable)) continue;
        KeptFile file{entry->path(), entry->last_write_time(unreadable), entry->file_size(unreadable)};
        if (!unreadable) files.push_back(std::move(file));
    }
    return files;
}

}  // namespace

std::uint64_t OrvResultCache::GetSize() const {
    std::uint64_t sum = 0;
    for (const KeptFile& file : KeptFilesIn(m_root)) sum += file.size;
    return sum;
}

void OrvResultCache::Clear() const {
    std::error_code error;
    for (const KeptFile& file : KeptFilesIn(m_root)) {
        std::filesystem::remove(file.path, error);
        std::filesystem::remove(file.path.parent_path(), error);  // only when it is empty
    }
}

void OrvResultCache::Trim(const std::string& except) const {
    if (m_limit == 0) return;
    std::vector<KeptFile> files = KeptFilesIn(m_root);
    std::uint64_t sum = 0;
    for (const KeptFile& file : files) sum += file.size;
    if (sum <= m_limit) return;
    std::sort(files.begin(), files.end(),
              [](const KeptFile& a, const KeptFile& b) { return a.used < b.used; });
    for (const KeptFile& file : files) {
        if (sum <= m_limit) return;
        std::error_code error;
        if (file.path != except && std::filesystem::remove(file.path, error)) sum -= file.size;
    }
}
