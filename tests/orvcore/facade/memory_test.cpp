// What is held of results within the memory budget, and what is kept on disk, through the facade.

#include <gtest/gtest.h>

#include <filesystem>

#include "orvcore/filter/intermediates.h"
#include "orvcore/model/memorybudget.h"
#include "tests/support/testcore.h"

namespace {

// A map of floating point as large as the picture, and a text.
class MapFilter : public OrvFilterImage {
  public:
    explicit MapFilter(const std::string& id) : OrvFilterImage(ToWx(id), id) {
        Describe("Test", "Maps the levels.");
        SetParameters({Parameter::Int("add", "Add", 0, 0, 100)}, {},
                      {Parameter::Output(ParameterType::OutputString, "text", "Text")});
    }
    bool IsCacheable() const override { return cacheable; }
    bool cacheable = false;
    mutable int runs = 0;

  protected:
    void Compute(const OrvLoadedFile& file, const VecParameter& input, const OrvJob& job,
                 OrvSlotResult& result) const override {
        ++runs;
        OrvMap map;
        map.name = "Level";
        GetGrey(file, job).convertTo(map.values, CV_32F, 1.0, input.Get<int>("add"));
        map.floor = {0, 255};
        result.AddMap(std::move(map));
        result.Set("text", "run " + std::to_string(runs));
        result.Judge(OrvVerdict::WorthALook, "Found");
    }
};

class Memory : public CoreTest {
  protected:
    Memory() {
        a = static_cast<MapFilter*>(core->GetContext().RegisterFilter(std::make_unique<MapFilter>("map-a")));
        b = static_cast<MapFilter*>(core->GetContext().RegisterFilter(std::make_unique<MapFilter>("map-b")));
        WriteImage(Image(cv::Mat(512, 512, CV_8UC3, cv::Scalar::all(90))), folder / "p.png");
        core->GetContext().SetActiveFilter(nullptr);
        Load(folder / "p.png");
    }
    ~Memory() override { OrvMemoryBudget::Get().SetLimit(0); }

    void Show(MapFilter* filter, int add = 0) {
        core->GetContext().SetActiveFilter(filter);
        VecParameter input = filter->GetInputPrototype();
        input[0].SetValue(add);
        core->Configure(filter, -1, input, {}, false);
        ASSERT_TRUE(sink.PumpUntilIdle());
    }
    void SetRoom(int mebibytes) {
        VecVecParameter options = core->GetProgramOptions();
        for (VecParameter& group : options)
            if (Parameter* option = group.Find("memoryMiB")) option->SetValue(mebibytes);
        core->SetProgramOptions(options);
        ASSERT_TRUE(sink.PumpUntilIdle());
    }

    MapFilter* a = nullptr;
    MapFilter* b = nullptr;
};

}  // namespace

// A map of 1 MiB, its picture and the decoded picture with 0.75 MiB each: there is room for one filter.
TEST_F(Memory, WhatIsNotShownIsLetGoAndComputedAgainWhenItIsShown) {
    SetRoom(3);
    Show(a);
    EXPECT_FALSE(a->GetResult()->IsLight());
    const Image shown = a->GetOutputImage(OrvEvidence);
    EXPECT_TRUE(shown.IsValid());
    Show(b);
    Show(b, 1);
    EXPECT_FALSE(b->GetResult()->IsLight()) << "its page is shown";
    EXPECT_TRUE(b->GetOutputImage(OrvEvidence).IsValid());
    const OrvFilterResultPtr light = a->GetResult();
    ASSERT_TRUE(light && light->IsLight());
    EXPECT_EQ(light->GetBytes(), 0U);
    EXPECT_EQ(light->output.Get<std::string>("text"), "run 1") << "texts stay";
    EXPECT_EQ(light->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook);
    EXPECT_EQ(light->status, FilterStatus::StandsOut);
    EXPECT_FALSE(a->GetOutputImage(OrvEvidence).IsValid());

    Show(a);
    EXPECT_EQ(a->runs, 2);
    EXPECT_FALSE(a->GetResult()->IsLight());
    EXPECT_TRUE(a->GetOutputImage(OrvEvidence).IsEqual(shown));
    Show(a);
    EXPECT_EQ(a->runs, 2) << "what is held answers";
}

TEST_F(Memory, WithRoomEnoughNothingIsComputedTwice) {
    SetRoom(64);
    for (int i = 0; i < 2; ++i) {
        Show(a);
        Show(b);
    }
    EXPECT_EQ(a->runs, 1);
    EXPECT_EQ(b->runs, 1);
    EXPECT_LE(OrvMemoryBudget::Get().GetHeld(), std::size_t{64} << 20);
}

TEST_F(Memory, AResultThatIsShownIsKeptOnDiskAndOnlyWhereThatIsWanted) {
    a->cacheable = true;
    const auto kept = [this] {
        int count = 0;
        const std::string root = PathFromWx(core->GetOutputDir(OrvEvidence));
        std::error_code error;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root, error))
            count += entry.path().extension() == ".result" ? 1 : 0;
        return count;
    };
    // While the window is told that the result is there, it is not yet written.
    a->SetAnalysisFilterGui(&page);
    const auto plainly = sink.handle;
    int atTheTime = -1;
    sink.handle = [&](OrvCommandEvent& event) {
        if (event.GetId() == OrvEventConfigureCompleted) atTheTime = kept();
        core->PostResponse();
    };
    Show(a);
    sink.handle = plainly;
    EXPECT_EQ(atTheTime, 0);
    EXPECT_EQ(kept(), 1);
    Show(b);
    EXPECT_EQ(kept(), 1) << "quick ones are not kept";

    VecVecParameter options = core->GetProgramOptions();
    for (VecParameter& group : options)
        if (Parameter* option = group.Find("useCache")) option->SetValue(false);
    core->SetProgramOptions(options);
    Show(a, 5);
    EXPECT_EQ(kept(), 1);
}
