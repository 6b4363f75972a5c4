// What holds for every filter of the program, run on files of every kind.

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "orvcore/analysis/parallel.h"
#include "tests/support/runfilter.h"
#include "tests/support/temporaryfolder.h"
#include "zorbase/files.h"
#include "zorbase/text.h"
#include "zorbase/zorexception.h"
#include "zorimage/imageio.h"

namespace {

// A picture with smooth parts, edges and texture.
cv::Mat Scene(int type, int width = 203, int height = 149) {
    cv::Mat scene(height, width, type);
    const int channels = scene.channels();
    std::uint32_t state = 1;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c) {
                state = state * 1664525U + 1013904223U;
                const int level = (x / 40 + y / 30) % 2 * 90 + x / 4 + 20 * c + static_cast<int>(state >> 28);
                if (scene.depth() == CV_16U)
                    scene.ptr<std::uint16_t>(y)[x * channels + c] = static_cast<std::uint16_t>(level * 251);
                else
                    scene.ptr<std::uint8_t>(y)[x * channels + c] = static_cast<std::uint8_t>(level);
            }
    return scene;
}

class EveryFilter : public testing::Test {
  protected:
    EveryFilter() {
        WriteImage(Image(Scene(CV_8UC3)), m_folder / "colour.jpg", 85);
        WriteImage(Image(Scene(CV_8UC1)), m_folder / "grey.jpg", 60);
        WriteImage(Image(Scene(CV_8UC3)), m_folder / "colour.png");
        WriteImage(Image(Scene(CV_8UC4)), m_folder / "alpha.png");
        WriteImage(Image(Scene(CV_16UC3)), m_folder / "deep.tif");
        WriteImage(Image(Scene(CV_8UC3, 1, 1)), m_folder / "pixel.png");
        WriteImage(Image(Scene(CV_8UC3, 9, 500)), m_folder / "narrow.jpg", 90);
        Bytes cut = ReadFileBytes(m_folder / "colour.jpg");
        cut.resize(cut.size() / 2);
        WriteFile(m_folder / "cut.jpg", cut);
        WriteFile(m_folder / "text.jpg", std::string("no picture at all"));
        WriteFile(m_folder / "empty.jpg", std::string());
    }

    const std::vector<std::string> m_pictures = {"colour.jpg", "grey.jpg",   "colour.png", "alpha.png",
                                                 "deep.tif",   "narrow.jpg", "pixel.png",  "cut.jpg"};
    const std::vector<std::string> m_noPictures = {"text.jpg", "empty.jpg"};
    TemporaryFolder m_folder;
};

// Everything that a result says, byte by byte.
std::string Fingerprint(const OrvFilterResult& result) {
    std::string all = JsonToText(result.output.ToJson(), 0);
    const auto add = [&all](const cv::Mat& mat) {
        all += std::to_string(mat.cols) + "x" + std::to_string(mat.rows) + ":" + std::to_string(mat.type());
        for (int y = 0; y < mat.rows; ++y)
            all.append(mat.ptr<char>(y), static_cast<std::size_t>(mat.cols) * mat.elemSize());
    };
    const auto addFloats = [&all](const std::vector<float>& values) {
        all.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
    };
    for (int slot = 0; slot < kFileSlots; ++slot) {
        if (!result.slot[slot]) continue;
        const OrvSlotResult& found = *result.slot[slot];
        all += found.verdictText + std::to_string(static_cast<int>(found.verdict));
        for (const std::string& finding : found.findings) all += finding;
        add(found.outputImage.GetMat());
        for (const OrvMap& map : result.GetMaps(slot)) {
            add(map.values);
            add(map.mask);
            all += map.name + ToString(map.range.low) + " " + ToString(map.range.high);
            for (const OrvMapLine& line : map.lines)
                addFloats({line.from.x, line.from.y, line.to.x, line.to.y});
            for (const OrvMapRegion& region : map.regions) all += ToString(region.box) + region.text;
        }
        addFloats(found.plot.x);
        for (const auto& curve : found.plot.curves) addFloats(curve);
        for (const auto& marks : found.plot.marks) addFloats(marks);
        all += found.plot.text + "|" + found.plot.xLabel + "|" + found.plot.yLabel;
        for (const unsigned long long count : found.plot.counts) all += std::to_string(count) + ",";
    }
    return all;
}

}  // namespace

