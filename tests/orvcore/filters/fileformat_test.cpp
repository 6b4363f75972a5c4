#include <gmock/gmock.h>

#include <algorithm>

#include "orvcore/filters/fileformatfilter.h"
#include "tests/orvcore/formats/formatsupport.h"
#include "tests/support/runfilter.h"
#include "tests/support/testcore.h"

using testing::HasSubstr;
using testing::StartsWith;

TEST(FileFormat, WhatTheNameSaysAndWhatTheContentSays) {
    const CaseFolder folder;
    const Bytes jpeg = formatsupport::MakeJpeg();
    const struct {
        const char* name;
        Bytes bytes;
        OrvVerdict verdict;
        const char* format;
        const char* agrees;
    } cases[] = {
        {"photo.JPG", jpeg, OrvVerdict::NothingFound, "JPEG", "Yes"},
        {"photo.png", jpeg, OrvVerdict::WorthALook, "JPEG", "No: the content is JPEG"},
        {"photo", jpeg, OrvVerdict::WorthALook, "JPEG", "No: the content is JPEG"},
        {"empty.jpg", {}, OrvVerdict::NotApplicable, "Empty", "Cannot be told"},
        {"noise.bin", formatsupport::ToBytes("\x01\x02\x03 nothing known"), OrvVerdict::NotApplicable,
         "Unknown", "Cannot be told"},
        {"noise.jpg", formatsupport::ToBytes("\x01\x02\x03 nothing known"), OrvVerdict::WorthALook, "Unknown",
         "No: the name is that of a picture"},
    };
    for (const auto& c : cases) {
        WriteFile(folder / c.name, c.bytes);
        const OrvFilterResultPtr result = RunFilter(FileFormatFilter(), folder / c.name);
        EXPECT_EQ(result->slot[OrvEvidence]->verdict, c.verdict) << c.name;
        EXPECT_THAT(OutputOf(result, "format"), StartsWith(c.format)) << c.name;
        EXPECT_THAT(OutputOf(result, "nameAgrees"), StartsWith(c.agrees)) << c.name;
        EXPECT_EQ(OutputOf(result, "size"), ToString(static_cast<std::int64_t>(c.bytes.size())));
        EXPECT_EQ(result->status == FilterStatus::StandsOut, c.verdict == OrvVerdict::WorthALook) << c.name;
    }
    const OrvFilterResultPtr empty = RunFilter(FileFormatFilter(), folder / "empty.jpg");
    EXPECT_EQ(OutputOf(empty, "md5"), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(OutputOf(empty, "sha1"), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(OutputOf(empty, "sha256"), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

// One list of damage, whichever reader found it, and no "nothing found" over it.
TEST(FileFormat, DamageIsToldEverywhere) {
    const CaseFolder folder;
    const Bytes jpeg = formatsupport::MakeJpeg({.width = 200, .height = 100});
    WriteFile(folder / "cut.jpg",
              Bytes(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 3 * 2)));
    // Only the decoder sees that the coded data end before their time.
    Bytes hollow = jpeg;
    hollow.erase(hollow.end() - 300, hollow.end() - 2);
    WriteFile(folder / "hollow.jpg", hollow);
    WriteFile(folder / "more.jpg", formatsupport::operator+(jpeg, formatsupport::ToBytes("more")));
    const std::pair<const char*, const char*> damaged[] = {{"cut.jpg", "end-of-image marker is missing"},
                                                           {"hollow.jpg", "premature end"}};
    for (const auto& [name, text] : damaged) {
        const OrvFilterResultPtr result = RunFilter(FileFormatFilter(), folder / name);
        EXPECT_EQ(result->slot[OrvEvidence]->verdict, OrvVerdict::WorthALook) << name;
        EXPECT_EQ(result->slot[OrvEvidence]->verdictText, "Damaged") << name;
        EXPECT_THAT(OutputOf(result, "warnings"), HasSubstr(text)) << name;
        const OrvFilePtr file = result->file[OrvEvidence];
        EXPECT_FALSE(file->GetDamage().IsEmpty()) << name;
        const auto metadata = RunFilter(*MakeFilter("metadata"), folder / name);
        EXPECT_THAT(metadata->slot[OrvEvidence]->verdictText, testing::Not(testing::StrEq("Nothing found")))
            << name;
    }
    const OrvFilterResultPtr more = RunFilter(FileFormatFilter(), folder / "more.jpg");
    EXPECT_EQ(more->slot[OrvEvidence]->verdict, OrvVerdict::NothingFound)
        << "bytes behind the end are no damage";
    EXPECT_THAT(OutputOf(more, "warnings"), HasSubstr("4 bytes follow"));
}

// Sound, and beyond every decoder: twelve bits per sample.
TEST(FileFormat, WhatNobodyDecodesIsNotDamaged) {
    const CaseFolder folder;
    Bytes jpeg = formatsupport::MakeJpeg({.width = 64, .height = 48});
    const std::uint8_t frame[] = {0xFF, 0xC0};
    const auto at = std::search(jpeg.begin(), jpeg.end(), std::begin(frame), std::end(frame));
    ASSERT_NE(at, jpeg.end());
    at[1] = 0xC1;
    at[4] = 12;
    WriteFile(folder / "deep.jpg", jpeg);
    const OrvFilterResultPtr result = RunFilter(FileFormatFilter(), folder / "deep.jpg");
    EXPECT_EQ(result->slot[OrvEvidence]->verdictText, "Cannot be decoded");
    ASSERT_EQ(result->slot[OrvEvidence]->findings.size(), 1U);
    EXPECT_THAT(result->slot[OrvEvidence]->findings[0], HasSubstr("12 bits per sample"));
    EXPECT_THAT(OutputOf(result, "warnings"), HasSubstr("12 bits per sample"));
}

TEST(FileFormat, BothFilesSideBySide) {
    const CaseFolder folder;
    const OrvFilterResultPtr result = RunFilter(FileFormatFilter(), folder.WritePicture("a.png", 10, 16),
                                                folder.WritePicture("b.jpg", 10, 32));
    EXPECT_EQ(result->output.Find("dimensions")->Get<ImageResolution>(), (ImageResolution{16, 16}));
    EXPECT_EQ(result->output.Find("dimensions")->Get<ImageResolution>(true), (ImageResolution{32, 32}));
    EXPECT_THAT(OutputOf(result, "format", true), StartsWith("JPEG"));
}

TEST(LoadedFile, WhatCannotBeReadIsRefusedWithItsNameAndTheReason) {
    const CaseFolder folder;
    MakeFolder(folder / "folder.jpg");
    const std::string large = folder.WritePicture("large.png");
    const auto refusal = [](const std::string& path, std::uint64_t maximum) -> std::string {
        try {
            OrvLoadedFile::Load(path, maximum, OrvJob());
        } catch (const ZorException& exception) {
            EXPECT_EQ(exception.GetKind(), ZorException::Kind::File);
            return exception.GetMessage();
        }
        return {};
    };
    EXPECT_THAT(refusal(folder / "missing.jpg", 1000000), HasSubstr("missing.jpg"));
    EXPECT_THAT(refusal(folder / "folder.jpg", 1000000), HasSubstr("folder.jpg"));
    EXPECT_THAT(refusal(large, 10), HasSubstr("The largest file to open is set to 10 bytes"));
    EXPECT_EQ(refusal(large, 1000000), "");
}
