#include "zorimage/jpegnames.h"

std::string JpegProcessName(std::uint8_t marker) {
    switch (marker) {
        case 0xC0:
            return "Baseline DCT, Huffman";
        case 0xC1:
            return "Extended sequential DCT, Huffman";
        case 0xC2:
            return "Progressive DCT, Huffman";
        case 0xC3:
            return "Lossless, Huffman";
        case 0xC5:
            return "Differential sequential DCT, Huffman";
        case 0xC6:
            return "Differential progressive DCT, Huffman";
        case 0xC7:
            return "Lossless differential, Huffman";
        case 0xC9:
            return "Extended sequential DCT, arithmetic";
        case 0xCA:
            return "Progressive DCT, arithmetic";
        case 0xCB:
            return "Lossless, arithmetic";
        case 0xCD:
            return "Differential sequential DCT, arithmetic";
        case 0xCE:
            return "Differential progressive DCT, arithmetic";
        case 0xCF:
            return "Lossless differential, arithmetic";
        case 0xF7:
            return "JPEG-LS";
        default:
            return "Unknown";
    }
}

std::string JpegSamplingName(std::span<const JpegSampling> components) {
    const auto& c = components;
    // Black is sampled like luminance, or the usual word would not say all.
    const bool isUsual = c.size() == 3 || (c.size() == 4 && c[3].horizontal == c[0].horizontal &&
                                           c[3].vertical == c[0].vertical);
    const bool isRegular = isUsual && c[1].horizontal == c[2].horizontal && c[1].vertical == c[2].vertical &&
                           c[1].horizontal > 0 && c[1].vertical > 0 &&
                           c[0].horizontal % c[1].horizontal == 0 && c[0].vertical % c[1].vertical == 0;
    if (isRegular) {
        struct Word {
            int across;
            int down;
            const char* text;
        };
        constexpr Word kWords[] = {{1, 1, "4:4:4"}, {2, 1, "4:2:2"}, {2, 2, "4:2:0"},
                                   {1, 2, "4:4:0"}, {4, 1, "4:1:1"}, {4, 2, "4:1:0"}};
        for (const Word& word : kWords)
            if (c[0].horizontal / c[1].horizontal == word.across &&
                c[0].vertical / c[1].vertical == word.down)
                return word.text;
    }
    std::string text;
    for (const JpegSampling& one : components)
        text +=
            (text.empty() ? "" : ",") + std::to_string(one.horizontal) + "x" + std::to_string(one.vertical);
    return text;
}
