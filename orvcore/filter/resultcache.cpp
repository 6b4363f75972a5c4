#include "orvcore/filter/resultcache.h"

#include <unistd.h>

#include "orvcore/filter/filter.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"

namespace {

constexpr char kMagic[] = "orvane-result 1\n";

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

Json HeadOf(const OrvSlotResult& result) {
    return Json{{"output", result.output.ToJson()},
                {"status", static_cast<int>(result.status)},
                {"verdict", static_cast<int>(result.verdict)},
                {"verdictText", result.verdictText},
                {"findings", result.findings},
                {"plot",
                 {{"x", result.plot.x},
                  {"curves", result.plot.curves},
                  {"layers", result.plot.layerCount},
                  {"counts", result.plot.counts},
                  {"marks", result.plot.marks},
                  {"helpLines", result.plot.helpLines},
                  {"xLabel", result.plot.xLabel},
                  {"yLabel", result.plot.yLabel},
                  {"text", result.plot.text}}}};
}

void ReadHead(const Json& head, OrvSlotResult& result) {
    std::vector<std::string> problems;
    result.output.FromJson(head.at("output"), problems);
    if (!problems.empty()) ZOR_THROW(Format, "Outputs of another kind");
    result.status = static_cast<FilterStatus>(head.at("status").get<int>());
    result.verdict = static_cast<OrvVerdict>(head.at("verdict").get<int>());
    head.at("verdictText").get_to(result.verdictText);
    head.at("findings").get_to(result.findings);
    const Json& plot = head.at("plot");
    plot.at("x").get_to(result.plot.x);
    plot.at("curves").get_to(result.plot.curves);
    plot.at("layers").get_to(result.plot.layerCount);
    plot.at("counts").get_to(result.plot.counts);
    plot.at("marks").get_to(result.plot.marks);
    plot.at("helpLines").get_to(result.plot.helpLines);
    plot.at("xLabel").get_to(result.plot.xLabel);
    plot.at("yLabel").get_to(result.plot.yLabel);
    plot.at("text").get_to(result.plot.text);
}

}  // namespace

std::string OrvResultCache::FolderOf(const OrvLoadedFile& file) const {
    return PathJoin(m_root, file.GetSha256());
}

std::string OrvResultCache::PathOf(const OrvFilter& filter, const OrvLoadedFile& file,
                                   const VecParameter& input) const {
    const Json key{{"file", file.GetSha256()},
                   {"filter", filter.GetId()},
                   {"version", filter.GetVersion()},
                   {"parameters", input.ToJson()}};
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
        if (!TakeImage(in, result->inputImage) || !TakeImage(in, result->outputImage) ||
            !TakeImage(in, result->plot.image))
            return nullptr;
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
        AppendImage(body, result.inputImage);
        AppendImage(body, result.outputImage);
        AppendImage(body, result.plot.image);
        WriteFile(PathOf(filter, file, input), kMagic + Sha256(body) + body);
    } catch (const std::exception&) {
        // A result that cannot be kept is computed again the next time.
    }
}

void OrvResultCache::Forget(const OrvFilter& filter, const OrvLoadedFile& file,
                            const VecParameter& input) const {
    unlink(PathOf(filter, file, input).c_str());
}
