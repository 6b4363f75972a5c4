#include "zorbase/hash.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace {

// Figures of the published test vectors.
TEST(Hash, PublishedVectors) {
    const std::string abc = "abc";
    const FileHashes hashes = ComputeHashes({reinterpret_cast<const std::uint8_t*>(abc.data()), abc.size()});
    EXPECT_EQ(hashes.md5, "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(hashes.sha1, "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(hashes.sha256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(Sha256(abc), hashes.sha256);

    const FileHashes empty = ComputeHashes({});
    EXPECT_EQ(empty.md5, "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(empty.sha256, Sha256(std::string()));

    const std::vector<std::uint8_t> million(1000000, 'a');
    EXPECT_EQ(Sha256(million), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Hash, StripsDoNotShowAndAreReported) {
    std::vector<std::uint8_t> bytes((std::size_t{3} << 20) + 17);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 2654435761u >> 13);
    std::vector<double> done;
    const FileHashes hashes = ComputeHashes(bytes, [&done](double part) { done.push_back(part); });
    EXPECT_EQ(hashes.sha256, Sha256(bytes));
    ASSERT_EQ(done.size(), 4u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(done[i], static_cast<double>((i + 1) << 20) / static_cast<double>(bytes.size()));
    EXPECT_EQ(done[3], 1.0);

    EXPECT_THROW(ComputeHashes(bytes, [](double) { throw std::runtime_error("stop"); }), std::runtime_error);
}

TEST(Hash, PiecesGiveTheHashOfTheWhole) {
    std::vector<std::uint8_t> bytes(100001);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * i);
    const std::span<const std::uint8_t> all(bytes);
    Sha256Stream stream;
    stream.Add(all.first(1));
    stream.Add({});
    stream.Add(all.subspan(1, 65536));
    stream.Add(all.subspan(65537));
    EXPECT_EQ(stream.Finish(), Sha256(all));
}

}  // namespace
