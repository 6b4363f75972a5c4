#include "orvcore/formats/zipreader.h"

#include <gtest/gtest.h>

#include "tests/orvcore/formats/formatsupport.h"

using namespace formatsupport;

// Around the limit, for members that are packed and for those that are not.
TEST(ZipReader, ALimitIsKeptAndTold) {
    const Bytes content(5000, 'x');
    const Bytes zip = MakeZip({{"packed", content, true}, {"stored", content, false}});
    const auto directory = ReadZipDirectory(zip);
    ASSERT_TRUE(directory.has_value());
    ASSERT_EQ(directory->members.size(), 2U);
    for (const ZipMember& member : directory->members) {
        if (member.method != 8) continue;
        for (const std::size_t limit : {std::size_t{100}, content.size() - 1, content.size() + 1}) {
            const UnpackedMember unpacked = UnpackZipMember(zip, member, limit, {});
            const bool isCut = limit < content.size();
            EXPECT_EQ(unpacked.limitReached, isCut) << limit;
            EXPECT_EQ(unpacked.bytes.size(), std::min(limit, content.size())) << limit;
            EXPECT_EQ(unpacked.problem, isCut ? "It unpacks to more than " + std::to_string(limit) +
                                                    " bytes and was not read to its end."
                                              : std::string());
        }
    }
}
