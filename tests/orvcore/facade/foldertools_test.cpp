#include "orvcore/facade/foldertools.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "orvcore/facade/commandqueue.h"
#include "orvcore/formats/jpegtables/signaturecollection.h"
#include "orvcore/model/collections.h"
#include "orvcore/report/selftestrecord.h"
#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"
#include "tests/support/virtualcamera.h"

namespace {

// A real filter beside the probe, and a folder of flat pictures of one camera.
class FolderToolsTest : public CoreTest {
  protected:
    FolderToolsTest() {
        sink.handle = [this](OrvCommandEvent& event) {
            if (event.GetId() == OrvEventCommandExecuted) {
                answer = event.GetParameters();
                error = FromWx(event.GetMessage());
            }
            core->PostResponse();
        };
        MakeFolder(folder / "one");
        for (std::uint64_t i = 0; i < 8; ++i)
            Write("one/flat" + std::to_string(i) + ".png", SceneKind::Flat, 10 + i);
        Write("question.png", SceneKind::SmoothSky, 50);
    }
    void Write(const std::string& name, SceneKind kind, std::uint64_t seed) {
        WriteImage(Image(TakePhoto(OrdinaryCamera(1), kind, {384, 288}, seed)), folder / name);
    }
    void Run(OrvActionId action, const std::string& pictures, const std::string& collection = {}) {
        answer.clear();
        core->CallGenericAction(
            action, "Tool",
            {Parameter::Path(ParameterType::Folder, "folder", "Folder", pictures),
             Parameter::Path(ParameterType::FileLoad, "collection", "Collection", collection)});
        ASSERT_TRUE(sink.PumpUntilIdle(60000));
    }
    std::string Remark() const {
        const Parameter* remark = answer.Find(kFolderToolRemark);
        return remark != nullptr ? remark->Get<std::string>() : "no remark";
    }
    OrvVerdict VerdictOf(OrvFilter* filter) {
        core->ActivateFilter(filter, -1);
        EXPECT_TRUE(sink.PumpUntilIdle(60000));
        return filter->GetResult()->slot[OrvEvidence]->verdict;
    }

    VecParameter answer;
    std::string error;
};

}  // namespace

// What was found before a fingerprint was made is no answer afterwards, although no parameter changed.
TEST_F(FolderToolsTest, AFingerprintFromAFolderAnswersTheNextQuestion) {
    OrvFilter* filter = core->GetContext().RegisterFilter(MakeFilter("camera-identification"));
    Load(folder / "question.png");
    EXPECT_EQ(VerdictOf(filter), OrvVerdict::NotApplicable);
    Run(OrvActionMakeFingerprint, folder / "one");
    ASSERT_EQ(answer.size(), 2U) << error;
    EXPECT_EQ(answer[0].Get<TableString>().size(), 9U);
    EXPECT_NE(Remark().find("8 pictures was written to:\n" + FingerprintFolder()), std::string::npos)
        << Remark();
    EXPECT_NE(VerdictOf(filter), OrvVerdict::NotApplicable);
    // Beside the one that the page names.
    for (const std::string& known : {folder / "known/camera.orvfp", folder / "known"}) {
        Run(OrvActionMakeFingerprint, folder / "one", known);
        EXPECT_NE(Remark().find("written to:\n" + (folder / "known/")), std::string::npos) << Remark();
    }
    Run(OrvActionIdentifyCameras, folder / "one");
    ASSERT_EQ(answer.size(), 2U) << error;
    EXPECT_EQ(answer[0].Get<TableString>().size(), 9U);
    EXPECT_EQ(Remark(), "");
}

TEST_F(FolderToolsTest, SignaturesAreCollectedOnlyFromPicturesThatNameTheirCamera) {
    Run(OrvActionCollectSignatures, folder / "one");
    EXPECT_NE(error.find("nothing was added"), std::string::npos) << error;
    EXPECT_FALSE(FileExists(SignatureCollectionFile()));
    Run(OrvActionCollectSignatures, folder / "nowhere");
    EXPECT_FALSE(error.empty());
    const char* fixtures = std::getenv("ORVANE_FIXTURES");
    if (fixtures == nullptr) GTEST_SKIP() << "ORVANE_FIXTURES is not set";
    Run(OrvActionCollectSignatures, std::string(fixtures) + "/cameras/jpg");
    ASSERT_EQ(answer.size(), 2U) << error;
    EXPECT_GT(SignatureCollection(SignatureCollectionFile()).CountPictures(), 0);
    // Into a collection of another name nothing of the examiner's own goes.
    const std::int64_t own = SignatureCollection(SignatureCollectionFile()).CountPictures();
    Run(OrvActionCollectSignatures, std::string(fixtures) + "/cameras/jpg", folder / "other.db");
    EXPECT_EQ(SignatureCollection(SignatureCollectionFile()).CountPictures(), own);
    EXPECT_EQ(SignatureCollection(folder / "other.db").CountPictures(), own);
}

// Minutes long on a slow machine: the examiner may stop it, and what was not finished is not kept as a test.
TEST_F(FolderToolsTest, ASelfTestThatIsStoppedLeavesNoRecord) {
    std::remove(SelfTestRecordPath().c_str());
    int outcome = 0;
    sink.handle = [&](OrvCommandEvent& event) {
        if (event.GetId() == OrvEventCommandExecuted) outcome = event.GetError();
        core->PostResponse();
    };
    core->CallGenericAction(OrvActionSelfTest, "Self-test", {});
    ASSERT_TRUE(sink.PumpUntil([this] { return core->IsBusy(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    core->AbortProcessing();
    ASSERT_TRUE(sink.PumpUntilIdle(10000));
    EXPECT_EQ(outcome, kErrorAborted);
    EXPECT_FALSE(FileExists(SelfTestRecordPath()));
    core->CallGenericAction(OrvActionSelfTest, "Self-test", {});
    ASSERT_TRUE(sink.PumpUntilIdle(60000));
    EXPECT_TRUE(FileExists(SelfTestRecordPath()));
}