TEST_F(EveryFilter, HasAPlaceOfItsOwnInTheTree) {
    std::set<std::string> ids;
    std::set<std::string> groups;
    std::string group;
    for (const auto& filter : CreateAllFilters()) {
        EXPECT_TRUE(ids.insert(filter->GetId()).second) << "two filters are called " << filter->GetId();
        EXPECT_GT(filter->GetDescriptionUtf8().size(), 40U) << filter->GetId();
        if (filter->GetAnalysisTypeUtf8() == group) continue;
        group = filter->GetAnalysisTypeUtf8();
        EXPECT_TRUE(groups.insert(group).second)
            << filter->GetId() << ": the group \"" << group << "\" is torn apart";
    }
    for (const char* known : {"file-format", "error-level", "histogram"})
        EXPECT_TRUE(ids.contains(known)) << known;
}

// A name of an output that is mistyped, a map that cannot be shown, an exception of another kind than the program's own would be met by
// a user otherwise.
TEST_F(EveryFilter, HasAnAnswerForEveryKindOfFile) {
    for (const auto& filter : CreateAllFilters()) {
        for (const std::string& name : m_pictures) {
            SCOPED_TRACE(filter->GetId() + " on " + name);
            const OrvFilterResultPtr result = RunFilter(*filter, m_folder / name);
            const OrvSlotResult& slot = *result->slot[OrvEvidence];
            const bool isOdd =
                slot.verdict == OrvVerdict::WorthALook || slot.verdict == OrvVerdict::StrongSign;
            EXPECT_EQ(slot.status == FilterStatus::StandsOut, isOdd);
            EXPECT_EQ(!slot.findings.empty(), isOdd) << "findings and status go together";
            EXPECT_EQ(slot.verdict == OrvVerdict::None, slot.verdictText.empty());
            if (slot.verdict != OrvVerdict::None && !slot.SaysNothing()) {
                EXPECT_TRUE(filter->GivesVerdict());
            }
            for (const OrvMap& map : slot.maps) {
                EXPECT_EQ(DescribeMapFault(map), "");
                EXPECT_FALSE(map.image.empty());
            }
            if (filter->GetPageKind() == OrvPageKind::ImageDouble && !slot.SaysNothing()) {
                EXPECT_TRUE(result->GetPicture(OrvEvidence).IsValid());
            }
        }
        for (const std::string& name : m_noPictures) {
            SCOPED_TRACE(filter->GetId() + " on " + name);
            try {
                RunFilter(*filter, m_folder / name);
            } catch (const ZorException& exception) {
                EXPECT_EQ(exception.GetKind(), ZorException::Kind::Format) << exception.GetMessage();
            }
        }
    }
}

TEST_F(EveryFilter, GivesTheSameBitsForAnyNumberOfThreadsAndAgain) {
    for (const auto& filter : CreateAllFilters()) {
        for (const char* name : {"colour.jpg", "deep.tif"}) {
            std::string first;
            for (const int threads : {1, 2, 8, 2}) {
                SetAnalysisThreads(threads);
                const std::string print =
                    Fingerprint(*RunFilter(*filter, m_folder / name, m_folder / "grey.jpg"));
                if (first.empty()) first = print;
                EXPECT_TRUE(print == first)
                    << filter->GetId() << " on " << name << ", " << threads << " threads";
            }
        }
    }
    SetAnalysisThreads(0);
}

