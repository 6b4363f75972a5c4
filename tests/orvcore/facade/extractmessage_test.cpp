#include <gtest/gtest.h>

#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/testcore.h"

using namespace formatsupport;

namespace {

class ExtractMessage : public CoreTest {
  protected:
    // What the window is told after an extraction: the message and the folder.
    std::pair<std::string, std::string> After(const std::string& name, const Bytes& content) {
        WriteFile(folder / name, content);
        std::pair<std::string, std::string> told{"not told", ""};
        sink.handle = [&told](OrvCommandEvent& event) {
            if (event.GetId() == OrvEventDumpEmbeddedJpgs)
                told = {FromWx(event.GetMessage()), PathFromWx(event.GetString())};
            GetInterface()->PostResponse();
        };
        core->DumpEmbeddedJpgs(PathToWx(folder / name));
        EXPECT_TRUE(sink.PumpUntilIdle());
        return told;
    }
};

}  // namespace

TEST_F(ExtractMessage, TellsThatThereAreWarnings) {
    const Bytes jpeg = MakeJpeg();
    const auto [whole, first] = After("whole.docx", MakeZip({{"a.jpg", jpeg}}));
    EXPECT_EQ(whole, "") << "the usual sentence follows";
    EXPECT_TRUE(FolderExists(first)) << first;
    const auto [partly, second] =
        After("partly.docx", MakeZip({{"a.jpg", jpeg}, {"b.jpg", jpeg, true, true}}));
    EXPECT_EQ(partly, "Embedded images saved in folder " + second +
                          "\nThere were problems; they stand in warnings.txt there.");
    const auto [nothing, third] = After("nothing.bin", Bytes(90, 7));
    EXPECT_EQ(nothing + third, "");
}