// An option that is not read, or read as another one, changes nothing: every value of every option has to show in the result of some
// file, and no two choices of a list in the same way.
TEST_F(EveryFilter, TakesEveryOption) {
    // What matters only beside another option.
    const std::map<std::string, std::string> needs = {{"noise-residual/strength", "{\"filter\":2}"},
                                                      {"hex-view/findAs", "{\"find\":\"FF D8\"}"}};
    // What shows only in files that are made for it, in the filter's own tests.
    const std::set<std::string> others = {"metadata/show",
                                          "metadata/order",
                                          "metadata/search",
                                          "metadata/encoding",
                                          "thumbnails/number",
                                          "strings/encoding",
                                          "jpeg-dimples/window",
                                          "reference-comparison/model",
                                          "copy-move-keypoints/distance",
                                          "camera-identification/search",
                                          "camera-noise-map/window"};
    const auto values = [](const Parameter& option) {
        std::vector<Parameter> all;
        const auto add = [&](const auto& value) {
            Parameter& one = all.emplace_back(option);
            if (!one.SetValue(value) || one == option) all.pop_back();
        };
        const int least = static_cast<int>(std::max(option.GetMinimum(), 0.0));
        switch (option.Type()) {
            case ParameterType::Bool:
                add(!option.Get<bool>());
                break;
            case ParameterType::Choice:
                for (int i = 0; i < static_cast<int>(option.Strings().size()); ++i) add(i);
                break;
            case ParameterType::Int64:
                add(std::int64_t{100});
                break;
            case ParameterType::Double:
                add(option.GetMinimum());
                add((option.Get<double>() + option.GetMaximum()) / 2);
                break;
            case ParameterType::String:
                add(std::string("a"));
                break;
            case ParameterType::OrvRoi:
            case ParameterType::Roi:
                add(Roi(24, 16, 80, 64));
                break;
            case ParameterType::Int:
            case ParameterType::IntSlider:
                add(least + 1);
                add(static_cast<int>(std::min(option.GetMaximum(), 2.0 * option.Get<int>() + 2)));
                break;
            default:
                break;  // a file
        }
        return all;
    };
    const std::string sample = PathJoin(GetAppDataPath(), "samples/coffee.jpg");
    const std::pair<std::string, std::string> files[] = {{m_folder / "colour.jpg", m_folder / "grey.jpg"},
                                                         {m_folder / "deep.tif", m_folder / "colour.png"},
                                                         {sample, m_folder / "colour.jpg"}};
    for (const auto& filter : CreateAllFilters()) {
        const VecParameter prototypes[] = {filter->GetInputPrototype(), filter->GetPostProcessingPrototype()};
        for (const VecParameter& prototype : prototypes) {
            const bool isInput = &prototype == &prototypes[0];
            for (const Parameter& option : prototype) {
                if (others.contains(filter->GetId() + "/" + option.Name())) continue;
                SCOPED_TRACE(filter->GetId() + "/" + option.Name());
                VecParameter settings[] = {prototypes[0], prototypes[1]};
                const auto need = needs.find(filter->GetId() + "/" + option.Name());
                std::vector<std::string> unfit;
                if (need != needs.end()) settings[0].FromJson(JsonFromText(need->second), unfit);
                const auto print = [&](const auto& pair) {
                    return Fingerprint(
                        *RunFilter(*filter, pair.first, pair.second, &settings[0], &settings[1]));
                };
                std::vector<std::string> before;
                std::set<std::vector<std::string>> seen;
                for (const auto& pair : files) before.push_back(print(pair));
                for (const Parameter& value : values(option)) {
                    ASSERT_TRUE(settings[isInput ? 0 : 1].Find(option.Name())->Set(value));
                    std::vector<std::string> after;
                    for (const auto& pair : files) after.push_back(print(pair));
                    EXPECT_TRUE(after != before) << "nothing changes with " << value.GetValueAsString();
                    if (option.Type() == ParameterType::Choice) {
                        EXPECT_TRUE(seen.insert(after).second)
                            << value.GetValueAsString() << " is like another";
                    }
                }
            }
        }
    }
}
